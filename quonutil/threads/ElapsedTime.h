#pragma once

#include "quonutil/Export.h"

/// The clock of events and timers.
class QUONUTIL_EXPORT ElapsedTime {
 public:
  ElapsedTime() = delete;

  /// Microseconds since some moment before the process started, by the monotonic clock
  /// (POSIX CLOCK_MONOTONIC): setting the time of day does not move it. Any thread.
  static unsigned long now() noexcept;
};
