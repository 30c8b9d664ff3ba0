#pragma once

#include <atomic>
#include <functional>

/// Stands in front of the companion's clock, locks and semaphores, for the whole program. Nothing
/// set, no difference. Functions are set before the threads start that call them.
struct ThreadFronts {
  /// What the clock reads, in microseconds, while it is not 0.
  static inline std::atomic<unsigned long> clock = 0;
  /// Called with the milliseconds of a wait, which then counts as over.
  static inline std::function<void(unsigned long milliseconds)> onWait;
  /// Called with the label before a lock is requested.
  static inline std::function<void(char const* label)> onRequest;
};
