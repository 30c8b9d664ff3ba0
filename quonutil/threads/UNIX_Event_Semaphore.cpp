#include "quonutil/threads/UNIX_Event_Semaphore.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "quonutil/threads/LateWake.h"

namespace {

// What the monotonic clock reads in `milliseconds`.
timespec readingIn(unsigned long milliseconds) noexcept {
  constexpr long kNanoseconds = 1'000'000'000;
  timespec reading;
  ::clock_gettime(CLOCK_MONOTONIC, &reading);
  long const nanoseconds = reading.tv_nsec + static_cast<long>(milliseconds % 1'000) * 1'000'000;
  reading.tv_sec += static_cast<long>(milliseconds / 1'000) + nanoseconds / kNanoseconds;
  reading.tv_nsec = nanoseconds % kNanoseconds;
  return reading;
}

// Sleeps until it is woken or interrupted, or `limit` is over: then it gives true. Does not sleep
// at all when `word` is not 0.
bool sleepOn(std::atomic<unsigned int>& word, timespec const& limit) noexcept {
  return ::syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, 0, &limit, nullptr,
                   FUTEX_BITSET_MATCH_ANY) != 0 &&
         errno == ETIMEDOUT;
}

}  // namespace

// Either a thread sleeps before the gate is open, and then the poster sees it among those who wait;
// or the system, which compares once more before it lets a thread sleep, sees the open gate.

void UNIX_Event_Semaphore::post() noexcept {
  // Most posts find the gate open, and a look costs less than an exchange.
  if (isOpen_ == 0 && isOpen_.exchange(1) == 0 && waiting_ != 0) LateWake::wake(isOpen_);
}

void UNIX_Event_Semaphore::reset() noexcept {
  if (isOpen_ != 0) isOpen_ = 0;
}

bool UNIX_Event_Semaphore::passes(bool close) noexcept {
  return (close ? isOpen_.exchange(0) : isOpen_.load()) != 0;
}

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale /*scale*/, bool close) noexcept {
  LateWake::pay();
  if (passes(close)) return true;
  timespec const limit = readingIn(time);
  bool passed = false;
  ++waiting_;
  for (bool over = false; !over && !passed;) {
    over = sleepOn(isOpen_, limit);
    passed = passes(close);
  }
  --waiting_;
  return passed;
}
