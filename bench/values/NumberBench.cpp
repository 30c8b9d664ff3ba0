// Numbers written as text and read from it. A row takes 64 numbers, four of each length from 1 to
// 16 hexadecimal digits, in no order. One that writes or reads something else fails.
#include <absl/strings/str_cat.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "cul/values/Unsigned_Bits.h"

namespace {

std::vector<unsigned long> numbers() {
  std::mt19937_64 random(64);
  std::vector<unsigned long> all;
  for (unsigned int i = 0; i < 64; ++i) {
    unsigned long const highest = 1UL << 63;
    all.push_back((random() | highest) >> (i % 16 * 4));
  }
  std::shuffle(all.begin(), all.end(), random);
  return all;
}

// The writers: each makes the text of a number and shows it to `look`. Ours replaces the text that
// the caller has; no peer has to.

struct CulHexadecimal {
  template <class Look>
  void write(unsigned long number, Look look) {
    Unsigned_Bits(number).format(text);
    look(text.data(), text.length());
  }
  EncodedString text;
};

// And the text object from the digits, as whoever asks us gets one.
struct ToChars {
  template <class Look>
  void write(unsigned long number, Look look) {
    char digits[16];
    char const* const end = std::to_chars(digits, std::end(digits), number, 16).ptr;
    EncodedString const text(digits, static_cast<unsigned int>(end - digits),
                             EncodedString::kSystemText);
    look(text.data(), text.length());
  }
};

struct CulDecimal {
  template <class Look>
  void write(unsigned long number, Look look) {
    Unsigned_Bits(number).dec_format(text);
    look(text.data(), text.length());
  }
  EncodedString text;
};

// The digits alone, without a text object.
struct Snprintf {
  template <class Look>
  void write(unsigned long number, Look look) {
    char digits[21];
    int const length = std::snprintf(digits, sizeof digits, "%lu", number);
    look(digits, static_cast<std::size_t>(length));
  }
};

struct Absl {
  template <class Look>
  void write(unsigned long number, Look look) {
    std::string const text = absl::StrCat(number);
    look(text.data(), text.size());
  }
};

template <class Writer, int kBase>
void write(benchmark::State& state) {
  std::vector<unsigned long> const all = numbers();
  Writer writer;
  for (unsigned long const number : all) {
    char expected[21];
    std::snprintf(expected, sizeof expected, kBase == 16 ? "%lx" : "%lu", number);
    writer.write(number, [&](char const* text, std::size_t length) {
      if (std::string(text, length) != expected) state.SkipWithError("writes something else");
    });
  }
  for (auto _ : state) {
    for (unsigned long const number : all) {
      writer.write(number, [](char const* text, std::size_t length) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
      });
    }
  }
}

// The readers: each holds a text as it likes it best.

class CulReader {
 public:
  explicit CulReader(std::string const& text) : text_(text.c_str(), EncodedString::kLibraryText) {}
  unsigned long read(int base) const {
    Unsigned_Bits number;
    return number.assign(text_, base) ? number.value() : 0;
  }

 private:
  EncodedString text_;
};

class Strtoul {
 public:
  explicit Strtoul(std::string text) : text_(std::move(text)) {}
  unsigned long read(int base) const { return std::strtoul(text_.c_str(), nullptr, base); }

 private:
  std::string text_;
};

template <class Reader>
void read(benchmark::State& state) {
  int const base = static_cast<int>(state.range(0));
  std::vector<Reader> readers;
  for (unsigned long const number : numbers()) {
    char text[21];
    std::snprintf(text, sizeof text, base == 16 ? "%lx" : "%lu", number);
    readers.emplace_back(text);
    if (readers.back().read(base) != number) state.SkipWithError("reads something else");
  }
  for (auto _ : state) {
    for (Reader const& reader : readers) {
      unsigned long number = reader.read(base);
      benchmark::DoNotOptimize(number);
    }
  }
}

// Many short runs, shuffled, so that a shared machine's slow moments fall on all rows alike.
void often(benchmark::internal::Benchmark* row) { row->MinTime(0.02)->Repetitions(25); }

// An address as a view of memory shows it.
BENCHMARK(write<CulHexadecimal, 16>)->Name("format/cul")->Apply(often);
BENCHMARK(write<ToChars, 16>)->Name("format/to_chars")->Apply(often);

BENCHMARK(write<CulDecimal, 10>)->Name("dec_format/cul")->Apply(often);
BENCHMARK(write<Snprintf, 10>)->Name("dec_format/snprintf")->Apply(often);
BENCHMARK(write<Absl, 10>)->Name("dec_format/absl")->Apply(often);

// In base 10 and in base 16.
BENCHMARK(read<CulReader>)->Name("assign/cul")->Arg(10)->Arg(16)->Apply(often);
BENCHMARK(read<Strtoul>)->Name("assign/strtoul")->Arg(10)->Arg(16)->Apply(often);

}  // namespace
