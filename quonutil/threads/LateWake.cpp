#include "quonutil/threads/LateWake.h"

#include <climits>
#include <utility>

#include "quonutil/threads/Futex.h"

constinit thread_local LateWake::Thread LateWake::thread_{};

void LateWake::wake(std::atomic<unsigned int>& word) noexcept {
  pay();
  thread_.owed = &word;
  if (thread_.locks == 0) pay();
}

void LateWake::pay() noexcept {
  if (auto* const word = std::exchange(thread_.owed, nullptr)) {
    Futex::wake(word, INT_MAX);  // no memory there any more, or none of ours: nobody sleeps
  }
}
