#include <gmock/gmock.h>

#include <climits>

#include "cul/platform/LINUX_Api.h"
#include "quonutil/text/EBCDICtableStore.h"
#include "tests/support/Scratch.h"

namespace {

class Kernel : public LINUX_Api {
 public:
  explicit Kernel(std::string const& version, int flags = 0) : LINUX_Api(kDefaultApi, flags) {
    versionText = text(version);
  }
  std::vector<int> numbers() const {
    int numbers[] = {-1, -1, -1};
    osVersion(&numbers[0], &numbers[1], &numbers[2]);
    return {numbers, numbers + 3};
  }
  using LINUX_Api::apiType;
  using LINUX_Api::flag;
  using LINUX_Api::versionText;
};

TEST(ApiObject, ParsesTheKernelsVersionAsItStands) {
  struct Row {
    char const* version;
    std::vector<int> numbers;
  };
  Row const rows[] = {{"Linux version 5.14.21-default (x)", {5, 14, 21}},
                      {"Linux version 6.1", {6, 1, 0}},
                      {"a\n b\t -7. 8.+9", {-7, 8, 9}},
                      {"Linux version 6.x.3", {6, 0, 0}},
                      {"Linux version", {0, 0, 0}},
                      {"", {0, 0, 0}}};
  for (auto const& row : rows) EXPECT_EQ(Kernel(row.version).numbers(), row.numbers) << row.version;
  Kernel again("Linux version 0.0.0");
  EXPECT_THAT(again.numbers(), testing::Each(0));
  again.versionText = text("Linux version 4.5.6");  // what is unknown is parsed again
  EXPECT_EQ(again.numbers(), (std::vector{4, 5, 6}));
  again.versionText = text("Linux version 7.8.9");  // what is known is not
  int minor = 0;
  again.osVersion(nullptr, &minor, nullptr);
  EXPECT_EQ(minor, 5);
}

TEST(ApiObject, ComparesVersionsNumberByNumber) {
  Kernel const kernel("Linux version 5.14.21");
  struct Row {
    int major, minor, patch, result;
  };
  constexpr Row kRows[] = {{5, 14, 21, 1}, {5, 14, 22, 0}, {5, 14, 20, 2}, {5, 15, 0, 0},
                           {5, 13, 99, 2}, {6, 0, 0, 0},   {4, 99, 99, 2}, {INT_MIN, 0, 0, 2}};
  for (auto const& row : kRows) {
    EXPECT_EQ(kernel.osVersionCheck(row.major, row.minor, row.patch), row.result);
  }
  EXPECT_EQ(Kernel("").osVersionCheck(0, 0, 0), 1);
}

TEST(ApiObject, TheLocalOneKnowsThisKernel) {
  CUL_Api* const local = CUL_Api::localApi();
  EXPECT_EQ(CUL_Api::localApi(), local);
  EXPECT_EQ(CUL_Api::defaultApi(nullptr), local);
  Kernel other("", 3);
  EXPECT_EQ(CUL_Api::defaultApi(&other), &other);
  EXPECT_EQ(other.flag, 1U);
  EXPECT_EQ(Kernel("", 2).flag, 0U);
  class Running : public LINUX_Api {
   public:
    using LINUX_Api::LINUX_Api;
    std::string text() const { return bytesOf(versionText); }
  };
  std::ifstream file("/proc/version");
  std::string version{std::istreambuf_iterator<char>(file), {}};
  if (version.size() > 255) version.resize(255);
  EXPECT_EQ(Running(CUL_Api::kLocalApi, 0).text(), version);

  EBCDICtable const* const table = local->getEBCDICtable("1047");
  EXPECT_NE(table, local->getEBCDICtable("037"));
  EXPECT_EQ(local->getEBCDICtable("no such page"), local->getEBCDICtable(nullptr));
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->toLatin1[0xC1], 'A');
  for (unsigned int byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(table->fromLatin1[table->toLatin1[byte]], byte);
  }
}

std::vector<std::string> words(std::string const& line) {
  EncodedString before = text("before");
  List<EncodedString*> list;
  list.append(&before);
  CUL_Api::split(text(line), list);
  EXPECT_EQ(list.remove(0), &before);
  std::vector<std::string> result;
  for (unsigned int i = 0; i < list.count(); ++i) result.push_back(bytesOf(*list[i]));
  list.deleteElements();
  return result;
}

TEST(Split, QuotesAndBackslashes) {
  using Words = std::vector<std::string>;
  EXPECT_EQ(words("a  \"b c\"d e\\ f"), (Words{"a", "b cd", "e f"}));
  EXPECT_EQ(words("\ta\tb\n \v"), (Words{"a", "b\n", "\v"}));
  EXPECT_EQ(words("\"\" \\"), Words{});
  EXPECT_EQ(words(" \t "), Words{});
  EXPECT_EQ(words("ab\\"), Words{"ab"});
  EXPECT_EQ(words("x\"abc d\\"), Words{"xabc d"});
  EXPECT_EQ(words(R"("a\"b\\" \"c d\e)"), (Words{"a\"b\\", "\"c", "de"}));
  EXPECT_EQ(words("\xC3\xA9\" \"\xFF \xE2\x82"), (Words{"\xC3\xA9 \xFF", "\xE2\x82"}));
  EXPECT_EQ(words(std::string("a\0b c", 5)), (Words{std::string("a\0b", 3), "c"}));
}

}  // namespace
