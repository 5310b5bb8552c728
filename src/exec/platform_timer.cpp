// Platform timers on the event queue's timer service. Each record gets an id;
// the timer window arms the service's timer of that id on the main thread,
// and the service's timer procedure finds the record by id again, so that a
// record stopped or freed meanwhile is never touched.
#include "exec/platform_timer.h"

#include <pthread.h>

#include <cstddef>
#include <map>

#include "exec/main_loop.h"
#include "exec/runtime_state.h"
#include "object/raise.h"
#include "platform/clock.h"
#include "platform/window_system.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/Win32/WinTimer";

// The map from record to id, and the id counter. Its lock is always taken:
// besides language threads, native threads that the runtime never saw (a
// plug-in's, a library's) may start and stop timers, and no count of
// detached threads tells about them. Timers start and stop rarely.
std::map<PlatformTimer*, uintptr_t>* gIds = new std::map<PlatformTimer*, uintptr_t>;
uintptr_t gLastId = 0;
pthread_mutex_t gMapLock = PTHREAD_MUTEX_INITIALIZER;

class MapGuard {
 public:
  MapGuard() { pthread_mutex_lock(&gMapLock); }
  ~MapGuard() { pthread_mutex_unlock(&gMapLock); }
  MapGuard(const MapGuard&) = delete;
  MapGuard& operator=(const MapGuard&) = delete;
};

// A walk over the map: a process has only a few dozen timers.
PlatformTimer* FindByIdLocked(uintptr_t id) {
  for (const auto& [record, recordId] : *gIds)
    if (recordId == id) return record;
  return nullptr;
}

uintptr_t TimerWindow() { return State().timerWindow; }

void RaiseArmFailure() {
  RaiseNamedException("RuntimeException", 1, "The timer window could not arm a timer.");
}

void OnTimer(platform::NativeWindow window, uint32_t, uintptr_t id, uint32_t) {
  PlatformTimer* record;
  bool stopping;
  {
    MapGuard lock;
    record = FindByIdLocked(id);
    if (!record) return;
    stopping = record->stopping;
    if (stopping) gIds->erase(record);
  }
  if (!stopping) {
    record->callback(record);  // may stop and free the record
    return;
  }
  platform::GetWindowSystem().Queue().KillTimer(window, id);
  delete record;
}

// Arms the service's timer `id`; called under the map's lock, so that an
// arming and the main thread's freeing of the record never cross (a timer
// re-armed after its record was freed would fire forever). False when the
// service refused.
bool ArmLocked(uintptr_t id, uint32_t milliseconds) {
  return platform::GetWindowSystem().Queue().SetTimer(TimerWindow(), id, milliseconds, OnTimer);
}

}  // namespace

intptr_t TimerWindowProcedure(uintptr_t, uint32_t message, uintptr_t id, intptr_t) {
  if (message != kArmTimerMessage) return 0;
  bool armed;
  {
    MapGuard lock;
    PlatformTimer* record = FindByIdLocked(id);
    if (!record) return 1;  // stopped and freed before it was armed
    armed = ArmLocked(id, record->stopping ? 1 : record->period);
  }
  if (!armed) RaiseArmFailure();
  return 1;
}

PlatformTimer* WinTimerStart(PlatformTimerCallback callback, uint32_t milliseconds, void* context) {
  VELA_ASSERT_TEXT(TimerWindow(), "sTimerWND");
  if (!TimerWindow()) return nullptr;
  auto* record = new PlatformTimer{callback, milliseconds, context, 0};
  uintptr_t id;
  {
    MapGuard lock;
    id = ++gLastId;
    (*gIds)[record] = id;
  }
  // The service's timers are armed by the main thread: the caller's own
  // call when it is that thread, a posted request otherwise.
  if (OnCooperativeMainThread())
    TimerWindowProcedure(TimerWindow(), kArmTimerMessage, id, 0);
  else
    platform::GetWindowSystem().Queue().Post(TimerWindow(), kArmTimerMessage, id, 0);
  return record;
}

void WinTimerStop(PlatformTimer* timer) {
  if (!timer) return;
  VELA_ASSERT_TEXT(TimerWindow(), "sTimerWND");
  const bool onMain = OnCooperativeMainThread();
  bool armed = true;
  {
    MapGuard lock;
    timer->stopping = 1;
    auto it = gIds->find(timer);
    if (it == gIds->end()) return;
    const uintptr_t id = it->second;
    if (onMain) {
      gIds->erase(it);
      platform::GetWindowSystem().Queue().KillTimer(TimerWindow(), id);
    } else {
      // The main thread frees the record when this one-millisecond timer
      // fires, so killing and freeing stay on one thread.
      armed = ArmLocked(id, 1);
    }
  }
  if (onMain) delete timer;
  if (!armed) RaiseArmFailure();
}

size_t LivePlatformTimerCount() {
  MapGuard lock;
  return gIds->size();
}

static_assert(sizeof(PlatformTimer) == 32 && offsetof(PlatformTimer, period) == 8 &&
              offsetof(PlatformTimer, context) == 16 && offsetof(PlatformTimer, stopping) == 24);

uint32_t SchedulerNow() { return platform::SchedulerClock(); }

}  // namespace vela
