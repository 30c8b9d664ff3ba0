#include "quonutil/threads/UNIX_Mutex.h"

UNIX_Mutex::UNIX_Mutex() noexcept {
  pthread_mutexattr_t recursive;
  ::pthread_mutexattr_init(&recursive);
  ::pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
  ::pthread_mutex_init(&mutex_, &recursive);
  ::pthread_mutexattr_destroy(&recursive);
}

UNIX_Mutex::~UNIX_Mutex() { ::pthread_mutex_destroy(&mutex_); }

void UNIX_Mutex::request() noexcept { ::pthread_mutex_lock(&mutex_); }

void UNIX_Mutex::release() noexcept { ::pthread_mutex_unlock(&mutex_); }
