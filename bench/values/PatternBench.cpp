// Patterns of many bits, read from hexadecimal digits and written as such. A row that gives other
// bytes or other digits fails.
#include <absl/strings/escaping.h>
#include <benchmark/benchmark.h>
#include <gmp.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "cul/values/Bit_Pattern.h"

namespace {

// As many random digits as the bits need, the first of them not 0.
std::string digits(std::int64_t bits, std::string_view set) {
  std::mt19937 random(4096);
  std::string text(static_cast<std::size_t>(bits / 4), set.back());
  for (std::size_t i = 1; i < text.size(); ++i) text[i] = set[random() % 16];
  return text;
}

// The subjects hold a value of so many bits. `parse` makes it, or makes it anew, from a text;
// `format` gives the text of the one that was made last, good until the next call.

class Cul {
 public:
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  explicit Cul(std::int64_t bits) : bits_(static_cast<unsigned int>(bits)) {}
  void keep(std::string const& text) { kept_ = Bit_Pattern(bits_, text.c_str()); }
  void parse(std::string const& text) const {
    Bit_Pattern const parsed(bits_, text.c_str());
    benchmark::DoNotOptimize(parsed.bits());
  }
  std::string_view format() {
    kept_.format(text_);
    return {text_.data(), text_.length()};
  }

 private:
  unsigned int bits_;
  Bit_Pattern kept_{0, ""};
  EncodedString text_;
};

// Number and buffer are made once: GMP takes them from the caller.
class Gmp {
 public:
  static constexpr std::string_view kDigits = Cul::kDigits;
  explicit Gmp(std::int64_t bits) : text_(static_cast<std::size_t>(bits / 4 + 2)) {
    ::mpz_init2(number_, static_cast<mp_bitcnt_t>(bits));
  }
  Gmp(Gmp const&) = delete;
  Gmp& operator=(Gmp const&) = delete;
  ~Gmp() { ::mpz_clear(number_); }
  void keep(std::string const& text) { parse(text); }
  void parse(std::string const& text) { ::mpz_set_str(number_, text.c_str(), 16); }
  std::string_view format() {
    ::mpz_get_str(text_.data(), -16, number_);  // upper case
    return {text_.data(), text_.size() - 2};    // behind them room for a sign, and a zero
  }

 private:
  ::mpz_t number_;
  std::vector<char> text_;
};

class Absl {
 public:
  static constexpr std::string_view kDigits = "0123456789abcdef";  // it writes no others
  explicit Absl(std::int64_t) {}
  void keep(std::string const& text) { bytes_ = absl::HexStringToBytes(text); }
  void parse(std::string const& text) const {
    std::string const parsed = absl::HexStringToBytes(text);
    benchmark::DoNotOptimize(parsed.data());
  }
  std::string_view format() {
    text_ = absl::BytesToHexString(bytes_);
    return text_;
  }

 private:
  std::string bytes_;
  std::string text_;
};

template <class Subject>
void parse(benchmark::State& state) {
  std::string text = digits(state.range(0), Subject::kDigits);
  Subject subject(state.range(0));
  subject.keep(text);
  if (subject.format() != text) state.SkipWithError("reads something else");
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    subject.parse(text);
    benchmark::ClobberMemory();
  }
}

template <class Subject>
void format(benchmark::State& state) {
  std::string const text = digits(state.range(0), Subject::kDigits);
  Subject subject(state.range(0));
  subject.keep(text);
  for (auto _ : state) {
    std::string_view written = subject.format();
    benchmark::DoNotOptimize(written);
    benchmark::ClobberMemory();
  }
  if (subject.format() != text) state.SkipWithError("writes something else");
}

// A vector register, and half a kilobyte.
void bits(benchmark::internal::Benchmark* row) {
  row->Arg(128)->Arg(4096)->MinTime(0.02)->Repetitions(25);
}

BENCHMARK(parse<Cul>)->Name("pattern.parse/cul")->Apply(bits);
BENCHMARK(parse<Gmp>)->Name("pattern.parse/gmp")->Apply(bits);
BENCHMARK(parse<Absl>)->Name("pattern.parse/absl")->Apply(bits);

BENCHMARK(format<Cul>)->Name("pattern.format/cul")->Apply(bits);
BENCHMARK(format<Gmp>)->Name("pattern.format/gmp")->Apply(bits);
BENCHMARK(format<Absl>)->Name("pattern.format/absl")->Apply(bits);

}  // namespace
