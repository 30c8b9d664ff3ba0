#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "cul/platform/UNIX_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace {

TEST(Wrapper, DescriptorsAndPositions) {
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
    int status;
  };
  constexpr Row kRows[] = {{0, 1, 1, 0}, {1, 2, 3, 0}, {2, -1, 3, 0}, {7, 2, 2, 0}, {0, -1, -1, 1}};
  for (auto const& row : kRows) {
    long offset = 99;
    auto const whence = static_cast<CUL_Api::Whence>(row.whence);
    EXPECT_EQ(CUL_Api::lseek(fd, offset, row.distance, whence), row.status) << row.whence;
    EXPECT_EQ(offset, row.offset) << row.whence;
  }
  EXPECT_EQ(UNIX_Api::setFilePosition(fd, 2), 0);
  EXPECT_EQ(UNIX_Api::setFilePosition(fd, ~0ULL), 1);
  char bytes[8] = {};
  int count = 0;
  EXPECT_EQ(CUL_Api::read(fd, bytes, 8, count), 0);
  EXPECT_EQ(std::string(bytes, 8), std::string("ta\0\0\0\0\0\0", 8));
  EXPECT_EQ(count, 2);
  long size = 0;
  struct stat state;
  EXPECT_EQ(CUL_Api::filesize(fd, size), 0);
  EXPECT_EQ(size, 4);
  EXPECT_EQ(CUL_Api::close(fd), 0);
  EXPECT_EQ(CUL_Api::close(fd) + CUL_Api::fstat(fd, &state) + CUL_Api::filesize(fd, size) +
                CUL_Api::read(fd, bytes, 1, count),
            4);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(size, 4);
  EXPECT_EQ(UNIX_Api::stat(scratch.path("missing").c_str(), &state), 1);
}

TEST(Wrapper, WriteGivesTheCountAndThrowsTheError) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
  EXPECT_EQ(CUL_Api::write(ends[1], "", 0), 0);
  std::string const much(1 << 20, 'x');
  int const count = CUL_Api::write(ends[1], much.data(), 1 << 20);  // a pipe takes less
  EXPECT_GT(count, 0);
  EXPECT_LT(count, 1 << 20);
  ::close(ends[0]);
  ::close(ends[1]);
  try {
    CUL_Api::write(ends[1], "x", 1);
    FAIL();
  } catch (CUL_ApiFailure const& failure) {
    EXPECT_EQ(failure.failType, CUL_ApiFailure::kErrno);
    EXPECT_EQ(failure.rc, static_cast<unsigned int>(EBADF));
    EXPECT_EQ(bytesOf(failure.reason), std::strerror(EBADF));
  }
}

TEST(Wrapper, ReadsAWholeFile) {
  Scratch const scratch;
  ByteString content("old", 3);
  TimeDateStamp stamp(5);
  auto const read = [&](std::string const& name) {
    return CUL_Api::read(fileName(scratch.path(name)), content, stamp, nullptr);
  };
  EXPECT_EQ(read("missing"), 1);
  ASSERT_EQ(::truncate(scratch.write("huge", "").c_str(), 1L << 32), 0);
  EXPECT_EQ(read("huge"), 1);
  EXPECT_EQ(bytesOf(content), "old");
  EXPECT_EQ(stamp.seconds(), 5);

  timespec const times[] = {{1, 0}, {1234567, 999999999}};
  ASSERT_EQ(::utimensat(AT_FDCWD, scratch.write("file", "data").c_str(), times, 0), 0);
  EXPECT_EQ(read("file"), 0);
  EXPECT_EQ(bytesOf(content), "data");
  EXPECT_EQ(stamp.seconds(), 1234567);
  scratch.write("empty", "");
  EXPECT_EQ(read("empty"), 0);
  EXPECT_EQ(content.length(), 0U);
}

TEST(Wrapper, AWholeFileThatComesShortEndsInBlanks) {
  Scratch const scratch;
  FileName const name = fileName(scratch.write("file", "data"));
  struct Row {
    std::string call;
    FaultPlan::Outcome outcome;
    std::string content;
  };
  Row const rows[] = {{"open", FaultPlan::kFails, "old"},
                      {"fstat", FaultPlan::kFails, "old"},
                      {"read", FaultPlan::kFails, "    "},
                      {"read", FaultPlan::kOneShort, "dat "}};
  for (auto const& row : rows) {
    unsigned int const descriptors = openDescriptors();
    ByteString content("old", 3);
    TimeDateStamp stamp(5);
    FaultPlan const plan({row.call}, 1, EIO, row.outcome);
    EXPECT_EQ(CUL_Api::read(name, content, stamp, nullptr), 1) << row.call;
    if (row.outcome == FaultPlan::kFails) {
      EXPECT_EQ(errno, EIO) << row.call;
    }
    EXPECT_EQ(bytesOf(content), row.content) << row.call;
    EXPECT_EQ(stamp.seconds(), 5) << row.call;
    EXPECT_EQ(openDescriptors(), descriptors) << row.call;
  }
}

TEST(Wrapper, EnvironmentAndLookup) {
  EncodedString value = text("before");
  ::unsetenv("CUL_TEST");
  EXPECT_EQ(CUL_Api::getenv(text("CUL_TEST"), value), 1);
  EXPECT_EQ(bytesOf(value), "before");
  ::setenv("CUL_TEST", "", 1);
  EXPECT_EQ(CUL_Api::getenv(text("CUL_TEST"), value), 0);
  EXPECT_EQ(bytesOf(value), "");
  FileName found = fileName("before");
  EXPECT_EQ(CUL_Api::findFile(fileName("no such program"), text("/bin"), found), 1);
  EXPECT_TRUE(found.isEmpty());
  EXPECT_EQ(CUL_Api::findFile(fileName("sh"), text("/nowhere:/bin"), found), 0);
  EXPECT_EQ(bytesOf(found.short_name()), "sh");
  int pid = 0;
  EXPECT_EQ(CUL_Api::getpid(pid), 0);
  EXPECT_EQ(CUL_Api::getpid(), pid);
}

TEST(Wrapper, AWorkingDirectoryThatIsNotToBeHad) {
  Scratch const scratch;
  EXPECT_EQ(inChild([&] {
              std::filesystem::current_path(scratch.path());
              FileName name = fileName("../a.c");
              UNIX_Api::rationalize(name);
              return bytesOf(name) == std::filesystem::temp_directory_path() / "a.c" ? 0 : 1;
            }),
            0);
  auto const failure = [&](auto leave) {
    return inChild([&] {
      leave();
      FileName name = fileName("a.c");
      UNIX_Api::rationalize(name);
      if (bytesOf(name) != "a.c") return 0;
      try {
        UNIX_Api::getcwd();
      } catch (UNIX_ApiFailure const& caught) {
        return static_cast<int>(caught.rc);
      }
      return 0;
    });
  };
  EXPECT_EQ(failure([&] {
              std::string const part(200, 'd');
              std::filesystem::current_path(scratch.path());
              for (int depth = 0; depth < 21; ++depth) {
                if (::mkdir(part.c_str(), 0700) != 0 || ::chdir(part.c_str()) != 0) ::_exit(1);
              }
            }),
            ERANGE);
  EXPECT_EQ(failure([&] {
              std::filesystem::create_directory(scratch.path("gone"));
              std::filesystem::current_path(scratch.path("gone"));
              std::filesystem::remove(scratch.path("gone"));
            }),
            ENOENT);
}

}  // namespace
