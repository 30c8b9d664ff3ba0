#include "quonutil/threads/UNIX_Mutex.h"

#include "quonutil/threads/Futex.h"
#include "quonutil/threads/LateWake.h"

// Most locks are held for a moment, a dispatcher's while it yields: that is over sooner than a
// thread has gone to sleep and is awake again. So a thread looks some microseconds long before it
// sleeps. Once it has said that it waits, it takes the lock as one that others wait for, since it
// cannot know whether it was the only one: at worst its release wakes nobody. Threads sleep on the
// lower half of the word, which has the bit that counts.
void UNIX_Mutex::waitUntilFree() noexcept {
  constexpr int kLooks = 100;
  Word const self = thisThread();
  for (int i = 0; i < kLooks; ++i) {
    __builtin_ia32_pause();
    if (word_.load(std::memory_order_relaxed) == kFree && takesAs(self)) return;
  }
  LateWake::pay();
  while (Word const seen = word_.fetch_or(kAwaited, std::memory_order_acquire)) {
    Futex::sleep(&word_, static_cast<unsigned int>(seen | kAwaited), nullptr);
  }
  word_.store(self | kAwaited, std::memory_order_relaxed);
}

// The lock may be gone by now, for a thread that looked may have taken it, and destroyed it. Then
// nobody sleeps there, or somebody who looks again when it is woken.
void UNIX_Mutex::wakeOne() noexcept { Futex::wake(&word_, 1); }
