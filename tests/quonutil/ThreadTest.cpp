#include <sched.h>

#include "quonutil/threads/StdThread.h"
#include "quonutil/threads/UNIX_Critical_Section.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"
#include "tests/support/Prelude.h"

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

TEST(EventSemaphore, IsPassedByWhoLooksOutForIt) {
  UNIX_Event_Semaphore gate;
  std::atomic<bool> isOver = false;
  std::jthread poster([&] {
    while (!isOver) gate.post();
  });
  for (int i = 0; i < 10'000; ++i) ASSERT_TRUE(passes(gate, kLong, true));
  isOver = true;
}

// Sleeps at a gate with a lock held, and has then gone through.
struct Sleeper : StdThread {
  Sleeper() : StdThread("sleeper", 0, nullptr) {}
  void run() override {
    number = ::gettid();
    number.notify_one();
    lock.request("run", __LINE__);
    EXPECT_TRUE(passes(gate, kLong, true));
    lock.release("run", __LINE__);
    back.post();
    through.release();
  }
  void untilItSleeps() const {
    number.wait(0);
    std::string const path = "/proc/self/task/" + std::to_string(number) + "/stat";
    for (std::string state; state != "S";) std::ifstream(path) >> state >> state >> state;
  }

  std::atomic<pid_t> number = 0;
  UNIX_Critical_Section lock;
  UNIX_Event_Semaphore gate, back;
  std::binary_semaphore through{0};
};

void takeAndRelease(UNIX_Critical_Section& lock) {
  lock.request("take", __LINE__);
  lock.release("take", __LINE__);
}

// A wake-up that is owed and never paid hangs here: it is due when any lock is released, and before
// the thread that owes it waits itself.
TEST(EventSemaphore, WakesOthersThoughItIsPostedUnderLocks) {
  UNIX_Critical_Section lock;
  std::function<void(Sleeper&)> const payments[] = {
      [&](Sleeper&) { takeAndRelease(lock); },
      [](Sleeper& sleeper) { takeAndRelease(sleeper.lock); },
      [](Sleeper& sleeper) { EXPECT_TRUE(passes(sleeper.back, kLong, true)); },
      [](Sleeper& sleeper) { sleeper.join(); },
  };
  for (auto const& pay : payments) {
    Sleeper sleeper;
    sleeper.start_thread(0);
    sleeper.untilItSleeps();
    lock.request("owing", __LINE__);
    sleeper.gate.post();
    pay(sleeper);
    sleeper.through.acquire();
    lock.release("owing", __LINE__);
    sleeper.join();
  }
}

// Those who wait look, sleep and take the lock from each other; a release that wakes nobody hangs.
TEST(CriticalSection, KeepsThreadsApartAndLeavesNobodyAsleep) {
  constexpr int kThreads = 4, kRounds = 5'000;
  UNIX_Critical_Section lock;
  int count = 0;
  auto const work = [&] {
    for (int i = 0; i < kRounds; ++i) {
      errno = EDOM;
      lock.request("work", __LINE__);
      takeAndRelease(lock);
      ++count;
      if (i % 8 == 0) ::sched_yield();
      lock.release("work", __LINE__);
      ASSERT_EQ(errno, EDOM);
    }
  };
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work);
  threads.clear();
  EXPECT_EQ(count, kThreads * kRounds);
}

}  // namespace
