#pragma once

#include <atomic>
#include <functional>

/// Stands in front of the companion's clock, locks, semaphores and yield, for the whole program, so
/// that time is what a test says. Nothing set, no difference. Functions are set before the threads
/// start that call them.
struct ThreadFronts {
  /// What the clock reads, in microseconds, while it is not 0.
  static inline std::atomic<unsigned long> clock = 0;

  /// Called with the milliseconds of a wait, which then counts as over.
  static inline std::function<void(unsigned long milliseconds)> onWait;
  /// Called with the label before a lock is requested.
  static inline std::function<void(char const* label)> onRequest;
  /// Called instead of a yield.
  static inline std::function<void()> onYield;

  /// Sets nothing any more.
  static void clear();

  static inline thread_local int held = 0;  ///< locks that this thread holds
};
