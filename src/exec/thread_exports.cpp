// The yield points that compiled code calls, questions about the calling
// thread, and the scheduler's entries for plug-ins and the debugger.
#include <atomic>

#include "exec/thread_record.h"
#include "platform/clock.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

// The tick of the last yield of RuntimeBackgroundTask. Atomic only because
// detached threads call the yield point too; the common path is one relaxed
// load and a compare.
std::atomic<uint32_t> gLastYieldTick{0};

// Visits the records that the debugger lists: alive and with a Thread
// object, in list order, under ThreadListLock. Stops when `visit` answers
// true.
template <class Visit>
void ForEachDebuggerThread(Visit visit) {
  pthread_mutex_lock(ThreadListLock());
  for (RuntimeThread* t = ThreadListHead(); t; t = t->next)
    if (!t->dead && t->languageObject && visit(t)) break;
  pthread_mutex_unlock(ThreadListLock());
}
}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT void YieldToNextThread(void) { Yield(true); }

VELA_EXPORT void RuntimeBackgroundTask(void) {
  // One yield per 1/60 second: most calls cost one clock read and a compare.
  uint32_t tick = platform::ClockTicks60();
  if (tick == gLastYieldTick.load(std::memory_order_relaxed)) return;
  gLastYieldTick.store(tick, std::memory_order_relaxed);
  VELA_ASSERT(sCurrentThread);
  Yield(false);
  // A debugger session would be polled here (pending break, the
  // connection's input, the Break key); none can be active before the
  // debugger connection exists.
  // The slice is counted from the end of the yield.
  gLastYieldTick.store(platform::ClockTicks60(), std::memory_order_relaxed);
}

VELA_EXPORT void ThreadSleepCurrent(int32_t milliseconds) { SleepCurrentThread(milliseconds); }

// The lookups below use the current-thread rule: a detached thread is itself,
// never the holder of the turn.
VELA_EXPORT VelaBoolean IsVelaThread(void) {
  return CurrentThreadState().isLanguageThread && CurrentThread() != sMainThread;
}

VELA_EXPORT VelaBoolean IsVelaMainThread(void) {
  return CurrentThreadState().isLanguageThread && CurrentThread() == sMainThread;
}

VELA_EXPORT void* _UnsafeDetachCurrentThread(void) {
  if (CurrentThreadState().detached) return nullptr;
  RuntimeThread* current = sCurrentThread;
  if (!current || current == sMainThread || LiveAttachedThreadCount() < 2) return nullptr;
  const uint32_t oldState = current->state;
  current->blockCount.fetch_add(1);
  current->state = kThreadDetachedBit;
  current->unsafeDetach = 1;
  RuntimeThread* next = PickNextThread(false);
  if (!next) {
    current->blockCount.fetch_sub(1);
    current->state = oldState;
    current->unsafeDetach = 0;
    return nullptr;
  }
  SwitchTo(next);
  gDetachedThreadCount.fetch_add(1);
  // The thread-local detached flag stays clear: the caller runs no runtime
  // code until it attaches again.
  return current;
}

VELA_EXPORT void _UnsafeAttachCurrentThread(void* token) {
  auto* thread = static_cast<RuntimeThread*>(token);
  if (!thread) return;
  QueueForWake(thread);
  WaitForTurn(thread);
  gDetachedThreadCount.fetch_sub(1);
  thread->unsafeDetach = 0;
  if (RuntimeThread* current = sCurrentThread; current && current->killed) RaiseThreadEnd();
}

VELA_EXPORT int32_t DebuggerThreadCount(void) {
  int32_t count = 0;
  ForEachDebuggerThread([&](RuntimeThread*) {
    ++count;
    return false;
  });
  return count;
}

VELA_EXPORT RuntimeObject* DebuggerThreadLookup(void*, int32_t index) {
  RuntimeObject* found = nullptr;
  int32_t at = 0;
  ForEachDebuggerThread([&](RuntimeThread* t) {
    if (at++ != index) return false;
    found = t->languageObject;
    RuntimeLockObject(found);
    return true;
  });
  return found;
}
