#include <gmock/gmock.h>

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "quonutil/text/CharString.h"
#include "quonutil/text/EncodedString.h"
#include "tests/support/Scratch.h"

namespace {

using testing::ElementsAre;

std::string roundTrip(std::string const& bytes) {
  CharString wide;
  wide.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()), EncodedString::kSystemText);
  return bytesOf(wide.encoded());
}

std::vector<wchar_t> decoded(std::string const& bytes) {
  CharString wide;
  wide.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()), EncodedString::kSystemText);
  return {wide.data(), wide.data() + wide.length()};
}

TEST(CharString, DecodesUtf8AndEscapesWhatIsNot) {
  EXPECT_THAT(decoded("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"),
              ElementsAre(L'a', 0xE9, 0x20AC, 0x1F600));
  EXPECT_THAT(decoded("\xF4\x8F\xBF\xBF\xEE\x80\x80"), ElementsAre(0x10FFFF, 0xE000));
  // Overlong, a surrogate, above the last character, cut short, and a tail without a lead.
  EXPECT_THAT(decoded("\xC1\x81"), ElementsAre(0xDCC1, 0xDC81));
  EXPECT_THAT(decoded("\xE0\x9F\xBF"), ElementsAre(0xDCE0, 0xDC9F, 0xDCBF));
  EXPECT_THAT(decoded("\xED\xB2\x80"), ElementsAre(0xDCED, 0xDCB2, 0xDC80));
  EXPECT_THAT(decoded("\xF4\x90\x80\x80"), ElementsAre(0xDCF4, 0xDC90, 0xDC80, 0xDC80));
  EXPECT_THAT(decoded("\xE2\x82"), ElementsAre(0xDCE2, 0xDC82));
  EXPECT_THAT(decoded("\xE2\x82z"), ElementsAre(0xDCE2, 0xDC82, L'z'));
  EXPECT_THAT(decoded("\x80"), ElementsAre(0xDC80));
}

TEST(CharString, NoByteIsLost) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string const pair{static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(roundTrip(pair), pair);
    }
  }
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes(random() % 9, '\0');
    // Mostly leads and tails, so that many sequences are nearly valid.
    for (char& byte : bytes)
      byte = static_cast<char>(random() % 4 == 0 ? random() : 0x80 | random());
    ASSERT_EQ(roundTrip(bytes), bytes);
  }
  wchar_t const noCharacters[] = {0xD800, 0xDC7F, 0x110000, -1, 0};
  EXPECT_EQ(bytesOf(CharString(noCharacters).encoded()),
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(CharString, TokensEndAtEachSeparator) {
  struct Row {
    wchar_t const* text;
    std::vector<std::string> tokens;
  };
  Row const rows[] = {
      {L"", {}},
      {L"a", {"a"}},
      {L"a:", {"a"}},
      {L":a", {"", "a"}},
      {L"a::b;c", {"a", "", "b", "c"}},
      {L":", {""}},
      {L"a directory longer than seven:b", {"a directory longer than seven", "b"}},
  };
  for (auto const& row : rows) {
    CharString rest(row.text);
    std::vector<std::string> tokens;
    while (!rest.isEmpty()) tokens.push_back(bytesOf(rest.firstToken(L":;").encoded()));
    EXPECT_EQ(tokens, row.tokens);
  }
}

TEST(EncodedString, EveryLengthAroundTheInnerBuffer) {
  for (unsigned int length = 0; length <= 40; ++length) {
    std::string const expected(length, 'x');
    EncodedString const made = text(expected);
    EncodedString copy(made);
    EncodedString moved(std::move(copy));
    EXPECT_EQ(bytesOf(moved), expected);
    EXPECT_EQ(copy.length(), 0U);
    EXPECT_EQ(copy.data()[0], '\0');
    copy = moved;
    copy += copy;  // what is appended moves while it is read
    EXPECT_EQ(bytesOf(copy), expected + expected);
    copy.assign(copy.data() + length / 2, length / 2);
    EXPECT_EQ(bytesOf(copy), std::string(length / 2, 'x'));
    copy = EncodedString("", EncodedString::kSystemText) + made;
    EXPECT_EQ(copy, made);
    EXPECT_EQ(copy.encoding(), EncodedString::kSystemText);
    EXPECT_EQ(std::strlen(copy.data()), length);
  }
}

TEST(EncodedString, BeforeAndAfterTheFirstSeparator) {
  struct Row {
    char const *text, *before, *after;
  };
  constexpr Row kRows[] = {
      {"", "", ""}, {"a", "a", ""}, {":", "", ""}, {"a:", "a", ""}, {":b:c", "", "b:c"}};
  for (auto const& row : kRows) {
    EXPECT_EQ(bytesOf(text(row.text).allBefore(':')), row.before);
    EXPECT_EQ(bytesOf(text(row.text).allAfter(':')), row.after);
  }
  EXPECT_EQ(text("a:b:").indexOf(':', 0), 2U);
  EXPECT_EQ(text("a:b:").indexOf(':', 3), 4U);
  EXPECT_EQ(text("a:b:").indexOf(':', 5), 0U);
}

TEST(EncodedString, CaseIsIgnoredForAsciiLettersOnly) {
  EXPECT_TRUE(compareCaseInsensitive("flush", text("FLuSH")));
  EXPECT_FALSE(compareCaseInsensitive("flush", text("flus")));
  EXPECT_FALSE(compareCaseInsensitive("flush", text(std::string("flush\0", 6))));
  EXPECT_FALSE(compareCaseInsensitive("[", text("{")));
  EXPECT_FALSE(compareCaseInsensitive("\xC3\xA9", text("\xC3\x89")));
}

TEST(ByteString, JoinsRangesAndRefusesWhat32BitsCannotCount) {
  EXPECT_EQ(bytesOf(ByteString("ab", 2, nullptr, 0, "c\0d", 3)), std::string("abc\0d", 5));
  ByteString bytes("ab", 2);
  EXPECT_THROW(bytes.append(bytes.data(), 0xFFFFFFFE), std::length_error);
  EXPECT_THROW(ByteString("", 0xFFFFFFFF, "", 1, "", 0), std::length_error);
  EXPECT_EQ(bytesOf(bytes), "ab");
}

}  // namespace
