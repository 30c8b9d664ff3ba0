#pragma once

#include "cul/events/CUL_Event.h"

/// An event that does not run before its due time, a reading of ElapsedTime::now().
///
/// It runs once: what repeats makes a new timer event in `handle_it()` and posts that.
class CUL_EXPORT CUL_Timer_Event : public CUL_Event {
 public:
  /// The longest time from arming to the due time: 2^31 - 1 microseconds, 35 minutes 47.48 seconds.
  static constexpr unsigned long kLongestInterval = 2147483647;

  /// Armed, to fall due `delay` microseconds from now.
  explicit CUL_Timer_Event(unsigned long delay);

  /// Does nothing; timers that do work override it.
  void handle_it() override;

  ~CUL_Timer_Event() override;

  /// Arms the timer anew: due `interval` microseconds from now, or kLongestInterval when that is
  /// shorter. Not while the timer is queued, whose place follows from its due time.
  void setTimeoutTime();

  /// Microseconds left until the due time; 0 from then on.
  unsigned long timeToExpiry() const;

  /// True from the due time on.
  bool isTimeExpired() const;

 protected:
  friend class EventDispatcherBase;

  unsigned long timeoutTime;  ///< when it falls due
  unsigned long interval;     ///< as it was given, in microseconds
};
