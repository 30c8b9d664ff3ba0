// Asking for a range of a file that is mapped already, and giving it back: nothing is mapped or
// unmapped. The oldest of so many mappings has it, which is asked last.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "bench/support/Scratch.h"
#include "cul/files/CUL_File.h"

namespace {

constexpr long kOffset = 100;
constexpr long kLength = 200;

// A file with a mapping of each of its pages, the first page's made first.
class Mapped {
 public:
  explicit Mapped(std::int64_t pages) : file_(name(pages), -1) {
    file_.open();
    for (std::int64_t page = 0; page < pages; ++page) {
      starts_.push_back(static_cast<char*>(file_.createMemoryMap(page * pageSize(), pageSize())));
    }
  }

  static long pageSize() { return ::getpagesize(); }
  CUL_File& file() { return file_; }
  std::vector<char*> const& starts() const { return starts_; }

 private:
  EncodedString name(std::int64_t pages) const {
    std::string const path = scratch_.path() + "/file";
    std::ofstream(path) << std::string(static_cast<unsigned long>(pages * pageSize()), 'x');
    return {path.c_str(), EncodedString::kSystemText};
  }

  Scratch scratch_{Scratch::kMemory};
  CUL_File file_;
  std::vector<char*> starts_;
};

// The subjects: `create` gives the address of a range of the file, `remove` takes it back.

class Cul {
 public:
  explicit Cul(Mapped& mapped) : file_(mapped.file()) {}
  void* create(long offset, long length) { return file_.createMemoryMap(offset, length); }
  void remove(void* address) { file_.removeMemoryMap(address); }

 private:
  CUL_File& file_;
};

// Records of the same mappings, in an array, and nothing else: no interface, no check.
class Scan {
 public:
  explicit Scan(Mapped& mapped) {
    for (char* const start : mapped.starts()) {
      auto const size = static_cast<unsigned int>(Mapped::pageSize());
      records_.push_back({static_cast<long>(records_.size()) * size, start, size, 1, kFd});
    }
  }
  void* create(long offset, long length) {
    for (auto record = records_.rbegin(); record != records_.rend(); ++record) {
      long const end = offset + length, ownEnd = record->fileOffset + long{record->length};
      if (record->fd != kFd || record->fileOffset >= end || ownEnd <= offset) continue;
      if (record->fileOffset > offset || end > ownEnd) return nullptr;
      ++record->refCount;
      return record->address + (offset - record->fileOffset);
    }
    return nullptr;
  }
  void remove(void* address) {
    for (auto record = records_.rbegin(); record != records_.rend(); ++record) {
      if (address < record->address || address >= record->address + record->length) continue;
      --record->refCount;
      return;
    }
  }

 private:
  static constexpr int kFd = 3;
  struct Record {
    long fileOffset;
    char* address;
    unsigned int length;
    unsigned int refCount;
    int fd;
  };

  std::vector<Record> records_;
};

template <class Subject>
void map(benchmark::State& state) {
  Mapped mapped(state.range(0));
  void const* const right = mapped.starts().front() + kOffset;
  Subject subject(mapped);
  long offset = kOffset, length = kLength;
  for (auto _ : state) {
    benchmark::DoNotOptimize(offset);
    benchmark::DoNotOptimize(length);
    void* const address = subject.create(offset, length);
    if (address != right) state.SkipWithError("gives something else");
    subject.remove(address);
    benchmark::ClobberMemory();
  }
}

void mappings(benchmark::internal::Benchmark* row) {
  row->Arg(1)->Arg(16)->Arg(256)->MinTime(0.05)->Repetitions(15);
}

BENCHMARK(map<Cul>)->Name("map/cul")->Apply(mappings);
BENCHMARK(map<Scan>)->Name("map/scan")->Apply(mappings);

}  // namespace
