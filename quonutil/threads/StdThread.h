#pragma once

#include <pthread.h>

#include "quonutil/Export.h"

/// A thread of its own: derive from this class and write `run()`.
///
/// Whoever owns the object starts the thread and calls `join()` before the object goes: a derived
/// class is half destroyed by the time this destructor runs, and `run()` must not be in it then.
class QUONUTIL_EXPORT StdThread {
 public:
  /// Called on the thread after `run()` has returned, as the last thing that touches the object.
  using TerminationHandler = void (*)(StdThread&);

  /// A thread that is not started yet. `name` is what the system shows, cut to 15 bytes.
  /// `stackSize` is in bytes, raised to what the system needs at least; 0 leaves it to the system.
  /// `handler` may be null.
  StdThread(char const* name, unsigned int stackSize, TerminationHandler handler);
  StdThread(StdThread const&) = delete;
  StdThread& operator=(StdThread const&) = delete;
  /// Waits for the thread as a last resort; on the thread itself, lets it go.
  virtual ~StdThread();

  /// What the thread does. An exception that leaves it ends the process.
  virtual void run() = 0;

  /// Starts the thread at once, with every signal blocked in it: signals are for the host's own
  /// threads. `flags` is 0; no other value has a meaning. Called once. Throws std::system_error
  /// when the system has no thread to give.
  void start_thread(unsigned int flags);

  /// Waits until `run()` has returned; at once when the thread was never started or was waited for
  /// already. Not on the thread itself. One thread at a time.
  void join();

  /// The calling thread's object. A thread that this class did not start has one too, shared with
  /// its like; it serves for `thread_yield()`.
  static StdThread* currentThread() noexcept;

  /// A number that no other thread has while the calling one lives; never 0 (POSIX pthread_self).
  static unsigned long currentThreadId() noexcept;

  /// Lets another thread have the calling thread's processor (POSIX sched_yield).
  void thread_yield() noexcept;

 private:
  static constexpr unsigned int kNameRoom = 16;  // what the system keeps, its final zero included

  static void* enter(void* self) noexcept;

  char name_[kNameRoom];
  unsigned int stackSize_;
  TerminationHandler handler_;
  pthread_t thread_ = 0;
  bool isJoinable_ = false;
};
