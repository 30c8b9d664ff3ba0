#pragma once

#include <pthread.h>

#include "quonutil/Export.h"
#include "quonutil/threads/ThreadSafety.h"

/// A lock that its holder may take again (POSIX PTHREAD_MUTEX_RECURSIVE). It is free when it has
/// been released as often as it was requested, by the thread that requested it. Nobody holds it
/// when it is destroyed.
class QUONUTIL_EXPORT QUONUTIL_LOCK UNIX_Mutex {
 public:
  UNIX_Mutex() noexcept;
  UNIX_Mutex(UNIX_Mutex const&) = delete;
  UNIX_Mutex& operator=(UNIX_Mutex const&) = delete;
  ~UNIX_Mutex();

  void request() noexcept QUONUTIL_ACQUIRES();
  void release() noexcept QUONUTIL_RELEASES();

 private:
  pthread_mutex_t mutex_;
};
