#pragma once

#include "quonutil/Export.h"
#include "quonutil/threads/ThreadSafety.h"
#include "quonutil/threads/UNIX_Mutex.h"

/// A recursive lock that knows its holder: in a debugger, or in the core of a process that hangs,
/// it shows the operation that last took it, and the source line.
class QUONUTIL_EXPORT QUONUTIL_LOCK UNIX_Critical_Section {
 public:
  UNIX_Critical_Section() noexcept = default;
  UNIX_Critical_Section(UNIX_Critical_Section const&) = delete;
  UNIX_Critical_Section& operator=(UNIX_Critical_Section const&) = delete;
  ~UNIX_Critical_Section() = default;

  /// Waits until the lock is free or this thread's own. `label` names the operation and is kept:
  /// it is a literal. `line` is the caller's.
  void request(char const* label, unsigned int line) noexcept QUONUTIL_ACQUIRES();
  /// Gives back what one `request` took, with the same label.
  void release(char const* label, unsigned int line) noexcept QUONUTIL_RELEASES();

 private:
  UNIX_Mutex mutex_;
  char const* holder_ = nullptr;  // the last one; guarded by mutex_, as its line is
  unsigned int holderLine_ = 0;
};
