#include "tests/support/Allocations.h"

#include <cstdlib>
#include <new>

thread_local unsigned int allocations = 0;

void* operator new(std::size_t bytes) {
  ++allocations;
  if (void* const block = std::malloc(bytes)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
