#pragma once

#include "cul/events/EventDispatcherBase.h"

class CUL_EventDispatcher;

/// The process's one dispatcher. It has three levels and no thread: the host calls `dispatchLoop()`
/// on a thread of its choice. The cache's removal timer is posted here.
class CUL_EXPORT CUL_Dispatcher : public EventDispatcherBase {
 public:
  /// Made at the first call, on any thread, and never destroyed.
  static CUL_Dispatcher* instance();

  /// Destroys the alternate, whose thread then ends, and after it this dispatcher: for good, since
  /// there is no other.
  void destroy() override;

  ~CUL_Dispatcher() override;

  /// A second dispatcher, "DispAlt", with one level and a thread of its own (1 MiB of stack), which
  /// is made at the first call and again at the first one after `destroy()`. It is never deleted.
  /// The caller keeps this and `destroy()` apart. Throws std::system_error when there is no thread.
  CUL_EventDispatcher* makeAlternate();

 protected:
  CUL_EventDispatcher* alternate;  ///< null until it is made

 private:
  CUL_Dispatcher();
};
