#pragma once

#include <atomic>
#include <cstdint>

#include "quonutil/Export.h"
#include "quonutil/threads/ThreadSafety.h"

/// A lock that its holder may take again. It is free when it has been released as often as it was
/// requested, by the thread that requested it. Nobody holds it when it is destroyed.
///
/// Taken while free and released while nobody waits, it costs no system call. `errno` stays as it
/// is.
class QUONUTIL_LOCK UNIX_Mutex {
 public:
  UNIX_Mutex() noexcept = default;
  UNIX_Mutex(UNIX_Mutex const&) = delete;
  UNIX_Mutex& operator=(UNIX_Mutex const&) = delete;
  ~UNIX_Mutex() = default;

  /// Waits until the lock is free or this thread's own.
  void request() noexcept QUONUTIL_ACQUIRES() {
    Word const self = thisThread();
    if ((word_.load(std::memory_order_relaxed) & ~kAwaited) == self) {  // nobody else writes that
      ++again_;
    } else if (!takesAs(self)) {
      waitUntilFree();
    }
  }

  /// Gives back what one `request` took.
  void release() noexcept QUONUTIL_RELEASES() {
    if (again_ != 0) {
      --again_;
    } else if ((word_.exchange(kFree, std::memory_order_release) & kAwaited) != 0) {
      wakeOne();
    }
  }

 private:
  using Word = std::uintptr_t;
  static constexpr Word kFree = 0;
  static constexpr Word kAwaited = 1;  // a bit that no thread's address has

  static Word thisThread() noexcept {
    return reinterpret_cast<Word>(__builtin_thread_pointer());  // POSIX pthread_self
  }
  bool takesAs(Word holder) noexcept {
    Word expected = kFree;
    return word_.compare_exchange_strong(expected, holder, std::memory_order_acquire,
                                         std::memory_order_relaxed);
  }
  QUONUTIL_EXPORT void waitUntilFree() noexcept;
  QUONUTIL_EXPORT void wakeOne() noexcept;

  std::atomic<Word> word_ = kFree;  // the holder, and whether others may be asleep
  unsigned int again_ = 0;          // how often the holder has taken it again
};
