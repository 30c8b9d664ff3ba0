#include <functional>
#include <stdexcept>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/support/ThreadFronts.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr unsigned long kHalfAnHour = 1'800'000'000;

// Keeps when, and with how many hours, the timers have it remove.
class WatchedCache : public TestCache {
 public:
  using TestCache::remove;
  void remove(unsigned int hours) override {
    removals.emplace_back(ThreadFronts::clock - kHalfAnHour, hours);
    if (onRemove) onRemove();
    TestCache::remove(hours);
  }

  std::vector<std::pair<unsigned long, unsigned int>> removals;
  std::function<void()> onRemove;
};

class Removal : public testing::Test {
 protected:
  Removal() {
    frozenTime = 2000000000;
    ThreadFronts::clock = kHalfAnHour;
  }

  // An access so many seconds ago and a modification just now.
  static void age(std::string const& path, long seconds) {
    timespec const times[] = {{frozenTime - seconds, 0}, {frozenTime, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }

  // Runs the process-wide dispatcher while the clock goes on by `steps` half hours.
  static void dispatch(int steps) {
    ThreadFronts::onWait = [&steps](unsigned long) {
      if (steps-- == 0) CUL_Dispatcher::instance()->destroy();
      ThreadFronts::clock += kHalfAnHour;
    };
    CUL_Dispatcher::instance()->dispatchLoop();
  }

  CacheScratch scratch;
};

TEST_F(Removal, TheLimitIsExactAndWraps) {
  TestCache cache;
  constexpr long kRows[][3] = {{48, 172800, 172801}, {0, -5, 1}, {1193047, 1904, 1905}};
  for (auto const& [hours, stays, goes] : kRows) {
    age(scratch.write("stays", ""), stays);
    age(scratch.write("goes", ""), goes);
    cache.remove(static_cast<unsigned int>(hours));
    EXPECT_THAT(scratch.names(), ElementsAre("stays")) << hours;
  }
}

TEST_F(Removal, LinksAreJudgedByWhatTheyPointToAndDirectoriesStay) {
  TestCache cache;
  Scratch const outside;
  std::filesystem::create_directory(scratch.path("dir"));
  age(scratch.path("dir"), 7200);
  age(outside.write("old", ""), 7200);
  age(scratch.write("new", ""), 3600);
  std::filesystem::create_symlink(outside.path("old"), scratch.path("link-old"));
  std::filesystem::create_symlink("/no/where", scratch.path("link-none"));
  TraceCapture capture({TraceFlag::detail, TraceFlag::error});
  cache.remove(1U);
  EXPECT_THAT(capture.lines(),
              UnorderedElementsAre("remove ** Removing files in cache directory " + scratch.path() +
                                       "/ older than 1 hours",
                                   "remove ERROR Cannot stat file link-none in cache (errno = 2)",
                                   "remove ** File link-old removed from cache"));
  EXPECT_THAT(scratch.names(), ElementsAre("dir", "link-none", "new"));
  EXPECT_THAT(outside.names(), ElementsAre("old"));
}

TEST_F(Removal, AtTheStartByAllHoursOrAllAndThenBySixteenBitsOfTheHours) {
  for (auto [name, hours] : {std::pair{"older", 65536 + 48}, {"middle", 48}, {"young", 47}}) {
    age(scratch.write(name, ""), hours * 3600L + 1);
  }
  setParameter(scratch.path() + ":65584");
  WatchedCache cache;
  EXPECT_EQ(bytesOf(cacheSetting()), scratch.path() + "/:65584:noflush");
  EXPECT_THAT(scratch.names(), ElementsAre("middle", "young"));
  CacheScratch other;
  age(other.write("file", ""), 1);
  setParameter(other.path() + ":24:flush");
  WatchedCache flushed;
  EXPECT_EQ(bytesOf(cacheSetting()), other.path() + "/:24:flush");
  EXPECT_THAT(other.names(), IsEmpty());
  age(other.write("file", ""), 1);
  dispatch(3);
  EXPECT_THAT(scratch.names(), ElementsAre("young"));
  EXPECT_THAT(other.names(), ElementsAre("file"));
  // Due after 30 minutes, and again 2,147,483,647 microseconds later, seen at the next half hour.
  EXPECT_THAT(cache.removals, ElementsAre(Pair(kHalfAnHour, 48U), Pair(3 * kHalfAnHour, 48U)));
  EXPECT_THAT(flushed.removals, ElementsAre(Pair(kHalfAnHour, 24U), Pair(3 * kHalfAnHour, 24U)));
}

TEST_F(Removal, TheChainGoesOnBehindAFailureAndEndsWithTheDispatcher) {
  WatchedCache cache;
  cache.onRemove = [] { throw std::runtime_error("out of the first"); };
  EXPECT_THROW(dispatch(2), std::runtime_error);
  cache.onRemove = nullptr;
  dispatch(3);
  EXPECT_EQ(cache.removals.size(), 2U);
  WatchedCache const late;  // has nobody to give its timer to
  EXPECT_EQ(bytesOf(late.cacheDirectory), scratch.path() + "/");
}

}  // namespace
