#include <gtest/gtest.h>

#include "cul/values/Byte_String.h"
#include "tests/support/Scratch.h"

namespace {

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
  TestString string(lent, 4, 0);
  EXPECT_EQ(TestString(string).state(), "lent/4");
  string.assign("a", 1).overlay_with("bc", 2, 1).overlay_with("x", 1, 4);  // beyond the end
  EXPECT_EQ(string.state(), "abc/4b");
  string.clear();
  EXPECT_EQ(string.state() + lent, "/4babct");
  string.assign("ab", 2) += string;
  EXPECT_EQ(string.state() + lent, "abab/4babab");
  string += string;
  EXPECT_EQ(string.state() + lent, "abababab/8abab");
  string.assign("abc", 3).overlay_with(string.bytes(), 3, 1);  // it overlaps its source
  EXPECT_EQ(string.state(), "aabc/8");
  string.overlay_with(string.bytes() + 1, 7, 3);  // the source moves while it is read
  EXPECT_EQ(string.state().substr(0, 6), "aababc");
  EXPECT_EQ(string.state().substr(10), "/10");
  string.assign(string.bytes() + 1, 4).assign(nullptr, 5).overlay_with(nullptr, 5, 0).extend(20);
  EXPECT_EQ(string.state(), "abab/20");
  string = TestString(5U);
  EXPECT_TRUE(string.state() == "/20" && string == Byte_String());
  string = static_cast<TestString const&>(string);  // without bytes, and with them
  string.clear();
  EXPECT_TRUE(string.state() == "/0" && string.bytes() == nullptr);
  TestString self("ab", 2);
  self = static_cast<TestString const&>(self);
  EXPECT_EQ(self.state() + std::to_string(self.count()), "ab/22");
  EXPECT_EQ(TestString(nullptr, 5).state() + TestString(3U, 'x').state(), "/0xxx/3");
  EXPECT_EQ(Byte_String("a\0b", 3) != Byte_String("a", 1), 1);
  EXPECT_LT(Byte_String("a\0b", 3) != Byte_String("a\0c", 3), 0);
}

TEST(ByteString, ShowsSixteenBytesByFours) {
  auto const shown = [](unsigned int count) {
    return bytesOf(Byte_String("\x1F \x7F\x80\0ABCDEFGHIJKLMNO", count).diagFormat());
  };
  EXPECT_EQ(shown(0), "");
  EXPECT_EQ(shown(1), "1f  \".\"");
  EXPECT_EQ(shown(4), "1f207f80   \". \x7F.\"");
  EXPECT_EQ(shown(5), "1f207f80 00  \". \x7F..\"");
  EXPECT_EQ(shown(20), "1f207f80 00414243 44454647 48494a4b   \". \x7F..ABCDEFGHIJK\"");
}

}  // namespace
