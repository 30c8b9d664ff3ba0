#pragma once

#include <sys/mman.h>

#include <stdexcept>

#include "tests/support/Scratch.h"

/// Each model defines this: it holds what the library makes of bytes from outside against what it
/// promises, or against a slow and simple way to the same. libFuzzer's bytes have one in front:
/// which allocation fails on a first way through, that then ends in std::bad_alloc. Nothing may be
/// lost by it, and a second way must find all well.
void check(std::string const& bytes);

inline unsigned int failingAllocation = 0;  ///< counts down to the one that fails

inline void require(bool holds, int line = __builtin_LINE()) {
  if (!holds) throw std::logic_error("not so in line " + std::to_string(line));
}

/// Makes the bytes a file, in memory, and gives its name. The next call replaces it.
inline std::string fileOf(std::string const& bytes) {
  static int const file = ::memfd_create("input", MFD_CLOEXEC);
  require(::ftruncate(file, 0) == 0);
  require(::pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  return "/proc/self/fd/" + std::to_string(file);
}
