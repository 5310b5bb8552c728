#include "exec/platform_timer.h"

#include <time.h>

#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/Win32/WinTimer";
}

PlatformTimer* WinTimerStart(PlatformTimerCallback, uint32_t, void*) {
  // Timers fire from the main loop's message dispatch, which comes with the
  // main loop; until then no timer can be armed.
  VELA_NOT_BUILT("platform timers (WinTimerStart)");
  return nullptr;
}

void WinTimerStop(PlatformTimer* timer) {
  if (timer) VELA_NOT_BUILT("platform timers (WinTimerStop)");
}

uint32_t SchedulerNow() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return uint32_t(uint64_t(now.tv_sec) * 1000u + uint64_t(now.tv_nsec) / 1000000u);
}

}  // namespace vela
