#pragma once

#include <functional>
#include <utility>

#include "MeteredDispatcher.h"
#include "quonutil/threads/ElapsedTime.h"
#include "quonutil/threads/StdThread.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"

/// A thread that looks every few milliseconds at what a dispatcher runs, and names each event that
/// has run for more than `limit` microseconds: once, while it still runs.
class Watcher final : public StdThread {
 public:
  /// `name` is called on the watcher's thread.
  using Name = std::function<void(MeteredDispatcher::Running const&)>;

  Watcher(MeteredDispatcher const& dispatcher, unsigned long limit, Name name)
      : StdThread("watcher", 0, nullptr),
        dispatcher_(dispatcher),
        limit_(limit),
        name_(std::move(name)) {
    start_thread(0);
  }

  ~Watcher() override {
    ended_.post();
    join();
  }

  void run() override {
    constexpr unsigned long kPause = 5;  // milliseconds
    unsigned long named = 0;
    while (!ended_.wait(kPause, UNIX_Event_Semaphore::kMilliseconds, false)) {
      auto const running = dispatcher_.running();
      if (!running || running->number == named) continue;
      if (ElapsedTime::now() - running->since <= limit_) continue;
      named = running->number;
      name_(*running);
    }
  }

 private:
  MeteredDispatcher const& dispatcher_;
  unsigned long const limit_;
  Name const name_;
  UNIX_Event_Semaphore ended_;
};
