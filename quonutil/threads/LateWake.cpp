#include "quonutil/threads/LateWake.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <utility>

#include "quonutil/ErrnoKeeper.h"

constinit thread_local LateWake::Thread LateWake::thread_{};

void LateWake::wake(std::atomic<unsigned int>& word) noexcept {
  pay();
  thread_.owed = &word;
  if (thread_.locks == 0) pay();
}

void LateWake::pay() noexcept {
  if (auto* const word = std::exchange(thread_.owed, nullptr)) {
    ErrnoKeeper const keeper;  // no memory there any more, or none of ours: nobody sleeps
    ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
  }
}
