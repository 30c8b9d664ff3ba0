#include "Text.h"

#include <algorithm>
#include <cstdio>

namespace {

CharString decoded(std::string_view text) {
  CharString wide;
  wide.loadFrom(text.data(), static_cast<unsigned>(text.size()), EncodedString::kSystemText);
  return wide;
}

// How the library decodes a byte that is no UTF-8.
bool isBareByte(wchar_t character) { return character >= 0xDC80 && character <= 0xDCFF; }

bool isControl(wchar_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

std::string encoded(wchar_t character) {
  CharString one;
  one.append(&character, 1);
  return bytesOf(one.encoded());
}

// The text with each character as `write` gives it.
template <class Write>
std::string rewritten(std::string_view text, Write write) {
  CharString const wide = decoded(text);
  std::string all;
  for (unsigned i = 0; i < wide.length(); ++i) all += write(wide.data()[i]);
  return all;
}

std::string hexBytes(std::string const& bytes) {
  std::string all;
  char text[5];
  for (char byte : bytes) {
    std::snprintf(text, sizeof text, "\\x%02X", unsigned{static_cast<unsigned char>(byte)});
    all += text;
  }
  return all;
}

}  // namespace

std::string printable(std::string_view text) {
  return rewritten(text, [](wchar_t character) {
    std::string const bytes = encoded(character);
    return isControl(character) || isBareByte(character) ? hexBytes(bytes) : bytes;
  });
}

bool isUtf8(std::string_view text) {
  CharString const wide = decoded(text);
  return std::none_of(wide.data(), wide.data() + wide.length(), isBareByte);
}

std::size_t widthOf(std::string_view text) { return decoded(text).length(); }

std::string quoted(std::string_view text) {
  auto const written = [](wchar_t character) -> std::string {
    if (character == '"' || character == '\\') return {'\\', static_cast<char>(character)};
    if (!isControl(character) && !isBareByte(character)) return encoded(character);
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character) & 0xFFFF);
    return escape;
  };
  return '"' + rewritten(text, written) + '"';
}

std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ',');
  return text;
}

std::string humanSize(std::uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  auto size = static_cast<double>(bytes) / 1024;
  char const* unit = "KMGT";
  for (; size >= 1024 && unit[1] != '\0'; ++unit) size /= 1024;
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %ciB", size, *unit);
  return text;
}

std::string humanAge(std::int64_t seconds) {
  constexpr struct {
    std::int64_t below, seconds;
    char const* unit;
  } kUnits[] = {{60, 1, " s"}, {3600, 60, " min"}, {72 * 3600, 3600, " h"}};
  std::string const sign = seconds < 0 ? "-" : "";
  std::int64_t const size = std::abs(seconds);
  for (auto const& [below, unitSeconds, unit] : kUnits) {
    if (size < below) return sign + std::to_string(size / unitSeconds) + unit;
  }
  return sign + std::to_string(size / 86'400) + " d";
}
