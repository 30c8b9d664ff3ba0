// Short texts, up to 15 bytes, held against std::string doing the same. None of the rows may
// allocate: one that does fails.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/support/Allocations.h"
#include "quonutil/text/EncodedString.h"

namespace {

struct Cul {
  using Text = EncodedString;
  static Text make(char const* source) { return Text(source, EncodedString::kLibraryText); }
};

struct Std {
  using Text = std::string;
  static Text make(char const* source) { return Text(source); }
};

// Fails the row when something was allocated since, and when nothing would have been noticed.
class NoAllocation {
 public:
  explicit NoAllocation(benchmark::State& state) : state_(state) {
    Cul::make("a text that is too long to lie inside the object");
    if (allocations == 0) state_.SkipWithError("allocations are not counted");
    before_ = allocations;
  }
  NoAllocation(NoAllocation const&) = delete;
  NoAllocation& operator=(NoAllocation const&) = delete;
  ~NoAllocation() {
    if (allocations != before_) state_.SkipWithError("a short text was allocated");
  }

 private:
  benchmark::State& state_;
  std::int64_t before_;
};

std::string letters(benchmark::State const& state) {
  return std::string("libexample.so.1").substr(0, static_cast<std::size_t>(state.range(0)));
}

template <class Library>
void make(benchmark::State& state) {
  std::string const text = letters(state);
  char const* source = text.c_str();
  NoAllocation const guard(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(source);
    auto made = Library::make(source);
    benchmark::DoNotOptimize(made);
  }
}

template <class Library>
void copy(benchmark::State& state) {
  auto original = Library::make(letters(state).c_str());
  NoAllocation const guard(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(original);
    auto copied = original;
    benchmark::DoNotOptimize(copied);
  }
}

// Once with an equal text, once with one whose last letter differs.
template <class Library>
void compare(benchmark::State& state) {
  std::string text = letters(state);
  auto left = Library::make(text.c_str());
  auto equal = left;
  text.back() = '?';
  auto other = Library::make(text.c_str());
  NoAllocation const guard(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(left);
    benchmark::DoNotOptimize(equal);
    benchmark::DoNotOptimize(other);
    bool same = left == equal;
    bool different = left != other;
    benchmark::DoNotOptimize(same);
    benchmark::DoNotOptimize(different);
    if (!same || !different) state.SkipWithError("wrong answer");
  }
}

// Two halves into a text of the row's length.
template <class Library>
void join(benchmark::State& state) {
  std::string const text = letters(state);
  auto left = Library::make(text.substr(0, text.size() / 2).c_str());
  auto right = Library::make(text.substr(text.size() / 2).c_str());
  NoAllocation const guard(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(left);
    benchmark::DoNotOptimize(right);
    auto joined = left + right;
    benchmark::DoNotOptimize(joined);
  }
}

// Many short runs, shuffled, so that a shared machine's slow moments fall on all rows alike.
void lengths(benchmark::internal::Benchmark* row) {
  row->Arg(4)->Arg(8)->Arg(15)->MinTime(0.005)->Repetitions(200);
}

// What a text costs that comes from a C string, such as a name from readdir.
BENCHMARK(make<Cul>)->Name("make/cul")->Apply(lengths);
BENCHMARK(make<Std>)->Name("make/string")->Apply(lengths);

// What it costs to keep a text that somebody else owns.
BENCHMARK(copy<Cul>)->Name("copy/cul")->Apply(lengths);
BENCHMARK(copy<Std>)->Name("copy/string")->Apply(lengths);

// What one step of a search through names costs.
BENCHMARK(compare<Cul>)->Name("compare/cul")->Apply(lengths);
BENCHMARK(compare<Std>)->Name("compare/string")->Apply(lengths);

// What it costs to put a name behind a directory.
BENCHMARK(join<Cul>)->Name("join/cul")->Apply(lengths);
BENCHMARK(join<Std>)->Name("join/string")->Apply(lengths);

}  // namespace
