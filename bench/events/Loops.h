#pragma once

#include <sched.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include "bench/events/Conditions.h"
#include "cul/events/CUL_Event.h"
#include "cul/events/EventDispatcherBase.h"

// Loops that run events: `run()` returns once everything posted before `end()` has run. All are
// given the same objects, from any thread, run them in the order they came and delete them.

class CulLoop {
 public:
  void post(CUL_Event* event) { dispatcher_.post(*event, 1); }
  void run() { dispatcher_.dispatchLoop(); }
  void end() { post(new End(dispatcher_)); }

 private:
  class End : public CUL_Event {
   public:
    explicit End(EventDispatcherBase& dispatcher) : dispatcher_(dispatcher) {}
    void handle_it() override { dispatcher_.destroy(); }

   private:
    EventDispatcherBase& dispatcher_;
  };

  EventDispatcherBase dispatcher_{1};
};

/// What anybody would write first. With `yields` it gives up the processor where ours does.
class CondvarLoop {
 public:
  void post(CUL_Event* event) {
    {
      std::lock_guard<std::mutex> const held(lock_);
      events_.push_back(event);
    }
    posted_.notify_one();
  }
  void run() {
    while (std::unique_ptr<CUL_Event> const event{next()}) event->handle_it();
  }
  void end() { post(nullptr); }

 private:
  CUL_Event* next() {
    std::unique_lock<std::mutex> held(lock_);
    posted_.wait(held, [this] { return !events_.empty(); });
    CUL_Event* const event = events_.front();
    events_.pop_front();
    if (yields) ::sched_yield();
    return event;
  }

  std::mutex lock_;
  std::condition_variable posted_;
  std::deque<CUL_Event*> events_;
};

/// Told that one thread will run it, as its manual advises. Its handlers own our events.
class AsioLoop {
 public:
  void post(CUL_Event* event) {
    // The last argument is the default, which its header writes in a way that we warn of.
    boost::asio::post(
        context_, [owned = std::unique_ptr<CUL_Event>(event)] { owned->handle_it(); }, nullptr);
  }
  void run() { context_.run(); }
  void end() { work_.reset(); }

 private:
  boost::asio::io_context context_{1};
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{
      context_.get_executor()};
};
