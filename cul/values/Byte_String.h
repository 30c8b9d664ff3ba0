#pragma once

#include <memory>

#include "cul/base/Export.h"
#include "quonutil/text/EncodedString.h"

/// A run of bytes that owns its buffer, or borrows one that belongs to somebody else.
///
///   made by                        buffer            capacity  length
///   Byte_String()                  none              0         0
///   Byte_String(bytes, n)          owned, a copy     n         n
///   Byte_String(bytes, n, 0)       borrowed          n         n
///   Byte_String(other)             owned, a copy     other's length, both
///   Byte_String(n)                 owned             n         0
///   Byte_String(n, 'x')            owned, all 'x'    n         n
///
/// What would be an owned buffer of 0 bytes is no buffer. A borrowed one is written in place as
/// long as its capacity suffices; a string that outgrows it moves to a buffer of its own and leaves
/// the borrowed bytes as they are. Growth is exact: each one copies, and leaves no room to spare.
///
/// Sources may lie in the string itself. Lengths have 31 bits, and sums of lengths and offsets must
/// fit in them: nothing here checks that. Throws std::bad_alloc, with the string as it was. One
/// thread at a time.
class CUL_EXPORT Byte_String {
 public:
  Byte_String() noexcept : data(nullptr), capacity(0), length(0), borrowed(0) {}

  /// A copy of `n` bytes; empty when `bytes` is null.
  Byte_String(void const* bytes, unsigned int n);

  /// Borrows `n` bytes, which outlive the string. The last argument only selects this constructor.
  Byte_String(void* bytes, unsigned int n, int) noexcept;

  /// A copy owns its bytes, whether or not `other` does.
  Byte_String(Byte_String const& other);

  /// Empty, with room for `n` bytes.
  explicit Byte_String(unsigned int n);

  /// `n` bytes, each of them `fill`.
  Byte_String(unsigned int n, char fill);

  ~Byte_String();

  /// Takes the bytes of `other`, as `assign` does; an empty one empties.
  Byte_String& operator=(Byte_String const& other);

  /// The bytes, borrowed until the string changes or goes; null when there is no buffer.
  unsigned char const* bytes() const noexcept { return data; }
  /// How many bytes there are.
  unsigned int count() const noexcept { return length; }

  /// Makes room for `n` bytes in all. The bytes stay.
  void extend(unsigned int n);

  /// Replaces the bytes by `n` others. Null changes nothing.
  Byte_String& assign(void const* bytes, unsigned int n);

  /// Writes `n` bytes at `offset`, and lengthens the string where they reach beyond its end. Null
  /// changes nothing, and so does an offset beyond the end.
  Byte_String& overlay_with(void const* bytes, unsigned int n, unsigned int offset);

  /// Appends the bytes of `other`, which may be this string.
  Byte_String& operator+=(Byte_String const& other);

  /// Compares the bytes; buffers play no part.
  bool operator==(Byte_String const& other) const;
  /// 0 when they are equal, 1 when the lengths differ, otherwise what memcmp gives.
  int operator!=(Byte_String const& other) const;

  /// Empties the string. An owned buffer is released, a borrowed one kept.
  void clear();

  /// The first 16 bytes at most, for a person to read: in hexadecimal, by fours, and as characters,
  /// with "." for what is not between 0x20 and 0x7F. Five bytes "ABCDE" give
  ///
  ///   41424344 45  "ABCDE"
  ///
  /// The empty string gives the empty text. Encoding kLibraryText.
  EncodedString diagFormat() const;

 protected:
  unsigned char* data;        ///< null when an owned string has no buffer
  unsigned int capacity;      ///< bytes there is room for at `data`
  unsigned int length : 31;   ///< bytes in use
  unsigned int borrowed : 1;  ///< `data` is somebody else's

 private:
  void setLength(unsigned int n) noexcept { length = n & 0x7FFFFFFF; }
  std::unique_ptr<unsigned char[]> grow(unsigned int n, unsigned int kept);
};
