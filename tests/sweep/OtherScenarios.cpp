#include "cul/environment/CUL_Environment.h"
#include "cul/events/CUL_EventDispatcher.h"
#include "cul/events/CUL_Timer_Event.h"
#include "cul/messages/CUL_Message.h"
#include "cul/platform/LINUX_Api.h"
#include "cul/search/UNIX_File_System.h"
#include "cul/values/Bit_Pattern.h"
#include "cul/values/Byte_String.h"
#include "tests/files/TestFile.h"
#include "tests/messages/TestCatalog.h"
#include "tests/sweep/Scenario.h"

// What is promised here is what the headers of the classes promise.
namespace {

constexpr char kPath[] = "files/ancient", kWhole[] = "whole/ancient";
constexpr char kLong[] = "a text that is too long for the object itself";

void wholeFile(Run& run) {
  ByteString content("old", 3);
  TimeDateStamp stamp(5);
  FileName const name = fileName(run.world.path(kWhole));
  run << run.valueOf([&] { return CUL_Api::read(name, content, stamp, nullptr); });
  run << " " << run.error << " " << stamp.seconds() << " " << bytesOf(content);
}

void throwing(Run& run) {
  int const fd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  run << bytesOf(run.valueOf([] { return UNIX_Api::getcwd(); }));
  run << run.valueOf([&] { return CUL_Api::write(fd, "more", 4); });
  ::close(fd);
}

void apiObject(Run& run) {
  auto const api = run.valueOf([] { return std::make_unique<LINUX_Api>(CUL_Api::kDefaultApi, 0); });
  int major = 0;
  if (api != nullptr) api->osVersion(&major, nullptr, nullptr);
  run << (api == nullptr ? "none" : major == 0 ? "unknown" : "known");
}

// The closed file is opened for its size, and closed again.
void readFile(Run& run) {
  TestFile file(run.world.path(kPath));
  ByteString out("old", 3);
  run << run.valueOf([&] { return file.filesize(); });
  run << " " << file.fd << " " << run.error << " ";
  run << run.valueOf([&] { return file.open(), file.read(out, 3, 1); });
  run << " " << bytesOf(out) << " " << file.position << " " << run.error;
  run.attempt([&] { file.close(); });
}

void mapFile(Run& run) {
  TestFile file(run.world.path(kPath));
  auto* const address = run.valueOf([&] { return file.open(), file.createMemoryMap(1, 3); });
  run << (address == nullptr ? "null" : std::string(static_cast<char*>(address), 3)) << file.maps();
  run.attempt([&] { file.removeMemoryMap(address); });
  run << file.maps();
  run.attempt([&] { file.close(); });
}

void findSource(Run& run) {
  UNIX_File_System const system;
  // What is made at first use, when nothing is found, is made here.
  FileName found = system.findSourceFile(fileName("/no/where"), EncodedString());
  run.attempt([&] { found = system.findSourceFile(fileName("/old/place/x.c"), text("tree")); });
  run << bytesOf(found);
}

// The server reads a catalog, and the message gets its text.
void message(Run& run) {
  std::string const path = run.world.path("texts/catalog");
  EncodedString const insert = text(kLong);
  run << bytesOf(run.valueOf([&] {
    XPG4MsgServer server(nullptr, path.c_str());
    CUL_Message one(MsgID{1, 1});
    one.set_inserts(&insert, nullptr);
    return one.getMessage(&server);
  }));
}

void environment(Run& run) {
  std::unique_ptr<CUL_Environment> const variables(CUL_Environment::newEnvironment());
  variables->add(text("NAME"), text("value"));
  variables->add(text("OTHER"), text(kLong));
  run.attempt([&] {
    variables->set(text("NAME"), text(kLong)), variables->envp();
    std::unique_ptr<CUL_Environment> const copy(variables->clone());
    AutoList<CUL_EnvironmentVariable*> list;
    copy->variables(list);
    *copy = *variables;
  });
  for (char** next = variables->envp(); *next != nullptr; ++next) run << std::string(*next);
}

void bytes(Run& run) {
  Byte_String bytes("by", 2);
  Bit_Pattern pattern(16, "1234");
  Bit_Pattern const wide(64, "5");
  EncodedString shown;
  run.attempt([&] {
    bytes += bytes;
    bytes.assign(kLong, 32);
    pattern = wide;
  });
  run << bytesOf(bytes.diagFormat()) << " " << pattern.bits() << bytesOf(pattern.format(shown));
}

// Level 0 has eight timers, which is all that it has room for.
struct Queues : EventDispatcherBase {
  Queues() : EventDispatcherBase(1) {
    for (int i = 0; i < 8; ++i) postTimer();
  }
  void postTimer() {
    std::unique_ptr<CUL_Event> timer = std::make_unique<CUL_Timer_Event>(5UL);
    if (post(*timer, 0)) static_cast<void>(timer.release());
  }
  QUONUTIL_UNCHECKED long count() const { return pending; }
};
void postTimer(Run& run) {
  Queues queues;
  run.attempt([&] { queues.postTimer(); });
  run << queues.count();
}

void thread(Run& run) {
  auto const dispatcher =
      run.valueOf([] { return std::make_unique<CUL_EventDispatcher>("sweep", 2, 0); });
  if (dispatcher != nullptr) dispatcher->destroy(), dispatcher->join();
  sigset_t blocked;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  run << (dispatcher == nullptr ? "none" : "ran") << ::sigismember(&blocked, SIGINT);
}

std::string catalog() {
  Scratch const scratch;
  compile(scratch, "catalog", "$set 1\n1 %1");
  return scratch.read("catalog");
}

}  // namespace

std::vector<Scenario> otherScenarios() {
  Files const file = {{"files", "/"}, {kPath, "data"}};
  Files const tree = {
      {"tree", "/"}, {"tree/a", "/"}, {"tree/a/x.c", ""}, {"tree/b", "/"}, {"tree/b/x.c", ""}};
  std::string const thrown = " => CUL_ApiFailure WARNING failtype=2 (`kErrno') rc=%e reason=`'";
  return {
      scenario("WholeFile", {{"whole", "/"}, {kWhole, "data"}}, wholeFile, "0 33 1234567 data",
               "new -> bad_alloc 0 0 5 old; @(open|fstat) -> 1 %e 5 old; read -> 1 %e 5 @(    )"
               "; read:@(none|part) -> 1 33 5 @(    |d*)",
               {kWhole, "*"}),
      scenario("Throwing", {}, throwing, "~4",
               "new -> *bad_alloc @(4|0); getcwd" + thrown +
                   " -> failure %e 4; write:none -> *0"
                   "; write:part -> *@(1|3); write" +
                   thrown + " -> *failure %e 0"),
      scenario("ApiObject", {}, apiObject, "known",
               "new -> bad_alloc none; read:part -> ?(un)known; @(open|read*) -> unknown"),
      scenario("FileRead", file, readFile, "4 -1 33 3 ata 4 33",
               "new -> *bad_alloc 0 @(-1 0 *|old @(0|-1) *); new>open -> * -1 old -1 %e; "
               "@(fstat|open)#1 -> -1 -1 %e 3 ata 4 33"
               "; @(open|lseek|read) -> * -1 old -1 %e; read:none -> * 0  1 33"
               "; read:part -> * @(1 a 2|2 at 3) 33",
               {kPath, "*"}),
      scenario("FileMap", file, mapFile, "ata10",
               "@(open|mmap) -> null00; new -> bad_alloc null00"),
      scenario("FindSource", tree, findSource, "tree/a/x.c",
               "stat; fstatat; @(openat|fdopendir)#1 -> ; @(openat|fdopendir)#2 -> ?(tree/b/x.c)"
               "; @(openat|fdopendir|readdir) -> ?(tree/?/x.c)",
               {"tree/a/x.c", "?(tree/?/x.c)"}),
      scenario("Message", {{"texts", "/"}, {"texts/catalog", catalog()}}, message, "a text *",
               "read:part; +read -> a text *; @(open|fstat|read*) -> ~/texts/catalog: no message *",
               {"texts/catalog", "~/texts/catalog: no message 1 in set 1"}),
      scenario("Environment", {}, environment, "NAME=a text *",
               "new -> bad_alloc NAME=@(value|a text*)OTHER=*"),
      scenario("Bytes", {}, bytes, "*\"a text that is t\" 640000000000000005",
               "new#1 -> bad_alloc *\"by\" 161234; new#2 -> bad_alloc *\"byby\" 161234"
               "; new -> bad_alloc *\"a text that is t\" 161234"),
      scenario("PostTimer", {}, postTimer, "9", "new -> bad_alloc 8"),
      scenario("Thread", {}, thread, "ran0",
               "new -> bad_alloc none0; pthread_create -> error %e none0"),
  };
}
