#include <gmock/gmock.h>

#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <string>
#include <thread>
#include <vector>

#include "quonutil/trace/TraceFile.h"
#include "tests/support/Scratch.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;

__attribute__((format(printf, 1, 2))) void say(char const* format, ...) {
  std::va_list values;
  va_start(values, format);
  traceImplementation().trace("say", 1, "**", format, values);
  va_end(values);
}

TEST(Trace, ALineCannotBeForgedAndNoLineIsCut) {
  TraceCapture capture({});
  say("%s", "a\nremove ERROR all is lost\r\x1b[2J\x7f\xC2\x85\xC2\xA0\xC3\x85");
  EXPECT_THAT(capture.lines(), ElementsAre("say ** a\\x0aremove ERROR all is lost\\x0d"
                                           "\\x1b[2J\\x7f\\xc2\x85\xC2\xA0\xC3\x85"));
  for (std::size_t length : {1013U, 1014U, 1015U, 1016U, 5000U}) {  // around the inner buffer
    std::string const longText(length, 'x');
    say("%s", longText.c_str());
    EXPECT_THAT(capture.lines(), ElementsAre("say ** " + longText));
  }
}

TEST(Trace, WritesToStandardErrorAndKeepsErrno) {
  Scratch const scratch;
  std::string const path = scratch.write("lines", "");
  for (bool on : {true, false}) {
    traceImplementation().setFlag(TraceFlag::vkt, on);
    EXPECT_EQ(traceImplementation().isSet(TraceFlag::vkt), on);
  }
  EXPECT_EQ(inChild([&] {
              ::dup2(::open(path.c_str(), O_WRONLY), STDERR_FILENO);
              say("one");
              say("two");
              ::close(STDERR_FILENO);  // so that the write fails
              errno = ENOSPC;
              say("lost");
              return errno;
            }),
            ENOSPC);
  EXPECT_EQ(scratch.read("lines"), "say:1 ** one\nsay:1 ** two\n");
}

TEST(Trace, LinesOfSeveralThreadsStayWholeWhileTheSinkChanges) {
  TraceCapture first({});
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < 500; ++line) say("%s", "one whole line");
    });
  }
  TraceCapture second({});
  for (auto& thread : threads) thread.join();
  std::vector<std::string> lines = first.lines();
  for (std::string const& line : second.lines()) lines.push_back(line);
  EXPECT_THAT(lines, testing::Each("say ** one whole line"));
  EXPECT_EQ(lines.size(), 2000U);
}

std::vector<std::string> linesIn(Scratch const& scratch, std::string const& name) {
  std::vector<std::string> lines;
  std::ifstream file(scratch.path(name));
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// A whole line of a trace file, whose message is like `message`.
auto stamped(std::string const& message) {
  return testing::MatchesRegex(
      "20[0-9]{2}-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9][.][0-9]{6}Z [1-9][0-9]* "
      "say:1 [*]{2} " +
      message);
}

TEST(TraceFile, ThreadsWriteWholeLinesWhileTheFileChanges) {
  Scratch const scratch;
  std::string const paths[] = {scratch.write("a", ""), scratch.write("b", "")};
  ASSERT_TRUE(traceToFile(paths[0].c_str()));
  unsigned int const before = openDescriptors();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < 500; ++line) say("%s", "one whole line");
    });
  }
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(traceToFile(paths[i % 2].c_str()));
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(openDescriptors(), before);
  auto lines = linesIn(scratch, "a");
  for (auto const& line : linesIn(scratch, "b")) lines.push_back(line);
  EXPECT_THAT(lines, testing::Each(stamped("one whole line")));
  EXPECT_EQ(lines.size(), 2000U);
  traceImplementation().setSink(nullptr, nullptr);
}

TEST(TraceFile, AFileThatCannotBeOpenedChangesNothing) {
  Scratch const scratch;
  TraceCapture capture({});
  EXPECT_FALSE(traceToFile(scratch.path("none/file").c_str()));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(traceToFile(scratch.path().c_str()));
  EXPECT_EQ(errno, EISDIR);
  say("kept");
  EXPECT_THAT(capture.lines(), ElementsAre("say ** kept"));
}

TEST(TraceFile, WhatDoesNotFitIsLostAndNothingWaits) {
  Scratch const scratch;
  ::mkfifo(scratch.path("pipe").c_str(), S_IRUSR | S_IWUSR);
  int const reader = ::open(scratch.path("pipe").c_str(), O_RDONLY | O_NONBLOCK);
  for (std::string const& path : {std::string("/dev/full"), scratch.path("pipe")}) {
    ASSERT_TRUE(traceToFile(path.c_str()));
    errno = EEXIST;
    for (int line = 0; line < 3000; ++line) say("%s", "a line for the one or the other");
    EXPECT_EQ(errno, EEXIST);
  }
  ::close(reader);
  std::string const tooLong(200, 'x');
  inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    ::rlimit const small = {200, RLIM_INFINITY}, none = {RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &small);
    traceToFile(scratch.path("first").c_str());
    say("%s", tooLong.c_str());
    traceToFile(scratch.path("second").c_str());
    for (auto const& line : {std::string("whole"), tooLong, tooLong}) say("%s", line.c_str());
    ::setrlimit(RLIMIT_FSIZE, &none);
    for (auto const* line : {"on its own", "again"}) say("%s", line);
    return 0;
  });
  EXPECT_THAT(linesIn(scratch, "first"), ElementsAre(stamped("x+")));
  EXPECT_THAT(linesIn(scratch, "second"), ElementsAre(stamped("whole"), stamped("x+"),
                                                      stamped("on its own"), stamped("again")));
  traceImplementation().setSink(nullptr, nullptr);
}

}  // namespace
