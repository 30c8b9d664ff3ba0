#include <gmock/gmock.h>

#include "cul/search/CUL_CCfilter.h"
#include "cul/search/UNIX_File_System.h"
#include "quonutil/names/SearchTree.h"
#include "quonutil/settings/DebuggerSettings.h"
#include "tests/support/Scratch.h"
#include "tests/support/TraceCapture.h"

namespace {

using std::filesystem::create_directories;
using testing::ElementsAre;

std::string joined(List<FileName*> const& names) {
  std::string all;
  for (unsigned int i = 0; i < names.count(); ++i) all += bytesOf(*names[i]) + ";";
  return all;
}

// Notes what the lookups ask find_file for, and finds nothing.
struct Watched : UNIX_File_System {
  FileName find_file(FileName const& name, EncodedString const& path) const override {
    asked += bytesOf(name) + " in " + bytesOf(path) + ";";
    return FileName();
  }
  mutable std::string asked;
};

// In a working directory of its own.
struct Search : testing::Test {
  Search() { std::filesystem::current_path(scratch.path()); }
  ~Search() override { std::filesystem::current_path("/"); }

  static std::string in(std::string const& root, std::string const& name) {
    return bytesOf(SearchTree(fileName(root)).search(fileName(name)));
  }
  Scratch scratch;
};

TEST_F(Search, WhereProgramsModulesAndSourcesAreLookedFor) {
  Watched watched;
  auto& setting = DebuggerSettings::instance()->setting(DebuggerSettings::kSourceSearchPath);
  setting.value = text("/a b::\xFF:");
  FileName const* const first = watched.source_search_paths()[0];
  EXPECT_EQ(watched.source_search_paths()[0], first);
  EXPECT_EQ(joined(watched.source_search_paths()), "/a b;;\xFF;");
  setting.value = text("");
  EXPECT_TRUE(watched.source_search_paths().isEmpty());
  ::setenv("PATH", "/p:/q", 1);
  ::unsetenv("LD_LIBRARY_PATH");
  watched.find_executable(FileName());
  watched.find_executable(fileName("sh"));
  ::setenv("PATH", "", 1);
  watched.find_executable(fileName("no"));
  watched.find_load_module(fileName("m"));
  ::setenv("LD_LIBRARY_PATH", "/opt/lib", 1);
  constexpr char const* kRows[][2] = {{"", ""},    {".", ""},   {"/w", "/w"},
                                      {"/w", "a"}, {"/w", "."}, {"./", ""}};
  for (auto const& [current, path] : kRows) {
    watched.set_current_directory(fileName(current));
    watched.findSourceFile(fileName("d/s"), text(path));
  }
  watched.find_load_module(fileName("m"));
  EXPECT_EQ(watched.asked,
            "sh in .;sh in /p:/q;no in .;m in .:/usr/lib:/lib;d/s in ;d/s in ;d/s in ;d/s in ;"
            "d/s in .;d/s in ;d/s in .;d/s in ;d/s in .;m in /opt/lib:./:/usr/lib:/lib;");
}

TEST_F(Search, AnEntryIsADirectoryAndWhatIsFoundMayHaveAMemberOrHasToBeExecutable) {
  UNIX_File_System const system;
  scratch.write("lib.a", "");
  std::string found;
  for (char const* name : {"lib.a(m.o)", "none(m.o)", "d/", ""}) {
    found += bytesOf(system.find_file(fileName(name), text(":/no/where"))) + ";";
  }
  EXPECT_EQ(found, "./lib.a(m.o);;;;");
  EXPECT_TRUE(FileName::findFile(fileName("lib.a"), text("."), true).isEmpty());
  ::chmod(scratch.path("lib.a").c_str(), 0755);
  EXPECT_EQ(bytesOf(FileName::findFile(fileName("lib.a"), text("."), true)), "./lib.a");
}

TEST_F(Search, ModulesAreCollectedFromWholeTrees) {
  for (char const* path : {"a/x", "b"}) create_directories(path);
  for (char const* path : {"a/m.so", "a/x/n.so", "a/x/m.so", "b/n.so"}) scratch.write(path, "x");
  FileName first = fileName("/lib/m.so"), second = fileName("n.so");
  List<FileName*> wanted, found;
  for (auto* name : {&first, &second, &first}) wanted.append(name);
  int counter = 10;
  {
    TraceCapture capture({TraceFlag::detail});
    UNIX_File_System().find_module_recursive(wanted, found, &counter, text("b:nowhere:a"));
    std::string const line = "find_module_recursive ** SEARCHING using searchRecursiveComplete of ";
    EXPECT_THAT(capture.lines(), ElementsAre(line + "b", line + "nowhere", line + "a"));
  }
  UNIX_File_System().find_module_recursive(wanted, found, nullptr, text("b"));
  EXPECT_EQ(joined(found) + std::to_string(counter), "b/n.so;a/m.so;a/x/m.so;a/x/n.so;b/n.so;14");
  found.deleteElements();
}

TEST_F(Search, ADirectoryComesBeforeWhatIsBelowItInByteOrderAndLinksLeadToFilesAlone) {
  for (char const* path : {"b/x", "a/y", "a/z/x", "\xFF/q", "b/q/d", ".h", "..h"}) {
    create_directories(path);
  }
  for (char const* path : {"b/f", "a/z/f", "a/y/g", "b/x/g", "\xFF/e", "b/q/d/e", "top"}) {
    scratch.write(path, "");
  }
  constexpr char const* kLinks[][2] = {
      {"../../a", "a/y/loop"}, {"b/q", "root"}, {"top", "link"}, {"none", "none"}};
  for (auto const& [target, link] : kLinks) std::filesystem::create_symlink(target, link);
  EXPECT_EQ(in("", "f") + in(".", "top") + in("", "link"), "./a/z/f./top./link");
  EXPECT_EQ(in("", "g") + in("b/", "e") + in("root", "e"), "./a/y/gb/q/d/eroot/d/e");
  EXPECT_EQ(in("", "e") + in("top", "top"), "./b/q/d/e");
  for (char const* none : {"q", "", "..", "b/f", "none", "loop", "root"}) {
    EXPECT_EQ(in("", none), "") << none;
  }
}

TEST(CoverageFilter, SelectsByPatternInclusionAndCoverage) {
  using Filter = CUL_CCfilter;
  List<Filter::FileFilter const*> const files;
  EncodedString const patterns[] = {text("lib*.so"), text("a\\b"), text("d/*")};
  List<EncodedString const*> none, some;
  for (auto const& pattern : patterns) some.append(&pattern);
  auto const selected = [&](int inclusion, int coverage, auto const& modules) {
    Filter const filter(files, modules, static_cast<Filter::InclusionType>(inclusion),
                        static_cast<Filter::CoverageType>(coverage), Filter::kOnTheFlyDefault,
                        Filter::kViewDefault);
    std::string all;
    for (char const* name : {"lib.so", "a\\b", "d/e", "s/lib.so", "LIB.so", "ab", "d/e/f", ""}) {
      all += filter.testModule(text(name)) ? 'x' : '.';
    }
    return all;
  };
  EXPECT_EQ(selected(1, 5, some), "xxx.....");
  EXPECT_EQ(selected(0, 5, some) + selected(2, 5, some), "...xxxxx...xxxxx");
  EXPECT_EQ(selected(1, 5, none) + selected(0, 0, some), "xxxxxxxx........");
  for (int i = 0; i < 2; ++i) EXPECT_FALSE(Filter::nullFilter()->testModule(text("a")));
}

}  // namespace
