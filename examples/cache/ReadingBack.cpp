#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "Demo.h"
#include "cul/dbgcache/DbgCache.h"

namespace {

constexpr unsigned kReaders = 4;
constexpr unsigned kRounds = 16;
constexpr unsigned kRanges = 6;

struct Range {
  unsigned offset;
  unsigned size;
};
constexpr Range kEverything{0, DbgCache::kToTheEnd};

// The beginning, odd pieces of the middle, the last byte, the end, and everything.
std::array<Range, kRanges> rangesOf(Original const& original) {
  unsigned const length = original.content.length();
  auto const piece = [length](unsigned offset, unsigned size) {
    return Range{offset, std::min(size, length - offset)};
  };
  Range const end{length - std::min(length, 1001U), DbgCache::kToTheEnd};
  return {
      piece(0, 4096), piece(length / 3, 4097), piece(length / 2, 65'537), piece(length - 1, 1), end,
      kEverything,
  };
}

// Copies without a digest in their names: nothing keeps a reader and a writer of one copy apart.
FileName nameMeanwhile(std::size_t index) {
  return FileName(systemText("stored-meanwhile-" + std::to_string(index)));
}

struct Compared {
  std::atomic<std::size_t> ranges{0};
  std::atomic<std::size_t> bytes{0};
};

// Reads a range of a copy and holds it against the original.
void compare(Demo& demo, Compared& compared, Original const& original, FileName const& name,
             MD5 const* digest, Range range) {
  auto const& content = original.content;
  bool const toTheEnd = range.size == DbgCache::kToTheEnd;
  unsigned const size = toTheEnd ? content.length() - range.offset : range.size;
  std::unique_ptr<ByteString> const bytes(
      DbgCache::instance()->readFile(name, digest, range.offset, range.size));
  bool const same = bytes != nullptr && bytes->length() == size &&
                    std::memcmp(bytes->data(), content.data() + range.offset, size) == 0;
  demo.checks.expect(same, std::string(name.data()) + ": " + std::to_string(size) + " bytes at " +
                               std::to_string(range.offset) + " are those of the original");
  compared.bytes += size;
  ++compared.ranges;
  compared.ranges.notify_one();
}

// Each reader begins elsewhere, so that they meet on some copies and pass each other on others.
void readAll(Demo& demo, Compared& compared, std::size_t reader) {
  for (std::size_t i = reader; i < reader + kRounds * demo.originals.size(); ++i) {
    auto const& original = demo.originals[i % demo.originals.size()];
    for (Range range : rangesOf(original)) {
      compare(demo, compared, original, original.name, &original.digest, range);
    }
  }
}

// Until everything is read, and each file at least once. Returns the number of copies written.
std::size_t keepWriting(Demo const& demo, Compared const& compared, std::size_t total) {
  auto const& originals = demo.originals;
  std::size_t written = 0;
  for (; compared.ranges < total || written < originals.size(); ++written) {
    std::size_t const index = written % originals.size();
    DbgCache::instance()->addFile(originals[index].content, nameMeanwhile(index), nullptr);
  }
  return written;
}

}  // namespace

void readBack(Demo& demo) {
  demo.display.heading("Four threads read back, while a fifth writes other copies");
  auto const brokenBefore = demo.checks.broken().size();
  std::size_t const total = kReaders * kRounds * kRanges * demo.originals.size();
  std::size_t written = 0;
  Compared compared;
  {
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < kReaders; ++i) {
      threads.emplace_back([&, i] { readAll(demo, compared, i); });
    }
    threads.emplace_back([&] { written = keepWriting(demo, compared, total); });
    for (std::size_t done = 0; done < total; done = compared.ranges) {
      demo.display.progress(done, total);
      compared.ranges.wait(done);
    }
  }
  for (std::size_t i = 0; i < demo.originals.size(); ++i) {
    compare(demo, compared, demo.originals[i], nameMeanwhile(i), nullptr, kEverything);
  }
  demo.ranges = compared.ranges;
  demo.expectNoTrace();
  demo.display.line("%zu copies were written meanwhile", written);
  demo.checks.confirm(demo.checks.broken().size() == brokenBefore,
                      grouped(compared.ranges) + " ranges, " + grouped(compared.bytes) +
                          " bytes, are those of the originals");
}
