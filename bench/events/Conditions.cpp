#include "bench/events/Conditions.h"

#include <malloc.h>
#include <sched.h>

#include <ctime>
#include <stdexcept>
#include <thread>

#include "quonutil/threads/StdThread.h"

bool yields = true;

// Stands in front of the library's own, for the dispatcher too.
void StdThread::thread_yield() noexcept {
  if (yields) ::sched_yield();
}

void settle() {
  std::thread([] {}).join();
  if (::mallopt(M_TRIM_THRESHOLD, 1 << 30) == 0 || ::mallopt(M_MMAP_THRESHOLD, 32 << 20) == 0) {
    throw std::runtime_error("the heap gives memory back");
  }
}

double cpuSeconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}
