#include <fcntl.h>

#include <memory>

#include "cul/platform/LINUX_Api.h"
#include "tests/files/TestFile.h"
#include "tests/sweep/Scenarios.h"

// What is promised here is what CUL_Api.h, UNIX_Api.h, LINUX_Api.h and CUL_File.h promise.
namespace {

constexpr char kThrown[] = "CUL_ApiFailure WARNING failtype=2 (`kErrno') rc=%e reason=`'";

// Each status and errno as a line of its own, so that whatever fails they stand in order.
void statuses(Run& run) {
  int fd = -1, count = 0;
  long offset = 0;
  struct stat state;
  char bytes[3];
  std::function<int()> const calls[] = {
      [&] { return CUL_Api::open(text(run.world.path("files/ancient")), fd); },
      [&] { return CUL_Api::lseek(fd, offset, -3, CUL_Api::kFromEnd); },
      [&] { return UNIX_Api::setFilePosition(fd, 1); },
      [&] { return CUL_Api::fstat(fd, &state); },
      [&] { return CUL_Api::filesize(fd, offset); },
      [&] { return CUL_Api::read(fd, bytes, 3, count); },
      [&] { return UNIX_Api::stat(run.world.path("files/ancient").c_str(), &state); },
  };
  auto const tell = [&](auto const& call) {
    int status = -1;
    run.attempt([&] { status = call(); });
    if (status == 0) run.line("0");
    if (status == 1) run.line("1 " + std::to_string(run.error));
  };
  for (auto const& call : calls) tell(call);
  if (fd != -1) tell([fd] { return CUL_Api::close(fd); });
}

void wholeFile(Run& run) {
  ByteString content("old", 3);
  TimeDateStamp stamp(5);
  int status = -1;
  FileName const name = fileName(run.world.path("files/ancient"));
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

struct Kernel : LINUX_Api {
  Kernel() : LINUX_Api(kDefaultApi, 0) {}
  using LINUX_Api::versionText;
};
void apiObject(Run& run) {
  std::unique_ptr<Kernel> api;
  run.attempt([&] { api = std::make_unique<Kernel>(); });
  int major = 0;
  if (api != nullptr) api->osVersion(&major, nullptr, nullptr);
  run << (api == nullptr ? "none" : major == 0 ? "unknown" : "known");
}

// A file that is opened, looked at by `operation`, and closed.
std::function<void(Run&)> withFile(bool open, std::function<void(Run&, TestFile&)> operation) {
  return [=](Run& run) {
    TestFile file(run.world.path("files/ancient"));
    if (open) file.open();
    operation(run, file);
    run.attempt([&] { file.close(); });
  };
}

void size(Run& run, TestFile& file) {
  long bytes = 0;
  run.attempt([&] { bytes = file.filesize(); });
  run << bytes << " " << file.fd;
}
void stamp(Run& run, TestFile& file) {
  long seconds = -1;
  run.attempt([&] { seconds = file.timeDateStamp().seconds(); });
  run << seconds << " " << file.fd;
}
void opening(Run& run, TestFile& file) {
  bool opened = false;
  run.attempt([&] { opened = file.open(); });
  run << opened << " " << file.position << " " << run.error;
}
void reading(Run& run, TestFile& file) {
  ByteString out("old", 3);
  int count = -2;
  run.attempt([&] { count = file.read(out, 3, 1); });
  run << count << " " << bytesOf(out) << " " << file.position;
}
void map(Run& run, TestFile& file) {
  void* address = nullptr;
  run.attempt([&] { address = file.createMemoryMap(1, 3); });
  run << (address == nullptr ? "null" : std::string(static_cast<char*>(address), 3)) << " "
      << file.maps();
  run.attempt([&] { file.removeMemoryMap(address); });
  run << file.maps();
}

}  // namespace

std::vector<Scenario> fileScenarios() {
  constexpr unsigned int kOpen = kFile | kHandsDown;
  static constexpr char kFileName[] = "files/ancient";
  auto const onFile = [](char const* name, bool open, void (*operation)(Run&, TestFile&)) {
    return Scenario(name, kFile | kHandsDown, withFile(open, operation));
  };
  return {
      Scenario("Statuses", kOpen, statuses)
          .gives("", "*")
          .when({{"+new"}, {"new", nullptr, "*"}, {"*:*", "0"}, {"+*", "0"}, {"*", "1 %e"}})
          .suffers(kFileName),
      Scenario("WholeFile", kFile, wholeFile)
          .gives("0 0 1234567 data", "bad_alloc -1 0 5 old")
          .when({{"@(open|fstat)", nullptr, "1 %e 5 old"},
                 {"fstat:odd"},
                 {"read", nullptr, "1 %e 5     "},
                 {"read:none", nullptr, "1 0 5     "},
                 {"read:part", nullptr, "1 0 5 d@(ata |at |   )"}})
          .suffers(kFileName, {"*"}),
      Scenario("WorkingDirectory", 0, workingDirectory)
          .gives("~", "bad_alloc ")
          .when({{"getcwd:odd", nullptr, ""}, {"getcwd", kThrown, "failure %e "}}),
      Scenario("Rationalize", 0, rationalize)
          .gives("~/a file with a long name", "bad_alloc ./a/../a file with a long name")
          .when({{"getcwd*", nullptr, "./a/../a file with a long name"}}),
      Scenario("Write", 0, writing)
          .gives("4", "bad_alloc -1")
          .when({{"write:none", nullptr, "0"},
                 {"write:part", nullptr, "@(1|3)"},
                 {"write", kThrown, "failure %e -1"}}),
      Scenario("ApiObject", 0, apiObject)
          .gives("known", "bad_alloc none")
          .when({{"@(open|read|read:none)", nullptr, "unknown"},
                 {"read:part", nullptr, "?(un)known"}}),
      onFile("FileOpen", false, opening)
          .gives("1 0 0", "bad_alloc 0 -1 0")
          .when({{"open", nullptr, "0 -1 %e"}})
          .suffers(kFileName),
      onFile("FileSize", false, size)
          .gives("4 -1", "bad_alloc 0 -1")
          .when({{"@(open|fstat)", nullptr, "-1 -1"}, {"fstat:odd", nullptr, "5 -1"}})
          .suffers(kFileName, {"*"}),
      onFile("FileStamp", false, stamp)
          .gives("1234567 -1", "bad_alloc -1 -1")
          .when({{"@(open|fstat)", nullptr, "-1 -1"}, {"fstat:odd"}})
          .suffers(kFileName, {"*"}),
      onFile("FileRead", true, reading)
          .gives("3 ata 4", "bad_alloc -2 old 0")
          .when({{"@(lseek|read)", nullptr, "-1 old -1"},
                 {"lseek:odd", nullptr, "3 ata 5"},
                 {"read:none", nullptr, "0  @(1|2)"},
                 {"read:part", nullptr, "@(1 a 2|2 at 3)"}})
          .suffers(kFileName, {"*"}),
      onFile("FileMap", true, map)
          .gives("ata 10", "bad_alloc null 00")
          .when({{"mmap", nullptr, "null 00"}}),
  };
}
