// An event that goes to and fro between two dispatchers, each on a thread of its own, held against
// the system calls that nobody can do without: each thread sleeps on a futex, and wakes the other
// by it. An event is made for each hop, since a dispatcher deletes what has run.
#include <benchmark/benchmark.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <semaphore>
#include <thread>

#include "bench/events/Conditions.h"
#include "cul/events/CUL_Event.h"
#include "cul/events/CUL_EventDispatcher.h"

namespace {

constexpr int kTrips = 1'000;

// The processors of the two threads; the same one twice, or -1 where there is none.
struct Processors {
  int first;
  int second;
};

Processors choose(int number) {
  cpu_set_t allowed;
  ::sched_getaffinity(0, sizeof allowed, &allowed);
  int found[] = {-1, -1};
  for (int cpu = 0, n = 0; cpu < CPU_SETSIZE && n < number; ++cpu) {
    if (CPU_ISSET(static_cast<std::size_t>(cpu), &allowed)) found[n++] = cpu;
  }
  return {found[0], found[number - 1]};
}

void stayOn(int processor) {
  cpu_set_t only;
  CPU_ZERO(&only);
  CPU_SET(static_cast<std::size_t>(processor), &only);
  ::sched_setaffinity(0, sizeof only, &only);
}

class Watch {
 public:
  void start() { begin_ = std::chrono::steady_clock::now(); }
  void stop() { seconds_ = std::chrono::steady_clock::now() - begin_; }
  double seconds() const { return seconds_.count(); }

 private:
  std::chrono::steady_clock::time_point begin_;
  std::chrono::duration<double> seconds_{};
};

// The subjects: a match of kTrips round trips, timed by the side that begins.

class CulMatch {
 public:
  explicit CulMatch(Processors processors) {
    sides_[0].post(*new Pin(processors.first), 1);
    sides_[1].post(*new Pin(processors.second), 1);
    sides_[0].post(*new Ball(*this), 1);
    over_.acquire();
    for (auto& side : sides_) side.destroy();
    for (auto& side : sides_) side.join();
  }
  double seconds() const { return watch_.seconds(); }

 private:
  class Pin : public CUL_Event {
   public:
    explicit Pin(int processor) : processor_(processor) {}
    void handle_it() override { stayOn(processor_); }

   private:
    int processor_;
  };

  class Ball : public CUL_Event {
   public:
    explicit Ball(CulMatch& match) : match_(match) {}
    void handle_it() override { match_.hit(); }

   private:
    CulMatch& match_;
  };

  // The first trip is for warming up: the other side may be starting still.
  void hit() {
    if (hits_ == 2) watch_.start();
    if (hits_ == 2 + 2 * kTrips) {
      watch_.stop();
      over_.release();
      return;
    }
    ++hits_;
    sides_[hits_ % 2].post(*new Ball(*this), 1);
  }

  int hits_ = 0;  // touched only by the side that has the ball
  Watch watch_;
  std::binary_semaphore over_{0};
  CUL_EventDispatcher sides_[2] = {{"first", 1, 0}, {"second", 1, 0}};
};

class Futex {
 public:
  void wake() {
    word_ = 1;
    call(FUTEX_WAKE_PRIVATE, 1);
  }
  void wait() {
    while (word_.exchange(0) == 0) call(FUTEX_WAIT_PRIVATE, 0);
  }

 private:
  void call(int operation, std::uint32_t value) {
    ::syscall(SYS_futex, &word_, operation, value, nullptr, nullptr, 0);
  }

  std::atomic<std::uint32_t> word_{0};
};

// With kYields each gives up the processor once it is awake, as a dispatcher does with each event.
template <bool kYields>
class FutexMatch {
 public:
  explicit FutexMatch(Processors processors) {
    std::jthread const answering([&] {
      stayOn(processors.second);
      for (int i = 0; i <= kTrips; ++i) {
        wait(second_);
        first_.wake();
      }
    });
    std::jthread const beginning([&] {
      stayOn(processors.first);
      trips(1);
      watch_.start();
      trips(kTrips);
      watch_.stop();
    });
  }
  double seconds() const { return watch_.seconds(); }

 private:
  void trips(int count) {
    for (int i = 0; i < count; ++i) {
      second_.wake();
      wait(first_);
    }
  }

  static void wait(Futex& side) {
    side.wait();
    if (kYields) ::sched_yield();
  }

  Watch watch_;
  Futex first_;
  Futex second_;
};

template <class Match, int kProcessors, bool kYields>
void roundTrip(benchmark::State& state) {
  yields = kYields;
  settle();
  auto const processors = choose(kProcessors);
  if (processors.second < 0) {
    state.SkipWithError("too few processors");
    return;
  }
  for (auto _ : state) {
    Match const match(processors);
    state.SetIterationTime(match.seconds());
  }
}

// The time of a thousand trips. Short runs, shuffled, as everywhere.
void trips(benchmark::internal::Benchmark* row) {
  row->Iterations(1)->Repetitions(60)->UseManualTime()->Unit(benchmark::kMillisecond);
}

// What it takes to get an answer from a thread that sleeps on another processor.
BENCHMARK(roundTrip<CulMatch, 2, true>)->Name("trip.two/cul")->Apply(trips);
BENCHMARK(roundTrip<FutexMatch<false>, 2, true>)->Name("trip.two/futex")->Apply(trips);
BENCHMARK(roundTrip<FutexMatch<true>, 2, true>)->Name("trip.two/futex-yield")->Apply(trips);

// The same on one processor, where nothing hides the work. Without the yield: it would hand over
// the processor before there is anything to do.
BENCHMARK(roundTrip<CulMatch, 1, false>)->Name("trip.one/cul")->Apply(trips);
BENCHMARK(roundTrip<FutexMatch<false>, 1, false>)->Name("trip.one/futex")->Apply(trips);

}  // namespace
