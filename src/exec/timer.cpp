// The classic Timer: declaration, native data and the exports that compiled
// code calls for it. Firing comes from its platform timer on the main thread.
#include "vela/timer.h"

#include <cstddef>
#include <mutex>

#include "exec/platform_timer.h"
#include "object/class_decl.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/simple_vector.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/runctl";

struct TimerObject {
  RuntimeObject header;
  RuntimeObject* next;  // all timers, newest first
  int32_t mode;         // 0 off, 1 single, 2 multiple
  int32_t period;       // milliseconds
  uint32_t lastEvent;   // scheduler clock at the last change or firing
  int32_t enabled;
  PlatformTimer* platformTimer;
  SimpleVector<RuntimeObject*> receivers;  // counted

  static void Destruct(TimerObject* timer) {
    for (RuntimeObject* receiver : timer->receivers) RuntimeUnlockObject(receiver);
    timer->receivers.Free();
  }
};
static_assert(offsetof(TimerObject, next) == 48 && offsetof(TimerObject, receivers) == 80);

DeclEvent gTimerEvents[] = {{"Action", 0, 0}};
RuntimeObject* gTimerList = nullptr;

TimerObject* Data(RuntimeObject* self);

void StopPlatformTimer(TimerObject* timer) {
  WinTimerStop(timer->platformTimer);
  timer->platformTimer = nullptr;
}

void OnPlatformTimer(PlatformTimer* record);

void StartPlatformTimer(TimerObject* timer) {
  timer->platformTimer = WinTimerStart(OnPlatformTimer, uint32_t(timer->period), timer);
}

// Every change stops the platform timer; `armed` says whether a new one
// starts, a full period from now.
void Restart(TimerObject* timer, bool armed) {
  StopPlatformTimer(timer);
  if (armed) StartPlatformTimer(timer);
}

void Fire(RuntimeObject* self);
}  // namespace

NativeClassDecl<TimerObject> gTimerDecl(nullptr, "Timer", gTimerEvents);

namespace {
TimerObject* Data(RuntimeObject* self) { return reinterpret_cast<TimerObject*>(self); }

// Runs on the main thread from the platform timer: a single shot turns the
// timer off before it fires; a repeating timer is re-armed first, so its
// period counts from the start of the firing.
void OnPlatformTimer(PlatformTimer* record) {
  auto* timer = static_cast<TimerObject*>(record->context);
  if (!timer->enabled) return;
  timer->lastEvent = SchedulerNow();
  StopPlatformTimer(timer);
  if (timer->mode != 2) {
    timer->mode = 0;
  } else if (timer->period >= 0) {
    StartPlatformTimer(timer);
  }
  Fire(&timer->header);
}

// The method `name` of `object`'s class (inherited entries included), by
// the language's case-insensitive comparison; nil when it has none.
void* MethodNamed(RuntimeObject* object, const char* name) {
  const RuntimeClass* cls = object ? object->classPtr : nullptr;
  if (!cls) return nullptr;
  for (uint32_t i = 0; i < cls->methodCount; ++i) {
    const RuntimeMethodMember& method = cls->methods[i];
    if (!method.head.name || !AsciiEqualNoCase(method.head.name, name)) continue;
    if ((method.head.flags & kMemberVirtual) && object->vtable)
      return object->vtable[method.vtableSlot];
    return method.function;
  }
  return nullptr;
}

void Fire(RuntimeObject* self) {
  VELA_ASSERT(self);
  if (!self) return;
  RuntimeLockObject(self);
  // The receivers first, in list order; a receiver may change the list, so
  // each is held while it is told.
  TimerObject* timer = Data(self);
  for (uint32_t i = 0; i < timer->receivers.count; ++i) {
    RuntimeObject* receiver = timer->receivers.items[i];
    auto perform = reinterpret_cast<void (*)(RuntimeObject*)>(MethodNamed(receiver, "PerformAction"));
    if (!perform) continue;
    RuntimeLockObject(receiver);
    perform(receiver);
    RuntimeUnlockObject(receiver);
  }
  auto handler =
      reinterpret_cast<void (*)(RuntimeObject*)>(gTimerDecl.GetEventHandler(self, gTimerEvents[0]));
  if (handler) handler(self);
  RuntimeUnlockObject(self);
}
}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT void RuntimeTimerConstructor(RuntimeObject* self) {
  TimerObject* timer = Data(self);
  timer->period = 1000;
  timer->enabled = 1;
  timer->lastEvent = SchedulerNow();
  timer->next = gTimerList;
  gTimerList = self;
}

VELA_EXPORT void RuntimeTimerDestructor(RuntimeObject* self) {
  for (RuntimeObject** link = &gTimerList; *link; link = &Data(*link)->next)
    if (*link == self) {
      *link = Data(self)->next;
      break;
    }
  StopPlatformTimer(Data(self));
}

VELA_EXPORT int32_t TimerModeGetter(RuntimeObject* self, intptr_t) { return Data(self)->mode; }

VELA_EXPORT void timerModeSetter(RuntimeObject* self, intptr_t, int32_t mode) {
  TimerObject* timer = Data(self);
  timer->mode = mode;
  timer->lastEvent = SchedulerNow();
  // Armed even while disabled: the firing then returns at once.
  Restart(timer, mode != 0);
}

VELA_EXPORT int32_t TimerPeriodGetter(RuntimeObject* self, intptr_t) {
  return Data(self)->period;
}

VELA_EXPORT void timerPeriodSetter(RuntimeObject* self, intptr_t, int32_t period) {
  TimerObject* timer = Data(self);
  timer->period = period > 0 ? period : 1;
  Restart(timer, timer->mode != 0);
}

VELA_EXPORT VelaBoolean TimerEnabledGetter(RuntimeObject* self, intptr_t) {
  return VelaBoolean(Data(self)->enabled);
}

VELA_EXPORT void TimerEnabledSetter(RuntimeObject* self, intptr_t, VelaBoolean enabled) {
  TimerObject* timer = Data(self);
  timer->enabled = enabled;
  timer->lastEvent = SchedulerNow();
  Restart(timer, enabled && timer->mode != 0);
}

VELA_EXPORT void RuntimeTimerReset(RuntimeObject* self) {
  VELA_ASSERT(self);
  if (!self) return;
  TimerObject* timer = Data(self);
  timer->lastEvent = SchedulerNow();
  if (timer->mode == 0) timer->mode = 1;
  Restart(timer, true);
}

VELA_EXPORT void TimerAddActionNotificationReceiver(RuntimeObject* self, RuntimeObject* receiver) {
  RuntimeLockObject(receiver);
  Data(self)->receivers.Append(receiver);
}

VELA_EXPORT void TimerRemoveActionNotificationReceiver(RuntimeObject* self,
                                                       RuntimeObject* receiver) {
  uint32_t removed = Data(self)->receivers.RemoveAll(receiver);
  while (removed--) RuntimeUnlockObject(receiver);
}

namespace {
std::recursive_mutex& TimerLock() {
  static auto* lock = new std::recursive_mutex;
  return *lock;
}
}  // namespace

VELA_EXPORT void Timer_Lock(void) { TimerLock().lock(); }
VELA_EXPORT void Timer_Unlock(void) { TimerLock().unlock(); }
