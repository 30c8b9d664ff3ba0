#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include "cul/events/CUL_Dispatcher.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "tests/events/TestDispatcher.h"

namespace {

// destroy() purges while the loop comes back from its event: the loop has to leave the queues alone
// until destroy() is through with them.
TEST(DispatcherThread, TheLoopEndsWhileDestroyPurges) {
  TestDispatcher dispatcher(1);
  std::latch running(1), go(1);
  std::atomic<bool> arrived = false;
  auto const arrive = [&] {
    arrived = true;
    arrived.notify_all();
  };
  ThreadFronts::onRequest = [&](char const* label) {
    if (std::string(label) == "purge") arrive();
  };
  std::thread loop([&] {
    dispatcher.dispatchLoop();
    arrive();
  });
  auto const hold = [&] {
    running.count_down();
    go.wait();
  };
  dispatcher.post(*new Event(hold, nullptr), 0);
  running.wait();
  std::atomic<int> purged = 0;
  auto const count = [&](End end) { purged += end == kPurged; };
  for (int i = 0; i < 5; ++i) dispatcher.post(*new Event(nullptr, count), 0);
  dispatcher.post(*new Event(nullptr,
                             [&](End) {
                               go.count_down();
                               arrived.wait(false);
                             }),
                  0);
  dispatcher.destroy();
  loop.join();
  ThreadFronts::clear();
  EXPECT_EQ(purged, 5);
}

// Posters, a blocker and two destroyers, in one round. No wait times out: what is not woken stays.
class Round {
 public:
  explicit Round(bool early) : early_(early) {}

  void run() {
    std::thread loop([&] { dispatcher_.dispatchLoop(); });
    std::vector<std::thread> posters;
    for (int i = 0; i < 3; ++i) posters.emplace_back([this] { post(); });
    std::thread blocker([&] {
      start_.arrive_and_wait();
      for (int i = 0; i < kEach; ++i) dispatcher_.block(static_cast<unsigned char>(i % 5));
      dispatcher_.block(3);
    });
    start_.arrive_and_wait();
    waitFor(early_ ? kEach : 3 * kEach);
    std::thread other([&] { dispatcher_.destroy(); });
    dispatcher_.destroy();
    other.join();
    for (auto& poster : posters) poster.join();
    blocker.join();
    loop.join();
    EXPECT_EQ(ended_[kRan] + ended_[kPurged] + ended_[kUnrun], 3 * kEach);
    EXPECT_TRUE(early_ || ended_[kRan] == 3 * kEach);
  }

 private:
  static constexpr int kEach = 40;

  void post() {
    start_.arrive_and_wait();
    for (int i = 0; i < kEach; ++i) {
      auto event = std::make_unique<Timer>(
          nullptr,
          [this](End how) {
            ++ended_[how];
            ended_[how].notify_all();
          },
          0UL);
      if (i % 4 != 0) event->becomePlain();
      if (dispatcher_.post(*event, static_cast<unsigned char>(i % 5))) event.release();
    }
  }
  void waitFor(int ran) {
    for (int seen = ended_[kRan]; seen < ran; seen = ended_[kRan]) {
      ended_[kRan].wait(seen);
    }
  }

  bool const early_;
  EventDispatcherBase dispatcher_{3};
  std::latch start_{5};
  std::atomic<int> ended_[3] = {};
};

TEST(DispatcherThread, NoEventIsLostOrRunTwice) {
  ThreadFronts::waitsForever = true;
  for (int i = 0; i < 200; ++i) Round(i % 2 == 0).run();
}

// What a thread that runs events looks like.
struct Seen {
  char name[16];
  std::size_t stack;
  bool signalsBlocked, onDispatchThread;
};

Seen look(EventDispatcherBase& dispatcher) {
  Seen seen = {};
  std::latch done(1);
  auto const work = [&] {
    ::pthread_getname_np(::pthread_self(), seen.name, sizeof seen.name);
    pthread_attr_t attributes;
    ::pthread_getattr_np(::pthread_self(), &attributes);
    ::pthread_attr_getstacksize(&attributes, &seen.stack);
    ::pthread_attr_destroy(&attributes);
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    seen.signalsBlocked = ::sigismember(&mask, SIGINT) == 1 && ::sigismember(&mask, SIGALRM) == 1;
    seen.onDispatchThread = dispatcher.on_dispatch_thread();
    done.count_down();
  };
  dispatcher.post(*new Event(work, nullptr), 77);
  done.wait();
  return seen;
}

TEST(ProcessDispatcher, IsOneAndItsAlternateHasAThread) {
  CUL_Dispatcher* found[4];
  {
    std::vector<std::thread> threads;
    for (auto& each : found) threads.emplace_back([&] { each = CUL_Dispatcher::instance(); });
    for (auto& thread : threads) thread.join();
  }
  CUL_Dispatcher& dispatcher = *CUL_Dispatcher::instance();
  for (auto* each : found) EXPECT_EQ(each, &dispatcher);

  CUL_EventDispatcher* const first = dispatcher.makeAlternate();
  EXPECT_EQ(dispatcher.makeAlternate(), first);
  Seen const seen = look(*first);
  EXPECT_STREQ(seen.name, "DispAlt");
  EXPECT_GE(seen.stack, 1048576U);
  EXPECT_LT(seen.stack, 2 * 1048576U);
  EXPECT_TRUE(seen.signalsBlocked && seen.onDispatchThread);
  EXPECT_FALSE(first->on_dispatch_thread());

  // The alternate goes first: what it discards can still be posted to the other.
  std::latch running(1), go(1);
  auto const hold = [&] {
    running.count_down();
    go.wait();
  };
  first->post(*new Event(hold, nullptr), 0);
  running.wait();
  bool taken = false;
  first->post(
      *new Event(nullptr, [&](End) { taken = dispatcher.post(*new Event(nullptr, nullptr), 0); }),
      0);
  dispatcher.destroy();
  go.count_down();
  first->join();
  EXPECT_TRUE(taken);
  dispatcher.dispatchLoop();  // has nothing to do any more
  Event refused(nullptr, nullptr);
  EXPECT_FALSE(dispatcher.post(refused, 0));

  CUL_EventDispatcher* const second = dispatcher.makeAlternate();
  EXPECT_NE(second, first);
  EXPECT_TRUE(look(*second).onDispatchThread);
  dispatcher.destroy();
  second->join();
}

TEST(OwnDispatcher, IsDestroyedWhenItsThreadIsOver) {
  for (int i = 0; i < 20; ++i) {
    CUL_EventDispatcher dispatcher("a name longer than fifteen", 2, 0);
    EXPECT_STREQ(look(dispatcher).name, "a name longer t");
    dispatcher.post(*new Event([&] { dispatcher.destroy(); }, nullptr), 0);
    dispatcher.join();
  }
}

}  // namespace
