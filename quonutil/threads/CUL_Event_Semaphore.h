#pragma once

/// What event semaphores have in common on every platform.
class CUL_Event_Semaphore {
 public:
  /// The unit of a waiting time.
  enum WaitTimeScale : int {
    kMilliseconds = 1,
  };
};
