// Patterns against GMP, numbers against sscanf and printf. The first byte is the number of bits.

#include <gmp.h>

#include <bit>
#include <cstdio>

#include "cul/values/Bit_Pattern.h"
#include "cul/values/Unsigned_Bits.h"
#include "tests/models/Model.h"

namespace {

// What a pattern of so many bits shows of the digits; nothing when they are not good for it.
std::string shownOf(unsigned int bits, std::string digits) {
  std::erase(digits, ' ');
  bool const areDigits = digits.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
  if (!areDigits || bits == 0) return "";
  char shown[80] = "";
  mpz_t number;
  mpz_init_set_str(number, ("0" + digits).c_str(), 16);
  if (mpz_sgn(number) == 0 || mpz_sizeinbase(number, 2) <= bits) {
    gmp_snprintf(shown, sizeof shown, "%0*ZX", static_cast<int>((bits + 7) / 8 * 2), number);
  }
  mpz_clear(number);
  return shown;
}

void checkPattern(unsigned int bits, std::string const& all, std::string shown) {
  Bit_Pattern pattern(bits % 9, "1");
  Bit_Pattern const made(bits, all.c_str()), copy(made);
  pattern = copy;
  pattern = static_cast<Bit_Pattern const&>(pattern);
  require(pattern.bits() == (shown.empty() ? 0 : bits));
  if (shown.empty()) shown = "00";
  EncodedString form = text("before");
  CharString wide(L"before");
  require(bytesOf(pattern.format(form)) == shown && pattern.format(wide).encoded() == form);
  bool const isNatural = shown.size() <= 16 && std::has_single_bit(shown.size());
  require(pattern == (isNatural ? std::strtoul(shown.c_str(), nullptr, 16) : 0));
  require(pattern.is_non_zero() == (shown.find_first_not_of('0') != std::string::npos));
}

void checkNumber(Unsigned_Bits const& bits, unsigned int width) {
  char expected[100];
  unsigned long const number = bits.value(), shown = width == 8 ? number : number & 0xFFFFFFFF;
  std::snprintf(expected, sizeof expected, "%lx %lu %016lX %0*lX", number, number, number,
                width == 8 ? 16 : 8, shown);
  auto const forms = [&](auto out) {
    std::string all = bytesOf(EncodedString(bits.format(out))) + " ";
    all += bytesOf(EncodedString(bits.dec_format(out))) + " ";
    all += bytesOf(EncodedString(bits.hex_format(out, 8))) + " ";
    return all + bytesOf(EncodedString(bits.hex_format(out, width)));
  };
  EncodedString form = text("what was there before, longer than any number");
  require(forms(form) == expected && forms(CharString(L"before")) == expected);
  require(bits.format(form).encoding() == 0 && bits.dec_format(form).encoding() == 2);
  require(bits.format(form).encoding() == 0 && bits.hex_format(form, width).encoding() == 2);
}

}  // namespace

void check(std::string const& bytes) {
  if (bytes.empty()) return;
  auto const bits = static_cast<unsigned char>(bytes[0]);
  std::string const all = bytes.substr(1).c_str();  // to the first zero
  std::string const digits = all.substr(all.starts_with("0x") || all.starts_with("0X") ? 2 : 0);
  checkPattern(bits, all, shownOf(bits, digits));
  for (int base : {10, 16}) {
    unsigned long expected = 7;
    Unsigned_Bits value(7);
    bool const isNumber = base == 10 ? std::sscanf(all.c_str(), "%lu", &expected) == 1
                                     : std::sscanf(digits.c_str(), "%lx", &expected) == 1;
    require(value.assign(text(all), base) == isNumber && value.value() == expected);
    require(!value.assign(text(all), 8));
    checkNumber(value, bits);
  }
}
