#include "cul/dbgcache/DbgCacheRemovalTimer.h"

#include <memory>

#include "cul/dbgcache/DbgCache.h"
#include "cul/events/CUL_Dispatcher.h"

namespace {

constexpr unsigned long kHalfAnHour = 1'800'000'000;  // microseconds
constexpr unsigned long kHour = 3'600'000'000;
constexpr unsigned char kPriority = 1;

}  // namespace

DbgCacheRemovalTimer::DbgCacheRemovalTimer(DbgCache* ownersCache, unsigned short limit,
                                           unsigned long delay)
    : CUL_Timer_Event(delay), cache(ownersCache), hours(limit) {}

DbgCacheRemovalTimer::~DbgCacheRemovalTimer() = default;

void DbgCacheRemovalTimer::start(DbgCache* cache, unsigned short hours) {
  post(cache, hours, kHalfAnHour);
}

void DbgCacheRemovalTimer::post(DbgCache* cache, unsigned short hours, unsigned long delay) {
  std::unique_ptr<CUL_Timer_Event> timer(new DbgCacheRemovalTimer(cache, hours, delay));
  // A dispatcher that is destroyed leaves it here, and the chain ends.
  if (CUL_Dispatcher::instance()->post(*timer, kPriority)) static_cast<void>(timer.release());
}

void DbgCacheRemovalTimer::handle_it() {
  // No guard: posting may throw too, which a destructor cannot while something else is thrown.
  try {
    cache->remove(hours);
  } catch (...) {
    post(cache, hours, kHour);
    throw;
  }
  post(cache, hours, kHour);
}
