#include <gmock/gmock.h>

#include <cerrno>
#include <climits>

#include "cul/platform/LINUX_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"
#include "quonutil/collections/AutoList.h"
#include "quonutil/text/EBCDICtableStore.h"
#include "tests/support/Scratch.h"
#include "tests/support/TraceCapture.h"

namespace {

struct Kernel : LINUX_Api {
  explicit Kernel(int flags = 0) : LINUX_Api(kDefaultApi, flags) {}
  std::string numbers(char const* version) {
    int parsed[] = {-1, -1, -1};
    versionText = text(version);
    osVersion(&parsed[0], &parsed[1], &parsed[2]);
    return testing::PrintToString(parsed);
  }
  using LINUX_Api::flag;
  using LINUX_Api::versionText;
};

TEST(ApiObject, ParsesTheKernelsVersionOnceItIsKnown) {
  EXPECT_EQ(Kernel().numbers("Linux version 5.14.21-default (x)"), "{ 5, 14, 21 }");
  EXPECT_EQ(Kernel().numbers("a\n b\t -7. 8.+9"), "{ -7, 8, 9 }");
  Kernel again;
  EXPECT_EQ(again.numbers("Linux version 0.0.0"), "{ 0, 0, 0 }");
  EXPECT_EQ(again.numbers("Linux version 4.5.x"), "{ 4, 5, 0 }");
  EXPECT_EQ(again.numbers("Linux version 7.8.9"), "{ 4, 5, 0 }");
}

TEST(ApiObject, ComparesVersionsNumberByNumber) {
  Kernel kernel;
  kernel.versionText = text("Linux version 5.14.21");
  constexpr int kRows[][4] = {{5, 14, 21, 1}, {5, 14, 22, 0}, {5, 14, 20, 2}, {5, 15, 0, 0},
                              {5, 13, 99, 2}, {6, 0, 0, 0},   {4, 99, 99, 2}, {INT_MIN, 0, 0, 2}};
  for (auto const& [major, minor, patch, result] : kRows) {
    EXPECT_EQ(kernel.osVersionCheck(major, minor, patch), result) << minor << '.' << patch;
  }
}

TEST(ApiObject, TheLocalOneKnowsTheCodePages) {
  CUL_Api* const local = CUL_Api::localApi();
  EXPECT_EQ(CUL_Api::defaultApi(nullptr), local);
  Kernel other(3);
  EXPECT_EQ(CUL_Api::defaultApi(&other), &other);
  EXPECT_EQ(other.flag - Kernel(2).flag, 1);
  int process = 0;
  EXPECT_EQ(CUL_Api::getpid(process) + CUL_Api::getpid(), ::getpid());
  EXPECT_EQ(process, ::getpid());
  EBCDICtable const* const table = local->getEBCDICtable("1047");
  EBCDICtable const* const standard = local->getEBCDICtable(nullptr);
  ASSERT_TRUE(table != nullptr && standard != nullptr);
  EXPECT_EQ(local->getEBCDICtable("no such page"), standard);
  // Where the two differ: a bracket.
  EXPECT_EQ(table->toLatin1[0xAD] + standard->toLatin1[0xBA], 2 * '[');
  EXPECT_EQ(table->fromLatin1[table->toLatin1[0xAD]], 0xAD);
}

std::string words(std::string const& line) {
  AutoList<EncodedString*> list;
  CUL_Api::split(text(line), list);
  std::string joined;
  for (unsigned int i = 0; i < list.count(); ++i) joined += bytesOf(*list[i]) + "|";
  return joined;
}

TEST(Split, QuotesAndBackslashes) {
  EXPECT_EQ(words("\t a  \"b c\"d\te\\ f\n \v"), "a|b cd|e f\n|\v|");
  EXPECT_EQ(words(R"("a\"b\\" \"c d\e "" x"open end\)"), "a\"b\\|\"c|de|xopen end|");
  EXPECT_EQ(words(std::string("\xC3\xA9\" \"\xFF a\0b", 10)),
            std::string("\xC3\xA9 \xFF|a\0b|", 9));
}

// The line that a failure traces, and then its reason's encoding and words.
std::string outcome(int type, unsigned int rc, char const* given) {
  TraceCapture capture({TraceFlag::warning});
  UNIX_ApiFailure const failure(static_cast<CUL_ApiFailure::FailType>(type), rc, given);
  UNIX_ApiFailure copy(failure);  // which is not a second failure
  copy.addReason(nullptr);
  copy.addReason("+");
  EXPECT_EQ(copy.reason, failure.reason + text("+"));
  EXPECT_EQ(copy.reason.encoding(), failure.reason.encoding());
  std::string all;
  for (std::string const& line : capture.lines()) all += line + " ";
  return all + std::to_string(failure.reason.encoding()) + bytesOf(failure.reason);
}

TEST(Failure, TracesWhatTheCallerGaveAndThenFindsTheWords) {
  std::string const words = "0" + std::string(UNIX_ApiFailure::failureText(ENOENT));
  struct Row {
    int type;
    unsigned int rc;
    char const *given, *traced, *reason;
  } const rows[] = {
      {2, ENOENT, nullptr, "2 (`kErrno') rc=2 reason=`' ", words.c_str()},
      {2, ENOENT, "", "2 (`kErrno') rc=2 reason=`' ", "2"},
      {1, 4294967295, nullptr, "1 (`kApiRc') rc=-1 reason=`' ", "2"},
      {3, 0, "why", "3 (`kCommunications') rc=0 reason=`why' ", "2why"},
      {0, 0, "x", "0 (`kUndefined') rc=0 reason=`x' ", "2x"},
      {-1, 0, "x", "-1 (`other failure (update CUL_Api_Failure::type_to_name?)') rc=0 reason=`x' ",
       "2x"},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(outcome(row.type, row.rc, row.given),
              std::string("CUL_ApiFailure WARNING failtype=") + row.traced + row.reason);
  }
}

TEST(Failure, IsThrownOnceItIsTraced) {
  TraceCapture capture({TraceFlag::warning});
  try {
    CUL_ApiFailure::throwException(CUL_ApiFailure::kApiRc, 9, "why");
  } catch (CUL_ApiFailure const& failure) {
    EXPECT_EQ(bytesOf(failure.reason) + std::to_string(failure.rc), "why9");
  }
  EXPECT_THAT(capture.lines(), testing::ElementsAre(testing::HasSubstr("(`kApiRc') rc=9 ")));
}

TEST(Wrapper, WhatIsGivenBackOnSuccessAndOnFailure) {
  Scratch const scratch;
  int fd = 7, count = 0;
  EXPECT_EQ(CUL_Api::open(text(scratch.path("missing")), fd) + fd, 0);  // 1 and -1
  ASSERT_EQ(CUL_Api::open(text(scratch.write("four", "data")), fd), 0);
  EXPECT_EQ(::fcntl(fd, F_GETFD), 0);  // children inherit it
  long offset = 99, size = 0;
  constexpr long kRows[][4] = {
      {1, 0, 0, 1}, {2, 1, 0, 3}, {0, 7, 0, 0}, {-2, 2, 0, 2}, {-1, 0, 1, -1}};
  for (auto const& [by, whence, status, position] : kRows) {
    EXPECT_EQ(CUL_Api::lseek(fd, offset, by, static_cast<CUL_Api::Whence>(whence)), status);
    EXPECT_EQ(offset, position);
  }
  char bytes[8] = {};
  EXPECT_EQ(CUL_Api::read(fd, bytes, 8, count), 0);
  EXPECT_EQ(bytes + std::to_string(count), "ta2");
  EXPECT_EQ(CUL_Api::read(fd, bytes, 8, count) + count, 0);  // the end is no failure
  EXPECT_EQ(CUL_Api::filesize(fd, size) + CUL_Api::close(fd), 0);
  EXPECT_EQ(CUL_Api::filesize(fd, size) + CUL_Api::read(fd, bytes, 1, count), 2);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(size, 4);
}

TEST(Wrapper, RefusesAFileThat32BitsCannotMeasure) {
  Scratch const scratch;
  ASSERT_EQ(::truncate(scratch.write("huge", "").c_str(), 1L << 32), 0);
  ByteString content("old", 3);
  TimeDateStamp stamp(5);
  EXPECT_EQ(CUL_Api::read(fileName(scratch.path("huge")), content, stamp, nullptr), 1);
  EXPECT_EQ(bytesOf(content) + std::to_string(stamp.seconds()), "old5");
}

TEST(Wrapper, EnvironmentAndLookup) {
  EncodedString value = text("before");
  ::unsetenv("CUL_TEST");
  EXPECT_EQ(CUL_Api::getenv(text("CUL_TEST"), value), 1);
  EXPECT_EQ(bytesOf(value), "before");
  ::setenv("CUL_TEST", "", 1);
  EXPECT_EQ(CUL_Api::getenv(text("CUL_TEST"), value), 0);
  EXPECT_EQ(bytesOf(value) + std::to_string(value.encoding()), "0");
  FileName found = fileName("before");
  EXPECT_EQ(CUL_Api::findFile(fileName("passwd"), text("/nowhere"), found), 1);
  EXPECT_TRUE(found.isEmpty());
  EXPECT_EQ(CUL_Api::findFile(fileName("passwd"), text("/etc"), found), 0);
}

}  // namespace
