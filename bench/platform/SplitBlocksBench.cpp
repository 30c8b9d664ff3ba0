// Taking a command line apart allocates no block for a character: a row that counts more than two
// blocks a word fails. This row has no peer, and a program of its own: counting costs time.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "bench/platform/CommandLines.h"
#include "bench/support/Allocations.h"
#include "cul/platform/CUL_Api.h"

namespace {

// Two: the word's object, and for its text and for what the list grows by.
void split(benchmark::State& state) {
  std::int64_t blocks = 0, words = 0;
  for (auto _ : state) {
    blocks = words = 0;
    for (char const* const line : kCommandLines) {
      EncodedString const text(line, EncodedString::kLibraryText);
      List<EncodedString*> found;
      std::int64_t const before = allocations;
      CUL_Api::split(text, found);
      blocks += allocations - before;
      words += found.count();
      found.deleteElements();
    }
    if (blocks < words) state.SkipWithError("allocations are not counted");
    if (blocks > 2 * words) state.SkipWithError("too much was allocated");
  }
  state.counters["blocks"] = static_cast<double>(blocks);
  state.counters["words"] = static_cast<double>(words);
}

BENCHMARK(split)->Name("blocks.split/cul");

}  // namespace
