// Taking command lines apart into words, and deleting these. A row that gives other words than its
// peer fails.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <vector>

#include "bench/platform/CommandLines.h"
#include "cul/platform/CUL_Api.h"
#include "llvm/ADT/SmallVector.h"
#include "llvm/Support/Allocator.h"
#include "llvm/Support/CommandLine.h"
#include "llvm/Support/StringSaver.h"

namespace {

// The subjects: each takes a line apart, shows the words to `look` and lets go of them.

class Cul {
 public:
  explicit Cul(char const* line) : line_(line, EncodedString::kLibraryText) {}
  template <class Look>
  void split(Look look) const {
    List<EncodedString*> words;
    CUL_Api::split(line_, words);
    look(words.count(), [&](unsigned int i) { return words[i]->data(); });
    words.deleteElements();
  }

 private:
  EncodedString line_;
};

class Llvm {
 public:
  explicit Llvm(char const* line) : line_(line) {}
  template <class Look>
  void split(Look look) const {
    llvm::BumpPtrAllocator storage;
    llvm::StringSaver saver(storage);
    llvm::SmallVector<char const*, 32> words;
    llvm::cl::TokenizeGNUCommandLine(line_, saver, words);
    look(words.size(), [&](unsigned int i) { return words[i]; });
  }

 private:
  std::string line_;
};

template <class Subject>
std::vector<std::string> wordsOf(char const* line) {
  std::vector<std::string> all;
  Subject(line).split([&](std::size_t count, auto word) {
    for (unsigned int i = 0; i < count; ++i) all.emplace_back(word(i));
  });
  return all;
}

template <class Subject>
void split(benchmark::State& state) {
  std::vector<Subject> subjects;
  for (char const* const line : kCommandLines) {
    subjects.emplace_back(line);
    if (wordsOf<Cul>(line) != wordsOf<Llvm>(line)) state.SkipWithError("the words differ");
    if (wordsOf<Subject>(line).size() != 20) state.SkipWithError("not twenty words");
  }
  for (auto _ : state) {
    for (Subject const& subject : subjects) {
      subject.split([](std::size_t count, auto word) {
        benchmark::DoNotOptimize(count);
        benchmark::DoNotOptimize(word(0));
      });
    }
  }
}

void often(benchmark::internal::Benchmark* row) { row->MinTime(0.05)->Repetitions(15); }

BENCHMARK(split<Cul>)->Name("split/cul")->Apply(often);
BENCHMARK(split<Llvm>)->Name("split/llvm")->Apply(often);

}  // namespace
