#pragma once

#include <algorithm>

#include "cul/events/CUL_Event.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/events/EventDispatcherBase.h"
#include "quonutil/collections/AutoList.h"

/// The queues of one priority.
///
/// A timer that is due before one that was posted earlier has to go in between, and moving all
/// those behind it for each would cost a burst of posts dear. So the timers at the end of the list
/// may be late ones, in order among themselves, which join the others together: before anybody
/// looks, or when there are many.
struct CUL_LOCAL EventDispatcherBase::Level {
  // The first posts allocate nothing. Emptied, a queue keeps its places: destroy() always finds one
  // for its Dummy.
  Level() {
    constexpr unsigned int kPlaces = 8;
    timers.reserve(kPlaces);
    events.reserve(kPlaces);
  }

  AutoList<CUL_Timer_Event*> timers;  // by due time, equal ones in posting order, but for the late
  AutoList<CUL_Event*> events;        // in posting order
  unsigned int late = 0;              // the timers at the end that have not joined the others

  void insert(CUL_Timer_Event& timer) {
    // Most come in the order of their due times.
    if (late == 0 && isLast(timer)) {
      timers.append(&timer);
    } else {
      insertLate(timer);
    }
  }

  // Takes the next event that may run off the levels up to `top`, or gives null and lowers
  // `shortest` to the microseconds that the nearest due time on them is away.
  static CUL_Event* takeNext(List<Level*> const& levels, std::atomic<unsigned char> const& top,
                             unsigned long& shortest) {
    for (unsigned int i = 0; i <= top; ++i) {
      Level& level = *levels[i];
      if (!level.events.isEmpty()) return level.events.remove(0);
      if (level.timers.isEmpty()) continue;
      level.join();
      CUL_Timer_Event const& first = *level.timers[0];
      if (first.isTimeExpired()) return level.timers.remove(0);
      shortest = std::min(shortest, first.timeToExpiry());
    }
    return nullptr;
  }

  void purge();
  void purge(void const* tag);
  CUL_Event* find(void const* tag) const;  // plain events before timers

 private:
  static void discard(CUL_Event* event);

  static constexpr unsigned int kMostLate = 256;

  bool isLast(CUL_Timer_Event const& timer) const {
    unsigned int const count = timers.count();
    return count == 0 || timers[count - 1]->timeoutTime <= timer.timeoutTime;
  }
  void insertLate(CUL_Timer_Event& timer);

  // Where `timer` belongs among those from `low` up to `end`: behind all that are due no later.
  unsigned int placeOf(CUL_Timer_Event const& timer, unsigned int low, unsigned int end) const;
  void join() {
    if (late != 0) joinLate();
  }
  void joinLate();
};
