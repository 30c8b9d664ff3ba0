#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quonutil/digest/MD5.h"
#include "quonutil/text/CharString.h"
#include "tests/support/Scratch.h"

namespace {

// The text as wide characters, which give every byte back.
std::wstring decoded(std::string_view bytes) {
  CharString text;
  text.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()), EncodedString::kSystemText);
  EXPECT_EQ(bytesOf(text.encoded()), bytes);
  return {text.data(), text.length()};
}

TEST(CharString, DecodesUtf8AndLosesNoOtherByte) {
  EXPECT_EQ(decoded("a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
            L"a\x80\x7FF\x800\xE000\x10000\x10FFFF");
  EXPECT_EQ(decoded("\xC1\x81\xE0\x9F\xBF\xFF"), L"\xDCC1\xDC81\xDCE0\xDC9F\xDCBF\xDCFF");
  EXPECT_EQ(decoded("\xED\xBF\xBF"), L"\xDCED\xDCBF\xDCBF");              // a surrogate
  EXPECT_EQ(decoded("\xF4\x90\x80\x80"), L"\xDCF4\xDC90\xDC80\xDC80");    // above the last
  EXPECT_EQ(decoded("\xE2\x82z\xC3\xC2"), L"\xDCE2\xDC82z\xDCC3\xDCC2");  // cut short
  EXPECT_EQ(decoded({"\xE2\x82\xAC", 2}), L"\xDCE2\xDC82");  // no byte behind is looked at
  EXPECT_EQ(CharString(L"\xD800\xDC7F\x110000\xFFFFFFFF").encoded(),
            CharString(L"\xFFFD\xFFFD\xFFFD\xFFFD").encoded());
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
    EXPECT_EQ(bytesOf(copy), std::string(length / 2, 'x'));
    copy.reserve(length + 50);
    copy.cut(length + 50);  // which never lengthens
    EXPECT_EQ(std::strlen(copy.data()), copy.length());
    copy = EncodedString("", EncodedString::kSystemText) + made + made;
    EXPECT_EQ(copy.data(), expected + expected);
    EXPECT_EQ(copy.encoding(), EncodedString::kSystemText);
  }
}

TEST(EncodedString, PlacesCountFromOneAndCaseIsThatOfTheLettersAToZ) {
  EXPECT_EQ(text("a:b:").indexOf(':', 0), 2U);
  EXPECT_EQ(text("a:b:").indexOf(':', 4), 4U);
  EXPECT_EQ(text("a:b:").indexOf(':', 5), 0U);
  EXPECT_TRUE(compareCaseInsensitive("az@[", text("AZ@[")));
  for (char const* other : {"az`[", "az@{", "az@", "az@[["}) {
    EXPECT_FALSE(compareCaseInsensitive("az@[", text(other)));
  }
}

TEST(CharString, GivesItsTokensOneByOne) {
  constexpr struct {
    wchar_t const* given;
    char const* tokens;
  } kRows[] = {{L"", ""}, {L"a;:b", "a||b"}, {L":a", "|a"}, {L"a:", "a"}, {L"a,b", "a,b"}};
  for (auto const& row : kRows) {
    CharString rest(row.given);
    std::string tokens = bytesOf(rest.firstToken(L";:").encoded());
    while (rest != CharString()) tokens += "|" + bytesOf(rest.firstToken(L";:").encoded());
    EXPECT_EQ(tokens, row.tokens);
  }
}

TEST(ByteString, JoinsRangesAndRefusesWhat32BitsCannotCount) {
  ByteString bytes("ab", 2, nullptr, 0, "c\0d", 3);
  EXPECT_THROW(bytes.append(bytes.data(), 0xFFFFFFFE), std::length_error);
  EXPECT_THROW(ByteString("", 0xFFFFFFFF, "", 1, "", 0), std::length_error);
  EXPECT_EQ(bytesOf(bytes), std::string("abc\0d", 5));
}

std::string parts(FileName const& name) {
  return bytesOf(name.directory()) + '|' + bytesOf(name.base()) + '|' + bytesOf(name.member());
}

TEST(FileName, Parts) {
  constexpr char const* kRows[][2] = {
      {"", "||"},
      {"/usr/src/", "/usr/src/||"},
      {"/lib/a(b)(sin.o)", "/lib/|a(b)|sin.o"},
      {"a(b(c))", "|a|b(c)"},
      {"d/(b)", "d/|(b)|"},  // nothing stands in front of it
      {"a(b)c", "|a(b)c|"},
      {"a(b/c)", "a(b/|c)|"},
  };
  for (auto const& [name, expected] : kRows) EXPECT_EQ(parts(fileName(name)), expected);
  EXPECT_EQ(parts(FileName(CharString(L"/\xE9/a(b)"))), "/\xC3\xA9/|a|b");
  FileName name = fileName("/a/long/way/to/libm.a(sin.o)");
  name.cut(3);
  EXPECT_EQ(parts(name), "/a/||/a/");  // wrong, but never beyond the text there is
  name.validate();
  EXPECT_EQ(parts(name), "/a/||");
}

TEST(FileName, RationalizePath) {
  constexpr char const* kRows[][3] = {
      {"", "/d", ""},
      {"/x//y/./z", "/d", "/x/y/z"},
      {"../../../a.c", "/d", "/a.c"},
      {"a/..", "", "."},
      {"../a/../../b", "", "../../b"},
      {"..a/../b/", "", "b/"},
      {".../.a/../.b/..", "/d", "/d/..."},
  };
  for (auto const& [path, directory, expected] : kRows) {
    FileName name = fileName(path);
    name.rationalizePath(text(directory));
    EXPECT_EQ(bytesOf(name), expected);
  }
}

TEST(FileName, FindFile) {
  Scratch const scratch;
  std::filesystem::current_path(scratch.path());
  std::filesystem::create_directory("all");
  for (char const* file : {"plain", "all/plain"}) scratch.write(file, "");
  std::filesystem::permissions("all/plain", std::filesystem::perms::owner_all);
  auto const find = [](char const* name, char const* path, bool executable) {
    return bytesOf(FileName::findFile(fileName(name), text(path), executable));
  };
  EXPECT_EQ(find("plain", "", false), "plain");
  EXPECT_EQ(find("plain", "none::all", false), "./plain");
  EXPECT_EQ(find("plain", "none:", false), "");  // a separator at the end opens no entry
  EXPECT_EQ(find("plain", ".:all/", true), "all/plain");
  EXPECT_EQ(find("plain", "", true) + find("", "all", false) + find("all/", "", false), "");
}

std::string hex(MD5 const& md5) { return bytesOf(md5.asString(MD5::kHexadecimal)); }

// Every digest is read before the sequence goes on.
TEST(Digest, AgreesWithMd5sumOnEveryLengthHoweverItIsCut) {
  constexpr unsigned int kLongest = 300;
  std::string all;
  for (unsigned int i = 1; i <= kLongest; ++i) all += std::to_string(i) + "\n";
  std::vector<std::string> digests;
  MD5 ofDigests;
  for (unsigned int length = 0; length <= kLongest; ++length) {
    digests.push_back(hex(MD5(all.data(), length)));
    ofDigests.update(digests[length].data(), digests[length].size());
  }
  // for n in $(seq 0 300); do seq 300 | head -c $n | md5sum | head -c 32; done | md5sum
  ASSERT_EQ(hex(ofDigests), "ca1e58e84c777b7f86c95be28ff4a2a5");

  for (unsigned int cut = 0; cut <= kLongest; ++cut) {
    MD5 const front(all.data(), cut);
    for (unsigned int end = cut; end <= kLongest; ++end) {
      MD5 whole = front;
      whole.update(all.data() + cut, end - cut);
      ASSERT_EQ(hex(whole), digests[end]) << end << " bytes, cut behind " << cut;
    }
    ASSERT_EQ(hex(front), digests[cut]);
  }
}

TEST(Digest, CountsBeyond32Bits) {
  std::string const zeros((1 << 20) + 1, '\0');
  MD5 md5;
  for (int piece = 0; piece < 4096; ++piece) md5.update(zeros.data(), zeros.size());
  // head -c 4294971392 /dev/zero | md5sum, which takes longer than all the rest
  EXPECT_EQ(hex(md5), "ab3c2a743cdf0eba712e437d9a343464");
}

}  // namespace
