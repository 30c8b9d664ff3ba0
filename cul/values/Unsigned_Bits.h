#pragma once

#include "cul/base/Export.h"
#include "quonutil/text/CharString.h"
#include "quonutil/text/EncodedString.h"

/// An unsigned number of 64 bits that is shown and read as text.
///
///   255       format             ff
///             hex_format, 8      00000000000000FF
///             hex_format, 4      000000FF
///             dec_format         255
///
/// Each form replaces the whole of `out`, its encoding included, and returns it. Both text types
/// get the same characters. Throws what the texts throw, with `out` as it was. A plain value: one
/// thread at a time changes it.
class CUL_EXPORT Unsigned_Bits {
 public:
  /// The number `value`.
  explicit Unsigned_Bits(unsigned long value = 0) noexcept : value_(value) {}

  /// The number.
  unsigned long value() const noexcept { return value_; }

  /// Lower-case hexadecimal digits, without a prefix and without leading zeros; "0" for zero. A
  /// byte text gets the encoding kSystemText.
  EncodedString& format(EncodedString& out) const;
  /// The same as a wide text.
  CharString& format(CharString& out) const;

  /// Upper-case hexadecimal digits with leading zeros. `width` is a size in bytes: 8 gives the 16
  /// digits of the number, anything else the 8 digits of its low 32 bits. Encoding kLibraryText.
  EncodedString& hex_format(EncodedString& out, unsigned int width) const;
  /// The same as a wide text.
  CharString& hex_format(CharString& out, unsigned int width) const;

  /// Decimal digits. Encoding kLibraryText.
  EncodedString& dec_format(EncodedString& out) const;
  /// The same as a wide text.
  CharString& dec_format(CharString& out) const;

  /// Reads the number that `text` begins with, in base 10 or 16. Returns false, and keeps the old
  /// value, when there is none or the base is another one.
  ///
  /// The rule is sscanf's for "%lu" and "%lx" as the C library of Debian 12 has it, which is
  /// strtoul's (C17 7.22.1.4): white space in front is skipped; a "-" gives the two's complement;
  /// what follows the number is ignored, so that a "0x" with no digit behind it is 0; a number of
  /// more than 64 bits gives 2^64 - 1. In base 16 a "0x" or "0X" at the very beginning is
  /// skipped first, so that a second one is read as well, and one behind white space or a sign.
  bool assign(EncodedString const& text, int base);

 private:
  unsigned long value_;
};
