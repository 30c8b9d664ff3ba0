#pragma once

#include "cul/events/EventDispatcherBase.h"
#include "quonutil/threads/StdThread.h"

/// A dispatcher with a thread of its own, which dispatches from the construction on.
///
/// `destroy()` ends the loop and `join()` waits for the thread; both are over before the object is
/// destroyed. No class derives from this one: the thread runs before a derived constructor would.
class CUL_EXPORT CUL_EventDispatcher final : public EventDispatcherBase, public StdThread {
 public:
  /// `n` is the number of levels; `name` and `stackSize` (bytes) are the thread's, see StdThread.
  /// Throws std::system_error when the thread cannot be started.
  CUL_EventDispatcher(char const* name, unsigned char n, unsigned int stackSize);
  ~CUL_EventDispatcher() override;

  void run() override;
};
