#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

#include "quonutil/threads/ElapsedTime.h"
#include "quonutil/threads/StdThread.h"
#include "quonutil/threads/UNIX_Critical_Section.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"
#include "tests/support/Scratch.h"

namespace {

struct Thread : StdThread {
  explicit Thread(TerminationHandler handler = nullptr) : StdThread("thread", 1, handler) {}
  void run() override { inside = currentThread(); }
  StdThread* inside = nullptr;
};

TEST(StdThread, KnowsItselfAndIsWaitedFor) {
  static StdThread* seenAtTheEnd = nullptr;
  Thread thread([](StdThread& over) { seenAtTheEnd = static_cast<Thread&>(over).inside; });
  thread.join();  // which was not started yet
  thread.start_thread(0);
  thread.join();
  thread.join();
  EXPECT_EQ(thread.inside, &thread);
  EXPECT_EQ(seenAtTheEnd, &thread);
  StdThread* const own = StdThread::currentThread();
  std::thread([own] { EXPECT_EQ(StdThread::currentThread(), own); }).join();
}

TEST(StdThread, MayDeleteItself) {
  static std::latch gone(1);
  auto* const thread = new Thread([](StdThread& over) {
    delete &over;
    gone.count_down();
  });
  thread->start_thread(0);
  gone.wait();
}

TEST(EventSemaphore, StaysOpenUntilItIsReset) {
  UNIX_Event_Semaphore gate;
  auto const passes = [&gate](unsigned long time, bool close) {
    return gate.wait(time, UNIX_Event_Semaphore::kMilliseconds, close);
  };
  EXPECT_FALSE(passes(1, false));
  gate.post();
  gate.post();
  EXPECT_TRUE(passes(0, false) && passes(0, true));
  EXPECT_FALSE(passes(0, false));
  std::thread other([&gate] { gate.post(); });
  EXPECT_TRUE(passes(600'000, false));
  other.join();
  gate.reset();
  EXPECT_FALSE(passes(0, false));
}

// A wake-up that is owed and never paid hangs here: it is due when one of the locks is released, or
// before the thread that owes it sleeps at a gate.
TEST(EventSemaphore, WakesOthersThoughItIsPostedUnderLocks) {
  constexpr int kRounds = 3'000;
  UNIX_Critical_Section outer, inner;
  UNIX_Event_Semaphore there, back;
  std::atomic<int> answers = 0;
  auto const pass = [](UNIX_Event_Semaphore& gate) {
    EXPECT_TRUE(gate.wait(600'000, UNIX_Event_Semaphore::kMilliseconds, true));
  };
  std::thread other([&] {
    while (answers < kRounds) {
      pass(there);
      back.post();
      ++answers;
      answers.notify_one();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    outer.request("outer", __LINE__);
    inner.request("inner", __LINE__);
    there.post();
    if (i % 2 == 0) pass(back);
    inner.release("inner", __LINE__);
    answers.wait(i);
    back.reset();
    outer.release("outer", __LINE__);
  }
  other.join();
}

TEST(ElapsedTime, CountsMicrosecondsForward) {
  long const before = static_cast<long>(ElapsedTime::now());
  timespec reading;
  ::clock_gettime(CLOCK_MONOTONIC, &reading);
  long const between = reading.tv_sec * 1'000'000 + reading.tv_nsec / 1'000;
  EXPECT_LE(before, between);
  EXPECT_LE(between, static_cast<long>(ElapsedTime::now()));
}

}  // namespace
