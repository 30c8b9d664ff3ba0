#include <sys/resource.h>

#include <cstdarg>

#include "quonutil/trace/TraceFile.h"
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
  EXPECT_FALSE(traceToFile("/"));  // and the lines still come here
  say("%s", "a\nremove ERROR all is lost\r\x1b[2J\x7f\xC2\x85\xC2\xA0\xC3\x85");
  EXPECT_THAT(capture.lines(), ElementsAre("say ** a\\x0aremove ERROR all is lost\\x0d"
                                           "\\x1b[2J\\x7f\\xc2\x85\xC2\xA0\xC3\x85"));
  EXPECT_EQ(errno, EISDIR);
  for (std::size_t length : {1014U, 1015U, 1016U, 5000U}) {  // around the inner buffer
    std::string const longText(length, 'x');
    say("%s", longText.c_str());
    EXPECT_THAT(capture.lines(), ElementsAre("say ** " + longText));
  }
}

TEST(Trace, GoesToStandardErrorWhenNobodyTakesIt) {
  testing::internal::CaptureStderr();
  say("heard");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::EndsWith(" ** heard\n"));
}

// The messages in a trace file, of which each line is whole.
std::vector<std::string> messagesIn(std::string const& path) {
  std::vector<std::string> messages;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    EXPECT_THAT(line, testing::MatchesRegex("20[0-9]{2}-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:"
                                            "[0-6][0-9][.][0-9]{6}Z [1-9][0-9]* say:1 [*]{2} .*"));
    messages.push_back(line.substr(line.find("** ") + 3));
  }
  return messages;
}

TEST(TraceFile, ThreadsWriteWholeLinesWhileTheFileChanges) {
  Scratch const scratch;
  std::string const path = scratch.path("file");
  ASSERT_TRUE(traceToFile(path.c_str()));
  unsigned int const before = openDescriptors();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < 500; ++line) say("one whole line");
    });
  }
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(traceToFile(path.c_str()));
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(messagesIn(path), std::vector<std::string>(2000, "one whole line"));
}

TEST(TraceFile, WhatDoesNotFitIsLostAndTheNextLineIsWhole) {
  Scratch const scratch;
  std::string const path = scratch.path("file");
  inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    ::rlimit const small = {200, RLIM_INFINITY}, none = {RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &small);
    traceToFile(path.c_str());
    for (std::size_t length : {1U, 200U, 200U}) say("%s", std::string(length, 'x').c_str());
    ::setrlimit(RLIMIT_FSIZE, &none);
    for (auto const* line : {"on its own", "again"}) say("%s", line);
    return 0;
  });
  EXPECT_THAT(messagesIn(path),
              ElementsAre("x", testing::MatchesRegex("x+"), "on its own", "again"));
}

}  // namespace
