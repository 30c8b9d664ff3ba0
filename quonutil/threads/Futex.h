#pragma once

#include <ctime>

/// The system's sleep on a word of memory (futex(2)), for the threads of this process. `errno`
/// stays as it is.
class Futex {
 public:
  /// Sleeps while the 32 bits at `word` are `value`, until it is woken or interrupted, or until the
  /// monotonic clock reads `limit`: then it gives true. Without a limit, null, there is no end.
  static bool sleep(void const* word, unsigned int value, timespec const* limit) noexcept;
  /// Wakes so many of those that sleep on `word`. There may be no memory any more.
  static void wake(void const* word, int most) noexcept;
};
