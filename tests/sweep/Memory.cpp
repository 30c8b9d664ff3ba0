#include "tests/sweep/Memory.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "tests/support/CallFronts.h"

namespace {

std::atomic<long> liveBlocks = 0, liveBytes = 0;

// Stands in front of each block, as far in front as the block is aligned.
struct Head {
  long size;  // 0 when nobody watched
};

std::size_t offsetFor(std::align_val_t alignment) {
  return std::max(static_cast<std::size_t>(alignment), alignof(std::max_align_t));
}
constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

void count(long size, long sign) {
  if (size == 0) return;
  liveBlocks += sign;
  liveBytes += sign * size;
}

// True when this allocation is to fail.
bool fails(std::size_t size) {
  CallWatch* const watch = CallWatch::current;
  if (watch == nullptr) return false;
  Watching const nobody(nullptr);
  Call const call{"new", nullptr, size};
  Fate const fate = watch->before(call);
  watch->after(call, fate, {fate.error, 0});
  return fate.error != 0;
}

void* allocate(std::size_t size, std::align_val_t alignment) {
  if (fails(size)) throw std::bad_alloc();
  std::size_t const offset = offsetFor(alignment);
  std::size_t const whole = (size + 2 * offset - 1) / offset * offset;
  auto* const begin = static_cast<char*>(std::aligned_alloc(offset, whole));
  if (begin == nullptr) throw std::bad_alloc();
  long const counted = CallWatch::current == nullptr ? 0 : static_cast<long>(size) + 1;
  *reinterpret_cast<Head*>(begin) = {counted};
  count(counted, 1);
  return begin + offset;
}

void release(void* block, std::align_val_t alignment) {
  if (block == nullptr) return;
  char* const begin = static_cast<char*>(block) - offsetFor(alignment);
  count(reinterpret_cast<Head*>(begin)->size, -1);
  std::free(begin);
}

}  // namespace

Memory Memory::live() { return {liveBlocks, liveBytes}; }

void* operator new(std::size_t size) { return allocate(size, kUsual); }
void* operator new[](std::size_t size) { return allocate(size, kUsual); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, alignment);
}
void operator delete(void* block) noexcept { release(block, kUsual); }
void operator delete[](void* block) noexcept { release(block, kUsual); }
void operator delete(void* block, std::size_t) noexcept { release(block, kUsual); }
void operator delete[](void* block, std::size_t) noexcept { release(block, kUsual); }
void operator delete(void* block, std::align_val_t alignment) noexcept {
  release(block, alignment);
}
