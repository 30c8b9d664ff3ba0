#include "quonutil/names/FileName.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/Scratch.h"

namespace {

TEST(FileName, Parts) {
  struct Row {
    char const *text, *directory, *shortName, *base, *member;
  };
  constexpr Row kRows[] = {
      {"", "", "", "", ""},
      {"main.c", "", "main.c", "main.c", ""},
      {"/usr/src/", "/usr/src/", "", "", ""},
      {"/lib/libm.a(sin.o)", "/lib/", "libm.a(sin.o)", "libm.a", "sin.o"},
      {"a(b)(c)", "", "a(b)(c)", "a(b)", "c"},
      {"a(b(c))", "", "a(b(c))", "a", "b(c)"},
      {"(b)", "", "(b)", "(b)", ""},  // nothing stands in front of it
      {"d/(b)", "d/", "(b)", "(b)", ""},
      {"a()", "", "a()", "a()", ""},
      {"a(b)c", "", "a(b)c", "a(b)c", ""},
      {"ab)", "", "ab)", "ab)", ""},
      {"a(b/c)", "a(b/", "c)", "c)", ""},
  };
  for (auto const& row : kRows) {
    FileName const name = fileName(row.text);
    EXPECT_EQ(bytesOf(name.directory()), row.directory) << row.text;
    EXPECT_EQ(bytesOf(name.short_name()), row.shortName) << row.text;
    EXPECT_EQ(bytesOf(name.base()), row.base) << row.text;
    EXPECT_EQ(bytesOf(name.member()), row.member) << row.text;
  }
}

TEST(FileName, PartsOfAReplacedTextNeverReachBeyondIt) {
  FileName name = fileName("/a/long/way/to/libm.a(sin.o)");
  name.cut(3);
  EXPECT_EQ(bytesOf(name.directory()), "/a/");
  EXPECT_EQ(bytesOf(name.short_name() + name.base() + name.member()).size(), 3U);
  name.validate();
  EXPECT_EQ(bytesOf(name.short_name()), "");
}

TEST(FileName, RationalizePath) {
  struct Row {
    char const *name, *directory, *result;
  };
  constexpr Row kRows[] = {
      {"", "/d", ""},
      {"a.c", "/d", "/d/a.c"},
      {"a.c", "/", "/a.c"},
      {"/x//y/./z", "/d", "/x/y/z"},
      {"../a.c", "/d/e", "/d/a.c"},
      {"../../../a.c", "/d", "/a.c"},
      {"a/..", "", "."},
      {"../a/../../b", "", "../../b"},
      {"a/b/", "", "a/b/"},
      {"..", "/", "/"},
      {"...", "/d", "/d/..."},
      {"././", "", "./"},
  };
  for (auto const& row : kRows) {
    FileName name = fileName(row.name);
    name.rationalizePath(text(row.directory));
    EXPECT_EQ(bytesOf(name), row.result) << row.name;
  }
  FileName name = fileName("x/../a.c");
  name.rationalizePath(text("/d"));
  EXPECT_EQ(bytesOf(name.directory()), "/d/");  // the parts follow the text
}

TEST(FileName, FindFile) {
  Scratch const scratch;
  std::filesystem::create_directories(scratch.path("one/prog"));  // a directory is no match
  std::filesystem::create_directories(scratch.path("two"));
  scratch.write("two/prog", "");
  scratch.write("plain", "");
  std::filesystem::create_symlink("nowhere", scratch.path("dangling"));
  std::filesystem::create_symlink("plain", scratch.path("link"));
  std::filesystem::current_path(scratch.path());
  struct Row {
    std::string name, path;
    bool executableOnly;
    std::string found;
  };
  Row const rows[] = {
      {"prog", "one:two", false, "two/prog"},
      {"prog", "one:two", true, ""},
      {"prog", "two/:one", false, "two/prog"},
      {"plain", "", false, "plain"},
      {"plain", "two::one", false, "./plain"},
      {"plain", ":two", false, "./plain"},
      {"plain", "two:", false, ""},  // a separator at the end opens no entry
      {"link", ".", false, "./link"},
      {"dangling", ".", false, ""},
      {"../plain", "one", false, "one/../plain"},
      {scratch.path("plain"), "one", false, scratch.path("plain")},
      {"", "two", false, ""},
      {"two/", "", false, ""},
  };
  for (auto const& row : rows) {
    FileName const found =
        FileName::findFile(fileName(row.name), text(row.path), row.executableOnly);
    EXPECT_EQ(bytesOf(found), row.found) << row.name << " along " << row.path;
  }
  std::filesystem::permissions("two/prog", std::filesystem::perms::owner_all);
  EXPECT_EQ(bytesOf(FileName::findFile(fileName("prog"), text("one:two"), true)), "two/prog");
}

}  // namespace
