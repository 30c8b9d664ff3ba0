// The dispatcher under every schedule of a few threads that has at most two preemptions. Lock,
// semaphore and yield of the companion are defined here. One thread runs at a time; at each wait
// and release of theirs, in an event that runs and in an event's destructor another may go on.

#include <deque>

#include "quonutil/threads/StdThread.h"
#include "tests/events/TestDispatcher.h"

namespace {

constexpr int kPreemptions = 2;

struct Choice {
  std::size_t taken, of;
};

// Where a thread waits for its turn.
struct Seat {
  bool canGoOn() const { return !isOver && (!isReady || isReady()); }

  std::function<bool()> isReady;
  bool isAsleep = false;  // so that it goes on at last though it is not ready
  bool isOver = false;
  std::binary_semaphore turn{0};
};
thread_local Seat* self = nullptr;
thread_local int yields = 0;  // since an event ran, each with the lock held

// One course of the threads. `choices` says which turns it takes, as far as that reaches, and
// learns the others.
class Schedule {
 public:
  explicit Schedule(std::vector<Choice>& choices) : choices_(choices) { current = this; }

  void run(std::size_t count, std::function<void(std::size_t)> const& body) {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < count; ++i) {
      threads.emplace_back([this, i, &body, &seat = seats_.emplace_back()] {
        self = &seat;
        seat.turn.acquire();
        body(i);
        seat.isOver = true;
        passOn();
      });
    }
    passOn();
  }

  // Another thread may go on here, and this one when `isReady`.
  void pause(std::function<bool()> isReady, bool isAsleep = false) {
    if (self == nullptr) return;  // the others are not there
    self->isReady = std::move(isReady);
    self->isAsleep = isAsleep;
    passOn();
    self->turn.acquire();
  }

  static inline Schedule* current = nullptr;
  bool isGateOpen = false;
  Seat* holder = nullptr;  // of the lock
  int lost = 0;            // wake-ups

 private:
  // Gives the next turn to whoever can go on: to the calling thread, or as a preemption, when it
  // can go on, to another. When nobody can, a wake-up of the one that is asleep was lost.
  void passOn() {
    bool const goesOn = self != nullptr && self->canGoOn();
    std::vector<Seat*> found(goesOn ? 1 : 0, self);
    for (Seat& seat : seats_) {
      bool const mayNow = &seat != self && (!goesOn || preempted_ < kPreemptions);
      if (mayNow && seat.canGoOn()) found.push_back(&seat);
    }
    for (Seat& seat : seats_) {
      if (!found.empty() || seat.isOver) continue;
      if (!seat.isAsleep) std::abort();  // each waits for the lock
      found.push_back(&seat);
      ++lost;
    }
    if (found.empty()) return;
    if (step_ == choices_.size()) choices_.push_back({0, found.size()});
    std::size_t const taken = choices_[step_++].taken;
    preempted_ += goesOn && taken != 0;
    found[taken]->turn.release();
  }

  std::vector<Choice>& choices_;
  std::deque<Seat> seats_;
  std::size_t step_ = 0;
  int preempted_ = 0;
};

void point() { Schedule::current->pause(nullptr); }

}  // namespace

void UNIX_Critical_Section::request(char const*, unsigned int) noexcept {
  Schedule& course = *Schedule::current;
  course.pause([&] { return course.holder == nullptr; });
  course.holder = self;
}

void UNIX_Critical_Section::release(char const*, unsigned int) noexcept {
  Schedule::current->holder = nullptr;
  point();
}

void UNIX_Event_Semaphore::post() noexcept { Schedule::current->isGateOpen = true; }

void UNIX_Event_Semaphore::reset() noexcept { Schedule::current->isGateOpen = false; }

bool UNIX_Event_Semaphore::wait(unsigned long, WaitTimeScale, bool) noexcept {
  Schedule& course = *Schedule::current;
  course.pause([&] { return course.isGateOpen; }, true);
  return course.isGateOpen;
}

void StdThread::thread_yield() noexcept { yields += Schedule::current->holder == self ? 1 : 2; }

namespace {

// What each thread does, beside the one that dispatches: 1, 2 and 3 post an event with that
// priority, 0 posts a timer that is due, b holds the upper of two levels back and r releases it, w
// waits until what was posted has come to its end, d destroys.
using Scenario = std::vector<std::string>;

// A dispatcher, and what becomes of the events that are posted to it.
class World {
 public:
  void act(char step) {
    switch (step) {
      case 'b': return dispatcher.block(1);
      case 'r': return dispatcher.block(2);
      case 'd': return dispatcher.destroy();
      case '0': return post(2, 0);
      case 'w': return Schedule::current->pause([this] { return ends_ == fates.size(); });
      default: return post(static_cast<unsigned char>(step - '0'), {});
    }
  }

  TestDispatcher dispatcher{2};
  // Of each event: "+" when it was taken, "-" when not; how it came to be deleted; and "!" for what
  // must not be.
  std::vector<std::string> fates;

 private:
  void post(unsigned char priority, Event::Delay delay) {
    std::size_t const number = fates.size();
    fates.emplace_back();
    auto const work = [=, this] {
      if (dispatcher.destroyed || std::exchange(yields, 0) != 1) fates[number] += "!";
      point();
    };
    auto const note = [=, this](char how) {
      point();
      fates[number] += how;
      if ((how == 'P') != (Schedule::current->holder == self)) fates[number] += "!";
      ++ends_;
    };
    auto event = std::make_unique<Event>(work, note, delay);
    bool const isTaken = dispatcher.post(*event, priority);
    fates[number].insert(0, isTaken ? "+" : "-");
    if (isTaken) static_cast<void>(event.release());
  }

  std::size_t ends_ = 0;
};

TEST(Schedule, NoWakeUpIsLostAndEachEventEndsOnce) {
  for (Scenario const& scenario :
       {Scenario{"23", "brwd"}, {"1", "02wd"}, {"03", "brwd"}, {"12d", "d"}, {"10", "d"}}) {
    SCOPED_TRACE(testing::PrintToString(scenario));
    std::vector<Choice> choices;
    do {  // depth first
      Schedule schedule(choices);
      World world;
      schedule.run(scenario.size() + 1, [&](std::size_t thread) {
        if (thread == 0) return world.dispatcher.dispatchLoop();
        for (char step : scenario[thread - 1]) world.act(step);
      });
      ASSERT_EQ(schedule.lost, 0);
      ASSERT_THAT(world.fates, testing::Each(testing::AnyOf("+R", "+P", "-U", "+U")));
      ASSERT_LE(std::count(world.fates.begin(), world.fates.end(), "+U"), 1);  // taken too late
      while (!choices.empty() && ++choices.back().taken == choices.back().of) choices.pop_back();
    } while (!choices.empty());
  }
}

}  // namespace
