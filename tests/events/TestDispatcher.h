#pragma once

#include <functional>
#include <string>
#include <utility>

#include "cul/events/CUL_Timer_Event.h"
#include "cul/events/EventDispatcherBase.h"
#include "tests/support/ThreadFronts.h"

/// How an event came to be deleted.
enum End { kRan, kPurged, kUnrun };

/// An event, or with CUL_Timer_Event a timer, that does something when it runs, and something else
/// when it is deleted.
template <class Base>
class Doing : public Base {
 public:
  template <class... Delay>
  Doing(std::function<void()> work, std::function<void(End)> end, Delay... delay)
      : Base(delay...), work_(std::move(work)), end_(std::move(end)) {}
  ~Doing() override {
    if (end_) end_(ran_ ? kRan : this->purged ? kPurged : kUnrun);
  }

  void handle_it() override {
    ran_ = true;
    if (work_) work_();
  }
  void becomePlain() { this->isTimer = false; }

 private:
  std::function<void()> work_;
  std::function<void(End)> end_;
  bool ran_ = false;
};
using Event = Doing<CUL_Event>;
using Timer = Doing<CUL_Timer_Event>;

/// A dispatcher whose events write a log: their names as they run, behind a "-" as they are purged,
/// behind a "?" as they are deleted unrun.
class TestDispatcher : public EventDispatcherBase {
 public:
  using EventDispatcherBase::_process_event;
  using EventDispatcherBase::_waitpop;
  using EventDispatcherBase::dispatchThread;
  using EventDispatcherBase::EventDispatcherBase;

  CUL_Event* plain(char name, unsigned char priority) {
    return posted(new Event(says(name), ends(name)), priority);
  }
  CUL_Event* timer(char name, unsigned char priority, unsigned long delay) {
    return posted(new Timer(says(name), ends(name), delay), priority);
  }
  CUL_Event* posted(CUL_Event* event, unsigned char priority) {
    post(*event, priority);
    return event;
  }

  std::function<void()> says(char name) {
    return [this, name] { log += name; };
  }
  std::function<void(End)> ends(char name) {
    return [this, name](End end) {
      if (end != kRan) log += std::string(end == kPurged ? "-" : "?") + name;
    };
  }

  /// Runs what can run and gives the log, which starts anew. What is thrown to come back is the
  /// ordinary end of such a loop.
  std::string drained() {
    struct Stop {};
    ThreadFronts::onWait = [this](unsigned long) {
      post(*new Event([] { throw Stop(); }, nullptr), 0);
    };
    try {
      dispatchLoop();
      log += "ended";
    } catch (Stop const&) {
    }
    ThreadFronts::onWait = nullptr;
    return std::exchange(log, "");
  }

  // No other thread is there when a test asks.
  QUONUTIL_UNCHECKED unsigned int queued() const { return pending; }

  std::string log;
};
