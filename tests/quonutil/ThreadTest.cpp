#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <functional>
#include <latch>
#include <system_error>
#include <thread>

#include "quonutil/threads/ElapsedTime.h"
#include "quonutil/threads/StdThread.h"
#include "quonutil/threads/UNIX_Critical_Section.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"
#include "tests/support/Scratch.h"

namespace {

class Doing : public StdThread {
 public:
  explicit Doing(std::function<void()> work, TerminationHandler handler = nullptr)
      : StdThread("doing", 1, handler), work_(std::move(work)) {}
  ~Doing() override {
    if (onEnd) onEnd();
  }
  void run() override { work_(); }

  std::function<void()> onEnd;

 private:
  std::function<void()> work_;
};

StdThread* ended = nullptr;

TEST(StdThread, KnowsItselfAndIsWaitedFor) {
  StdThread* inside = nullptr;
  unsigned long id = 0;
  Doing thread(
      [&] {
        inside = StdThread::currentThread();
        id = StdThread::currentThreadId();
        inside->thread_yield();
      },
      [](StdThread& over) { ended = &over; });
  thread.join();  // which was not started yet
  thread.start_thread(0);
  thread.join();
  thread.join();
  EXPECT_EQ(inside, &thread);
  EXPECT_EQ(ended, &thread);
  EXPECT_TRUE(id != 0 && id != StdThread::currentThreadId());
  StdThread* const own = StdThread::currentThread();
  std::thread([own] { EXPECT_EQ(StdThread::currentThread(), own); }).join();
  own->thread_yield();
  Doing(nullptr);  // is never started
}

TEST(StdThread, MayFailToStartAndMayDeleteItself) {
  EXPECT_EQ(inChild([] {
              rlimit const none{0, 0};
              if (::setrlimit(RLIMIT_NPROC, &none) + ::setuid(54321) != 0) return 1;
              Doing refused([] {});
              try {
                refused.start_thread(0);
                return 2;
              } catch (std::system_error const& failure) {
                refused.join();
                sigset_t mask;
                ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
                return failure.code().value() == EAGAIN && ::sigismember(&mask, SIGINT) == 0 ? 0
                                                                                             : 3;
              }
            }),
            0);
  std::latch gone(1);
  auto* const thread = new Doing([] {}, [](StdThread& over) { delete &over; });
  thread->onEnd = [&gone] { gone.count_down(); };
  thread->start_thread(0);
  gone.wait();
}

TEST(EventSemaphore, StaysOpenUntilItIsReset) {
  UNIX_Event_Semaphore gate;
  EXPECT_FALSE(gate.wait(1, UNIX_Event_Semaphore::kMilliseconds, false));
  gate.post();
  gate.post();
  for (bool close : {false, true}) {
    EXPECT_TRUE(gate.wait(0, UNIX_Event_Semaphore::kMilliseconds, close));
  }
  EXPECT_FALSE(gate.wait(0, UNIX_Event_Semaphore::kMilliseconds, false));
  gate.post();
  gate.reset();
  EXPECT_FALSE(gate.wait(0, UNIX_Event_Semaphore::kMilliseconds, false));

  UNIX_Event_Semaphore back;
  std::thread other([&] {
    for (int i = 0; i < 1000; ++i) {
      EXPECT_TRUE(gate.wait(600'000, UNIX_Event_Semaphore::kMilliseconds, true));
      back.post();
    }
  });
  for (int i = 0; i < 1000; ++i) {
    gate.post();
    EXPECT_TRUE(back.wait(600'000, UNIX_Event_Semaphore::kMilliseconds, true));
  }
  other.join();
}

TEST(CriticalSection, KeepsOthersOutUntilReleasedAsOftenAsRequested) {
  UNIX_Critical_Section lock;
  int count = 0;
  auto const work = [&]() QUONUTIL_UNCHECKED {  // the analysis knows no recursive locks
    for (int i = 0; i < 5000; ++i) {
      lock.request("outer", 1);
      lock.request("inner", 2);
      ++count;
      lock.release("inner", 2);
      ++count;
      lock.release("outer", 1);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(count, 20000);
}

TEST(ElapsedTime, CountsMicrosecondsForward) {
  unsigned long const before = ElapsedTime::now();
  timespec reading;
  ::clock_gettime(CLOCK_MONOTONIC, &reading);
  auto const between =
      static_cast<unsigned long>(reading.tv_sec * 1'000'000 + reading.tv_nsec / 1'000);
  EXPECT_LE(before, between);
  EXPECT_LE(between, ElapsedTime::now());
}

}  // namespace
