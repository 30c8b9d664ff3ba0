#include "quonutil/threads/UNIX_Event_Semaphore.h"

#include <chrono>

void UNIX_Event_Semaphore::post() noexcept {
  std::lock_guard<std::mutex> const held(lock_);
  isOpen_ = true;
  opened_.notify_all();
}

void UNIX_Event_Semaphore::reset() noexcept {
  std::lock_guard<std::mutex> const held(lock_);
  isOpen_ = false;
}

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale /*scale*/, bool close) noexcept {
  std::unique_lock<std::mutex> held(lock_);
  auto const limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(time);
  bool const passed = opened_.wait_until(held, limit, [this] { return isOpen_; });
  if (passed && close) isOpen_ = false;
  return passed;
}
