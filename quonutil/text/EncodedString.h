#pragma once

#include "quonutil/text/ByteString.h"
#include "quonutil/text/StringBuffer.h"

class CharString;

/// A text of bytes that knows its encoding.
///
/// Comparison is by bytes; the encoding takes no part in it. A text that is appended or joined
/// takes the left side's encoding. Failures and threads: see StringBuffer.
class QUONUTIL_EXPORT EncodedString : public StringBuffer<char> {
 public:
  /// Both are UTF-8 on this platform. Bytes that are not UTF-8 are kept as they are.
  enum Encoding : int {
    kSystemText = 0,   ///< exchanged with the operating system: paths, environment, strerror
    kLibraryText = 2,  ///< made by callers and by the library itself
  };

  /// The empty text, of encoding kLibraryText.
  EncodedString() noexcept = default;

  /// A copy of a C string, which is not null.
  EncodedString(char const* text, Encoding encoding)
      : EncodedString(text, counted(std::strlen(text)), encoding) {}

  /// A copy of `length` bytes, zero bytes among them or not.
  EncodedString(char const* bytes, unsigned int length, Encoding encoding)
      : StringBuffer(bytes, length), encoding_(encoding) {}

  /// A copy of the bytes.
  EncodedString(ByteString const& bytes, Encoding encoding)
      : EncodedString(bytes.text(), bytes.length(), encoding) {}

  /// The wide text in kLibraryText; see CharString::encoded().
  EncodedString(CharString const& text);

  /// How the bytes are to be read.
  Encoding encoding() const noexcept { return encoding_; }

  /// The text's bytes in another encoding. `substitute` stands in for a character that the target
  /// encoding lacks; it lacks none here, so the bytes stay the same and `substitute` may be null.
  ByteString convert(Encoding target, char const* substitute) const;

  /// The text in front of the first `separator`; all of it when there is none.
  EncodedString allBefore(unsigned char separator) const;
  /// The text behind the first `separator`; nothing when there is none.
  EncodedString allAfter(unsigned char separator) const;

  /// Puts `character` at the end of the text unless it stands there already.
  void endIn(char character) {
    if (isEmpty() || data()[length() - 1] != character) append(&character, 1);
  }

  /// Cuts the text in front of its first zero byte: what the system sees of it as a path.
  void cutAtZero() noexcept { cut(static_cast<unsigned int>(std::strlen(data()))); }

  /// Puts the bytes of `other`, which may be this very text, at the end.
  EncodedString& operator+=(EncodedString const& other) {
    append(other.data(), other.length());
    return *this;
  }

  /// Both texts joined, in one allocation or, when the result is short, in none.
  friend EncodedString operator+(EncodedString const& left, EncodedString const& right) {
    return EncodedString(left, right);
  }

 private:
  EncodedString(EncodedString const& left, EncodedString const& right)
      : StringBuffer(left, right), encoding_(left.encoding_) {}

  Encoding encoding_ = kLibraryText;
};

inline bool operator==(EncodedString const& left, EncodedString const& right) noexcept {
  return left.sameElements(right);
}
inline bool operator!=(EncodedString const& left, EncodedString const& right) noexcept {
  return !left.sameElements(right);
}

/// True when the texts are equal but for the case of the letters A to Z. `left` is not null.
QUONUTIL_EXPORT bool compareCaseInsensitive(char const* left, EncodedString const& right) noexcept;
