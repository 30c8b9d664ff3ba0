#include "cul/search/CUL_CCfilter.h"
#include "cul/search/UNIX_File_System.h"
#include "quonutil/names/SearchTree.h"
#include "quonutil/settings/DebuggerSettings.h"
#include "tests/support/TraceCapture.h"

namespace {

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
  for (auto const& [current, path] :
       {std::pair("", ""), {".", ""}, {"/w", "/w"}, {"/w", "a"}, {"/w", "."}, {"./", ""}}) {
    watched.set_current_directory(fileName(current));
    watched.findSourceFile(fileName("d/s"), text(path));
  }
  watched.find_load_module(fileName("m"));
  EXPECT_EQ(watched.asked,
            "sh in .;sh in /p:/q;no in .;m in .:/usr/lib:/lib;d/s in ;d/s in ;d/s in ;d/s in ;"
            "d/s in .;d/s in ;d/s in .;d/s in ;d/s in .;m in /opt/lib:./:/usr/lib:/lib;");
}

TEST_F(Search, AnEntryIsADirectoryAndWhatIsFoundMayHaveAMemberOrHasToBeExecutable) {
  scratch.write("lib.a", "");
  std::string found;
  for (char const* name : {"lib.a(m.o)", "none(m.o)", "d/", ""}) {
    found += bytesOf(UNIX_File_System().find_file(fileName(name), text(":/no/where"))) + ";";
  }
  for (mode_t mode : {0644U, 0755U}) {
    ::chmod(scratch.path("lib.a").c_str(), mode);
    found += bytesOf(FileName::findFile(fileName("lib.a"), text("."), true)) + ";";
  }
  EXPECT_EQ(found, "./lib.a(m.o);;;;;./lib.a;");
}

TEST_F(Search, ADirectoryComesBeforeWhatIsBelowItInByteOrderAndLinksLeadToFilesAlone) {
  for (char const* path : {"b/x", "a/y", "a/z/x", "\xFF/q", "b/q/d", ".h", "..h"}) {
    std::filesystem::create_directories(path);
  }
  for (char const* path :
       {"b/f", "a/z/f", "a/z/h", "a/z/g", "a/y/g", "b/x/g", "\xFF/e", "b/q/d/e", "top"}) {
    scratch.write(path, "");
  }
  for (auto const& [target, link] :
       {std::pair("../../a", "a/y/loop"), {"b/q", "root"}, {"top", "link"}, {"none", "none"}}) {
    std::filesystem::create_symlink(target, link);
  }
  EXPECT_EQ(in("", "f") + in(".", "top") + in("", "link"), "./a/z/f./top./link");
  EXPECT_EQ(in("", "g") + in("b/", "e") + in("root", "e"), "./a/y/gb/q/d/eroot/d/e");
  EXPECT_EQ(in("", "e") + in("top", "top"), "./b/q/d/e");
  for (char const* none : {"q", "", "..", "b/f", "none", "loop", "root"}) {
    EXPECT_EQ(in("", none), "") << none;
  }
  FileName names[] = {fileName("/lib/g"), fileName("f"), fileName("h")};
  List<FileName*> wanted, found;
  for (int each : {0, 1, 2, 0}) wanted.append(&names[each]);
  int counter = 10;
  TraceCapture capture({TraceFlag::detail});
  UNIX_File_System().find_module_recursive(wanted, found, &counter, text("b:nowhere:a"));
  UNIX_File_System().find_module_recursive(wanted, found, nullptr, text("b"));
  std::string const line = "find_module_recursive ** SEARCHING using searchRecursiveComplete of ";
  EXPECT_THAT(capture.lines(), ElementsAre(line + "b", line + "nowhere", line + "a", line + "b"));
  EXPECT_EQ(joined(found) + std::to_string(counter),
            "b/f;b/x/g;a/y/g;a/z/f;a/z/g;a/z/h;b/f;b/x/g;16");
  found.deleteElements();
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
