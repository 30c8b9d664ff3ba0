#include <functional>
#include <stdexcept>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/support/ThreadFronts.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned long kHalfAnHour = 1'800'000'000;

// Keeps with how many hours the timers have it remove.
class WatchedCache : public TestCache {
 public:
  using TestCache::remove;
  void remove(unsigned int hours) override {
    removals.push_back(hours);
    if (onRemove) onRemove();
    TestCache::remove(hours);
  }

  std::vector<unsigned int> removals;
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
    CUL_Dispatcher::instance()->block(1);  // the timers are on the level that is always served
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
  EXPECT_THAT(cache.removals, ElementsAre(48U, 48U));
  EXPECT_THAT(flushed.removals, ElementsAre(24U, 24U));
}

TEST_F(Removal, TheChainGoesOnBehindAFailureAndEndsWithTheDispatcher) {
  WatchedCache cache;
  cache.onRemove = [] { throw std::runtime_error("out of the first"); };
  EXPECT_THROW(dispatch(2), std::runtime_error);
  cache.onRemove = nullptr;
  dispatch(3);
  EXPECT_EQ(cache.removals.size(), 2U);
  WatchedCache const late;  // has nobody to give its timer to
}

}  // namespace
