#include "cul/values/Bit_Pattern.h"
#include "cul/values/Byte_String.h"
#include "tests/models/Model.h"
#include "tests/support/Prelude.h"

namespace {

void compare(unsigned int bits, std::string const& digits) {
  ASSERT_NO_THROW(check(static_cast<char>(bits) + digits)) << bits << " bits of " << digits;
}

TEST(Digits, EveryNumberOfBitsEveryNumberOfDigitsAndEveryFirstDigit) {
  std::mt19937 random(8);
  for (unsigned int i = 0; i < 131 * 38 * 16; ++i) {
    unsigned int const bits = i / (38 * 16), count = i / 16 % 38;
    std::string digits(i % 3 == 0 ? "0x" : i % 3 == 1 ? "0X" : "");
    digits.append(random() % 3 * (random() % 40), '0');
    for (unsigned int k = 0; k < count; ++k) {
      digits += "0123456789abcdefABCDEF0123456789"[k == 0 ? i % 16 : random() % 32];
      digits.append(i % 4 == 0 ? random() % 2 : 0, ' ');
    }
    compare(bits, digits);
  }
}

TEST(Digits, NumbersOfEverySizeAndWhatIsNoNumber) {
  std::mt19937_64 random(5);
  for (unsigned int i = 0; i < 4000; ++i) {
    unsigned long const edge = (1UL << i % 64) - i / 64 % 2;
    compare(i % 131, std::to_string(i < 128 ? edge : random() >> i % 64));
  }
  for (char const* odd :
       {"", "-1", " +7z", " 0x10", "0x0x10", "0xx1", "0 x10", "\t1", "x1", "1/", "1:", "1@", "1G",
        "1`", "1g", "18446744073709551616", "\xA0", " ", "11111111111111111g"}) {
    compare(64, odd);
  }
}

struct TestPattern : Bit_Pattern {
  using Bit_Pattern::Bit_Pattern;
  using Bit_Pattern::byte_count;
};

TEST(BitPattern, KeepsItsBytesWhileTheirNumberStaysAndCountsThemIn64Bits) {
  TestPattern pattern(16, "FFFF");
  pattern.reallocate(12);
  EXPECT_EQ(pattern, 0xFFFFUL);
  EncodedString form("", EncodedString::kSystemText);
  EXPECT_EQ(pattern.format(form).encoding(), EncodedString::kLibraryText);
  pattern.reallocate(0xFFFFFFFF);
  EXPECT_EQ(pattern.byte_count, 1U << 29);
}

struct TestString : Byte_String {
  using Byte_String::Byte_String;
  // "bytes/capacity", with "b" where they are borrowed
  std::string state() const {
    return std::string(reinterpret_cast<char const*>(data), length) + '/' +
           std::to_string(capacity) + (borrowed != 0 ? "b" : "");
  }
};

TEST(ByteString, GrowsExactlyAndLeavesWhatItBorrowed) {
  char lent[] = "lent";
  TestString string(lent, 4, 0), unchanged(lent, 4, 0);
  string.assign("a", 1).overlay_with("bc", 2, 1).overlay_with("x", 1, 4);  // beyond the end
  EXPECT_EQ(string.state() + TestString(string).state(), "abc/4babc/3");
  string.clear();
  EXPECT_EQ(string.state() + lent, "/4babct");
  string.assign("ab", 2) += string;
  string += string;
  EXPECT_EQ(string.state() + lent, "abababab/8abab");
  string.assign("abc", 3).overlay_with(string.bytes(), 3, 1);  // it overlaps its source
  EXPECT_EQ(string.state(), "aabc/8");
  string.overlay_with(string.bytes() + 1, 7, 3);  // the source moves while it is read
  EXPECT_EQ(string.state().replace(6, 4, "...."), "aababc..../10");
  string.assign(string.bytes() + 1, 4).assign(nullptr, 5).overlay_with(nullptr, 5, 0).extend(20);
  string = static_cast<TestString const&>(string);
  EXPECT_EQ(string.state(), "abab/20");
  string = TestString(5U);
  EXPECT_EQ(string.state() + TestString(nullptr, 5).state() + TestString(3U, 'x').state(),
            "/20/0xxx/3");
  TestString none, kept = none = TestString("kept", 4);
  EXPECT_EQ(none.overlay_with("", 0, 0).overlay_with("E", 1, 1).count(), 4U);
  EXPECT_EQ(none.state() + (kept = TestString()).state(), "kEpt/4/4");
  none.clear();
  EXPECT_TRUE(none.state() == "/0" && none == kept && !(none == string.assign("a", 1)));
  string.assign("", 0);
  EXPECT_EQ(string.state(), "/20");
  EXPECT_TRUE(Byte_String("x", 0).bytes() == nullptr && none.bytes() == nullptr);
  TestString nowhere(nullptr, 4, 0);  // lent nothing: there is nothing to keep
  nowhere.extend(8);
  EXPECT_EQ(nowhere.count(), 4U);
  EXPECT_EQ(Byte_String("a\0b", 3) != Byte_String("a", 1), 1);
  EXPECT_LT(Byte_String("a\0b", 3) != Byte_String("a\0c", 3), 0);
  EXPECT_TRUE(string.diagFormat().isEmpty());
  EXPECT_EQ(TestString("a", 1).diagFormat().encoding(), EncodedString::kLibraryText);
  EXPECT_EQ(bytesOf(Byte_String("\x1F \x7F\x80\0ABCDEFGHIJKLMNO", 20).diagFormat()),
            "1f207f80 00414243 44454647 48494a4b   \". \x7F..ABCDEFGHIJK\"");
}

}  // namespace
