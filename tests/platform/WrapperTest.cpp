#include <gtest/gtest.h>

#include <cerrno>

#include "cul/platform/UNIX_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace {

TEST(Wrapper, StatusesAndWhatTheySetOnFailure) {
  Scratch const scratch;
  int fd = 7;
  EXPECT_EQ(CUL_Api::open(text(scratch.path("missing")), fd), 1);
  EXPECT_EQ(fd, -1);
  EXPECT_EQ(errno, ENOENT);
  ASSERT_EQ(CUL_Api::open(text(scratch.write("four", "data")), fd), 0);
  EXPECT_EQ(::fcntl(fd, F_GETFD), 0);  // children inherit it
  struct Row {
    int whence;
    long distance, offset;
  };
  constexpr Row kRows[] = {{0, 1, 1}, {1, 2, 3}, {2, -1, 3}, {7, 2, 2}, {0, -1, -1}};
  for (auto const& row : kRows) {
    long offset = 99;
    auto const whence = static_cast<CUL_Api::Whence>(row.whence);
    EXPECT_EQ(CUL_Api::lseek(fd, offset, row.distance, whence), row.offset == -1 ? 1 : 0);
    EXPECT_EQ(offset, row.offset) << row.whence;
  }
  char bytes[8] = {};
  int count = 0;
  long size = 0;
  struct stat state;
  EXPECT_EQ(UNIX_Api::setFilePosition(fd, 2) + CUL_Api::read(fd, bytes, 8, count), 0);
  EXPECT_EQ(std::string(bytes, 3) + std::to_string(count), std::string("ta\0002", 4));
  EXPECT_EQ(CUL_Api::read(fd, bytes, 8, count) + count, 0);  // the end is no failure
  EXPECT_EQ(CUL_Api::filesize(fd, size) + CUL_Api::close(fd), 0);
  EXPECT_EQ(CUL_Api::close(fd) + CUL_Api::fstat(fd, &state) + CUL_Api::filesize(fd, size) +
                CUL_Api::read(fd, bytes, 1, count) + UNIX_Api::setFilePosition(fd, 2),
            5);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(size, 4);
}

TEST(Wrapper, WriteGivesTheCountAndThrowsTheError) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
  EXPECT_EQ(CUL_Api::write(ends[1], "", 0), 0);
  std::string const much(1 << 20, 'x');
  int const count = CUL_Api::write(ends[1], much.data(), 1 << 20);  // a pipe takes less
  EXPECT_TRUE(count > 0 && count < 1 << 20);
  ::close(ends[0]);
  ::close(ends[1]);
  try {
    CUL_Api::write(ends[1], "x", 1);
    FAIL();
  } catch (CUL_ApiFailure const& failure) {
    EXPECT_EQ(failure.failType, CUL_ApiFailure::kErrno);
    EXPECT_EQ(failure.rc, static_cast<unsigned int>(EBADF));
  }
}

TEST(Wrapper, ReadsAWholeFileOrFillsItWithBlanks) {
  Scratch const scratch;
  timespec const times[] = {{1, 0}, {1234567, 999999999}};
  ASSERT_EQ(::utimensat(AT_FDCWD, scratch.write("file", "data").c_str(), times, 0), 0);
  scratch.write("empty", "");
  ASSERT_EQ(::truncate(scratch.write("huge", "").c_str(), 1L << 32), 0);
  struct Row {
    char const *name, *call;  // the call that strikes
    FaultPlan::Outcome outcome;
    char const* content;
    bool good;
  };
  constexpr Row kRows[] = {
      {"file", "none", FaultPlan::kFails, "data", true},
      {"empty", "none", FaultPlan::kFails, "", true},
      {"huge", "close", FaultPlan::kFailsAfter, "old", false},  // closing tells nothing
      {"missing", "none", FaultPlan::kFails, "old", false},
      {"file", "fstat", FaultPlan::kFails, "old", false},
      {"file", "read", FaultPlan::kFails, "    ", false},
      {"file", "read", FaultPlan::kOneShort, "dat ", false},
  };
  for (auto const& row : kRows) {
    unsigned int const descriptors = openDescriptors();
    ByteString content("old", 3);
    TimeDateStamp stamp(5);
    FaultPlan const plan({row.call}, 1, EIO, row.outcome);
    errno = 0;
    int const status = CUL_Api::read(fileName(scratch.path(row.name)), content, stamp, nullptr);
    EXPECT_EQ(errno == EIO, plan.fired() && row.outcome == FaultPlan::kFails) << row.call;
    EXPECT_EQ(status, row.good ? 0 : 1) << row.name << row.call;
    EXPECT_EQ(bytesOf(content), row.content) << row.name << row.call;
    EXPECT_EQ(stamp.seconds() == 5, !row.good);
    EXPECT_EQ(openDescriptors(), descriptors);
  }
  ByteString content;
  TimeDateStamp stamp;
  CUL_Api::read(fileName(scratch.path("file")), content, stamp, nullptr);
  EXPECT_EQ(stamp.seconds(), 1234567);
}

TEST(Wrapper, EnvironmentAndLookup) {
  EncodedString value = text("before");
  ::unsetenv("CUL_TEST");
  EXPECT_EQ(CUL_Api::getenv(text("CUL_TEST"), value), 1);
  EXPECT_EQ(bytesOf(value), "before");
  ::setenv("CUL_TEST", "", 1);
  EXPECT_EQ(CUL_Api::getenv(text("CUL_TEST"), value), 0);
  EXPECT_EQ(bytesOf(value), "");
  EXPECT_EQ(value.encoding(), EncodedString::kSystemText);
  FileName found = fileName("before");
  EXPECT_EQ(CUL_Api::findFile(fileName("no such program"), text("/bin"), found), 1);
  EXPECT_TRUE(found.isEmpty());
  EXPECT_EQ(CUL_Api::findFile(fileName("passwd"), text("/nowhere:/etc"), found), 0);
  EXPECT_EQ(bytesOf(found.short_name()), "passwd");
  int pid = 0;
  EXPECT_EQ(CUL_Api::getpid(pid) + CUL_Api::getpid(), pid);
}

// What getcwd throws, and the name that rationalize makes of "./../a.c", in the directory there.
std::pair<int, std::string> workingDirectory() {
  FileName name = fileName("./../a.c");
  UNIX_Api::rationalize(name);
  try {
    return {UNIX_Api::getcwd().encoding(), bytesOf(name)};
  } catch (UNIX_ApiFailure const& caught) {
    return {static_cast<int>(caught.rc), bytesOf(name)};
  }
}

TEST(Wrapper, AWorkingDirectoryThatIsThereTooLongOrGone) {
  Scratch const scratch;
  std::filesystem::current_path(scratch.path());
  std::string const beside = std::filesystem::temp_directory_path() / "a.c";
  EXPECT_EQ(workingDirectory(), (std::pair{0, beside}));
  std::string const part(200, 'd');
  for (int depth = 0; depth < 21; ++depth) {
    ASSERT_EQ(::mkdir(part.c_str(), 0700) + ::chdir(part.c_str()), 0);
  }
  EXPECT_EQ(workingDirectory(), (std::pair{ERANGE, std::string("./../a.c")}));
  std::filesystem::create_directory(scratch.path("gone"));
  std::filesystem::current_path(scratch.path("gone"));
  std::filesystem::remove(scratch.path("gone"));
  EXPECT_EQ(workingDirectory(), (std::pair{ENOENT, std::string("./../a.c")}));
}

}  // namespace
