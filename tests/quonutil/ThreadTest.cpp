#include <gtest/gtest.h>

#include <csignal>
#include <semaphore>
#include <thread>

#include "quonutil/threads/StdThread.h"
#include "quonutil/threads/UNIX_Critical_Section.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"

namespace {

constexpr unsigned long kLong = 600'000;

bool passes(UNIX_Event_Semaphore& gate, unsigned long time, bool close) {
  return gate.wait(time, UNIX_Event_Semaphore::kMilliseconds, close);
}

struct Thread : StdThread {
  explicit Thread(TerminationHandler handler) : StdThread("sixteen letters_", 1, handler) {}
  void run() override {
    EXPECT_EQ(currentThread(), this);
    char name[20];
    ::pthread_getname_np(::pthread_self(), name, sizeof name);
    EXPECT_STREQ(name, "sixteen letters");
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    blocked = ::sigismember(&mask, SIGINT) + ::sigismember(&mask, SIGALRM);
  }
  int blocked = 0;
};

TEST(StdThread, RunsWithoutSignalsAndIsWaitedFor) {
  Thread thread([](StdThread& over) { static_cast<Thread&>(over).blocked += 10; });
  thread.join();  // which was not started yet
  thread.start_thread(0);
  thread.join();
  thread.join();
  EXPECT_EQ(thread.blocked, 12);
}

TEST(StdThread, MayDeleteItselfWhenItHasRun) {
  static std::binary_semaphore gone{0};
  auto* const thread = new Thread([](StdThread& over) {
    delete &over;
    gone.release();
  });
  thread->start_thread(0);
  gone.acquire();
}

TEST(EventSemaphore, StaysOpenUntilItIsReset) {
  UNIX_Event_Semaphore gate;
  gate.post();
  EXPECT_TRUE(passes(gate, 0, false) && passes(gate, 0, true));
  EXPECT_FALSE(passes(gate, 0, false));
  gate.post();
  gate.reset();
  EXPECT_FALSE(passes(gate, 0, false));
}

// A wake-up that is owed and never paid hangs here: it is due when one of the locks is released, or
// before the thread that owes it sleeps at a gate, or at once when it holds no lock.
TEST(EventSemaphore, WakesOthersThoughItIsPostedUnderLocks) {
  constexpr int kRounds = 3'000;
  UNIX_Critical_Section outer, inner;
  UNIX_Event_Semaphore there, back;
  std::binary_semaphore answer{0}, next{0};
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      EXPECT_TRUE(passes(there, kLong, true));
      back.post();
      answer.release();
      next.acquire();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    outer.request("outer", __LINE__);
    inner.request("inner", __LINE__);
    there.post();
    EXPECT_TRUE(i % 2 != 0 || passes(back, kLong, true));
    inner.release("inner", __LINE__);
    answer.acquire();
    back.reset();
    next.release();
    outer.release("outer", __LINE__);
  }
  other.join();
}

}  // namespace
