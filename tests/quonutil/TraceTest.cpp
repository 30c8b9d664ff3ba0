#include <gmock/gmock.h>

#include <cerrno>
#include <cstdarg>
#include <string>
#include <thread>
#include <vector>

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

}  // namespace
