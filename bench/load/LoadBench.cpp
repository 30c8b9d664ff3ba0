// What a process pays for loading the library, with its companion, and for letting go of both. The
// peer is a pair of libraries with as many classes and as much code, but next to nothing that it
// needs from elsewhere. The C++ run time is there already, for both.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

namespace {

void load(benchmark::State& state, char const* library) {
  if (::dlopen(library, RTLD_NOW | RTLD_NOLOAD) != nullptr) state.SkipWithError("loaded already");
  for (auto _ : state) {
    void* const handle = ::dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr || ::dlclose(handle) != 0) {
      state.SkipWithError(::dlerror());
      break;
    }
  }
  if (::dlopen(library, RTLD_NOW | RTLD_NOLOAD) != nullptr) state.SkipWithError("stays loaded");
}

// Many short runs, shuffled, so that a shared machine's slow moments fall on both rows alike.
void brief(benchmark::internal::Benchmark* row) { row->MinTime(0.005)->Repetitions(200); }

// Everything is bound at once, and every page is given back.
BENCHMARK_CAPTURE(load, cul, CUL_LIBRARY)->Apply(brief);
BENCHMARK_CAPTURE(load, generated, PEER_LIBRARY)->Apply(brief);

}  // namespace
