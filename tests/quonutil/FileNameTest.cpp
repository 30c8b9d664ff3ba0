#include "quonutil/names/FileName.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/Scratch.h"

namespace {

std::string parts(FileName const& name) {
  return bytesOf(name.directory()) + '|' + bytesOf(name.short_name()) + '|' + bytesOf(name.base()) +
         '|' + bytesOf(name.member());
}

TEST(FileName, Parts) {
  EXPECT_EQ(parts(fileName("")), "|||");
  EXPECT_EQ(parts(fileName("main.c")), "|main.c|main.c|");
  EXPECT_EQ(parts(fileName("/usr/src/")), "/usr/src/|||");
  EXPECT_EQ(parts(fileName("/lib/libm.a(sin.o)")), "/lib/|libm.a(sin.o)|libm.a|sin.o");
  EXPECT_EQ(parts(fileName("a(b)(c)")), "|a(b)(c)|a(b)|c");
  EXPECT_EQ(parts(fileName("a(b(c))")), "|a(b(c))|a|b(c)");
  EXPECT_EQ(parts(fileName("d/(b)")), "d/|(b)|(b)|");  // nothing stands in front of it
  EXPECT_EQ(parts(fileName("a()")), "|a()|a()|");
  EXPECT_EQ(parts(fileName("a(b)c")), "|a(b)c|a(b)c|");
  EXPECT_EQ(parts(fileName("a(b/c)")), "a(b/|c)|c)|");
  FileName name = fileName("/a/long/way/to/libm.a(sin.o)");
  name.cut(3);
  EXPECT_EQ(parts(name).size(), 3U + 1 + 1 + 3 + 1);  // never beyond the text there is
  name.validate();
  EXPECT_EQ(parts(name), "/a/|||");
}

TEST(FileName, RationalizePath) {
  auto const folded = [](char const* text, char const* directory) {
    FileName name = fileName(text);
    name.rationalizePath(::text(directory));
    EXPECT_EQ(parts(name), parts(fileName(bytesOf(name))));
    return bytesOf(name);
  };
  EXPECT_EQ(folded("", "/d"), "");
  EXPECT_EQ(folded("a.c", "/"), "/a.c");
  EXPECT_EQ(folded("/x//y/./z", "/d"), "/x/y/z");
  EXPECT_EQ(folded("../a.c", "/d/e"), "/d/a.c");
  EXPECT_EQ(folded("../../../a.c", "/d"), "/a.c");
  EXPECT_EQ(folded("a/..", ""), ".");
  EXPECT_EQ(folded("../a/../../b", ""), "../../b");
  EXPECT_EQ(folded("..a/../b", ""), "b");
  EXPECT_EQ(folded("/x/../", ""), "/");
  EXPECT_EQ(folded("a/b/", ""), "a/b/");
  EXPECT_EQ(folded("..", "/"), "/");
  EXPECT_EQ(folded("...", "/d"), "/d/...");
  EXPECT_EQ(folded("././", ""), "./");
}

TEST(FileName, FindFile) {
  Scratch const scratch;
  std::filesystem::current_path(scratch.path());
  std::filesystem::create_directories("one/prog");  // a directory is no match
  std::filesystem::create_directories("two");
  scratch.write("two/prog", "");
  scratch.write("plain", "");
  std::filesystem::create_symlink("nowhere", "dangling");
  std::filesystem::create_symlink("plain", "link");
  auto const find = [](std::string const& name, char const* path, bool executable = false) {
    return bytesOf(FileName::findFile(fileName(name), text(path), executable));
  };
  EXPECT_EQ(find("prog", "one:two"), "two/prog");
  EXPECT_EQ(find("prog", "two/:one"), "two/prog");
  EXPECT_EQ(find("plain", ""), "plain");
  EXPECT_EQ(find("plain", "two::one"), "./plain");
  EXPECT_EQ(find("plain", ":two"), "./plain");
  EXPECT_EQ(find("plain", "two:"), "");  // a separator at the end opens no entry
  EXPECT_EQ(find("link", "."), "./link");
  EXPECT_EQ(find("dangling", "."), "");
  EXPECT_EQ(find("../plain", "one"), "one/../plain");
  EXPECT_EQ(find(scratch.path("plain"), "one"), scratch.path("plain"));
  EXPECT_EQ(find("", "two") + find("two/", ""), "");
  EXPECT_EQ(find("prog", "one:two", true), "");
  std::filesystem::permissions("two/prog", std::filesystem::perms::owner_all);
  EXPECT_EQ(find("prog", "one:two", true), "two/prog");
}

}  // namespace
