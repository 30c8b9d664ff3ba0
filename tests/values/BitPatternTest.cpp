#include <gmp.h>
#include <gtest/gtest.h>

#include <random>

#include "cul/values/Bit_Pattern.h"
#include "tests/support/Scratch.h"

namespace {

// Holds what a pattern makes of `written` against GMP's number of the same digits.
void expectPattern(unsigned int bits, std::string const& digits, std::string const& written) {
  Bit_Pattern const made(bits, written.c_str());
  Bit_Pattern pattern(bits % 9, "1");
  pattern = Bit_Pattern(made);
  pattern = static_cast<Bit_Pattern const&>(pattern);
  mpz_t number;
  mpz_init_set_str(number, digits.c_str(), 16);
  bool const fits = mpz_sgn(number) == 0 || mpz_sizeinbase(number, 2) <= bits;
  if (!fits || bits == 0) mpz_set_ui(number, 0);
  unsigned int const bytes = fits && bits != 0 ? (bits + 7) / 8 : 1;
  char expected[64];
  gmp_snprintf(expected, sizeof expected, "%0*ZX", static_cast<int>(2 * bytes), number);
  EncodedString form = text("before");
  CharString wide(L"before");
  ASSERT_EQ(pattern.bits(), fits ? bits : 0);
  ASSERT_STREQ(pattern.format(form).data(), expected);
  ASSERT_EQ(pattern.format(wide).encoded(), form);
  bool const natural = bytes == 8 || bytes == 4 || bytes == 2 || bytes == 1;
  ASSERT_EQ(static_cast<unsigned long>(pattern), natural ? mpz_get_ui(number) : 0);
  ASSERT_EQ(pattern.is_zero(), mpz_sgn(number) == 0);
  ASSERT_NE(pattern.is_zero(), pattern.is_non_zero());
  mpz_clear(number);
}

TEST(BitPattern, IsGmpsNumberForEverySizeDigitCountAndFirstDigit) {
  std::mt19937 random(8);
  for (unsigned int i = 0; i < 131 * 38 * 16; ++i) {
    unsigned int const bits = i / (38 * 16), count = i / 16 % 38;
    std::string digits(random() % 3 * (random() % 40), '0'), written;
    for (unsigned int k = 0; k < count; ++k) {
      digits += "0123456789abcdefABCDEF0123456789"[k == 0 ? i % 16 : random() % 32];
    }
    for (char digit : digits) written.append(1, digit).append(i % 4 == 0 ? random() % 2 : 0, ' ');
    written.insert(0, i % 3 == 0 ? "0x" : i % 3 == 1 ? "0X" : "");
    ASSERT_NO_FATAL_FAILURE(expectPattern(bits, digits.insert(0, 1, '0'), written)) << written;
  }
}

TEST(BitPattern, WhatIsNoNumberIsNoPattern) {
  for (char const* bad :
       {" 0x10", "0x0x10", "0 x10", "\t1", "0x-1", "x1", "1G", "1/", "1:", "1`"}) {
    EXPECT_TRUE(Bit_Pattern(64, bad).bits() == 0 && Bit_Pattern(64, bad).is_zero()) << bad;
  }
}

}  // namespace
