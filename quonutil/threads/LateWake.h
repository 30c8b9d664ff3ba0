#pragma once

#include <atomic>

/// The wake-ups that the calling thread owes.
///
/// Whoever opens a gate under a lock wakes a thread that needs the same lock next. Woken at once it
/// runs, on another processor or in this thread's place, finds the lock taken and sleeps a second
/// time. So a wake-up is put off until this thread releases a lock, any lock: then it knows no more
/// than an address, and the gate may be gone by then. A wake-up at an address where nobody sleeps
/// does nothing, and every sleeper looks at its gate again.
class LateWake {
 public:
  /// A lock was taken, by this thread.
  static void lockTaken() noexcept { ++thread_.locks; }
  /// A lock was released: what is owed is paid.
  static void lockReleased() noexcept {
    --thread_.locks;
    if (thread_.owed != nullptr) pay();
  }

  /// Wakes all threads that sleep on `word` (FUTEX_WAIT): now, or when a lock that this thread
  /// holds is released.
  static void wake(std::atomic<unsigned int>& word) noexcept;

  /// Pays what is owed. Before this thread sleeps itself.
  static void pay() noexcept;

 private:
  struct Thread {
    unsigned int locks;
    std::atomic<unsigned int>* owed;
  };

  // Beside the C library's own, not behind a call: it is touched with every lock.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local Thread thread_;
};
