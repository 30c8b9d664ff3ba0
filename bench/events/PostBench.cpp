// Posting events that do next to nothing, and running them: what a dispatcher costs by itself. All
// loops are given the same objects, and a row in which not every event has run fails.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <latch>
#include <thread>
#include <vector>

#include "bench/events/Conditions.h"
#include "bench/events/Loops.h"

namespace {

constexpr std::int64_t kMany = 1'000'000;

std::int64_t ran = 0;  // counted by the thread that runs the loop

class Count : public CUL_Event {
 public:
  void handle_it() override { ++ran; }
};

template <class Loop>
void post(Loop& loop, std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) loop.post(new Count);
}

// From the moment that the posters are let go until the last event has run.
template <class Loop>
double secondsLive(std::int64_t posters) {
  Loop loop;
  std::latch start(1);
  std::vector<std::jthread> threads;
  for (std::int64_t i = 0; i < posters; ++i) {
    threads.emplace_back([&] {
      start.wait();
      post(loop, kMany / posters);
    });
  }
  std::jthread runner([&] { loop.run(); });
  auto const begin = std::chrono::steady_clock::now();
  start.count_down();
  threads.clear();
  loop.end();
  runner.join();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

template <class Loop, bool kYields>
void live(benchmark::State& state) {
  yields = kYields;
  settle();
  for (auto _ : state) {
    ran = 0;
    state.SetIterationTime(secondsLive<Loop>(state.range(0)));
    if (ran != kMany) state.SkipWithError("lost an event");
  }
}

// The thread that posts runs the loop afterwards: nobody waits for anybody.
template <class Loop, std::int64_t kParts>
void backlog(benchmark::State& state) {
  yields = false;
  settle();
  std::int64_t const events = state.range(0);
  for (auto _ : state) {
    ran = 0;
    for (std::int64_t i = 0; i < kParts; ++i) {
      Loop loop;
      post(loop, events / kParts);
      loop.end();
      loop.run();
    }
    if (ran != events) state.SkipWithError("lost an event");
  }
}

void posters(benchmark::internal::Benchmark* row) {
  row->Arg(1)->Arg(4)->Iterations(1)->Repetitions(10)->UseManualTime();
  row->Unit(benchmark::kMillisecond);
}
void backlogs(benchmark::internal::Benchmark* row) {
  row->MinTime(0.01)->Repetitions(25)->Unit(benchmark::kMillisecond);
}
void lengths(benchmark::internal::Benchmark* row) { row->Arg(10'000)->Arg(kMany)->Apply(backlogs); }

// A million events from one thread, or from four, to a loop that keeps up as best it can and yields
// the processor once an event.
BENCHMARK(live<CulLoop, true>)->Name("post.yield/cul")->Apply(posters);
BENCHMARK(live<CondvarLoop, true>)->Name("post.yield/condvar")->Apply(posters);

// The same without the yield, which Asio does not have.
BENCHMARK(live<CulLoop, false>)->Name("post.live/cul")->Apply(posters);
BENCHMARK(live<CondvarLoop, false>)->Name("post.live/condvar")->Apply(posters);
BENCHMARK(live<AsioLoop, false>)->Name("post.live/asio")->Apply(posters);

// The processor time of posting and running when the loop begins after the last post.
BENCHMARK(backlog<CulLoop, 1>)->Name("post.backlog/cul")->Apply(lengths);
BENCHMARK(backlog<CondvarLoop, 1>)->Name("post.backlog/condvar")->Apply(lengths);
BENCHMARK(backlog<AsioLoop, 1>)->Name("post.backlog/asio")->Apply(lengths);

// Whether an event of a long backlog costs more than one of a short one: a million at once, or in a
// hundred parts.
BENCHMARK(backlog<CulLoop, 1>)->Name("post.length/cul")->Arg(kMany)->Apply(backlogs);
BENCHMARK(backlog<CulLoop, 100>)->Name("post.length/parts")->Arg(kMany)->Apply(backlogs);

}  // namespace
