// vela.Core.Timer: the newer API's timer. Its native data is one pointer to
// a CoreTimer, which keeps the owner by weak reference, so that a timer whose
// object died fires into nothing, and whose platform timer repeats by itself
// in mode 2 instead of being rebuilt before each firing.
#include <cstddef>

#include "exec/platform_timer.h"
#include "object/class_decl.h"
#include "object/weak_ref.h"
#include "support/assert.h"
#include "support/export.h"
#include "vela/timer.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "VelaFramework/Core/Timer";

DeclEvent gCoreTimerEvents[] = {{"Action", 0, 0}};

class CoreTimer;

struct CoreTimerObject {
  RuntimeObject header;
  CoreTimer* core;
};
static_assert(offsetof(CoreTimerObject, core) == sizeof(RuntimeObject));

}  // namespace

NativeClassDecl<CoreTimerObject> gCoreTimerDecl(nullptr, "vela.Core.Timer", gCoreTimerEvents);

namespace {

class CoreTimer {
 public:
  explicit CoreTimer(RuntimeObject* owner) { RegisterWeakReference(&mOwner, owner); }
  virtual ~CoreTimer() {
    StopPlatformTimer();
    DropWeakReference(&mOwner);  // nil already when the owner's death ended us
  }
  virtual void Destroy() { delete this; }
  virtual int32_t GetMode() { return mMode; }
  virtual void SetMode(int32_t mode) {
    mMode = mode;
    Restart();
  }
  virtual int32_t GetPeriod() { return mPeriod; }
  virtual void SetPeriod(int32_t period) {
    mPeriod = period;
    Restart();
  }
  virtual int32_t GetTolerance() { return mTolerance; }
  virtual void SetTolerance(int32_t tolerance) { mTolerance = tolerance; }
  virtual void FireAction(RuntimeObject* owner) {
    auto handler = reinterpret_cast<void (*)(RuntimeObject*)>(
        gCoreTimerDecl.GetEventHandler(owner, gCoreTimerEvents[0]));
    if (handler) handler(owner);
  }
  // The platform timer's firing: a single shot turns itself off first. The
  // handler may drop the last reference to the owner, whose finalizer then
  // deletes this object: nothing is touched after the owner's release.
  virtual void Fired() {
    if (GetMode() == 1) {
      SetMode(0);
      StopPlatformTimer();
    }
    RuntimeObject* owner = ResolveWeakReference(&mOwner);
    if (!owner) return;
    FireAction(owner);
    RuntimeUnlockObject(owner);
  }

  CoreTimer(const CoreTimer&) = delete;
  CoreTimer& operator=(const CoreTimer&) = delete;

 private:
  static void OnPlatformTimer(PlatformTimer* record) {
    static_cast<CoreTimer*>(record->context)->Fired();
  }
  void StopPlatformTimer() {
    WinTimerStop(mTimer);
    mTimer = nullptr;
  }
  void Restart() {
    StopPlatformTimer();
    if (mMode != 0) mTimer = WinTimerStart(OnPlatformTimer, uint32_t(mPeriod), this);
  }

  int32_t mMode = 0;
  int32_t mPeriod = 0;  // milliseconds, stored without a limit
  int32_t mTolerance = 0;  // stored and answered, no other use
  RuntimeObject* mOwner = nullptr;  // weak
  PlatformTimer* mTimer = nullptr;
};

CoreTimer* Core(RuntimeObject* self) {
  CoreTimerObject* data = gCoreTimerDecl.Data(self);
  VELA_ASSERT_TEXT(data && data->core, "mTimer");
  return data ? data->core : nullptr;
}

// The getter shape shared by the forwarding exports.
template <int32_t (CoreTimer::*Get)()>
int32_t Forward(RuntimeObject* self) {
  CoreTimer* core = Core(self);
  return core ? (core->*Get)() : 0;
}
template <void (CoreTimer::*Set)(int32_t)>
void Forward(RuntimeObject* self, int32_t value) {
  if (CoreTimer* core = Core(self)) (core->*Set)(value);
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT void TSCoreTimerInitialize(RuntimeObject* self) {
  CoreTimerObject* data = gCoreTimerDecl.Data(self);
  if (data) data->core = new CoreTimer(self);
}

VELA_EXPORT void TSCoreTimerFinalize(RuntimeObject* self) {
  CoreTimerObject* data = gCoreTimerDecl.Data(self);
  if (!data || !data->core) return;
  data->core->Destroy();
  data->core = nullptr;
}

VELA_EXPORT int32_t TSCoreTimerGetMode(RuntimeObject* self) {
  return Forward<&CoreTimer::GetMode>(self);
}
VELA_EXPORT void TSCoreTimerSetMode(RuntimeObject* self, int32_t mode) {
  Forward<&CoreTimer::SetMode>(self, mode);
}
VELA_EXPORT int32_t TSCoreTimerGetPeriod(RuntimeObject* self) {
  return Forward<&CoreTimer::GetPeriod>(self);
}
VELA_EXPORT void TSCoreTimerSetPeriod(RuntimeObject* self, int32_t period) {
  Forward<&CoreTimer::SetPeriod>(self, period);
}
VELA_EXPORT int32_t VelaTimer_Tolerance(RuntimeObject* self) {
  return Forward<&CoreTimer::GetTolerance>(self);
}
VELA_EXPORT void VelaTimer_SetTolerance(RuntimeObject* self, int32_t tolerance) {
  Forward<&CoreTimer::SetTolerance>(self, tolerance);
}
