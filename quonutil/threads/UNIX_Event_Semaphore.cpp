#include "quonutil/threads/UNIX_Event_Semaphore.h"

#include <ctime>

#include "quonutil/threads/Futex.h"
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

unsigned long nanosecondsNow() noexcept {
  timespec reading;
  ::clock_gettime(CLOCK_MONOTONIC, &reading);
  return static_cast<unsigned long>(reading.tv_sec) * 1'000'000'000 +
         static_cast<unsigned long>(reading.tv_nsec);
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

// To sleep and to be woken by another processor takes longer than most answers. So a thread looks
// out for a while first: about as long as sleeping costs, so that a look in vain costs no more than
// a second sleep. The more of them were in vain, the fewer waits look: the first, the second, the
// fourth and so on, and one in 1024 in the end.
void UNIX_Event_Semaphore::lookOut() noexcept {
  constexpr unsigned long kLook = 20'000;  // nanoseconds
  constexpr unsigned int kLooksAgain = 1024;
  unsigned int const vain = inVain_.load(std::memory_order_relaxed);
  inVain_.store(vain < 2 * kLooksAgain - 1 ? vain + 1 : kLooksAgain, std::memory_order_relaxed);
  if ((vain & (vain - 1)) != 0) return;  // neither 0 nor a power of two
  unsigned long const end = nanosecondsNow() + kLook;
  while (isOpen_ == 0 && nanosecondsNow() < end) __builtin_ia32_pause();
  if (isOpen_ != 0) inVain_.store(0, std::memory_order_relaxed);
}

bool UNIX_Event_Semaphore::passes(bool close) noexcept {
  return (close ? isOpen_.exchange(0) : isOpen_.load()) != 0;
}

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale /*scale*/, bool close) noexcept {
  LateWake::pay();
  if (passes(close)) return true;
  timespec const limit = readingIn(time);
  if (time != 0) lookOut();
  if (passes(close)) return true;
  bool passed = false;
  ++waiting_;
  for (bool over = false; !over && !passed;) {
    over = Futex::sleep(&isOpen_, 0, &limit);
    passed = passes(close);
  }
  --waiting_;
  return passed;
}
