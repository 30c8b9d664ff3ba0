#include <gmock/gmock.h>

#include <map>
#include <random>
#include <vector>

#include "tests/events/TestDispatcher.h"

namespace {

class Dispatcher : public testing::Test {
 protected:
  Dispatcher() { ThreadFronts::clock = 1'000'000; }
  ~Dispatcher() override {
    ThreadFronts::clear();
    EXPECT_EQ(ThreadFronts::held, 0);
    EXPECT_EQ(TestDispatcher(1).dispatchThread + dispatcher.dispatchThread, 0U);
  }

  TestDispatcher dispatcher{3};
};

TEST_F(Dispatcher, ServesLevelsThenPlainEventsThenDueTimers) {
  dispatcher.timer('t', 1, 0);
  dispatcher.timer('z', 0, 1);  // not due
  dispatcher.timer('d', 2, 0);
  for (auto [name, priority] : {std::pair{'c', 2}, {'e', 3}, {'f', 255}, {'a', 0}, {'b', 1}}) {
    dispatcher.plain(name, static_cast<unsigned char>(priority));
  }
  // A stream of events on a level keeps the next one waiting.
  dispatcher.post(*new Event([&] { dispatcher.plain('y', 0); }, nullptr), 0);
  // The event, not the overload that posts it, chooses its queue.
  auto* const plain = new Timer(dispatcher.says('p'), nullptr, 1UL);
  plain->becomePlain();
  dispatcher.post(*plain, 0);
  CUL_Event& timer = *new Timer(dispatcher.says('q'), nullptr, 1UL);
  dispatcher.post(timer, 0);
  EXPECT_EQ(dispatcher.drained(), "abpytcdef");
  ThreadFronts::clock = 1'000'001;
  EXPECT_EQ(dispatcher.drained(), "zq");
  TestDispatcher one(0), most(255);
  one.plain('a', 255);
  one.plain('b', 0);
  most.plain('z', 255);
  most.plain('y', 254);
  EXPECT_EQ(one.drained() + most.drained(), "abyz");
}

TEST_F(Dispatcher, TimersRunByDueTimeAndEqualOnesAsTheyWerePosted) {
  std::mt19937 random(5);
  std::multimap<unsigned long, int> expected;  // keeps the order of equal keys
  std::vector<int> ran;
  for (int i = 0; i < 400; ++i) {
    unsigned long const delay = random() % 40;
    expected.emplace(delay, i);
    dispatcher.post(*new Timer([&ran, i] { ran.push_back(i); }, nullptr, delay), 0);
  }
  ThreadFronts::clock = 2'000'000;
  dispatcher.drained();
  std::vector<int> order;
  for (auto const& [delay, number] : expected) order.push_back(number);
  EXPECT_EQ(ran, order);
}

TEST_F(Dispatcher, WaitsForTheNearestDueTimeOfTheServedLevels) {
  // Delays of timers on the three levels, where 0 is no timer, and the milliseconds.
  constexpr unsigned long kRows[][4] = {
      {0, 0, 0, 1'000},     {2'500, 0, 0, 3},       {999, 0, 0, 1},           {1'000, 0, 0, 2},
      {998'999, 0, 0, 999}, {999'000, 0, 0, 1'000}, {9'000'000, 0, 0, 1'000}, {7'000, 5'000, 0, 6},
      {7'000, 9'000, 0, 8}, {7'000, 0, 10, 8}};
  for (auto const& row : kRows) {
    TestDispatcher waiting(3);
    for (unsigned char level = 0; level < 3; ++level) {
      if (row[level] != 0) waiting.timer('a', static_cast<unsigned char>(level + 1), row[level]);
    }
    waiting.block(2);
    std::vector<unsigned long> waits;
    ThreadFronts::onWait = [&](unsigned long milliseconds) {
      waits.push_back(milliseconds);
      if (waits.size() == 2) waiting.destroy();  // the first wait is over, and nothing has come
    };
    waiting.dispatchLoop();
    EXPECT_THAT(waits, testing::ElementsAre(row[3], row[3]));
  }
}

TEST_F(Dispatcher, YieldsOnceAnEventWithTheLockHeld) {
  dispatcher.plain('a', 0);
  dispatcher.plain('b', 3);
  dispatcher.timer('c', 2, 0);
  int yields = 0;
  ThreadFronts::onYield = [&] { yields += ThreadFronts::held; };
  for (int i = 0; i < 3; ++i) dispatcher._process_event(dispatcher._waitpop());
  EXPECT_EQ(yields, 3);
  dispatcher._process_event(nullptr);
  EXPECT_EQ(dispatcher.queued(), 0U);
}

TEST_F(Dispatcher, LevelsAreHeldBackAndReleased) {
  dispatcher.plain('b', 2);
  dispatcher.timer('c', 3, 0);
  dispatcher.block(1);
  dispatcher.plain('a', 3);  // is queued below
  EXPECT_EQ(dispatcher.drained(), "a");
  EXPECT_EQ(dispatcher.queued(), 2U);
  dispatcher.block(2);
  EXPECT_EQ(dispatcher.drained(), "b");
  dispatcher.block(0);  // is 1
  dispatcher.plain('d', 0);
  EXPECT_EQ(dispatcher.drained(), "d");
  dispatcher.block(255);
  EXPECT_EQ(dispatcher.drained(), "c");
  EXPECT_EQ(dispatcher.queued(), 0U);
}

TEST_F(Dispatcher, FindsAndDiscardsByTag) {
  int tag = 0;
  CUL_Event* const high = dispatcher.plain('h', 3);
  CUL_Event* const timer = dispatcher.timer('t', 1, 9);
  dispatcher.plain('x', 1);
  CUL_Event* const first = dispatcher.plain('a', 1);
  CUL_Event* const own = dispatcher.timer('y', 1, 10);
  for (auto* event : {high, timer, first, dispatcher.plain('b', 1), dispatcher.timer('u', 1, 11)}) {
    event->tag = &tag;
  }
  dispatcher.block(1);
  EXPECT_EQ(dispatcher._findFirstEvent(&tag), first);
  EXPECT_EQ(dispatcher._findFirstEvent(own), own);
  EXPECT_EQ(dispatcher._findFirstEvent(&dispatcher), nullptr);
  timer->tag = timer;
  high->tag = high;
  dispatcher._purge(&tag);
  EXPECT_EQ(std::exchange(dispatcher.log, ""), "-u-b-a");
  EXPECT_EQ(dispatcher._findFirstEvent(high), high);
  EXPECT_EQ(dispatcher._findFirstEvent(timer), timer);
  EXPECT_EQ(dispatcher.queued(), 4U);
  dispatcher.block(3);
  ThreadFronts::clock = 2'000'000;
  EXPECT_EQ(dispatcher.drained(), "xtyh");
}

TEST_F(Dispatcher, DestroyDiscardsEverythingAndTakesNothingMore) {
  for (char name : {'a', 'b'}) dispatcher.plain(name, 0);
  for (char name : {'t', 'u'}) dispatcher.timer(name, 0, 5);
  dispatcher.plain('h', 3);
  dispatcher.block(1);
  dispatcher.destroy();
  EXPECT_EQ(std::exchange(dispatcher.log, ""), "-h-u-t-b-a");
  EXPECT_EQ(dispatcher.queued(), 1U);  // what wakes the loop
  Timer refused(nullptr, nullptr, 0UL);
  EXPECT_FALSE(dispatcher.post(refused, 0));
  EXPECT_EQ(dispatcher._waitpop(), nullptr);
  EXPECT_EQ(dispatcher.drained(), "ended");
  EXPECT_EQ(dispatcher.queued(), 0U);
}

TEST_F(Dispatcher, DestroyAtTheLastMoment) {
  for (char name : {'a', 'b'}) dispatcher.plain(name, 0);
  ThreadFronts::onYield = [&] {
    EXPECT_TRUE(dispatcher.on_dispatch_thread());
    dispatcher.destroy();
  };
  EXPECT_EQ(dispatcher.drained(), "-b?aended");  // taken, but too late to run
  EXPECT_FALSE(dispatcher.on_dispatch_thread());
}

TEST_F(Dispatcher, EventsThatCallItWhileTheyAreDiscarded) {
  int tag = 0;
  auto const callsBack = [&](End end) {
    EXPECT_EQ(end, kPurged);
    auto* const late = dispatcher.plain('l', 3);
    late->tag = &tag;
    dispatcher.block(2);
    dispatcher._purge(&tag);
    EXPECT_EQ(dispatcher._findFirstEvent(&tag), nullptr);
  };
  for (unsigned char priority = 0; priority < 4; ++priority) {
    auto* const event = new Event(nullptr, callsBack);
    event->tag = &tag;
    dispatcher.post(*event, priority);
    dispatcher.plain('x', priority);
  }
  dispatcher._purge(&tag);
  EXPECT_EQ(dispatcher.queued(), 4U);
  dispatcher.post(*new Event(nullptr, [&](End) { dispatcher.destroy(); }), 0);
  dispatcher.destroy();
  EXPECT_EQ(dispatcher.queued(), 1U);
}

TEST_F(Dispatcher, WhatAnEventThrowsComesOutOfTheLoop) {
  unsigned int deleted = 0;
  dispatcher.post(*new Event([] { throw 5; }, [&](End) { ++deleted; }), 0);
  dispatcher.plain('a', 0);
  EXPECT_THROW(dispatcher.dispatchLoop(), int);
  EXPECT_EQ(deleted, 1U);
  EXPECT_FALSE(dispatcher.on_dispatch_thread());
  EXPECT_EQ(dispatcher.drained(), "a");
}

}  // namespace
