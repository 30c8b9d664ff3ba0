#pragma once

#include <atomic>
#include <functional>

/// Stands in front of the companion's clock, locks, semaphores and yield, for the whole program:
/// so that threads meet where a test wants it, and time is what it says. Nothing set, no
/// difference. Functions are set before the threads start that call them.
struct ThreadFronts {
  /// What the clock reads, in microseconds, while it is not 0.
  static inline std::atomic<unsigned long> clock = 0;

  /// Called with the milliseconds of a wait, which then counts as over.
  static inline std::function<void(unsigned long milliseconds)> onWait;
  /// No wait times out: a wake-up that is lost hangs the test.
  static inline bool waitsForever = false;
  /// Called before a lock is requested, and when it has been released, with the label.
  static inline std::function<void(char const*label)> onRequest, afterRelease;
  /// Called instead of a yield.
  static inline std::function<void()> onYield;

  /// Sets nothing any more.
  static void clear();

  static inline std::atomic<unsigned int> posts = 0;       ///< of semaphores, so far
  static inline thread_local int held = 0;                 ///< locks that this thread holds
  static inline thread_local unsigned int mismatches = 0;  ///< released under another label, line 0
};
