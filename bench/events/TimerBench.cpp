// Timers, held against Boost.Asio's. An Asio timer is an object that lives until it has fired, so
// its user allocates two blocks for each: the timer, which the handler owns here and takes with it,
// and what async_wait makes. We allocate the event. Everything is measured in the processor time of
// the one thread there is.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "bench/events/Conditions.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/events/EventDispatcherBase.h"

namespace {

using Delays = std::vector<std::uint32_t>;  // microseconds

constexpr std::uint32_t kFarAhead = 1'000'000'000;  // over a quarter of an hour

std::int64_t fired = 0;

class CulTimers {
 public:
  void post(std::uint32_t delay) { dispatcher_.post(*new Timer(delay), 1); }
  void runDue() {
    dispatcher_.post(*new End(dispatcher_), 1);
    dispatcher_.dispatchLoop();
  }

 private:
  class Timer : public CUL_Timer_Event {
   public:
    using CUL_Timer_Event::CUL_Timer_Event;
    void handle_it() override { ++fired; }
  };

  // A timer too, for plain events go first. Due after all that were due when it was posted.
  class End : public CUL_Timer_Event {
   public:
    explicit End(EventDispatcherBase& dispatcher) : CUL_Timer_Event(0), dispatcher_(dispatcher) {}
    void handle_it() override { dispatcher_.destroy(); }

   private:
    EventDispatcherBase& dispatcher_;
  };

  EventDispatcherBase dispatcher_{1};
};

class AsioTimers {
 public:
  void post(std::uint32_t delay) {
    auto timer =
        std::make_unique<boost::asio::steady_timer>(context_, std::chrono::microseconds(delay));
    auto& armed = *timer;
    armed.async_wait([owned = std::move(timer)](boost::system::error_code) { ++fired; });
  }
  void runDue() { context_.run(); }

 private:
  boost::asio::io_context context_{1};
};

template <class Timers>
void postAll(Timers& timers, Delays const& delays) {
  for (auto const delay : delays) timers.post(delay);
}

Delays ascending(benchmark::State const& state) {
  Delays delays(static_cast<std::size_t>(state.range(0)));
  std::iota(delays.begin(), delays.end(), kFarAhead);
  return delays;
}

template <class Timers>
void postFarAhead(benchmark::State& state, Delays const& delays) {
  yields = false;
  settle();
  for (auto _ : state) {
    Timers timers;
    double const begin = cpuSeconds();
    postAll(timers, delays);
    state.SetIterationTime(cpuSeconds() - begin);
  }
}

template <class Timers>
void inOrder(benchmark::State& state) {
  postFarAhead<Timers>(state, ascending(state));
}

template <class Timers>
void inAnyOrder(benchmark::State& state) {
  std::mt19937 random(1883);
  Delays delays = ascending(state);
  std::shuffle(delays.begin(), delays.end(), random);
  postFarAhead<Timers>(state, delays);
}

template <class Timers>
void fire(benchmark::State& state) {
  yields = false;
  settle();
  Delays const delays(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    fired = 0;
    Timers timers;
    postAll(timers, delays);
    double const begin = cpuSeconds();
    timers.runDue();
    state.SetIterationTime(cpuSeconds() - begin);
    if (fired != state.range(0)) state.SkipWithError("lost a timer");
  }
}

// Many short runs, shuffled, so that a shared machine's slow moments fall on all rows alike.
void few(benchmark::internal::Benchmark* row) {
  row->Arg(1'000)->Arg(10'000)->MinTime(0.005)->Repetitions(50)->UseManualTime();
  row->Unit(benchmark::kMicrosecond);
}
void many(benchmark::internal::Benchmark* row) { row->Apply(few)->Arg(100'000); }

// What a poster pays for timers that come in the order of their due times, as most do.
BENCHMARK(inOrder<CulTimers>)->Name("timer.ascending/cul")->Apply(many);
BENCHMARK(inOrder<AsioTimers>)->Name("timer.ascending/asio")->Apply(many);

// The same in no order, where ours move up to half of those that are there already.
BENCHMARK(inAnyOrder<CulTimers>)->Name("timer.random/cul")->Apply(few);
BENCHMARK(inAnyOrder<AsioTimers>)->Name("timer.random/asio")->Apply(few);

// What the loop pays for timers that are all due.
BENCHMARK(fire<CulTimers>)->Name("timer.fire/cul")->Apply(many);
BENCHMARK(fire<AsioTimers>)->Name("timer.fire/asio")->Apply(many);

}  // namespace
