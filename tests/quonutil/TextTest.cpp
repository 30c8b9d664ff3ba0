#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "quonutil/text/CharString.h"
#include "quonutil/text/EncodedString.h"
#include "tests/support/Scratch.h"

namespace {

using testing::ElementsAre;

CharString wide(std::string const& bytes) {
  CharString text;
  text.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()), EncodedString::kSystemText);
  return text;
}

std::vector<wchar_t> decoded(std::string const& bytes) {
  CharString const text = wide(bytes);
  return {text.data(), text.data() + text.length()};
}

TEST(CharString, DecodesUtf8AndLosesNoOtherByte) {
  EXPECT_THAT(decoded("a\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\xEE\x80\x80"),
              ElementsAre(L'a', 0x80, 0x800, 0x10000, 0x10FFFF, 0xE000));
  // Overlong, a surrogate, above the last character, cut short, and a tail without a lead.
  EXPECT_THAT(decoded("\xC1\x81\xE0\x9F\xBF"), ElementsAre(0xDCC1, 0xDC81, 0xDCE0, 0xDC9F, 0xDCBF));
  EXPECT_THAT(decoded("\xED\xBF\xBF"), ElementsAre(0xDCED, 0xDCBF, 0xDCBF));
  EXPECT_THAT(decoded("\xF4\x90\x80\x80"), ElementsAre(0xDCF4, 0xDC90, 0xDC80, 0xDC80));
  EXPECT_THAT(decoded("\xE2\x82z\xE2\x82"), ElementsAre(0xDCE2, 0xDC82, L'z', 0xDCE2, 0xDC82));
  for (int pair = 0; pair < 0x10000; ++pair) {
    std::string const bytes{static_cast<char>(pair >> 8), static_cast<char>(pair)};
    ASSERT_EQ(bytesOf(wide(bytes).encoded()), bytes);
  }
  CharString part;
  part.loadFrom("\xE2\x82\xAC", 2, EncodedString::kSystemText);  // no byte behind is looked at
  EXPECT_EQ(part.length(), 2U);
  wchar_t const noCharacters[] = {0xD800, 0xDC7F, 0x110000, -1, 0};
  EXPECT_EQ(CharString(noCharacters).encoded(), CharString(L"\xFFFD\xFFFD\xFFFD\xFFFD").encoded());
}

TEST(CharString, TokensEndAtEachSeparator) {
  auto const tokens = [](wchar_t const* text) {
    std::vector<std::string> found;
    for (CharString rest(text); !rest.isEmpty();) {
      found.push_back(bytesOf(rest.firstToken(L":;").encoded()));
    }
    return found;
  };
  EXPECT_THAT(tokens(L""), ElementsAre());
  EXPECT_THAT(tokens(L":"), ElementsAre(""));
  EXPECT_THAT(tokens(L":a::b;c:"), ElementsAre("", "a", "", "b", "c"));
  EXPECT_THAT(tokens(L"longer than seven:b"), ElementsAre("longer than seven", "b"));
}

TEST(EncodedString, EveryLengthAroundTheInnerBuffer) {
  for (unsigned int length = 0; length <= 40; ++length) {
    std::string const expected(length, 'x');
    EncodedString const made = text(expected);
    EncodedString copy(made);
    EncodedString moved(std::move(copy));
    EXPECT_EQ(bytesOf(moved), expected);
    EXPECT_EQ(bytesOf(copy), "");
    copy = moved;
    copy += copy;  // what is appended moves while it is read
    EXPECT_EQ(bytesOf(copy), expected + expected);
    copy.assign(copy.data() + length / 2, length / 2);
    EXPECT_EQ(bytesOf(copy), std::string(length / 2, 'x'));
    copy.reserve(length + 50);
    copy.cut(length + 50);  // which never lengthens
    EXPECT_EQ(std::strlen(copy.data()), copy.length());
    copy = EncodedString("", EncodedString::kSystemText) + made + made;
    EXPECT_EQ(bytesOf(copy), expected + expected);
    EXPECT_EQ(copy.encoding(), EncodedString::kSystemText);
    EXPECT_EQ(std::strlen(copy.data()), 2 * length);
  }
}

TEST(EncodedString, SeparatorsAndCase) {
  EXPECT_EQ(bytesOf(text("a:b:c").allBefore(':') + text("a:b:c").allAfter(':')), "ab:c");
  EXPECT_EQ(bytesOf(text("a").allBefore(':') + text("a").allAfter(':')), "a");
  EXPECT_THAT((std::vector{text("a:b:").indexOf(':', 0), text("a:b:").indexOf(':', 3),
                           text("a:b:").indexOf(':', 5)}),
              ElementsAre(2, 4, 0));
  EXPECT_TRUE(compareCaseInsensitive("flush", text("FLuSH")));
  for (char const* other : {"flus", "flushe", "FLU5H"}) {
    EXPECT_FALSE(compareCaseInsensitive("flush", text(other)));
  }
  EXPECT_FALSE(compareCaseInsensitive("[", text("{")) || compareCaseInsensitive("@", text("`")));
}

TEST(ByteString, JoinsRangesAndRefusesWhat32BitsCannotCount) {
  ByteString bytes("ab", 2, nullptr, 0, "c\0d", 3);
  EXPECT_THROW(bytes.append(bytes.data(), 0xFFFFFFFE), std::length_error);
  EXPECT_THROW(ByteString("", 0xFFFFFFFF, "", 1, "", 0), std::length_error);
  EXPECT_EQ(bytesOf(bytes), std::string("abc\0d", 5));
  for (unsigned int size : {(4U << 20) - 1, 4U << 20, 5U << 20}) {  // where large pages begin
    EXPECT_EQ(ByteString(size).length(), size);                     // a sanitizer looks on
  }
}

}  // namespace
