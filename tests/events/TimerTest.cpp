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
};

TEST(Timer, FallsDueToTheMicrosecondAndNeverLaterThanTheLongestInterval) {
  constexpr unsigned long kRows[][2] = {{0, 0},
                                        {2'500, 2'500},
                                        {2'147'483'647, 2'147'483'647},
                                        {2'147'483'648, 2'147'483'647},
                                        {~0UL, 2'147'483'647}};
  // Due times are unsigned, and the second half of them lies on either side of 2^63.
  for (unsigned long start : {1'000UL, (1UL << 63) - 1}) {
    for (auto const& [interval, dueAfter] : kRows) {
      ThreadFronts::clock = start - 500;
      TestTimer timer(interval);
      EXPECT_TRUE(timer.tag == &timer && timer.isTimer && !timer.purged);
      ThreadFronts::clock = start;
      timer.setTimeoutTime();  // anew, from the time of then
      EXPECT_EQ(timer.interval, interval);
      for (unsigned long past : {0UL, dueAfter, dueAfter + 1}) {
        ThreadFronts::clock = start + past;
        EXPECT_EQ(timer.timeToExpiry(), past < dueAfter ? dueAfter - past : 0);
        EXPECT_EQ(timer.isTimeExpired(), past >= dueAfter);
      }
    }
  }
}

TEST(Condition, HoldsForEveryThreadAndNeverExpires) {
  DSL_Thread thread;
  EXPECT_TRUE(CUL_Condition().is_true(thread));
  EXPECT_FALSE(CUL_Condition().has_expired());
}

}  // namespace
