#include "cul/events/CUL_Timer_Event.h"

#include <algorithm>

#include "quonutil/threads/ElapsedTime.h"

CUL_Timer_Event::CUL_Timer_Event(unsigned long delay) : interval(delay) {
  setTimeoutTime();
  isTimer = true;
}

CUL_Timer_Event::~CUL_Timer_Event() = default;

void CUL_Timer_Event::handle_it() {}

void CUL_Timer_Event::setTimeoutTime() {
  timeoutTime = ElapsedTime::now() + std::min(interval, kLongestInterval);
}

unsigned long CUL_Timer_Event::timeToExpiry() const {
  unsigned long const now = ElapsedTime::now();
  return timeoutTime > now ? timeoutTime - now : 0;
}

bool CUL_Timer_Event::isTimeExpired() const { return ElapsedTime::now() >= timeoutTime; }
