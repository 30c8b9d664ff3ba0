#include "cul/events/Level.h"

#include <algorithm>

// An event's destructor may call the dispatcher: each is out of its list before it is deleted, and
// the list may be shorter or longer afterwards than it was.

void EventDispatcherBase::Level::purge() {
  while (!timers.isEmpty()) {
    join();
    discard(timers.remove(timers.count() - 1));
  }
  while (!events.isEmpty()) discard(events.remove(events.count() - 1));
}

void EventDispatcherBase::Level::purge(void const* tag) {
  join();
  for (unsigned int i = timers.count(); i-- > 0;) {
    if (i >= timers.count() || timers[i]->tag != tag) continue;
    if (i >= timers.count() - late) --late;
    discard(timers.remove(i));
  }
  for (unsigned int i = events.count(); i-- > 0;) {
    if (i < events.count() && events[i]->tag == tag) discard(events.remove(i));
  }
}

void EventDispatcherBase::Level::discard(CUL_Event* event) {
  event->purged = true;
  delete event;
}

CUL_Event* EventDispatcherBase::Level::find(void const* tag) const {
  for (unsigned int i = 0; i < events.count(); ++i) {
    if (events[i]->tag == tag) return events[i];
  }
  CUL_Timer_Event* first = nullptr;
  for (unsigned int i = 0; i < timers.count(); ++i) {
    CUL_Timer_Event* const timer = timers[i];
    if (timer->tag != tag) continue;
    if (first == nullptr || timer->timeoutTime < first->timeoutTime) first = timer;
  }
  return first;
}

void EventDispatcherBase::Level::insertLate(CUL_Timer_Event& timer) {
  unsigned int const count = timers.count();
  timers.insert(isLast(timer) ? count : placeOf(timer, count - late, count), &timer);
  if (++late == kMostLate) join();
}

unsigned int EventDispatcherBase::Level::placeOf(CUL_Timer_Event const& timer, unsigned int low,
                                                 unsigned int end) const {
  for (unsigned int left = end - low; left != 0;) {
    unsigned int const half = (left + 1) / 2;
    if (timers[low + half - 1]->timeoutTime <= timer.timeoutTime) low += half;
    left -= half;
  }
  return low;
}

// From the last to the first, so that each entry moves once.
void EventDispatcherBase::Level::joinLate() {
  CUL_Timer_Event* joining[kMostLate];
  unsigned int end = timers.count() - late;  // of those that may have to move
  for (unsigned int i = 0; i < late; ++i) joining[i] = timers[end + i];
  for (; late != 0; --late) {
    CUL_Timer_Event& timer = *joining[late - 1];
    // Most belong that near the end of those that are left.
    unsigned int const stride = end / late * 2 + 1;
    unsigned int high = end;
    unsigned int low = high - std::min(high, stride);
    while (low != 0 && timer.timeoutTime < timers[low]->timeoutTime) {
      high = low;
      low -= std::min(low, stride);
    }
    unsigned int const place = placeOf(timer, low, high);
    for (; end != place; --end) timers.replace(end - 1 + late, timers[end - 1]);
    timers.replace(place - 1 + late, &timer);
  }
}
