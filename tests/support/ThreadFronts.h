#pragma once

#include <atomic>
#include <functional>

/// Stands in front of the companion's clock, locks, semaphores and yield, for the whole program:
/// so that threads meet where a test wants it, and time is what it says. Nothing set, no
/// difference. Functions are set before the threads start that call them.
struct ThreadFronts {
  /// What the clock reads, in microseconds, while it is not 0.
  static std::atomic<unsigned long> clock;

  /// Called with the milliseconds of a wait, which then counts as over.
  static std::function<void(unsigned long milliseconds)> onWait;
  /// No wait times out: a wake-up that is lost hangs the test.
  static bool waitsForever;
  /// Called before a lock is requested, and when it has been released, with the label.
  static std::function<void(char const*label)> onRequest, afterRelease;
  /// Called instead of a yield.
  static std::function<void()> onYield;

  /// Sets nothing any more.
  static void clear();

  static std::atomic<unsigned int> posts;       ///< of semaphores, so far
  static thread_local int held;                 ///< locks that this thread holds
  static thread_local unsigned int mismatches;  ///< locks released under another label or line 0
};
