#pragma once

#include "cul/base/Export.h"
#include "quonutil/text/CharString.h"
#include "quonutil/text/EncodedString.h"

/// A value of a given number of bits, read from and written as hexadecimal text.
///
///   bits  text          pattern
///   16    "12 34"       1234
///   32    "0x1"         00000001
///   12    "FFF"         0FFF
///   12    "1FFF"        empty: the value does not fit
///   8     "1G"          empty: a character is no digit
///
/// The empty pattern has 0 bits and one byte, which is 0 unless `reallocate` left it. The bytes
/// come from StringPoolManager and go back there. Throws std::bad_alloc, with the pattern and `out`
/// as they were. A plain value: one thread at a time changes it.
class CUL_EXPORT Bit_Pattern {
 public:
  /// A pattern of `bits` bits from hexadecimal digits of either case, the empty one when `text`
  /// holds anything else or a value that does not fit. With 0 bits `text` is not read, and may be
  /// null.
  ///
  /// A "0x" or "0X" is skipped at the very beginning only. Blanks are skipped everywhere, tabs
  /// nowhere. No digit at all is the value 0.
  Bit_Pattern(unsigned int bits, char const* text);

  /// A copy, in a buffer of its own.
  Bit_Pattern(Bit_Pattern const& other);
  ~Bit_Pattern();

  /// Takes the size and the bytes of another pattern.
  Bit_Pattern& operator=(Bit_Pattern const& other);

  /// The number of bits; 0 for the empty pattern, also the one that a bad text gives.
  unsigned int bits() const noexcept { return bit_count; }

  /// Takes a buffer for `bits` bits, all of them 0. The buffer held before is not given back: this
  /// is for a pattern without one.
  void allocate(unsigned int bits);

  /// Changes the size to `bits` bits. Where the number of bytes stays the same so do the bytes,
  /// otherwise their contents are unspecified.
  void reallocate(unsigned int bits);

  /// Sets `out` to two upper-case digits a byte, the highest byte first, leading zeros included,
  /// and returns it. A byte text gets the encoding kLibraryText.
  CharString& format(CharString& out) const;
  /// The same as a byte text.
  EncodedString& format(EncodedString& out) const;

  /// True when every byte is 0, also where they have more bits than the pattern.
  bool is_zero() const;
  /// True when a bit is 1.
  bool is_non_zero() const { return !is_zero(); }

  /// The value of a pattern of 1, 2, 4 or 8 bytes; 0 for every other size.
  operator unsigned long() const;

 protected:
  unsigned char* data;      ///< the lowest byte first
  unsigned int bit_count;   ///< 0: empty
  unsigned int byte_count;  ///< (bit_count + 7) / 8, at least 1

 private:
  explicit Bit_Pattern(unsigned int bits) { allocate(bits); }
  bool read(char const* text);
};
