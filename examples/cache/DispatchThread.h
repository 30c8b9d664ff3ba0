#pragma once

#include "cul/events/CUL_Dispatcher.h"
#include "quonutil/threads/StdThread.h"

/// A thread that runs the events of the process-wide dispatcher from the construction on.
class DispatchThread final : public StdThread {
 public:
  DispatchThread() : StdThread("dispatch", 0, nullptr) { start_thread(0); }

  /// Destroys the dispatcher, for good, and waits for the thread.
  ~DispatchThread() override {
    CUL_Dispatcher::instance()->destroy();
    join();
  }

  void run() override { CUL_Dispatcher::instance()->dispatchLoop(); }
};
