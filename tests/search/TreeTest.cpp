#include <gtest/gtest.h>
#include <sys/resource.h>

#include "quonutil/names/SearchTree.h"
#include "tests/support/Scratch.h"

namespace {

using std::filesystem::create_directories;
using std::filesystem::create_symlink;

std::string found(std::string const& root, std::string const& name) {
  return bytesOf(SearchTree(fileName(root)).search(fileName(name)));
}

class Tree : public testing::Test {
 protected:
  std::string in(std::string const& name, std::string const& root = "") const {
    std::string const path = found(scratch.path(root), name);
    return path.empty() ? "" : path.substr(scratch.path().size() + 1);
  }

  Scratch scratch;
};

TEST_F(Tree, ADirectoryComesBeforeWhatIsBelowItInByteOrder) {
  for (char const* path : {"b/x", "a/y", "a/z/x", "\xFF/q", "b/q/d"}) {
    create_directories(scratch.path(path));
  }
  for (char const* path : {"b/f", "a/z/f", "a/y/g", "b/x/g", "\xFF/e", "b/q/d/e", "top"}) {
    scratch.write(path, "");
  }
  constexpr char const* kRows[][2] = {{"f", "a/z/f"}, {"g", "a/y/g"}, {"e", "b/q/d/e"},
                                      {"top", "top"}, {"q", ""},  // a directory is no file
                                      {"", ""},       {".", ""},      {"..", ""},
                                      {"b/f", ""},    {"none", ""}};
  for (auto const& [name, expected] : kRows) EXPECT_EQ(in(name), expected) << name;
  EXPECT_EQ(found(scratch.path() + "/", "top"), scratch.path("top"));
  std::filesystem::current_path(scratch.path());
  EXPECT_EQ(found("", "f"), "./a/z/f");
  EXPECT_EQ(found("b", "e"), "b/q/d/e");
  std::filesystem::current_path("/");
}

TEST_F(Tree, LinksAreFollowedToFilesAndFromTheRootAlone) {
  create_directories(scratch.path("a/b"));
  scratch.write("a/b/file", "");
  constexpr char const* kLinks[][2] = {
      {"../../a", "a/b/loop"}, {"a", "root"},       {"a/b/file", "link"},
      {"link", "chain"},       {"nowhere", "none"}, {"self", "self"},
  };
  for (auto const& [target, link] : kLinks) create_symlink(target, scratch.path(link));
  for (char const* name : {"link", "chain"}) EXPECT_EQ(in(name), name);
  for (char const* name : {"none", "self", "loop", "root"}) EXPECT_EQ(in(name), "") << name;
  EXPECT_EQ(in("file", "root"), "root/b/file");
  EXPECT_EQ(found(scratch.path("a/b/file"), "file"), "");
}

TEST_F(Tree, LongNamesDeepTreesAndNoDescriptorLeft) {
  std::string const part(255, 'd');
  std::string deep;
  std::filesystem::current_path(scratch.path());
  for (int depth = 0; depth < 200; ++depth) {  // which no path of the system reaches
    ASSERT_EQ(::mkdir(part.c_str(), 0700) + ::chdir(part.c_str()), 0);
    deep += part + "/";
  }
  ::close(::creat(part.substr(1).c_str(), 0600));
  std::filesystem::current_path(scratch.path());
  scratch.write("z", "");
  unsigned int const before = openDescriptors();
  EXPECT_EQ(in(part.substr(1)), deep + part.substr(1));
  rlimit limit;
  ::getrlimit(RLIMIT_NOFILE, &limit);
  rlimit const few{50, limit.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_EQ(in(part.substr(1)), "");
  create_directories(scratch.path("e"));
  scratch.write("e/behind", "");
  EXPECT_EQ(in("behind"), "e/behind");
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(std::system(("rm -rf " + scratch.path(part)).c_str()), 0);
  std::filesystem::current_path("/");
}

}  // namespace
