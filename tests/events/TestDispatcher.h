#pragma once

#include <optional>

#include "cul/events/CUL_Timer_Event.h"
#include "cul/events/EventDispatcherBase.h"
#include "tests/support/Prelude.h"
#include "tests/support/ThreadFronts.h"

/// An event that does something when it runs, and something else when it is deleted, with how it
/// came to be: 'R' has run, 'P' purged, 'U' unrun. With a delay it is a timer.
class Event : public CUL_Timer_Event {
 public:
  using Delay = std::optional<unsigned long>;

  explicit Event(std::function<void()> work, std::function<void(char)> end = nullptr,
                 Delay delay = {})
      : CUL_Timer_Event(delay.value_or(0)), work_(std::move(work)), end_(std::move(end)) {
    isTimer = delay.has_value();
  }
  ~Event() override {
    if (end_) end_(ran_ ? 'R' : purged ? 'P' : 'U');
  }
  void handle_it() override {
    ran_ = true;
    if (work_) work_();
  }

 private:
  std::function<void()> work_;
  std::function<void(char)> end_;
  bool ran_ = false;
};

/// A dispatcher whose events write a log: their names as they run, behind a "-" as they are purged.
class TestDispatcher : public EventDispatcherBase {
 public:
  using EventDispatcherBase::_process_event;
  using EventDispatcherBase::destroyed;
  using EventDispatcherBase::EventDispatcherBase;

  CUL_Event* add(char name, unsigned char priority, Event::Delay delay = {}) {
    auto const note = [this, name](char how) {
      if (how == 'P') log += std::string("-") + name;
    };
    auto* const event = new Event([this, name] { log += name; }, note, delay);
    post(*event, priority);
    return event;
  }

  /// Runs what can run and gives the log, which starts anew. What is thrown to come back is the
  /// ordinary end of such a loop.
  std::string drained() {
    struct Stop {};
    ThreadFronts::onWait = [this](unsigned long) { post(*new Event([] { throw Stop(); }), 0); };
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
