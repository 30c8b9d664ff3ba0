#include "quonutil/threads/UNIX_Event_Semaphore.h"

#include <chrono>

void UNIX_Event_Semaphore::post() noexcept {
  if (isOpen_.exchange(true)) return;
  // Whoever waits found the gate closed with the lock held, and then sleeps by now; or finds it
  // open. Woken, it may run at once in this thread's place, and shall not find the lock taken.
  { std::lock_guard<std::mutex> const held(lock_); }
  opened_.notify_all();
}

void UNIX_Event_Semaphore::reset() noexcept {
  if (isOpen_) isOpen_ = false;
}

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale /*scale*/, bool close) noexcept {
  std::unique_lock<std::mutex> held(lock_);
  auto const limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(time);
  return opened_.wait_until(held, limit,
                            [&] { return close ? isOpen_.exchange(false) : isOpen_.load(); });
}
