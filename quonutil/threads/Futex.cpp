#include "quonutil/threads/Futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "quonutil/ErrnoKeeper.h"

bool Futex::sleep(void const* word, unsigned int value, timespec const* limit) noexcept {
  ErrnoKeeper const keeper;
  return ::syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, value, limit, nullptr,
                   FUTEX_BITSET_MATCH_ANY) != 0 &&
         errno == ETIMEDOUT;
}

void Futex::wake(void const* word, int most) noexcept {
  ErrnoKeeper const keeper;
  ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, most, nullptr, nullptr, 0);
}
