#pragma once

#include "quonutil/threads/UNIX_Critical_Section.h"

/// Holds a lock as long as it lives, under the name of the operation that takes it and the source
/// line where it does.
class QUONUTIL_LOCK_HOLDER LockGuard {
 public:
  LockGuard(UNIX_Critical_Section& lock, char const* label,
            unsigned int line = __builtin_LINE()) noexcept QUONUTIL_ACQUIRES(lock)
      : lock_(lock), label_(label), line_(line) {
    lock_.request(label_, line_);
  }
  LockGuard(LockGuard const&) = delete;
  LockGuard& operator=(LockGuard const&) = delete;
  // Called on one way out it would keep the guard in memory on all of them.
  [[gnu::always_inline]] ~LockGuard() QUONUTIL_RELEASES() { lock_.release(label_, line_); }

 private:
  UNIX_Critical_Section& lock_;
  char const* label_;
  unsigned int line_;
};
