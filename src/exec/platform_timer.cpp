#include "exec/platform_timer.h"

#include "platform/clock.h"
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

uint32_t SchedulerNow() { return platform::SchedulerClock(); }

}  // namespace vela
