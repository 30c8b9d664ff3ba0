#pragma once

#include <cstdlib>
#include <deque>
#include <string>

#include "quonutil/text/EncodedString.h"

/// Each target defines this: it holds what the library makes of bytes from outside against what it
/// promises, or against a slow and simple way to the same.
///
/// An input has one byte more, in front: which allocation fails on a first way through, that then
/// ends in std::bad_alloc. Nothing may be lost by it, and a second way must find all well.
void check(std::string const& bytes);

/// Not std::vector: libFuzzer brings members of that which leak when std::bad_alloc passes.
using Strings = std::deque<std::string>;

/// Makes the bytes a file, in memory, and gives its name. The next call replaces it.
std::string fileOf(std::string const& bytes);

inline void require(bool holds) {
  if (!holds) std::abort();
}

inline EncodedString text(std::string const& bytes) {
  return EncodedString(bytes.data(), static_cast<unsigned int>(bytes.size()),
                       EncodedString::kSystemText);
}
inline std::string bytesOf(EncodedString const& text) { return {text.data(), text.length()}; }
