#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "quonutil/names/FileName.h"

// Texts between the library, the standard library, a terminal and a program that reads JSON.

inline EncodedString systemText(std::string_view text) {
  return EncodedString(text.data(), static_cast<unsigned>(text.size()), EncodedString::kSystemText);
}
inline FileName fileName(std::string_view name) { return FileName(systemText(name)); }
inline std::string bytesOf(EncodedString const& text) { return {text.data(), text.length()}; }

/// The text as one line may hold it and a terminal get it: a byte of a control character, or of
/// what is no UTF-8, becomes \xNN.
std::string printable(std::string_view text);

/// Whether it is UTF-8 throughout.
bool isUtf8(std::string_view text);

/// How many characters it has.
std::size_t widthOf(std::string_view text);

/// A JSON string with its quotes. A byte that is no UTF-8 becomes the escape of U+DC00 plus the
/// byte, which Python's "surrogateescape" turns back into it.
std::string quoted(std::string_view text);

/// "4,166,896", "4.0 MiB", "36 h"
std::string grouped(std::uint64_t number);
std::string humanSize(std::uint64_t bytes);
std::string humanAge(std::int64_t seconds);
