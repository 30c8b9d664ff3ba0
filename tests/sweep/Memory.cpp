#include <cstddef>
#include <cstdlib>
#include <new>

#include "tests/sweep/Plan.h"

std::atomic<long> liveMemory = 0;

namespace {

// Stands in front of each block.
struct alignas(std::max_align_t) Head {
  long counted;
};

void* allocate(std::size_t size) {
  CallWatch* const watch = CallWatch::current;
  if (watch != nullptr) {
    Watching const nobody(nullptr);
    Call const call{"new", nullptr, size};
    Fate const fate = watch->before(call);
    watch->after(call, fate, {fate.error, 0});
    if (fate.error != 0) throw std::bad_alloc();
  }
  auto* const head = static_cast<Head*>(std::malloc(sizeof(Head) + size));
  if (head == nullptr) throw std::bad_alloc();
  head->counted = watch == nullptr ? 0 : static_cast<long>(size) + 1;
  liveMemory += head->counted;
  return head + 1;
}

void release(void* block) {
  if (block == nullptr) return;
  Head* const head = static_cast<Head*>(block) - 1;
  liveMemory -= head->counted;
  std::free(head);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
