#include "quonutil/threads/UNIX_Mutex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "quonutil/ErrnoKeeper.h"
#include "quonutil/threads/LateWake.h"

namespace {

// Threads sleep on the lower half of the word, which has the bit that counts. The system looks at
// it once more before it lets a thread sleep.
void sleepOrWake(std::atomic<std::uintptr_t>& word, int operation, std::uintptr_t value) noexcept {
  ErrnoKeeper const keeper;
  ::syscall(SYS_futex, &word, operation, static_cast<unsigned int>(value), nullptr, nullptr, 0);
}

}  // namespace

// Most locks are held for a moment, a dispatcher's while it yields: that is over sooner than a
// thread has gone to sleep and is awake again. So a thread looks some microseconds long before it
// sleeps. Once it has said that it waits, it takes the lock as one that others wait for, since it
// cannot know whether it was the only one: at worst its release wakes nobody.
void UNIX_Mutex::waitUntilFree() noexcept {
  constexpr int kLooks = 100;
  Word const self = thisThread();
  for (int i = 0; i < kLooks; ++i) {
    __builtin_ia32_pause();
    if (word_.load(std::memory_order_relaxed) == kFree && takesAs(self)) return;
  }
  LateWake::pay();
  while (Word const seen = word_.fetch_or(kAwaited, std::memory_order_acquire)) {
    sleepOrWake(word_, FUTEX_WAIT_PRIVATE, seen | kAwaited);
  }
  word_.store(self | kAwaited, std::memory_order_relaxed);
}

// The lock may be gone by now, for a thread that looked may have taken it, and destroyed it. Then
// nobody sleeps there, or somebody who looks again when it is woken.
void UNIX_Mutex::wakeOne() noexcept { sleepOrWake(word_, FUTEX_WAKE_PRIVATE, 1); }
