#include "quonutil/threads/ElapsedTime.h"

#include <ctime>

unsigned long ElapsedTime::now() noexcept {
  timespec reading;
  ::clock_gettime(CLOCK_MONOTONIC, &reading);
  return static_cast<unsigned long>(reading.tv_sec) * 1'000'000 +
         static_cast<unsigned long>(reading.tv_nsec) / 1'000;
}
