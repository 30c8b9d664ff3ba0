#include "cul/values/Unsigned_Bits.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

#include "cul/values/HexDigits.h"

namespace {

// The digits of a number, made where no allocation is needed.
struct Digits {
  char text[std::numeric_limits<unsigned long>::digits10 + 1];
  char const* first;
  unsigned int length;

  EncodedString& giveTo(EncodedString& out, EncodedString::Encoding encoding) const {
    if (out.encoding() != encoding) return out = EncodedString(first, length, encoding);
    out.assign(first, length);
    return out;
  }
  CharString& giveTo(CharString& out) const {
    out.loadFrom(first, length, EncodedString::kLibraryText);
    return out;
  }
};

struct Compact : Digits {
  explicit Compact(unsigned long value) noexcept {
    writeSixteenDigits(value, 'a', text);
    auto const zeros = static_cast<unsigned int>(std::countl_zero(value | 1)) / 4;
    first = text + zeros;
    length = kDigitsAtOnce - zeros;
  }
};

struct Filled : Digits {
  Filled(unsigned long value, unsigned int width) noexcept {
    writeSixteenDigits(value, 'A', text);
    length = width == sizeof value ? kDigitsAtOnce : kDigitsAtOnce / 2;
    first = text + kDigitsAtOnce - length;
  }
};

// "00", "01" to "99", side by side.
constexpr auto kPairs = [] {
  std::array<char, 200> digits{};
  for (unsigned int i = 0; i < digits.size(); ++i) {
    digits[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
  }
  return digits;
}();

// Written from the last digit to the first, so that nobody has to count them before.
struct Decimal : Digits {
  explicit Decimal(unsigned long value) noexcept {
    char* next = std::end(text);
    for (; value >= 10'000; value /= 10'000) {
      auto const four = static_cast<unsigned int>(value % 10'000);
      putPair(next, four % 100);
      putPair(next, four / 100);
    }
    auto rest = static_cast<unsigned int>(value);
    if (rest >= 100) {
      putPair(next, rest % 100);
      rest /= 100;
    }
    if (rest >= 10) {
      putPair(next, rest);
    } else {
      *--next = static_cast<char>('0' + rest);
    }
    first = next;
    length = static_cast<unsigned int>(std::end(text) - next);
  }

 private:
  static void putPair(char*& next, unsigned int pair) noexcept {
    next -= 2;
    std::memcpy(next, &kPairs[2 * pair], 2);
  }
};

}  // namespace

EncodedString& Unsigned_Bits::format(EncodedString& out) const {
  return Compact(value_).giveTo(out, EncodedString::kSystemText);
}

CharString& Unsigned_Bits::format(CharString& out) const { return Compact(value_).giveTo(out); }

EncodedString& Unsigned_Bits::hex_format(EncodedString& out, unsigned int width) const {
  return Filled(value_, width).giveTo(out, EncodedString::kLibraryText);
}

CharString& Unsigned_Bits::hex_format(CharString& out, unsigned int width) const {
  return Filled(value_, width).giveTo(out);
}

EncodedString& Unsigned_Bits::dec_format(EncodedString& out) const {
  return Decimal(value_).giveTo(out, EncodedString::kLibraryText);
}

CharString& Unsigned_Bits::dec_format(CharString& out) const { return Decimal(value_).giveTo(out); }

bool Unsigned_Bits::assign(EncodedString const& text, int base) {
  if (base != 10 && base != 16) return false;
  char const* const number = base == 16 ? withoutPrefix(text.data()) : text.data();
  // It accepts and stops where sscanf does (glibc 2.36), and costs a third to a sixth.
  char* end;
  unsigned long const value = std::strtoul(number, &end, base);
  if (end == number) return false;
  value_ = value;
  return true;
}
