#pragma once

#include <atomic>

#include "quonutil/Export.h"
#include "quonutil/threads/CUL_Event_Semaphore.h"

/// A gate between threads. Posted, it is open and stays open until it is reset; each thread that
/// waits meanwhile passes at once. Any thread may call anything here at any time; when the object
/// is destroyed no thread is in any operation of it.
class QUONUTIL_EXPORT UNIX_Event_Semaphore : public CUL_Event_Semaphore {
 public:
  UNIX_Event_Semaphore() noexcept = default;
  UNIX_Event_Semaphore(UNIX_Event_Semaphore const&) = delete;
  UNIX_Event_Semaphore& operator=(UNIX_Event_Semaphore const&) = delete;
  ~UNIX_Event_Semaphore() = default;

  /// Opens the gate and wakes everybody who waits; no system call when nobody does, and nothing at
  /// all when the gate is open. A thread that holds a UNIX_Critical_Section wakes them when it next
  /// releases one, or has to wait itself: here, for another, or in StdThread::join. What a post
  /// tells of is handed over under a lock, or by sequentially consistent operations: then whoever
  /// resets the gate and looks afterwards sees it.
  void post() noexcept;
  /// Closes the gate.
  void reset() noexcept;

  /// Waits until the gate is open, at most `time` units by the monotonic clock; signals do not cut
  /// it short. True when the gate was open, false when the time was over. With `close`, whoever
  /// passes closes the gate behind itself. Where gates have opened soon, a thread looks out for 20
  /// microseconds before it sleeps.
  bool wait(unsigned long time, WaitTimeScale scale, bool close) noexcept;

 private:
  QUONUTIL_LOCAL bool passes(bool close) noexcept;
  QUONUTIL_LOCAL void lookOut() noexcept;

  std::atomic<unsigned int> isOpen_ = 0;   // 1 or 0: what the waiting threads sleep on
  std::atomic<unsigned int> waiting_ = 0;  // the threads that sleep
  std::atomic<unsigned int> inVain_ = 0;   // waits since a look saw the gate open
};
