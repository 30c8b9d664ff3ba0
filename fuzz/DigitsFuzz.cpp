// Hexadecimal patterns against GMP, and numbers against sscanf. The first byte is the pattern's
// number of bits.

#include <gmp.h>

#include <bit>
#include <cstdio>

#include "cul/values/Bit_Pattern.h"
#include "cul/values/Unsigned_Bits.h"
#include "fuzz/Harness.h"

namespace {

// What a pattern of so many bits shows of the digits.
std::string expected(unsigned int bits, std::string digits) {
  std::erase(digits, ' ');
  char shown[80] = "00";
  mpz_t number;
  bool const isNumber = digits.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos &&
                        mpz_init_set_str(number, digits.empty() ? "0" : digits.c_str(), 16) == 0;
  if (!isNumber) return shown;
  if (mpz_sgn(number) == 0 || mpz_sizeinbase(number, 2) <= bits) {
    gmp_snprintf(shown, sizeof shown, "%0*ZX", static_cast<int>((bits + 7) / 8 * 2), number);
  }
  mpz_clear(number);
  return shown;
}

}  // namespace

void check(std::string const& bytes) {
  if (bytes.size() < 2 || bytes[0] == 0) return;
  auto const bits = static_cast<unsigned char>(bytes[0]);
  std::string const all = bytes.substr(1).c_str();  // to the first zero
  std::string const digits = all.substr(all.starts_with("0x") || all.starts_with("0X") ? 2 : 0);
  Bit_Pattern const pattern(bits, all.c_str());
  EncodedString out;
  std::string const shown = bytesOf(pattern.format(out));
  require(shown == expected(bits, digits));
  bool const isNatural = shown.size() <= 16 && std::has_single_bit(shown.size());
  require(pattern == (isNatural ? std::strtoul(shown.c_str(), nullptr, 16) : 0));
  require(pattern.is_zero() == (shown.find_first_not_of('0') == std::string::npos));

  unsigned long expectedValue = 7;
  Unsigned_Bits value(7);
  require(value.assign(text(all), 10) == (std::sscanf(all.c_str(), "%lu", &expectedValue) == 1));
  require(value.value() == expectedValue);
  require(value.assign(text(all), 16) == (std::sscanf(digits.c_str(), "%lx", &expectedValue) == 1));
  require(value.value() == expectedValue);
}
