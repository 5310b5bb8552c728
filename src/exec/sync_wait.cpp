// The cooperative wait on a lock and the hand-over of a lock to its first
// waiter; what the three lock classes share.
#include "exec/sync_wait.h"

#include <cstdlib>

#include "object/raise.h"
#include "platform/clock.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

// How often a Mutex waiter looks at the lock file again.
constexpr uint32_t kMutexPollMilliseconds = 250;

bool IsQueued(const WaiterQueue* waiters, const RuntimeThread* thread) {
  for (uint32_t i = 0; i < waiters->count; ++i)
    if (waiters->items[i] == thread) return true;
  return false;
}

// Takes back a wait that ended without a hand-over, so that a later release
// does not hand the lock to a thread that no longer waits. A kill has set
// the block count to 0 already.
void Withdraw(WaiterQueue* waiters, RuntimeThread* self) {
  waiters->RemoveAll(self);
  int32_t count = self->blockCount;
  while (count > 0 && !self->blockCount.compare_exchange_weak(count, count - 1)) {
  }
}
}  // namespace

bool WaitForHandOver(WaiterQueue* waiters, uint32_t stateBits) {
  RuntimeThread* self = sCurrentThread;
  VELA_ASSERT(self);
  if (!self || !waiters) return false;
  const bool polls = (stateBits & kThreadMutexFileBit) != 0;
  if (polls) {
    const uint32_t now = platform::SchedulerClock();
    self->sleepStart = now;
    self->wakeTime = now + kMutexPollMilliseconds;
  }
  waiters->Append(self);
  self->blockCount.fetch_add(1);
  self->state.fetch_or(stateBits);
  bool handedOver = false;
  for (;;) {
    // A lone thread is never checked by the scheduler's pick: a wait that
    // nothing can end is reported here rather than idled on for ever.
    if (!polls && ThreadsLockedOut()) {
      ReportLockOut();
      break;
    }
    Yield(true);
    if (!IsQueued(waiters, self)) {
      handedOver = true;
      break;
    }
    if (self->killed || polls) break;
  }
  if (!handedOver) Withdraw(waiters, self);
  self->state.fetch_and(~stateBits);
  return handedOver;
}

RuntimeThread* TakeFirstWaiter(WaiterQueue* waiters) {
  if (!waiters || waiters->Empty()) return nullptr;
  RuntimeThread* waiter = waiters->items[0];
  waiters->RemoveAt(0);
  VELA_ASSERT_TEXT(waiter, "runMe");
  return waiter;
}

void UnblockReleased(RuntimeThread* waiter) {
  if (!waiter) return;
  // A polling waiter's wake time is its next poll: it must not count as
  // asleep once released.
  if (waiter->state & kThreadMutexFileBit)
    waiter->wakeTime = waiter->sleepStart = platform::SchedulerClock() - 1;
  if (waiter->blockCount.fetch_sub(1) == 1) Yield(true);
}

bool OnDetachedThread() {
  const ThreadLocalState& local = CurrentThreadState();
  return local.detached || !local.isLanguageThread;
}

RuntimeThread* LockingThread() {
  const ThreadLocalState& local = CurrentThreadState();
  return local.detached || !local.isLanguageThread ? local.thread : sCurrentThread.load();
}

void RaiseIllegalLocking(int32_t errorNumber, const char* message) {
  RaiseNamedException("IllegalLockingException", errorNumber, message);
}

SelfReference::SelfReference(RuntimeObject* self) : mSelf(self) { RuntimeLockObject(self); }
SelfReference::~SelfReference() { RuntimeUnlockObject(mSelf); }

WaiterQueue* NewWaiterQueue() { return static_cast<WaiterQueue*>(std::calloc(1, sizeof(WaiterQueue))); }

void FreeWaiterQueue(WaiterQueue*& queue) {
  if (!queue) return;
  queue->Free();
  std::free(queue);
  queue = nullptr;
}

}  // namespace vela
