#include <stdexcept>
#include <string_view>

#include "quonutil/digest/MD5.h"
#include "quonutil/text/CharString.h"
#include "tests/support/Prelude.h"

TEST(CharString, DecodesUtf8AndLosesNoOtherByte) {
  constexpr std::pair<std::string_view, wchar_t const*> kRows[] = {
      {"a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       L"a\x80\x7FF\x800\xE000\x10000\x10FFFF"},
      {"\xC1\x81\xE0\x9F\xBF\xFF", L"\xDCC1\xDC81\xDCE0\xDC9F\xDCBF\xDCFF"},  // too long a form
      {"\xED\xBF\xBF", L"\xDCED\xDCBF\xDCBF"},                                // a surrogate
      {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"},                      // above the last
      {"\xE2\x82z\xC3\xC2", L"\xDCE2\xDC82z\xDCC3\xDCC2"},                    // cut short
      {{"\xE2\x82\xAC", 2}, L"\xDCE2\xDC82"},  // no byte behind is looked at
  };
  for (auto const& [bytes, expected] : kRows) {
    CharString text;
    text.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()),
                  EncodedString::kSystemText);
    EXPECT_EQ(text, CharString(expected));
    EXPECT_EQ(bytesOf(text.encoded()), bytes);
  }
  EXPECT_EQ(bytesOf(CharString(L"\xD800\x110000\xFFFFFFFF").encoded()),
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(CharString, ReplacesWhatBeginsBehindAPlace) {
  struct {
    wchar_t const *text, *from, *to;
    unsigned int start;
    wchar_t const* expected;
  } constexpr kRows[] = {
      {L"aXaX", L"X", L"XX", 0, L"aXXaXX"}, {L"aXaX", L"aX", L"", 2, L"aX"},
      {L"aaa", L"aa", L"b", 1, L"ba"},      {L"aa", L"", L"b", 1, L"aa"},
      {L"aa", L"a", L"b", 3, L"aa"},
  };
  for (auto const& row : kRows) {
    CharString text(row.text);
    text.change(row.from, row.to, row.start);
    EXPECT_EQ(text, CharString(row.expected)) << row.expected;
  }
}

TEST(EncodedString, EveryLengthAroundTheInnerBuffer) {
  for (unsigned int length = 0; length <= 40; ++length) {
    std::string const expected(length, 'x');
    EncodedString const made = text(expected);
    EncodedString copy(made);
    EncodedString moved(std::move(copy));
    EXPECT_EQ(bytesOf(moved) + bytesOf(copy), expected);
    copy = moved;
    copy += copy;  // what is appended moves while it is read
    EXPECT_EQ(bytesOf(copy), expected + expected);
    copy.assign(copy.data() + length / 2, length / 2);
    copy.reserve(length + 50);
    copy.cut(length + 50);  // which never lengthens
    EXPECT_EQ(copy.data(), std::string(copy.length(), 'x'));
    EncodedString ended(ByteString(copy.data(), copy.length()), EncodedString::kSystemText);
    for (int i = 0; i < 2; ++i) ended.endIn('/');
    EXPECT_EQ(bytesOf(ended), bytesOf(copy) + "/");
    EXPECT_EQ((made + made).data(), expected + expected);
  }
}

TEST(ByteString, RefusesWhat32BitsCannotCount) {
  ByteString bytes("ab", 2, nullptr, 0, "c\0d", 3);
  EXPECT_THROW(bytes.append(bytes.data(), 0xFFFFFFFE), std::length_error);
  EXPECT_THROW(ByteString("", 0xFFFFFFFF, "", 1, "", 0), std::length_error);
  EXPECT_EQ(bytesOf(bytes), std::string("abc\0d", 5));
}

TEST(Digest, AgreesWithMd5sumOnEveryLengthHoweverItIsCut) {
  std::string all;
  for (unsigned int i = 1; i <= 300; ++i) all += std::to_string(i) + "\n";
  MD5 ofDigests;
  for (unsigned int length = 0; length <= 300; ++length) {
    for (unsigned int cut = 0; cut <= length; ++cut) {
      MD5 md5(all.data(), cut);
      md5.asString(MD5::kHexadecimal);  // which does not end it
      md5.update(all.data() + cut, length - cut);
      ofDigests.update(md5.asString(MD5::kHexadecimal).data(), 32);
    }
  }
  // for n in $(seq 0 300); do d=$(seq 300 | head -c $n | md5sum | head -c 32)
  // for c in $(seq 0 $n); do echo -n $d; done; done | md5sum
  EXPECT_EQ(bytesOf(ofDigests.asString(MD5::kHexadecimal)), "f9a65e78ca1220d67e0ee721526ed769");
}
