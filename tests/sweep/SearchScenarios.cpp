#include <memory>

#include "cul/search/UNIX_File_System.h"
#include "quonutil/catalog/XPG4MsgServer.h"
#include "quonutil/collections/AutoList.h"
#include "tests/sweep/Scenario.h"

// What is promised here is what CUL_File_System.h, SearchTree.h and XPG4MsgServer.h promise.
namespace {

// Looks one name up.
std::function<void(Run&)> finding(FileName (*find)(UNIX_File_System const& system)) {
  return [=](Run& run) {
    UNIX_File_System const system;
    FileName found = system.findSourceFile(fileName("/no/where"), EncodedString());
    run.attempt([&] { found = find(system); });
    run << bytesOf(found);
  };
}

FileName member(UNIX_File_System const& system) {
  return system.find_file(fileName("libsweep.a(sin.o)"), text("tree:library"));
}
FileName executable(UNIX_File_System const&) {
  return FileName::findFile(fileName("libsweep.a"), text("library"), true);
}
FileName source(UNIX_File_System const& system) {
  return system.findSourceFile(fileName("/old/place/x.c"), text("tree"));
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

constexpr char kSecond[] = "?(tree/b/x.c)", kAny[] = "?(tree/?@(|.moved)/x.c)";
constexpr char kSome[] = "?(tree/a/x.c )?(tree/b?(.moved)/x.c )";
constexpr char kMissing[] = "~/texts/catalog: no message 1 in set 1";

}  // namespace

std::vector<Scenario> searchScenarios() {
  static constexpr char kLibrary[] = "library/libsweep.a";
  return {
      Scenario("Catalog", kCatalog, catalog, "the first text", "",
               {{"@(open|fstat)", nullptr, kMissing},
                {"fstat:odd"},
                {"read:part"},
                {"read", nullptr, nullptr, 0, nullptr, EINTR},
                {"read:none", nullptr, nullptr, 0, "fstat"},
                {"read*", nullptr, kMissing}},
               "texts/catalog", {kMissing}),
      Scenario("FindMember", kTree, finding(member), "library/libsweep.a(sin.o)", "",
               {{"stat", nullptr, "", 2}, {"stat"}}, kLibrary, {""}),
      Scenario("FindWhatMayBeExecuted", kTree, finding(executable), "", "",
               {{"stat"}, {"faccessat"}}, kLibrary, {"library/libsweep.a"}),
      Scenario("FindSource", kTree, finding(source), "tree/a/x.c", "",
               {{"stat"},
                {"fstatat"},
                {"readdir", nullptr, kAny},
                {"@(openat|fdopendir)", nullptr, "", 1},
                {"@(openat|fdopendir)", nullptr, kSecond, 2},
                {"@(openat|fdopendir)", nullptr, kAny}},
               "tree/a/x.c", {kAny}),
      Scenario(
          "FindModules", kTree, modules, "tree/a/x.c tree/b/x.c ", "?(tree/a/x.c )?(tree/b/x.c )",
          {{"fstatat"}, {"@(openat|fdopendir|readdir)", nullptr, kSome}}, "tree/b/x.c", {kSome}),
  };
}
