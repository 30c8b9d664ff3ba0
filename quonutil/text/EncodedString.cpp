#include "quonutil/text/EncodedString.h"

#include <algorithm>
#include <cstddef>

#include "quonutil/text/CharString.h"

namespace {

// By hand: what tolower does depends on the host's locale.
constexpr char lowercase(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                              : character;
}

}  // namespace

EncodedString::EncodedString(CharString const& text) : EncodedString(text.encoded()) {}

ByteString EncodedString::convert(Encoding /*target*/, char const* /*substitute*/) const {
  return ByteString(data(), length());
}

EncodedString EncodedString::allBefore(unsigned char separator) const {
  unsigned int const position = indexOf(static_cast<char>(separator), 1);
  if (position == 0) return *this;
  return EncodedString(data(), position - 1, encoding_);
}

EncodedString EncodedString::allAfter(unsigned char separator) const {
  unsigned int const position = indexOf(static_cast<char>(separator), 1);
  if (position == 0) return EncodedString("", encoding_);
  return EncodedString(data() + position, length() - position, encoding_);
}

bool compareCaseInsensitive(char const* left, EncodedString const& right) noexcept {
  std::size_t const length = right.length();
  if (std::strlen(left) != length) return false;
  return std::equal(left, left + length, right.data(),
                    [](char a, char b) { return lowercase(a) == lowercase(b); });
}
