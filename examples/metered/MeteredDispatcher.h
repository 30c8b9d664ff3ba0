#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "cul/events/CUL_Timer_Event.h"
#include "cul/events/EventDispatcherBase.h"

/// A timer that can tell how late it is.
class MeteredTimer : public CUL_Timer_Event {
 public:
  using CUL_Timer_Event::CUL_Timer_Event;

  /// Microseconds since it fell due; below 0 before that.
  long lateness() const;
};

/// A dispatcher that keeps an account of each kind of event. An event's kind is the name of its
/// class. All times are microseconds. What it tells, it tells to any thread.
class MeteredDispatcher final : public EventDispatcherBase {
 public:
  struct Account {
    unsigned runs = 0;
    unsigned long total = 0;
    unsigned long longest = 0;
    std::optional<long> earliest;  ///< the least that a timer was late; none for other events
    std::optional<long> latest;
  };
  using Accounts = std::map<std::string, Account>;

  struct Running {
    std::string kind;
    unsigned long since;   ///< by ElapsedTime::now()
    unsigned long number;  ///< counts the events from 1
  };

  using EventDispatcherBase::EventDispatcherBase;

  /// The event that runs just now, if there is one.
  std::optional<Running> running() const;

  Accounts accounts() const;

 protected:
  void _process_event(CUL_Event* event) override;

 private:
  void begin(CUL_Event const& event);
  void end();

  mutable std::mutex ledger_;  // guards all below
  std::optional<Running> running_;
  Accounts accounts_;
  unsigned long started_ = 0;  // events, so far
};
