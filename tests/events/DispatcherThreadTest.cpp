#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <functional>
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
  auto const release = [&](End) {
    go.count_down();
    arrived.wait(false);
  };
  std::atomic<int> purged = 0;
  dispatcher.post(*new Event(hold, nullptr), 0);
  running.wait();
  for (int i = 0; i < 5; ++i) {
    dispatcher.post(*new Event(nullptr, [&](End end) { purged += end == kPurged; }), 0);
  }
  dispatcher.post(*new Event(nullptr, release), 0);
  dispatcher.destroy();
  loop.join();
  ThreadFronts::clear();
  EXPECT_EQ(purged, 5);
}

// Threads that really run at once, for a sanitizer to look on: two posters, and one each that
// blocks and destroys.
TEST(DispatcherThread, EachEventEndsOnce) {
  constexpr int kEach = 40;
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> ended = 0;
    std::latch start(4);
    CUL_EventDispatcher dispatcher("round", 3, 0);
    auto const repeat = [&](std::function<void(int)> const& act) {
      return std::jthread([&start, act] {
        start.arrive_and_wait();
        for (int i = 0; i < kEach; ++i) act(i);
      });
    };
    auto const post = [&](int i) {
      auto event = std::make_unique<Timer>(
          nullptr, [&](End) { ++ended; }, 0UL);
      if (i % 4 != 0) event->becomePlain();
      if (dispatcher.post(*event, static_cast<unsigned char>(i % 5)))
        static_cast<void>(event.release());
    };
    {
      auto const block = [&](int i) { dispatcher.block(static_cast<unsigned char>(i % 5)); };
      auto const destroy = [&](int i) {
        if (i == round % kEach) dispatcher.destroy();
      };
      std::jthread const all[] = {repeat(post), repeat(post), repeat(block), repeat(destroy)};
    }
    dispatcher.destroy();
    dispatcher.join();
    EXPECT_EQ(ended, 2 * kEach);
  }
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
    std::vector<std::jthread> threads;
    for (auto& each : found) threads.emplace_back([&] { each = CUL_Dispatcher::instance(); });
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
  bool taken = false;
  auto const hold = [&] {
    running.count_down();
    go.wait();
  };
  first->post(*new Event(hold, nullptr), 0);
  running.wait();
  auto const postAgain = [&](End) { taken = dispatcher.post(*new Event(nullptr, nullptr), 0); };
  first->post(*new Event(nullptr, postAgain), 0);
  dispatcher.destroy();
  go.count_down();
  first->join();
  EXPECT_TRUE(taken);
  dispatcher.dispatchLoop();  // has nothing to do any more

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
