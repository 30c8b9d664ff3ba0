#pragma once

#include "cul/events/CUL_Timer_Event.h"

class DbgCache;

/// Removes old files from a cache, on the thread that runs the process-wide dispatcher, and posts
/// its successor: the cache always has one timer that is queued or running, until that dispatcher
/// is destroyed.
class DbgCacheRemovalTimer : public CUL_Timer_Event {
 public:
  /// Posts the first timer, due in half an hour. The cache is not owned and outlives its timers.
  static void start(DbgCache* cache, unsigned short hours);

  /// Removes, then posts the next one, also when the removal throws. The hour that it asks for is
  /// cut to CUL_Timer_Event::kLongestInterval.
  void handle_it() override;

 private:
  DbgCacheRemovalTimer(DbgCache* cache, unsigned short hours, unsigned long delay);
  ~DbgCacheRemovalTimer() override;

  static void post(DbgCache* cache, unsigned short hours, unsigned long delay);

  DbgCache* cache;
  unsigned short hours;
};
