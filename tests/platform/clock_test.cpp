#include "platform/clock.h"

#include <gtest/gtest.h>
#include <time.h>

namespace vela::platform {
namespace {

uint32_t gVirtualNow = 0;
uint32_t VirtualNow() { return gVirtualNow; }

TEST(Clock, CountsMillisecondsFromProcessStart) {
  uint32_t fine = ClockMilliseconds();
  uint32_t coarse = CoarseClockMilliseconds();
  EXPECT_LT(fine, 3600u * 1000u);  // a test process is younger than an hour
  timespec pause{0, 30 * 1000000L};
  nanosleep(&pause, nullptr);
  EXPECT_GE(ClockMilliseconds() - fine, 30u);
  // The coarse clock trails by at most a kernel tick or two.
  EXPECT_GE(CoarseClockMilliseconds() - coarse, 20u);
}

TEST(Clock, VirtualClockReplacesBothReadings) {
  gVirtualNow = 1000;
  ClockFunction previous = SetVirtualClock(VirtualNow);
  EXPECT_EQ(previous, nullptr);
  EXPECT_EQ(ClockMilliseconds(), 1000u);
  EXPECT_EQ(CoarseClockMilliseconds(), 1000u);
  EXPECT_EQ(ClockTicks60(), 60u);
  gVirtualNow = 1016;
  EXPECT_EQ(ClockTicks60(), 60u);
  gVirtualNow = 1017;
  EXPECT_EQ(ClockTicks60(), 61u);
  // The scheduler's scale: the tick less 2^31, so a young process's values
  // compare correctly as unsigned numbers until the tick reaches 2^31.
  EXPECT_EQ(SchedulerClock(), 1017u + 0x80000000u);
  gVirtualNow = 0;
  uint32_t early = SchedulerClock();
  gVirtualNow = 0x7FFFFFFF;
  EXPECT_LT(early, SchedulerClock());
  EXPECT_EQ(SetVirtualClock(nullptr), &VirtualNow);
  EXPECT_LT(ClockMilliseconds(), 3600u * 1000u);
}

}  // namespace
}  // namespace vela::platform
