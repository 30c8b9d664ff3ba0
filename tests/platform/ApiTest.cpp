#include "cul/platform/LINUX_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"
#include "tests/models/Model.h"
#include "tests/support/TraceCapture.h"

namespace {

struct Kernel : LINUX_Api {
  Kernel() : LINUX_Api(kDefaultApi, 0) {}
  using LINUX_Api::versionText;
};

TEST(ApiObject, ReadsTheKernelsVersionUntilItIsKnownAndComparesItNumberByNumber) {
  Kernel kernel;
  for (std::string const version : {"0.0.0", "5.14.21-default (x)", "7.8.9"}) {
    int major, minor, patch;
    kernel.versionText = text("Linux version " + version);
    kernel.osVersion(&major, &minor, &patch);
    EXPECT_EQ(major * 10000 + minor * 100 + patch, version == "0.0.0" ? 0 : 51421) << version;
  }
  auto const against = [&](int major, int minor, int patch) {
    return std::to_string(kernel.osVersionCheck(major, minor, patch));
  };
  EXPECT_EQ(against(5, 14, 21) + against(5, 14, 20) + against(5, 13, 99) + against(4, 99, 99) +
                against(5, 14, 22) + against(5, 15, 0) + against(6, 0, 0),
            "1222000");
  kernel.osVersion(nullptr, nullptr, nullptr);
  EXPECT_EQ(CUL_Api::defaultApi(&kernel), &kernel);
  EXPECT_EQ(CUL_Api().getEBCDICtable(nullptr), kernel.getEBCDICtable("no such page"));
}

// As a path, words, a file name, wide characters, and a message with its inserts.
TEST(Text, OfUpToFiveBytesThatMeanSomething) {
  for (std::string const alphabet : {"\t:/. \\\"()", "%12:x\n9\xC3\xA9"}) {
    for (unsigned int i = 0; i < 66430; ++i) {
      std::string bytes;
      for (unsigned int n = i; n != 0; n = (n - 1) / 9) bytes += alphabet[(n - 1) % 9];
      ASSERT_NO_THROW(check(bytes)) << bytes;
      ASSERT_NO_THROW(check(std::string(i % 33, 'x') + bytes)) << i % 33 << bytes;
    }
  }
  for (char const* more : {"%1%2\n%2\nx", "%%1\n2\nx", "%10%9%:\n1\n2\n3\n4\n5\n6\n7\n8\n9\nten"}) {
    EXPECT_NO_THROW(check(more)) << more;
  }
}

TEST(Failure, TracesWhatTheCallerGaveAndThenFindsTheWords) {
  auto const made = [](int type, unsigned int rc, char const* given) {
    TraceCapture capture({TraceFlag::warning});
    UNIX_ApiFailure const failure(static_cast<CUL_ApiFailure::FailType>(type), rc, given);
    UNIX_ApiFailure copy(failure);  // which is not a second failure
    copy.addReason(nullptr);
    copy.addReason("+");
    std::string all;
    for (std::string const& line : capture.lines()) all += line.substr(23) + " ";
    return all + std::to_string(copy.reason.encoding()) + bytesOf(copy.reason);
  };
  std::string const words = UNIX_ApiFailure::failureText(ENOENT);
  EXPECT_EQ(made(2, ENOENT, nullptr), "failtype=2 (`kErrno') rc=2 reason=`' 0" + words + "+");
  EXPECT_EQ(made(2, ENOENT, ""), "failtype=2 (`kErrno') rc=2 reason=`' 2+");
  EXPECT_EQ(made(1, 4294967295, nullptr), "failtype=1 (`kApiRc') rc=-1 reason=`' 2+");
  EXPECT_EQ(made(3, 0, "why"), "failtype=3 (`kCommunications') rc=0 reason=`why' 2why+");
}

TEST(Wrapper, WhatIsGivenBackOnSuccessAndOnFailure) {
  Scratch const scratch;
  int fd = 7;
  long offset = 99;
  EXPECT_TRUE(CUL_Api::open(text(scratch.path("missing")), fd) == 1 && fd == -1);
  ASSERT_EQ(CUL_Api::open(text(scratch.write("huge", "data")), fd), 0);
  EXPECT_EQ(::fcntl(fd, F_GETFD), 0);  // children inherit it
  auto const unknown = static_cast<CUL_Api::Whence>(7);
  EXPECT_TRUE(CUL_Api::lseek(fd, offset, 3, unknown) == 0 && offset == 3);
  EXPECT_TRUE(CUL_Api::close(fd) == 0 && CUL_Api::filesize(fd, offset) == 1 && offset == 3);

  struct stat state;
  EXPECT_EQ(UNIX_Api::setFilePosition(-1, 0) + UNIX_Api::stat("/no/where", &state), 2);

  ASSERT_EQ(::truncate(scratch.path("huge").c_str(), 1L << 32), 0);
  ByteString content("old", 3);
  TimeDateStamp stamp(5);
  EXPECT_EQ(CUL_Api::read(fileName(scratch.path("huge")), content, stamp, nullptr), 1);
  EXPECT_EQ(bytesOf(content) + std::to_string(stamp.seconds()), "old5");
}

}  // namespace
