#include <gmock/gmock.h>

#include <cstdlib>

#include "cul/search/UNIX_File_System.h"
#include "quonutil/settings/DebuggerSettings.h"
#include "tests/support/Scratch.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> textsOf(List<FileName*> const& names) {
  std::vector<std::string> texts;
  for (unsigned int i = 0; i < names.count(); ++i) texts.push_back(bytesOf(*names[i]));
  return texts;
}

// Notes what the lookups ask find_file for, and finds nothing.
class Watched : public UNIX_File_System {
 public:
  FileName find_file(FileName const& name, EncodedString const& path) const override {
    asked.push_back(bytesOf(name) + " in " + bytesOf(path));
    return FileName();
  }
  mutable std::vector<std::string> asked;
};

// A working directory with trees of files in it.
class Lookup : public testing::Test {
 protected:
  Lookup() { std::filesystem::current_path(scratch.path()); }
  ~Lookup() override { std::filesystem::current_path("/"); }

  void make(std::string const& path) const {
    std::filesystem::create_directories(std::filesystem::path(scratch.path(path)).parent_path());
    scratch.write(path, "x");
  }
  static void configure(char const* directories) {
    DebuggerSettings::instance()->setting(DebuggerSettings::kSourceSearchPath).value =
        text(directories);
  }

  Scratch scratch;
  Watched watched;
  UNIX_File_System system;
};

TEST_F(Lookup, SourceDirectoriesFollowTheSetting) {
  configure(":/a b:'c':\xFF::");
  List<FileName*> const& directories = system.source_search_paths();
  EXPECT_THAT(textsOf(directories), ElementsAre("", "/a b", "'c'", "\xFF", ""));
  FileName const* const first = directories[0];
  EXPECT_EQ(system.source_search_paths()[0], first);
  configure("/c");
  EXPECT_THAT(textsOf(system.source_search_paths()), ElementsAre("/c"));
  configure("");
  EXPECT_EQ(system.source_search_paths().count(), 0U);
}

TEST_F(Lookup, WhereProgramsAndModulesAreLookedFor) {
  ::setenv("PATH", "/p:/q", 1);
  ::unsetenv("LD_LIBRARY_PATH");
  watched.find_executable(FileName());
  watched.find_executable(fileName("sh"));
  ::setenv("PATH", "", 1);
  watched.find_executable(fileName("no"));
  watched.find_load_module(fileName("m"));
  ::setenv("LD_LIBRARY_PATH", "/opt/lib", 1);
  watched.set_current_directory(fileName("/work"));
  watched.find_load_module(fileName("m"));
  EXPECT_THAT(watched.asked,
              ElementsAre("sh in .", "sh in /p:/q", "no in .", "m in .:/usr/lib:/lib",
                          "m in /opt/lib:/work:/usr/lib:/lib"));
}

TEST_F(Lookup, TheThirdStageForSourcesHasThreeConditions) {
  struct Row {
    char const *current, *path;
    bool asks;
  };
  constexpr Row kRows[] = {{"", "", false},  {".", "", false},  {"/w", "/w", false},
                           {"/w", "", true}, {"/w", ".", true}, {"./", "", true}};
  configure("");
  for (auto const& row : kRows) {
    watched.set_current_directory(fileName(row.current));
    watched.asked.clear();
    watched.findSourceFile(fileName("d/none.c"), text(row.path));
    std::vector<std::string> expected{"d/none.c in "};
    if (row.asks) expected.emplace_back("d/none.c in .");
    EXPECT_EQ(watched.asked, expected) << row.current << row.path;
  }
}

TEST_F(Lookup, ModulesAreCollectedFromWholeTrees) {
  for (char const* path : {"a/m.so", "a/x/n.so", "a/x/m.so", "b/n.so", "b/o.so"}) make(path);
  FileName first = fileName("/lib/m.so"), second = fileName("n.so"), third = fileName("m.so");
  List<FileName*> wanted, found;
  for (auto* name : {&first, &second, &third}) wanted.append(name);
  TraceCapture capture({TraceFlag::detail});
  int counter = 10;
  system.find_module_recursive(wanted, found, &counter, text(""));
  EXPECT_EQ(counter, 10);
  system.find_module_recursive(wanted, found, &counter, text("b:nowhere:a"));
  EXPECT_THAT(textsOf(found), ElementsAre("b/n.so", "a/m.so", "a/x/m.so", "a/x/n.so"));
  EXPECT_EQ(counter, 14);
  system.find_module_recursive(wanted, found, nullptr, text("b"));
  std::string const line = "find_module_recursive ** SEARCHING using searchRecursiveComplete of ";
  EXPECT_THAT(capture.lines(), ElementsAre(line + "b", line + "nowhere", line + "a", line + "b"));
  found.deleteElements();
}

}  // namespace
