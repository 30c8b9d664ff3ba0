#include "bench/support/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

std::int64_t allocations = 0;

// Stand in for the C++ library's, for our libraries too. Not inlined, as those are not.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
