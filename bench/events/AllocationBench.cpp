// A dispatcher allocates nothing but the room of its queues: a row that counts a block more fails.
// These rows have no peer.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "bench/events/Conditions.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/events/EventDispatcherBase.h"
#include "quonutil/threads/StdThread.h"

namespace {

constexpr unsigned long kFarAhead = 1'000'000'000;  // microseconds

std::atomic<bool> counts = false;  // the other rows of this program do not pay for the counting
std::atomic<std::int64_t> allocations = 0;

}  // namespace

// Stand in for the C++ library's, for our libraries too. Not inlined, as those are not.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (counts.load(std::memory_order_relaxed)) ++allocations;
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

// Fails the row when more blocks were allocated since than allowed, and when nothing was counted.
class Allowance {
 public:
  Allowance(benchmark::State& state, std::int64_t allowed) : state_(state), allowed_(allowed) {
    allocations = 0;
    counts = true;
    EventDispatcherBase const something(1);
    if (allocations == 0) state_.SkipWithError("allocations are not counted");
    allocations = 0;
  }
  Allowance(Allowance const&) = delete;
  Allowance& operator=(Allowance const&) = delete;
  ~Allowance() {
    counts = false;
    if (allocations > allowed_) state_.SkipWithError("something was allocated");
    state_.counters["allocations"] = static_cast<double>(allocations);
  }

 private:
  benchmark::State& state_;
  std::int64_t allowed_;
};

// One whose events are taken by hand.
struct Dispatcher : EventDispatcherBase {
  Dispatcher() : EventDispatcherBase(3) {}
  using EventDispatcherBase::_waitpop;
};

class Timer : public CUL_Timer_Event {
 public:
  using CUL_Timer_Event::CUL_Timer_Event;
};

// The same event is posted, found by a scan and taken, again and again. One that is not due at once
// has the thread wait.
void postAndTake(benchmark::State& state, CUL_Timer_Event& timer) {
  yields = false;
  Dispatcher dispatcher;
  StdThread::currentThread();  // made at its first use
  Allowance const none(state, 0);
  for (auto _ : state) {
    timer.setTimeoutTime();
    dispatcher.post(timer, 2);
    if (dispatcher._waitpop() != &timer) state.SkipWithError("took something else");
  }
}

void scan(benchmark::State& state) {
  Timer timer(0);
  postAndTake(state, timer);
}

void wait(benchmark::State& state) {
  Timer timer(500);
  postAndTake(state, timer);
}

// An event each, and a queue that grows by half of what it holds.
void grow(benchmark::State& state) {
  Dispatcher dispatcher;
  Allowance const growth(state, static_cast<std::int64_t>(state.max_iterations) + 40);
  for (auto _ : state) dispatcher.post(*new Timer(kFarAhead), 1);
}

// What a poster and the loop pay for one event that is due at once, nothing else being queued.
BENCHMARK(scan)->Name("allocations.scan/cul");

// The same for one that is due in half a millisecond: one scan that finds nothing, one wait.
BENCHMARK(wait)->Name("allocations.wait/cul")->Iterations(50);

// A hundred thousand that stay queued.
BENCHMARK(grow)->Name("allocations.grow/cul")->Iterations(100'000);

}  // namespace
