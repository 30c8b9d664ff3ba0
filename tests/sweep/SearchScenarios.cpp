#include <cstdlib>
#include <memory>

#include "cul/search/UNIX_File_System.h"
#include "quonutil/catalog/XPG4MsgServer.h"
#include "quonutil/collections/AutoList.h"
#include "tests/sweep/Scenarios.h"

// What is promised here is what CUL_File_System.h, SearchTree.h and XPG4MsgServer.h promise.
namespace {

// Looks one name up.
std::function<void(Run&)> finding(
    std::function<FileName(UNIX_File_System const&, World const&)> find) {
  return [=](Run& run) {
    ::setenv("PATH", run.world.path("library").c_str(), 1);
    ::setenv("LD_LIBRARY_PATH", run.world.path("library").c_str(), 1);
    UNIX_File_System const system;
    FileName found = system.findSourceFile(fileName("/no/where"), EncodedString());
    run.attempt([&] { found = find(system, run.world); });
    run << bytesOf(found);
  };
}

FileName member(UNIX_File_System const& system, World const& world) {
  return system.find_file(fileName("libsweep.a(sin.o)"),
                          text(world.path("tree") + ":" + world.path("library")));
}
FileName program(UNIX_File_System const& system, World const&) {
  return system.find_executable(fileName("libsweep.a"));
}
FileName module(UNIX_File_System const& system, World const&) {
  return system.find_load_module(fileName("libsweep.a"));
}
FileName executable(UNIX_File_System const&, World const& world) {
  return FileName::findFile(fileName("libsweep.a"), text(world.path("library")), true);
}
FileName source(UNIX_File_System const& system, World const& world) {
  return system.findSourceFile(fileName("/old/place/x.c"), text(world.path("tree")));
}

void modules(Run& run) {
  UNIX_File_System const system;
  FileName first = fileName("libsweep.a"), second = fileName("x.c");
  List<FileName*> wanted;
  for (auto* name : {&first, &second}) wanted.append(name);
  AutoList<FileName*> found;
  int counter = 0;
  // What is traced depends on when the memory runs out.
  traceImplementation().setFlag(TraceFlag::detail, false);
  run.attempt([&] { system.find_module_recursive(wanted, found, &counter, text("tree")); });
  traceImplementation().setFlag(TraceFlag::detail, true);
  for (unsigned int i = 0; i < found.count(); ++i) run << bytesOf(*found[i]) << " ";
  run << (counter == static_cast<int>(found.count()) ? "" : "miscounted");
}

void catalog(Run& run) {
  std::string const path = run.world.path("texts/catalog");
  std::unique_ptr<XPG4MsgServer> server;
  run.attempt([&] { server = std::make_unique<XPG4MsgServer>(nullptr, path.c_str()); });
  if (server != nullptr) run << bytesOf(server->message(1, 1));
}

constexpr char kSecond[] = "?(~/tree/b/x.c)", kAny[] = "?(~/tree/?@(|.moved)/x.c)";
constexpr char kSome[] = "?(tree/a/x.c )?(tree/b?(.moved)/x.c )";
constexpr char kMissing[] = "~/texts/catalog: no message 1 in set 1";

}  // namespace

std::vector<Scenario> searchScenarios() {
  static constexpr char kLibrary[] = "library/libsweep.a";
  return {
      Scenario("Catalog", kCatalog, catalog)
          .gives("the first text", "bad_alloc ")
          .when({{"@(open|fstat)", nullptr, kMissing},
                 {"fstat:odd"},
                 {"read:part"},
                 {"read", nullptr, nullptr, 0, nullptr, EINTR},
                 {"read:none", nullptr, nullptr, 0, "fstat"},
                 {"read*", nullptr, kMissing}})
          .suffers("texts/catalog", {kMissing}),
      Scenario("FindMember", kTree, finding(member))
          .gives("~/library/libsweep.a(sin.o)", "bad_alloc ")
          .when({{"stat", nullptr, "", 2}, {"stat"}})
          .suffers(kLibrary, {""}),
      Scenario("FindExecutable", kTree, finding(program))
          .gives("~/library/libsweep.a", "bad_alloc ")
          .when({{"stat", nullptr, "", 2}, {"stat"}})
          .suffers(kLibrary, {""}),
      Scenario("FindLoadModule", kTree, finding(module))
          .gives("~/library/libsweep.a", "bad_alloc ")
          .when({{"stat", nullptr, "", 1}, {"stat"}})
          .suffers(kLibrary, {""}),
      Scenario("FindWhatMayBeExecuted", kTree, finding(executable))
          .gives("", "bad_alloc ")
          .when({{"stat"}, {"faccessat"}})
          .suffers(kLibrary, {"~/library/libsweep.a"}),
      Scenario("FindSource", kTree, finding(source))
          .gives("~/tree/a/x.c", "bad_alloc ")
          .when({{"stat"},
                 {"fstatat"},
                 {"readdir", nullptr, kAny},
                 {"@(openat|fdopendir)", nullptr, "", 1},
                 {"@(openat|fdopendir)", nullptr, kSecond, 2},
                 {"@(openat|fdopendir)", nullptr, kAny}})
          .suffers("tree/a/x.c", {kAny}),
      Scenario("FindModules", kTree, modules)
          .gives("tree/a/x.c tree/b/x.c ", "bad_alloc ?(tree/a/x.c )?(tree/b/x.c )")
          .when({{"fstatat"}, {"@(openat|fdopendir|readdir)", nullptr, kSome}})
          .suffers("tree/b/x.c", {kSome}),
  };
}
