// The CriticalSection class: a lock that its owner may enter again. Type 0
// hands itself to the first cooperative waiter at the owner's last leave;
// type 1 is a recursive native mutex, which a cooperative thread takes
// without blocking the turn.
#include <atomic>

#include "exec/sync_objects.h"
#include "exec/sync_wait.h"
#include "object/class_decl.h"
#include "support/assert.h"
#include "support/export.h"
#include "vela/sync.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

// A preemptive section keeps its holder's native thread in the owner word,
// so that a leave by any other thread is refused before the native unlock.
// Only the holder writes it; others read it to learn that they are not.
std::atomic_ref<RuntimeThread*> NativeOwner(CriticalSectionData* data) {
  return std::atomic_ref<RuntimeThread*>(data->owner);
}

RuntimeThread* NativeSelf() { return reinterpret_cast<RuntimeThread*>(pthread_self()); }

// After the native lock was taken: count the entry, and own it at the first.
void EnteredNatively(CriticalSectionData* data) {
  if (data->enterCount++ == 0) NativeOwner(data).store(NativeSelf(), std::memory_order_relaxed);
}
}  // namespace

// Mutex derives from it and shares the layout's head (see sync_mutex.cpp).
TrailingDataDecl<CriticalSectionData> gCriticalSectionDecl(nullptr, "CriticalSection");

void CriticalSectionData::Construct(CriticalSectionData* data) {
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&data->mutex, &attr);
  pthread_mutexattr_destroy(&attr);
}

void CriticalSectionData::Destruct(CriticalSectionData* data) {
  FreeWaiterQueue(data->waiters);  // when the finalizer did not run
  pthread_mutex_destroy(&data->mutex);
}

CriticalSectionData* CriticalSectionDataOf(RuntimeObject* self) {
  return self ? gCriticalSectionDecl.Data(self) : nullptr;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void CriticalSectionInitializer(RuntimeObject* self) {
  CriticalSectionData* data = CriticalSectionDataOf(self);
  if (!data) return;
  data->type = kCooperativeLock;
  data->enterCount = 0;
  data->owner = nullptr;
  if (!data->waiters) data->waiters = NewWaiterQueue();
}

VELA_EXPORT void CriticalSectionFinalizer(RuntimeObject* self) {
  if (CriticalSectionData* data = CriticalSectionDataOf(self)) FreeWaiterQueue(data->waiters);
}

VELA_EXPORT void criticalsection_enter(RuntimeObject* self) {
  CriticalSectionData* data = CriticalSectionDataOf(self);
  if (!data) return;
  if (data->type == kPreemptiveLock) {
    if (pthread_mutex_trylock(&data->mutex) != 0) {
      SelfReference keep(self);
      if (OnDetachedThread()) {
        pthread_mutex_lock(&data->mutex);
      } else {
        // A cooperative thread never blocks the turn on a native lock: the
        // holder may be a thread that needs the turn to leave.
        do Yield(true);
        while (pthread_mutex_trylock(&data->mutex) != 0);
      }
    }
    EnteredNatively(data);
    return;
  }
  if (OnDetachedThread()) {
    RaiseIllegalLocking(3, "Cannot enter a cooperative CriticalSection in a preemptive thread.");
    return;
  }
  RuntimeThread* current = sCurrentThread;
  if (data->owner && data->owner != current) {
    // The leaving owner makes this thread the owner with one entry.
    SelfReference keep(self);
    WaitForHandOver(data->waiters, kThreadWaitingBit);
    return;
  }
  data->owner = current;
  ++data->enterCount;
}

VELA_EXPORT VelaBoolean CriticalSection_TryEnter(RuntimeObject* self) {
  CriticalSectionData* data = CriticalSectionDataOf(self);
  if (!data) return false;
  if (data->type == kPreemptiveLock) {
    if (pthread_mutex_trylock(&data->mutex) != 0) return false;
    EnteredNatively(data);
    return true;
  }
  if (OnDetachedThread()) {
    RaiseIllegalLocking(3, "Cannot enter a cooperative CriticalSection in a preemptive thread.");
    return false;
  }
  RuntimeThread* current = sCurrentThread;
  if (data->owner && data->owner != current) return false;
  data->owner = current;
  ++data->enterCount;
  return true;
}

VELA_EXPORT void criticalsection_leave(RuntimeObject* self) {
  CriticalSectionData* data = CriticalSectionDataOf(self);
  if (!data) return;
  constexpr const char* kNotOwner =
      "The thread which Entered the CriticalSection must be the thread to Leave the "
      "CriticalSection";
  if (data->type == kPreemptiveLock) {
    if (NativeOwner(data).load(std::memory_order_relaxed) != NativeSelf()) {
      RaiseIllegalLocking(2, kNotOwner);
      return;
    }
    if (--data->enterCount == 0) NativeOwner(data).store(nullptr, std::memory_order_relaxed);
    pthread_mutex_unlock(&data->mutex);
    return;
  }
  if (OnDetachedThread()) {
    RaiseIllegalLocking(3, "Cannot leave a cooperative CriticalSection in a preemptive thread.");
    return;
  }
  if (data->owner != sCurrentThread) {
    RaiseIllegalLocking(2, kNotOwner);
    return;
  }
  --data->enterCount;
  VELA_ASSERT(data->enterCount >= 0);
  if (data->enterCount > 0) return;
  data->enterCount = 0;
  data->owner = nullptr;
  ReleaseFirstWaiter(data->waiters, [data](RuntimeThread* waiter) {
    data->owner = waiter;
    data->enterCount = 1;
  });
}

VELA_EXPORT int32_t CriticalSection_GetType(RuntimeObject* self) {
  CriticalSectionData* data = CriticalSectionDataOf(self);
  return data ? data->type : 0;
}

VELA_EXPORT void CriticalSection_SetType(RuntimeObject* self, int32_t type) {
  if (CriticalSectionData* data = CriticalSectionDataOf(self)) data->type = type;
}
