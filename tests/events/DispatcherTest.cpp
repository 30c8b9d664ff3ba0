#include <string_view>

#include "cul/events/CUL_Condition.h"
#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "tests/events/TestDispatcher.h"

class DSL_Thread {};  // a host's

namespace {

struct Dispatcher : testing::Test {
  Dispatcher() { ThreadFronts::clock = 1'000'000; }
  TestDispatcher dispatcher{3};
};

TEST_F(Dispatcher, ServesLevelsThenPlainEventsThenDueTimers) {
  dispatcher.add('t', 1, 0);
  dispatcher.add('z', 0, 1);  // not due
  dispatcher.add('d', 2, 0);
  for (auto [name, priority] : {std::pair{'c', 2}, {'e', 3}, {'f', 255}, {'a', 0}, {'b', 1}}) {
    dispatcher.add(name, static_cast<unsigned char>(priority));
  }
  // A stream of events on a level keeps the next one waiting.
  dispatcher.post(*new Event([&] { dispatcher.add('y', 0); }), 0);
  EXPECT_EQ(dispatcher.drained(), "abytcdef");
  ThreadFronts::clock += 1;
  EXPECT_EQ(dispatcher.drained(), "z");
  TestDispatcher one(0), most(255);
  one.add('x', 255);
  most.add('z', 255);
  most.add('y', 254);
  EXPECT_EQ(one.drained() + most.drained(), "xyz");
}

TEST_F(Dispatcher, TimersRunByDueTimeAndEqualOnesAsTheyWerePosted) {
  std::mt19937 random(5);
  std::vector<std::pair<unsigned long, int>> posted, ran;  // delay and number
  for (int i = 0; i < 400; ++i) {
    auto const timer = posted.emplace_back(random() % 40, i);
    dispatcher.post(*new Event([&ran, timer] { ran.push_back(timer); }, nullptr, timer.first), 0);
  }
  ThreadFronts::clock += 40;
  dispatcher.drained();
  std::sort(posted.begin(), posted.end());
  EXPECT_EQ(ran, posted);
}

TEST_F(Dispatcher, NoTimerIsDueLaterThanTheLongestInterval) {
  constexpr unsigned long kLongest = 2'147'483'647;
  for (unsigned long delay : {0UL, kLongest - 1, kLongest, kLongest + 1, ~0UL}) {
    CUL_Timer_Event timer(delay);
    ThreadFronts::clock += 500;
    timer.setTimeoutTime();  // anew, from now on
    EXPECT_EQ(timer.timeToExpiry(), std::min(delay, kLongest));
  }
}

TEST_F(Dispatcher, WaitsForTheNearestDueTimeOfTheServedLevels) {
  // Delays of timers on the three levels, where 0 is no timer, and the milliseconds.
  constexpr unsigned long kRows[][4] = {
      {0, 0, 0, 1'000},         {2'500, 0, 0, 3},     {999, 0, 0, 1},
      {1'000, 0, 0, 2},         {998'999, 0, 0, 999}, {999'000, 0, 0, 1'000},
      {9'000'000, 0, 0, 1'000}, {7'000, 5'000, 0, 6}, {7'000, 0, 10, 8}};
  for (auto const& row : kRows) {
    TestDispatcher waiting(3);
    for (unsigned char level = 0; level < 3; ++level) {
      if (row[level] != 0) waiting.add('a', static_cast<unsigned char>(level + 1), row[level]);
    }
    waiting.block(2);
    ThreadFronts::onWait = [&](unsigned long milliseconds) {
      EXPECT_EQ(milliseconds, row[3]);
      waiting.destroy();
    };
    waiting.dispatchLoop();
  }
}

TEST_F(Dispatcher, LevelsAreHeldBackAndReleased) {
  dispatcher.add('b', 2);
  dispatcher.add('c', 3, 0);
  dispatcher.block(1);
  dispatcher.add('a', 3);  // is queued below
  EXPECT_EQ(dispatcher.drained(), "a");
  dispatcher.block(2);
  EXPECT_EQ(dispatcher.drained(), "b");
  dispatcher.block(0);  // is 1
  dispatcher.add('d', 0);
  EXPECT_EQ(dispatcher.drained(), "d");
  dispatcher.block(255);
  EXPECT_EQ(dispatcher.drained(), "c");
}

TEST_F(Dispatcher, FindsAndDiscardsByTag) {
  int tag = 0;
  CUL_Event* const timer = dispatcher.add('t', 1, 0);
  CUL_Event* const other = dispatcher.add('x', 1);
  CUL_Event* const first = dispatcher.add('a', 1);
  CUL_Event* const early = dispatcher.add('u', 2, 0);
  CUL_Event* const late = dispatcher.add('v', 2, 0);
  // Discards the others while it is discarded itself.
  CUL_Event* const last = new Event(nullptr, [&](char) { dispatcher._purge(&tag); });
  dispatcher.post(*last, 1);
  for (auto* event : {timer, first, last, dispatcher.add('h', 3)}) event->tag = &tag;
  EXPECT_EQ(dispatcher._findFirstEvent(&tag), first);
  EXPECT_EQ(dispatcher._findFirstEvent(other), other);
  EXPECT_EQ(dispatcher._findFirstEvent(early), early);
  EXPECT_EQ(dispatcher._findFirstEvent(late), late);
  dispatcher._purge(&tag);
  EXPECT_EQ(dispatcher._findFirstEvent(&tag), nullptr);
  EXPECT_EQ(dispatcher.queued(), 3U);
  EXPECT_EQ(dispatcher.drained(), "-h-t-axuv");
}

TEST_F(Dispatcher, AnEventThatIsDiscardedMayDiscardAndPost) {
  int tag = 0, other = 0;
  auto const add = [&](char name, unsigned long delay, void* tagged) {
    CUL_Event* const event = dispatcher.add(name, 1, delay);
    event->tag = tagged;
    return event;
  };
  add('a', 1, &tag);
  add('b', 2, &other);
  add('c', 3, &other);
  CUL_Event* const sooner = add('f', 1, &other);
  EXPECT_EQ(dispatcher._findFirstEvent(&other), sooner);
  auto const change = [&](char) {
    dispatcher._purge(&other);
    add('d', 5, &tag);
    add('e', 4, &tag);
  };
  CUL_Event* const last = new Event(nullptr, change, 9);
  last->tag = &tag;
  dispatcher.post(*last, 1);
  dispatcher._purge(&tag);
  EXPECT_EQ(dispatcher.queued(), 0U);
  add('y', 1, &tag);
  add('x', 0, &tag);
  ThreadFronts::clock += 1;
  EXPECT_EQ(dispatcher.drained(), "-c-b-f-e-d-axy");
}

TEST_F(Dispatcher, DestroyDiscardsEverythingAndTakesNothingMore) {
  for (char name : {'a', 'b'}) dispatcher.add(name, 0);
  for (auto [name, delay] : {std::pair{'u', 7}, {'s', 3}, {'t', 5}}) {
    dispatcher.add(name, 0, static_cast<unsigned long>(delay));
  }
  dispatcher.add('h', 3);
  dispatcher.block(1);
  dispatcher.destroy();
  EXPECT_EQ(dispatcher.queued(), 1U);  // what wakes the loop
  Event refused(nullptr);
  EXPECT_FALSE(dispatcher.post(refused, 0));
  dispatcher._process_event(nullptr);
  EXPECT_EQ(dispatcher.drained(), "-h-u-t-s-b-aended");
  EXPECT_EQ(dispatcher.queued(), 0U);
}

TEST(Condition, HoldsAndStays) {
  DSL_Thread thread;
  CUL_Condition const condition;
  EXPECT_TRUE(condition.is_true(thread) && !condition.has_expired());
}

TEST_F(Dispatcher, ItsOwnEndDiscardsToo) {
  std::string ends;
  {
    TestDispatcher ending(2);
    for (char name : {'a', 'b'}) {
      ending.post(*new Event(nullptr, [&ends, name](char how) { ends += {name, how}; }), 0);
    }
  }
  EXPECT_EQ(ends, "bPaP");
}

TEST_F(Dispatcher, WhatAnEventThrowsComesOutOfTheLoop) {
  unsigned int deleted = 0;
  dispatcher.post(*new Event([] { throw 5; }, [&](char) { ++deleted; }), 0);
  dispatcher.add('a', 0);
  EXPECT_THROW(dispatcher.dispatchLoop(), int);
  EXPECT_TRUE(deleted == 1 && !dispatcher.on_dispatch_thread());
  EXPECT_EQ(dispatcher.drained(), "a");
}

// destroy() purges while the loop comes back from its event: the loop has to leave the queues alone
// until destroy() is through with them.
TEST(DispatcherThread, TheLoopEndsWhileDestroyPurges) {
  TestDispatcher dispatcher(1);
  std::counting_semaphore<> running{0}, go{0}, arrived{0};
  ThreadFronts::onRequest = [&](std::string_view label) {
    if (label == "purge") arrived.release();
  };
  std::thread loop([&] {
    dispatcher.dispatchLoop();
    arrived.release();
  });
  auto const hold = [&] {
    running.release();
    go.acquire();
  };
  auto const release = [&](char) {
    go.release();
    arrived.acquire();
    EXPECT_EQ(dispatcher.log, "");
  };
  dispatcher.post(*new Event(hold), 0);
  running.acquire();
  for (char name : {'a', 'b', 'c', 'd', 'e'}) dispatcher.add(name, 0);
  dispatcher.post(*new Event(nullptr, release), 0);
  dispatcher.destroy();
  loop.join();
  ThreadFronts::onRequest = nullptr;
  EXPECT_EQ(dispatcher.log, "-e-d-c-b-a");
}

// Threads that really run at once, for a sanitizer to look on: one blocks, one destroys, two post.
TEST(DispatcherThread, EachEventEndsOnce) {
  constexpr int kEach = 40;
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> ended = 0;
    std::latch start(4);
    CUL_EventDispatcher dispatcher("round", 3, 0);
    auto const note = [&](char) { ++ended; };
    auto const act = [&](int thread) {
      start.arrive_and_wait();
      for (int i = 0; i < kEach; ++i) {
        auto const number = static_cast<unsigned char>(i % 5);
        if (thread == 0) dispatcher.block(number);
        if (thread == 1 && i == round % kEach) dispatcher.destroy();
        if (thread < 2) continue;
        Event::Delay const delay = i % 4 == 0 ? Event::Delay(0) : Event::Delay();
        auto event = std::make_unique<Event>(nullptr, note, delay);
        if (dispatcher.post(*event, number)) static_cast<void>(event.release());
      }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) threads.emplace_back(act, thread);
    for (auto& thread : threads) thread.join();
    dispatcher.join();
    EXPECT_EQ(ended, 2 * kEach);
  }
}

// The alternate goes first: what it discards can still be posted to the other.
TEST(ProcessDispatcher, EndsItsAlternateAndMakesAnother) {
  CUL_Dispatcher& dispatcher = *CUL_Dispatcher::instance();
  CUL_EventDispatcher* const first = dispatcher.makeAlternate();
  EXPECT_EQ(CUL_Dispatcher::instance()->makeAlternate(), first);
  bool taken = false;
  auto const postAgain = [&](char) { taken = dispatcher.post(*new Event(nullptr), 0); };
  auto const destroy = [&] {
    EXPECT_TRUE(first->on_dispatch_thread());
    first->post(*new Event(nullptr, postAgain), 0);
    dispatcher.destroy();
  };
  first->post(*new Event(destroy), 77);
  first->join();
  EXPECT_TRUE(taken && !first->on_dispatch_thread());
  CUL_EventDispatcher* const second = dispatcher.makeAlternate();
  EXPECT_NE(second, first);
  dispatcher.destroy();
  second->join();
}

}  // namespace
