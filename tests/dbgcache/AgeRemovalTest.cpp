#include <gmock/gmock.h>

#include <cerrno>
#include <ctime>

#include "tests/dbgcache/TestCache.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/TraceCapture.h"

namespace {

class AgeRemoval : public testing::Test {
 protected:
  AgeRemoval() {
    frozenTime = 2000000000;
    setParameter(scratch.path());
    cache = std::make_unique<TestCache>();
  }
  ~AgeRemoval() override { frozenTime = 0; }

  // A file that was accessed `seconds` ago and modified just now.
  void makeFile(std::string const& name, long seconds) const {
    timespec const times[] = {{frozenTime - seconds, 0}, {frozenTime, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, scratch.write(name, "x").c_str(), times, 0), 0);
  }

  Scratch scratch;
  std::unique_ptr<TestCache> cache;
};

using testing::ElementsAre;
using testing::UnorderedElementsAre;

TEST_F(AgeRemoval, TheLimitIsExactAndWraps) {
  struct Row {
    unsigned int hours;
    long stays, goes;  // seconds since the last access
  };
  constexpr Row kRows[] = {{48, 172800, 172801}, {0, 0, 1}, {0, -5, 1}, {1193047, 1904, 1905}};
  for (auto const& row : kRows) {
    makeFile("stays", row.stays);
    makeFile("goes", row.goes);
    cache->remove(row.hours);
    EXPECT_THAT(scratch.names(), ElementsAre("stays")) << row.hours;
  }
}

TEST_F(AgeRemoval, LinksAreJudgedByWhatTheyPointToAndDirectoriesStay) {
  Scratch const outside;
  std::filesystem::create_directory(scratch.path("dir"));
  makeFile("dir/old", 7200);
  timespec const old[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, scratch.path("dir").c_str(), old, 0), 0);
  ASSERT_EQ(::utimensat(AT_FDCWD, outside.write("old", "").c_str(), old, 0), 0);
  std::filesystem::create_symlink(outside.path("old"), scratch.path("link-old"));
  std::filesystem::create_symlink(outside.path(), scratch.path("link-dir"));
  std::filesystem::create_symlink("/no/where", scratch.path("link-none"));
  makeFile("new", 3600);
  TraceCapture capture({TraceFlag::detail, TraceFlag::error});
  cache->remove(1U);
  EXPECT_THAT(capture.lines(),
              UnorderedElementsAre("remove ** Removing files in cache directory " + scratch.path() +
                                       "/ older than 1 hours",
                                   "remove ERROR Cannot stat file link-none in cache (errno = 2)",
                                   "remove ** File link-old removed from cache"));
  EXPECT_THAT(scratch.names(), ElementsAre("dir", "link-dir", "link-none", "new"));
  EXPECT_EQ(outside.names().size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(scratch.path("dir/old")));
}

TEST_F(AgeRemoval, WhatCannotBeRemovedStaysAndTheRestGoes) {
  makeFile("a", 100);
  makeFile("b", 100);
  TraceCapture capture({TraceFlag::error});
  unsigned int const descriptors = openDescriptors();
  {
    FaultPlan const plan({"unlinkat"}, 1, EPERM);
    cache->remove(0U);
  }
  ASSERT_EQ(scratch.names().size(), 1U);
  EXPECT_THAT(capture.lines(), ElementsAre("remove ERROR Cannot remove file " +
                                           *scratch.names().begin() + " from cache (errno = 1)"));
  {
    FaultPlan const plan({"opendir"}, 1, EMFILE);
    cache->remove(0U);
  }
  EXPECT_THAT(capture.lines(),
              ElementsAre("remove ERROR Cannot open directory " + scratch.path() + "/"));
  EXPECT_EQ(openDescriptors(), descriptors);
  TraceCapture detail({TraceFlag::detail});
  cache->remove(0U);
  EXPECT_EQ(detail.lines()[0], "remove ** Clearing cache directory " + scratch.path() + "/");
  EXPECT_TRUE(scratch.names().empty());
}

}  // namespace
