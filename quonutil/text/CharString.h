#pragma once

#include "quonutil/text/EncodedString.h"
#include "quonutil/text/StringBuffer.h"

/// A text of wide characters (32 bits each), for work that goes character by character.
///
/// No byte is lost on the way in and out: a byte that is no part of valid UTF-8 becomes the
/// character U+DC00 plus the byte (U+DC80 to U+DCFF), and that character becomes the byte again.
/// So a file name in any old encoding survives being split and joined. Failures and threads: see
/// StringBuffer.
class QUONUTIL_EXPORT CharString : public StringBuffer<wchar_t> {
 public:
  CharString() noexcept = default;

  /// A copy of a wide C string, which is not null.
  CharString(wchar_t const* text);

  /// Replaces the text by `length` bytes, decoded as UTF-8 (RFC 3629; both encodings are).
  void loadFrom(char const* bytes, unsigned int length, EncodedString::Encoding encoding);

  /// The text as UTF-8, of encoding kLibraryText. A value that is no character, a surrogate that
  /// stands for no byte included, becomes U+FFFD.
  EncodedString encoded() const;

  /// Takes the text up to the first character that is one of `separators` off the front, that
  /// separator with it, and returns the text without the separator. Without a separator the whole
  /// text is taken. So "a::b" gives "a", "", "b"; ":a" gives "", "a"; and "a:" gives "a".
  CharString firstToken(wchar_t const* separators);

  /// Replaces each `from` that begins at or behind position `start` by `to`, from the front to the
  /// back. What was put in is not searched again. An empty `from` changes nothing; a `start` of 0
  /// counts as 1.
  void change(CharString const& from, CharString const& to, unsigned int start);

  /// The number in decimal digits.
  static CharString makeFromNumeric(unsigned int number);
};

inline bool operator==(CharString const& left, CharString const& right) noexcept {
  return left.sameElements(right);
}
inline bool operator!=(CharString const& left, CharString const& right) noexcept {
  return !left.sameElements(right);
}
