#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "cul/values/Unsigned_Bits.h"
#include "tests/support/Scratch.h"

namespace {

TEST(UnsignedBits, EveryFormIsPrintfs) {
  std::mt19937_64 random(5);
  for (unsigned int i = 0; i < 4000; ++i) {
    unsigned long const edge = (1UL << i % 64) - i / 64 % 2;
    unsigned long const number = i < 128 ? edge : random() >> i % 64;
    Unsigned_Bits const bits(number);
    EncodedString bytes = text("what was there before, longer than any number");
    CharString wide(L"what was there before, longer than any number");
    char compact[32], decimal[32], full[32], half[32];
    std::snprintf(compact, sizeof compact, "%lx", number);
    std::snprintf(decimal, sizeof decimal, "%lu", number);
    std::snprintf(full, sizeof full, "%016lX", number);
    std::snprintf(half, sizeof half, "%08X", static_cast<unsigned int>(number));
    auto const expect = [&](EncodedString const& form, CharString const& wideForm,
                            std::string const& digits, int encoding) {
      ASSERT_TRUE(bytesOf(form) == digits && bytesOf(wideForm.encoded()) == digits) << digits;
      ASSERT_TRUE(form.encoding() == encoding && &form == &bytes && &wideForm == &wide);
    };
    unsigned int const other = 16 * (i % 4) + i % 8 / 4;
    expect(bits.format(bytes), bits.format(wide), compact, 0);
    expect(bits.dec_format(bytes), bits.dec_format(wide), decimal, 2);
    expect(bits.hex_format(bytes, 8), bits.hex_format(wide, 8), full, 2);
    expect(bits.hex_format(bytes, other), bits.hex_format(wide, other), half, 2);
  }
}

TEST(UnsignedBits, ReadsWhatSscanfReads) {
  for (char const* digits : {"", "-1", " +7z", "0x1F", "0xx1", "18446744073709551616", "\xA0"}) {
    unsigned long decimal = 7, hexadecimal = 7;
    Unsigned_Bits bits(7);
    EXPECT_EQ(bits.assign(text(digits), 10), std::sscanf(digits, "%lu", &decimal) == 1);
    EXPECT_EQ(bits.value(), decimal) << digits;
    bits = Unsigned_Bits(7);
    bool const prefix = digits[0] == '0' && digits[1] == 'x';
    EXPECT_EQ(bits.assign(text(digits), 16),
              std::sscanf(digits + (prefix ? 2 : 0), "%lx", &hexadecimal) == 1);
    EXPECT_EQ(bits.value(), hexadecimal) << digits;
    EXPECT_FALSE(bits.assign(text("1"), 8) || bits.assign(text("1"), 0));
  }
}

}  // namespace
