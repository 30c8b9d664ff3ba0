#include <gmock/gmock.h>

#include <cerrno>
#include <stdexcept>

#include "cul/events/CUL_Dispatcher.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/support/Allocations.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/ThreadFronts.h"
#include "tests/support/TraceCapture.h"

namespace {

using testing::ElementsAre;

constexpr unsigned long kNow = 1'000'000;
constexpr long kHour = 3600;

// Keeps when, and with how many hours, the timers have it remove.
class WatchedCache : public TestCache {
 public:
  using TestCache::remove;
  void remove(unsigned int hours) override {
    removals.emplace_back(ThreadFronts::clock - kNow, hours);
    if (onRemove) onRemove();
    TestCache::remove(hours);
  }

  std::vector<std::pair<unsigned long, unsigned int>> removals;
  std::function<void()> onRemove;
};

class Expiry : public testing::Test {
 protected:
  Expiry() {
    frozenTime = 2000000000;
    ThreadFronts::clock = kNow;
  }
  ~Expiry() override { frozenTime = 0; }

  // A file that was accessed so many hours ago, and a second.
  void old(char const* name, long hours) const {
    timespec const times[] = {{frozenTime - hours * kHour - 1, 0}, {frozenTime, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, scratch.write(name, "x").c_str(), times, 0), 0);
  }

  // Runs the process-wide dispatcher while the clock goes on by `steps` half hours.
  static void dispatch(int steps) {
    ThreadFronts::onWait = [&steps](unsigned long) {
      if (steps-- == 0) CUL_Dispatcher::instance()->destroy();
      ThreadFronts::clock += 1'800'000'000;
    };
    CUL_Dispatcher::instance()->dispatchLoop();
  }

  Scratch scratch;
};

TEST_F(Expiry, AtTheStartByAllHoursAndThenBySixteenBitsOfThem) {
  for (auto [name, hours] : {std::pair{"older", 65536 + 48}, {"middle", 48}, {"young", 47}}) {
    old(name, hours);
  }
  setParameter(scratch.path() + ":65584");
  TraceCapture capture({TraceFlag::detail});
  WatchedCache cache;
  EXPECT_THAT(capture.lines(), ElementsAre("remove ** Removing files in cache directory " +
                                               scratch.path() + "/ older than 65584 hours",
                                           "remove ** File older removed from cache"));
  EXPECT_EQ(bytesOf(cacheSetting()), scratch.path() + "/:65584:noflush");
  EXPECT_THAT(scratch.names(), ElementsAre("middle", "young"));
  dispatch(3);
  EXPECT_THAT(scratch.names(), ElementsAre("young"));
  // Due after 30 minutes, and again 2,147,483,647 microseconds later, seen at the next half hour.
  EXPECT_THAT(cache.removals, ElementsAre(testing::Pair(1'800'000'000UL, 48U),
                                          testing::Pair(5'400'000'000UL, 48U)));
}

TEST_F(Expiry, AFlushClearsAtTheStartOnly) {
  old("old", 1);
  setParameter(scratch.path() + ":24:flush");
  WatchedCache cache;
  EXPECT_THAT(scratch.names(), testing::IsEmpty());
  EXPECT_EQ(bytesOf(cacheSetting()), scratch.path() + "/:24:flush");
  old("old", 1);
  dispatch(1);
  EXPECT_THAT(cache.removals, ElementsAre(testing::Pair(1'800'000'000UL, 24U)));
  EXPECT_THAT(scratch.names(), ElementsAre("old"));
}

TEST_F(Expiry, TheChainGoesOnWhateverARemovalMeets) {
  setParameter(scratch.path());
  WatchedCache cache;
  cache.onRemove = [&cache] {
    if (cache.removals.size() == 1) throw std::runtime_error("out of the first");
    cache.onRemove = nullptr;
    static FaultPlan const plan({"opendir"}, 1, EMFILE);
  };
  EXPECT_THROW(dispatch(2), std::runtime_error);
  TraceCapture capture({TraceFlag::error});
  dispatch(6);
  EXPECT_THAT(capture.lines(),
              ElementsAre("remove ERROR Cannot open directory " + scratch.path() + "/"));
  EXPECT_GE(cache.removals.size(), 4U);
}

TEST_F(Expiry, ItEndsWithTheDispatcherOrWithTheMemory) {
  setParameter(scratch.path());
  WatchedCache cache;
  cache.onRemove = [] { failingAllocation = 1; };  // for the successor: nothing else allocates
  EXPECT_THROW(dispatch(2), std::bad_alloc);
  dispatch(4);
  EXPECT_EQ(cache.removals.size(), 1U);
  WatchedCache const late;  // has nobody to give its timer to
  EXPECT_EQ(bytesOf(late.cacheDirectory), scratch.path() + "/");
}

TEST_F(Expiry, AnUnusableCacheHasNoTimer) {
  ::setenv("HOME", "/no/where", 1);
  setParameter("");
  TraceCapture capture({TraceFlag::error, TraceFlag::detail});
  WatchedCache cache;
  dispatch(3);
  EXPECT_TRUE(cache.removals.empty());
  EXPECT_THAT(capture.lines(), testing::IsEmpty());
}

}  // namespace
