#pragma once

#include <string>

#include "quonutil/text/EncodedString.h"

/// A text of the standard library's as the library takes names and paths.
inline EncodedString systemText(std::string const& text) {
  return EncodedString(text.data(), static_cast<unsigned>(text.size()), EncodedString::kSystemText);
}
