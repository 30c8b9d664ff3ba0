#include <gmock/gmock.h>

#include <cerrno>

#include "tests/dbgcache/TestCache.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class AgeRemoval : public CacheTest {
 protected:
  AgeRemoval() { frozenTime = 2000000000; }
  ~AgeRemoval() override { frozenTime = 0; }

  // An access `seconds` ago and a modification just now.
  static void age(std::string const& path, long seconds) {
    timespec const times[] = {{frozenTime - seconds, 0}, {frozenTime, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
};

TEST_F(AgeRemoval, TheLimitIsExactAndWraps) {
  struct Row {
    unsigned int hours;
    long stays, goes;  // seconds since the last access
  };
  constexpr Row kRows[] = {{48, 172800, 172801}, {0, 0, 1}, {0, -5, 1}, {1193047, 1904, 1905}};
  for (auto const& row : kRows) {
    age(scratch.write("stays", "x"), row.stays);
    age(scratch.write("goes", "x"), row.goes);
    cache->remove(row.hours);
    EXPECT_THAT(scratch.names(), ElementsAre("stays")) << row.hours;
  }
}

TEST_F(AgeRemoval, LinksAreJudgedByWhatTheyPointToAndDirectoriesStay) {
  Scratch const outside;
  std::filesystem::create_directory(scratch.path("dir"));
  age(scratch.write("dir/old", "x"), 7200);
  age(scratch.path("dir"), 7200);
  age(outside.write("old", ""), 7200);
  age(scratch.write("new", ""), 3600);
  std::filesystem::create_symlink(outside.path("old"), scratch.path("link-old"));
  std::filesystem::create_symlink(outside.path(), scratch.path("link-dir"));
  std::filesystem::create_symlink("/no/where", scratch.path("link-none"));
  TraceCapture capture({TraceFlag::detail, TraceFlag::error});
  cache->remove(1U);
  EXPECT_THAT(capture.lines(),
              UnorderedElementsAre("remove ** Removing files in cache directory " + scratch.path() +
                                       "/ older than 1 hours",
                                   "remove ERROR Cannot stat file link-none in cache (errno = 2)",
                                   "remove ** File link-old removed from cache"));
  EXPECT_THAT(scratch.names(), ElementsAre("dir", "link-dir", "link-none", "new"));
  EXPECT_EQ(outside.names().size() + std::filesystem::exists(scratch.path("dir/old")), 2U);
}

TEST_F(AgeRemoval, WhatCannotBeRemovedStaysAndTheRestGoes) {
  for (char const* name : {"a", "b"}) age(scratch.write(name, "x"), 100);
  unsigned int const descriptors = openDescriptors();
  std::string const clearing = "remove ** Clearing cache directory " + scratch.path() + "/";
  {
    FaultPlan const plan({"opendir"}, 1, EMFILE);
    TraceCapture errors({TraceFlag::error});
    cache->remove(0U);
    EXPECT_THAT(errors.lines(),
                ElementsAre("remove ERROR Cannot open directory " + scratch.path() + "/"));
  }
  TraceCapture capture({TraceFlag::error, TraceFlag::detail});
  {
    FaultPlan const plan({"unlinkat"}, 1, EPERM);
    cache->remove(0U);
  }
  ASSERT_EQ(scratch.names().size(), 1U);
  std::string const left = *scratch.names().begin(), gone = left == "a" ? "b" : "a";
  EXPECT_THAT(
      capture.lines(),
      ElementsAre(clearing, "remove ERROR Cannot remove file " + left + " from cache (errno = 1)",
                  "remove ** File " + gone + " removed from cache"));
  EXPECT_EQ(openDescriptors(), descriptors);
}

}  // namespace
