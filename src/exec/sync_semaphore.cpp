// The Semaphore class: a count of free units. Type 0 hands a released unit
// straight to the first cooperative waiter; type 1 waits natively on a
// condition and works between threads that run in parallel.
#include "exec/sync_objects.h"
#include "exec/sync_wait.h"
#include "object/class_decl.h"
#include "support/assert.h"
#include "support/export.h"
#include "vela/sync.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

TrailingDataDecl<SemaphoreData> gSemaphoreDecl(nullptr, "Semaphore");

class NativeGuard {
 public:
  explicit NativeGuard(pthread_mutex_t* mutex) : mMutex(mutex) { pthread_mutex_lock(mMutex); }
  ~NativeGuard() { pthread_mutex_unlock(mMutex); }
  NativeGuard(const NativeGuard&) = delete;
  NativeGuard& operator=(const NativeGuard&) = delete;

 private:
  pthread_mutex_t* mMutex;
};

constexpr const char* kSignalRefused =
    "Cannot signal a cooperative Semaphore in a preemptive thread.";
}  // namespace

void SemaphoreData::Construct(SemaphoreData* data) {
  pthread_mutex_init(&data->mutex, nullptr);
  pthread_cond_init(&data->condition, nullptr);
}

void SemaphoreData::Destruct(SemaphoreData* data) {
  FreeWaiterQueue(data->waiters);  // when the finalizer did not run
  pthread_cond_destroy(&data->condition);
  pthread_mutex_destroy(&data->mutex);
}

SemaphoreData* SemaphoreDataOf(RuntimeObject* self) {
  return self ? gSemaphoreDecl.Data(self) : nullptr;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void SemaphoreInitializer(RuntimeObject* self) {
  SemaphoreData* data = SemaphoreDataOf(self);
  if (!data) return;
  data->type = kCooperativeLock;
  data->maximum = 1;
  data->count = 1;
  if (!data->waiters) data->waiters = NewWaiterQueue();
}

VELA_EXPORT void SemaphoreFinalizer(RuntimeObject* self) {
  if (SemaphoreData* data = SemaphoreDataOf(self)) FreeWaiterQueue(data->waiters);
}

VELA_EXPORT void Semaphore_Constructor(RuntimeObject* self, int32_t count) {
  SemaphoreData* data = SemaphoreDataOf(self);
  if (!data) return;
  if (count <= 0) {
    RaiseIllegalLocking(1, "Illegal initialCount for the Semaphore.");
    return;
  }
  data->maximum = count;
  data->count = count;
  data->type = kCooperativeLock;
}

VELA_EXPORT void Semaphore_Signal(RuntimeObject* self) {
  SemaphoreData* data = SemaphoreDataOf(self);
  if (!data) return;
  if (data->type == kPreemptiveLock) {
    // Blocks the native thread, and with it the turn if the caller holds it.
    NativeGuard guard(&data->mutex);
    if (data->count < 1) {
      SelfReference keep(self);
      while (data->count < 1) pthread_cond_wait(&data->condition, &data->mutex);
    }
    --data->count;
    return;
  }
  if (OnDetachedThread()) {
    RaiseIllegalLocking(3, kSignalRefused);
    return;
  }
  // A waiter finds its unit handed over: the count is not touched again.
  if (data->count < 1) {
    SelfReference keep(self);
    WaitForHandOver(data->waiters, kThreadWaitingBit);
  } else {
    --data->count;
  }
}

VELA_EXPORT VelaBoolean Semaphore_TrySignal(RuntimeObject* self) {
  SemaphoreData* data = SemaphoreDataOf(self);
  if (!data) return false;
  if (data->type == kPreemptiveLock) {
    NativeGuard guard(&data->mutex);
    if (data->count < 1) return false;
    --data->count;
    return true;
  }
  if (OnDetachedThread()) {
    RaiseIllegalLocking(3, kSignalRefused);
    return false;
  }
  if (data->count < 1) return false;
  --data->count;
  return true;
}

VELA_EXPORT void semaphore_release(RuntimeObject* self) {
  SemaphoreData* data = SemaphoreDataOf(self);
  if (!data) return;
  if (data->type == kPreemptiveLock) {
    NativeGuard guard(&data->mutex);
    ++data->count;  // no upper bound
    pthread_cond_signal(&data->condition);
    return;
  }
  if (++data->count > data->maximum) {
    data->count = data->maximum;
    RaiseIllegalLocking(0, "Called Semaphore.Release too many times.");
    return;
  }
  // The unit goes straight to the first waiter.
  ReleaseFirstWaiter(data->waiters, [data](RuntimeThread*) { --data->count; });
}

VELA_EXPORT int32_t Semaphore_GetType(RuntimeObject* self) {
  SemaphoreData* data = SemaphoreDataOf(self);
  return data ? data->type : 0;
}

VELA_EXPORT void Semaphore_SetType(RuntimeObject* self, int32_t type) {
  if (SemaphoreData* data = SemaphoreDataOf(self)) data->type = type;
}
