// The dispatcher under every schedule of a few threads that has at most two preemptions. Lock,
// semaphore, clock and yield of the companion are defined here. One thread runs at a time; at each
// of these operations, in an event that runs and in an event's destructor another may go on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include "quonutil/threads/ElapsedTime.h"
#include "quonutil/threads/StdThread.h"
#include "tests/events/TestDispatcher.h"

namespace {

constexpr int kPreemptions = 2;
constexpr unsigned long kNever = ~0UL, kLastResort = kNever - 1;

struct Choice {
  std::size_t taken, of;
};

// Where a thread waits for its turn. It does one body after the other, until it gets none.
struct Seat {
  Seat() : thread([this] { work(); }) {}
  ~Seat() {
    body = nullptr;
    turn.release();
    thread.join();
  }
  void work();
  bool canGoOn() const { return !isOver && (!isReady || isReady()); }

  std::function<void()> body;
  std::function<bool()> isReady;
  unsigned long limit = kNever;
  bool isOver = true;
  std::binary_semaphore turn{0};
  std::thread thread;
};
thread_local Seat* self = nullptr;

// One course of the threads. `choices` says which turns it takes, as far as that reaches, and
// learns the others.
class Schedule {
 public:
  Schedule(std::vector<Choice>& choices, std::vector<Seat>& seats)
      : choices_(choices), seats_(seats) {
    current = this;
  }

  void run() {
    for (Seat& seat : seats_) seat.isOver = false;
    passOn();
    over_.acquire();
  }

  // Another thread may go on here, and this one when `isReady`, or when the clock has come to
  // `limit`. The last resort is for when nobody can go on.
  void pause(std::function<bool()> isReady, unsigned long limit = kNever) {
    self->isReady = std::move(isReady);
    self->limit = limit;
    passOn();
    self->turn.acquire();
    if (!self->canGoOn() && limit < kLastResort) clock = std::max(clock, limit);
  }

  // Gives the next turn to whoever can go on: to the calling thread, or as a preemption, when it
  // can go on, to another.
  void passOn() {
    std::vector<Seat*> found;
    bool const goesOn = self != nullptr && self->canGoOn();
    if (goesOn) found.push_back(self);
    if (!goesOn || preempted_ < kPreemptions) {
      add(found, [&](Seat& seat) {
        return !(goesOn && &seat == self) && (seat.canGoOn() || seat.limit < kLastResort);
      });
    }
    if (found.empty()) {
      add(found, [](Seat& seat) { return seat.limit == kLastResort; });
      lost += !found.empty();
    }
    if (found.empty()) {
      add(found, [](Seat&) -> bool { std::abort(); });  // each waits for the lock
      return over_.release();
    }
    if (found.size() > 1 && step_ == choices_.size()) choices_.push_back({0, found.size()});
    std::size_t const taken = found.size() > 1 ? choices_[step_++].taken : 0;
    preempted_ += goesOn && taken != 0;
    found[taken]->turn.release();
  }

  static inline Schedule* current = nullptr;
  unsigned long clock = 1'000'000;
  bool isGateOpen = false;
  Seat* holder = nullptr;  // of the lock
  int lost = 0;            // wake-ups

 private:
  template <class Fits>
  void add(std::vector<Seat*>& found, Fits fits) {
    for (Seat& seat : seats_) {
      if (!seat.isOver && fits(seat)) found.push_back(&seat);
    }
  }

  std::vector<Choice>& choices_;
  std::vector<Seat>& seats_;
  static inline std::binary_semaphore over_{0};  // outlives whoever releases it
  std::size_t step_ = 0;
  int preempted_ = 0;
};

void Seat::work() {
  self = this;
  for (turn.acquire(); body; turn.acquire()) {
    body();
    isOver = true;
    isReady = nullptr;
    limit = kNever;
    Schedule::current->passOn();
  }
}

void point() {
  if (self != nullptr) Schedule::current->pause(nullptr);
}

bool isMute = false;  // the mistake that must be found: to post the semaphore does nothing

}  // namespace

unsigned long ElapsedTime::now() noexcept { return Schedule::current->clock; }

void StdThread::thread_yield() noexcept { point(); }

void UNIX_Critical_Section::request(char const*, unsigned int) noexcept {
  Schedule& course = *Schedule::current;
  if (self != nullptr) course.pause([&] { return course.holder == nullptr; });
  course.holder = self;
}

void UNIX_Critical_Section::release(char const*, unsigned int) noexcept {
  Schedule::current->holder = nullptr;
  point();
}

void UNIX_Event_Semaphore::post() noexcept {
  point();
  Schedule::current->isGateOpen |= !isMute;
}

void UNIX_Event_Semaphore::reset() noexcept {
  point();
  Schedule::current->isGateOpen = false;
}

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale, bool) noexcept {
  Schedule& course = *Schedule::current;
  course.pause([&] { return course.isGateOpen; },
               time == 1'000 ? kLastResort : course.clock + 1'000 * time);
  return course.isGateOpen;
}

namespace {

// What each thread does, beside the one that dispatches:
// 1, 2 and 3 post an event with that priority, t posts a timer, b holds the upper of two levels
// back and r releases it, w waits until every event has come to its end, d destroys.
using Scenario = std::vector<std::string>;

// A dispatcher, and what becomes of the events that are posted to it.
class World {
 public:
  void act(char step) {
    switch (step) {
      case 'b': return dispatcher.block(1);
      case 'r': return dispatcher.block(2);
      case 'd': return dispatcher.destroy();
      case 't': return post(2, 2'500);
      case 'w': return Schedule::current->pause([this] { return ends_ == events; });
      default: return post(static_cast<unsigned char>(step - '0'), 0);
    }
  }

  // Each event came to one end: discarded with the lock held; or else run, or left to its poster,
  // or, one at most, taken off its queue too late to run.
  bool isSound() const {
    int late = 0;
    for (Fate const& fate : fates_) {
      late += fate.isTaken && fate.end == kUnrun;
      bool const isRight = fate.isTaken ? (fate.end == kPurged) == fate.locked : fate.end == kUnrun;
      if (fate.ends != 1 || !isRight) return false;
    }
    return late <= 1;
  }

  EventDispatcherBase dispatcher{2};
  long events = 0;

 private:
  struct Fate {
    int ends = 0;
    End end = kUnrun;
    bool locked = false, isTaken = false;
  };

  void post(unsigned char priority, unsigned long delay) {
    std::size_t const number = fates_.size();
    fates_.emplace_back();
    auto const note = [=, this](End end) {
      point();
      Fate& fate = fates_[number];
      fate = {fate.ends + 1, end, Schedule::current->holder == self, fate.isTaken};
      ++ends_;
    };
    auto event = std::make_unique<Timer>(point, note, delay);
    if (delay == 0) event->becomePlain();
    bool const isTaken = dispatcher.post(*event, priority);
    fates_[number].isTaken = isTaken;
    if (isTaken) static_cast<void>(event.release());
  }

  std::vector<Fate> fates_;
  long ends_ = 0;
};

// Goes through all schedules, depth first, and gives how many wake-ups were lost.
int explore(Scenario const& scenario) {
  std::vector<Seat> seats(scenario.size() + 1);
  std::vector<Choice> choices;
  int courses = 0, lost = 0;
  do {
    Schedule schedule(choices, seats);
    World world;
    seats[0].body = [&] { world.dispatcher.dispatchLoop(); };
    for (std::size_t i = 0; i < scenario.size(); ++i) {
      for (char step : scenario[i]) world.events += std::string("123t").find(step) < 4;
      seats[i + 1].body = [&, i] {
        for (char step : scenario[i]) world.act(step);
      };
    }
    schedule.run();
    ++courses;
    lost += schedule.lost;
    EXPECT_TRUE(world.isSound()) << "schedule " << courses;
    while (!choices.empty() && ++choices.back().taken == choices.back().of) choices.pop_back();
  } while (!choices.empty() && !testing::Test::HasFailure());
  std::printf("%6d schedules of %s\n", courses, testing::PrintToString(scenario).c_str());
  return lost;
}

Scenario const kScenarios[] = {{"23", "brwd"}, {"1", "t2wd"}, {"t3", "brwd"},
                               {"12d"},        {"12d", "d"},  {"1t", "d"}};

TEST(Schedule, NoWakeUpIsLostAndEachEventEndsOnce) {
  for (auto const& scenario : kScenarios) EXPECT_EQ(explore(scenario), 0);
}

TEST(Schedule, SeesThatNobodyIsWoken) {
  isMute = true;
  for (auto const& scenario : kScenarios) EXPECT_GT(explore(scenario), 0);
}

}  // namespace
