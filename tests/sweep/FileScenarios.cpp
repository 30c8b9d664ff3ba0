#include <unistd.h>

#include <memory>

#include "cul/platform/LINUX_Api.h"
#include "tests/files/TestFile.h"
#include "tests/sweep/Scenario.h"

// What is promised here is what CUL_Api.h, UNIX_Api.h, LINUX_Api.h and CUL_File.h promise.
namespace {

constexpr char kThrown[] = "CUL_ApiFailure WARNING failtype=2 (`kErrno') rc=%e reason=`'";
constexpr char kPath[] = "files/ancient";

// Each status and errno as a line of its own, so that whatever fails they stand in order.
void report(Run& run, std::initializer_list<std::function<int()>> calls) {
  for (auto const& call : calls) {
    int status = -1;
    run.attempt([&] { status = call(); });
    if (status == 0) run.line("0");
    if (status == 1) run.line("1 " + std::to_string(run.error));
  }
}

void statuses(Run& run) {
  int fd = -1, count = 0;
  long offset = 0;
  struct stat state;
  char bytes[3];
  report(run, {
                  [&] { return CUL_Api::open(text(kPath), fd); },
                  [&] { return CUL_Api::lseek(fd, offset, -3, CUL_Api::kFromEnd); },
                  [&] { return UNIX_Api::setFilePosition(fd, 1); },
                  [&] { return CUL_Api::fstat(fd, &state); },
                  [&] { return CUL_Api::filesize(fd, offset); },
                  [&] { return CUL_Api::read(fd, bytes, 3, count); },
                  [&] { return UNIX_Api::stat(kPath, &state); },
                  [&] { return fd == -1 ? -1 : CUL_Api::close(fd); },
              });
}

void wholeFile(Run& run) {
  ByteString content("old", 3);
  TimeDateStamp stamp(5);
  int status = -1;
  FileName const name = fileName(run.world.path(kPath));
  run.attempt([&] { status = CUL_Api::read(name, content, stamp, nullptr); });
  run << status << " " << run.error << " " << stamp.seconds() << " " << bytesOf(content);
}

void workingDirectory(Run& run) {
  EncodedString path;
  run.attempt([&] { path = UNIX_Api::getcwd(); });
  run << bytesOf(path);
}

void rationalize(Run& run) {
  FileName name = fileName("./a/../a file with a long name");
  run.attempt([&] { UNIX_Api::rationalize(name); });
  run << bytesOf(name);
}

void writing(Run& run) {
  int const fd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  int count = -1;
  run.attempt([&] { count = CUL_Api::write(fd, "more", 4); });
  ::close(fd);
  run << count;
}

void apiObject(Run& run) {
  std::unique_ptr<LINUX_Api> api;
  run.attempt([&] { api = std::make_unique<LINUX_Api>(CUL_Api::kDefaultApi, 0); });
  int major = 0;
  if (api != nullptr) api->osVersion(&major, nullptr, nullptr);
  run << (api == nullptr ? "none" : major == 0 ? "unknown" : "known");
}

std::function<void(Run&)> withFile(void (*operate)(Run& run, TestFile& file)) {
  return [=](Run& run) {
    TestFile file(run.world.path(kPath));
    operate(run, file);
    run.attempt([&] { file.close(); });
  };
}

// A closed file is opened for it, and closed again.
void size(Run& run, TestFile& file) {
  long bytes = -2;
  run.attempt([&] { bytes = file.filesize(); });
  run << bytes << " " << file.fd << " " << run.error;
}
void reading(Run& run, TestFile& file) {
  ByteString out("old", 3);
  int count = -2;
  run.attempt([&] { file.open(), count = file.read(out, 3, 1); });
  run << count << " " << bytesOf(out) << " " << file.position << " " << run.error;
}
void map(Run& run, TestFile& file) {
  void* address = nullptr;
  run.attempt([&] { file.open(), address = file.createMemoryMap(1, 3); });
  run << (address == nullptr ? "null" : std::string(static_cast<char*>(address), 3)) << " "
      << file.maps();
  run.attempt([&] { file.removeMemoryMap(address); });
  run << file.maps();
}

}  // namespace

std::vector<Scenario> fileScenarios() {
  constexpr unsigned int kOpens = kFile | kHandsDown;
  return {
      Scenario("Statuses", kOpens, statuses, "", "*",
               {{"*:*", "0"}, {"+[!n]*", "0"}, {"[!n]*", "1 %e"}}, kPath),
      Scenario("WholeFile", kFile, wholeFile, "0 0 1234567 data", "-1 0 5 old",
               {{"@(open|fstat)", nullptr, "1 %e 5 old"},
                {"fstat:odd"},
                {"read", nullptr, "1 %e 5     "},
                {"read:none", nullptr, "1 0 5     "},
                {"read:part", nullptr, "1 0 5 d@(ata |at |   )"}},
               kPath, {"*"}),
      Scenario("WorkingDirectory", 0, workingDirectory, "~", "",
               {{"getcwd:odd", nullptr, ""}, {"getcwd", kThrown, "failure %e "}}),
      Scenario("Rationalize", 0, rationalize, "~/a file with a long name",
               "./a/../a file with a long name",
               {{"getcwd*", nullptr, "./a/../a file with a long name"}}),
      Scenario("Write", 0, writing, "4", "-1",
               {{"write:none", nullptr, "0"},
                {"write:part", nullptr, "@(1|3)"},
                {"write", kThrown, "failure %e -1"}}),
      Scenario(
          "ApiObject", 0, apiObject, "known", "none",
          {{"@(open|read|read:none)", nullptr, "unknown"}, {"read:part", nullptr, "?(un)known"}}),
      Scenario("FileSize", kOpens, withFile(size), "4 -1 0", "-2 -1 0",
               {{"@(open|fstat)", nullptr, "-1 -1 %e"}, {"fstat:odd", nullptr, "5 -1 0"}}, kPath,
               {"*"}),
      Scenario("FileRead", kOpens, withFile(reading), "3 ata 4 0", "-2 old @(0|-1) 0",
               {{"@(open|lseek|read)", nullptr, "-1 old -1 %e"},
                {"lseek:odd", nullptr, "3 ata 5 0"},
                {"read:none", nullptr, "0  @(1|2) 0"},
                {"read:part", nullptr, "@(1 a 2|2 at 3) 0"}},
               kPath, {"*"}),
      Scenario("FileMap", kOpens, withFile(map), "ata 10", "null 00",
               {{"@(open|mmap)", nullptr, "null 00"}}),
  };
}
