// How a cooperative thread waits on a lock and how the lock hands itself
// over: the waiter queues its record and raises its block count, which keeps
// the scheduler from picking it; the releaser takes the first record off
// the queue and lowers its count, so that the waiter runs again with the
// lock already its own.
#pragma once

#include "exec/sync_objects.h"

namespace vela {

// Queues the holder of the turn on `waiters` with `stateBits` (0x04, or
// 0x24 for a Mutex) and yields until a release hands the lock over: true.
// False when the thread comes back without a hand-over: it was killed, no
// thread could ever release it (reported as a lock-out), or, for a Mutex,
// its poll time came. The queue entry and the block count are then taken
// back. The state bits are cleared in both cases.
bool WaitForHandOver(WaiterQueue* waiters, uint32_t stateBits);

// Takes the first waiter off the queue and lowers its block count; when that
// makes it runnable, yields so that it runs soon. Answers the waiter, nil if
// none waits. `afterTake` runs before the yield, for the caller to make the
// waiter the owner.
template <class AfterTake>
RuntimeThread* ReleaseFirstWaiter(WaiterQueue* waiters, AfterTake afterTake);
RuntimeThread* TakeFirstWaiter(WaiterQueue* waiters);
void UnblockReleased(RuntimeThread* waiter);

template <class AfterTake>
RuntimeThread* ReleaseFirstWaiter(WaiterQueue* waiters, AfterTake afterTake) {
  RuntimeThread* waiter = TakeFirstWaiter(waiters);
  if (!waiter) return nullptr;
  afterTake(waiter);
  UnblockReleased(waiter);
  return waiter;
}

// The calling thread runs beside the turn: it detached, or the runtime did
// not start it. Such a thread can't hold the turn that cooperative locks
// rely on.
bool OnDetachedThread();
// The record that owns what the calling thread locks: its own beside the
// turn (nil for a thread the runtime did not start), else the holder of the
// turn.
RuntimeThread* LockingThread();

// Raises IllegalLockingException.
void RaiseIllegalLocking(int32_t errorNumber, const char* message);

// Holds a reference on a lock object for the time of a wait, so that it
// can't die under its own waiter. An operation that doesn't wait yields to
// nobody, so nobody can drop the object meanwhile: it needs none.
class SelfReference {
 public:
  explicit SelfReference(RuntimeObject* self);
  ~SelfReference();
  SelfReference(const SelfReference&) = delete;
  SelfReference& operator=(const SelfReference&) = delete;

 private:
  RuntimeObject* mSelf;
};

}  // namespace vela
