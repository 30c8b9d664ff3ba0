#include <gtest/gtest.h>

#include "cul/events/CUL_Condition.h"
#include "cul/events/CUL_Timer_Event.h"
#include "tests/support/ThreadFronts.h"

class DSL_Thread {};

namespace {

class TestTimer : public CUL_Timer_Event {
 public:
  using CUL_Timer_Event::CUL_Timer_Event;
  using CUL_Timer_Event::interval;
  using CUL_Timer_Event::isTimer;
  using CUL_Timer_Event::purged;
  using CUL_Timer_Event::timeoutTime;
};

TEST(Timer, FallsDueToTheMicrosecondAndNeverLaterThanTheLongestInterval) {
  struct Row {
    unsigned long interval, dueAfter;
  };
  constexpr Row kRows[] = {{0, 0},
                           {2'500, 2'500},
                           {2'147'483'647, 2'147'483'647},
                           {2'147'483'648, 2'147'483'647},
                           {~0UL, 2'147'483'647}};
  // The second half: due times are unsigned, and on either side of 2^63.
  for (unsigned long now : {1'000UL, (1UL << 63) - 1}) {
    for (auto const& row : kRows) {
      ThreadFronts::clock = now;
      TestTimer const timer(row.interval);
      EXPECT_EQ(timer.interval, row.interval);
      EXPECT_EQ(timer.timeoutTime, now + row.dueAfter);
      EXPECT_EQ(timer.timeToExpiry(), row.dueAfter);
      EXPECT_EQ(timer.isTimeExpired(), row.dueAfter == 0);
      ThreadFronts::clock = now + row.dueAfter;
      EXPECT_TRUE(timer.isTimeExpired());
      ThreadFronts::clock = now + row.dueAfter + 1;
      EXPECT_TRUE(timer.isTimeExpired());
      EXPECT_EQ(timer.timeToExpiry(), 0U);
    }
  }
}

TEST(Timer, IsArmedAnewFromTheTimeOfThen) {
  ThreadFronts::clock = 1'000;
  TestTimer timer(500);
  EXPECT_TRUE(timer.tag == &timer && timer.isTimer && !timer.purged);
  ThreadFronts::clock = 2'000;
  timer.setTimeoutTime();
  EXPECT_EQ(timer.timeToExpiry(), 500U);
}

TEST(Condition, HoldsForEveryThreadAndNeverExpires) {
  DSL_Thread thread;
  EXPECT_TRUE(CUL_Condition().is_true(thread));
  EXPECT_FALSE(CUL_Condition().has_expired());
}

}  // namespace
