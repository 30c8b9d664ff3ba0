#include "tests/models/Model.h"

#include <cstddef>
#include <cstdint>
#include <new>

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  bool const fails = failingAllocation != 0 && --failingAllocation == 0;
  return fails ? nullptr : std::malloc(size);
}
void* operator new(std::size_t size) {
  if (void* const block = ::operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* input, std::size_t size) {
  if (size == 0) return 0;
  std::string const bytes(reinterpret_cast<char const*>(input) + 1, size - 1);
  failingAllocation = input[0];
  try {
    check(bytes);
  } catch (std::bad_alloc const&) {
  }
  failingAllocation = 0;
  check(bytes);
  return 0;
}
