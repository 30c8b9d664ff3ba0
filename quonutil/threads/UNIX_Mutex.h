#pragma once

#include <pthread.h>

#include "quonutil/threads/ThreadSafety.h"

/// A lock that its holder may take again (POSIX PTHREAD_MUTEX_RECURSIVE). It is free when it has
/// been released as often as it was requested, by the thread that requested it. Nobody holds it
/// when it is destroyed.
class QUONUTIL_LOCK UNIX_Mutex {
 public:
  UNIX_Mutex() noexcept {
    pthread_mutexattr_t recursive;
    ::pthread_mutexattr_init(&recursive);
    ::pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    ::pthread_mutex_init(&mutex_, &recursive);
    ::pthread_mutexattr_destroy(&recursive);
  }
  UNIX_Mutex(UNIX_Mutex const&) = delete;
  UNIX_Mutex& operator=(UNIX_Mutex const&) = delete;
  ~UNIX_Mutex() { ::pthread_mutex_destroy(&mutex_); }

  /// Waits until the lock is free or this thread's own.
  void request() noexcept QUONUTIL_ACQUIRES() { ::pthread_mutex_lock(&mutex_); }
  /// Gives back what one `request` took.
  void release() noexcept QUONUTIL_RELEASES() { ::pthread_mutex_unlock(&mutex_); }

 private:
  pthread_mutex_t mutex_;
};
