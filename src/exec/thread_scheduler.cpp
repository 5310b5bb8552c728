// The cooperative scheduler: the ticket ring, the pick of the next thread,
// the hand-over of the turn, idling while every thread sleeps, and the
// SchedulerTask through which the main loop gives the other threads turns.
#include <errno.h>
#include <sched.h>
#include <time.h>

#include <cstring>

#include "exec/periodic_task.h"
#include "exec/thread_record.h"
#include "object/raise.h"
#include "platform/clock.h"
#include "support/assert.h"
#include "support/object_lock.h"
#include "support/simple_vector.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

// A thread of priority N has N tickets; each ticket gets one turn per cycle
// of the ring.
struct RunTicket {
  RuntimeThread* thread;
  uint8_t visited;
};

SimpleVector<RunTicket> gRunRing{};   // under RingLock while it is in force
pthread_mutex_t gRingLock = PTHREAD_MUTEX_INITIALIZER;
SimpleVector<RuntimeThread*> gWakeList{};  // under ThreadListLock
pthread_cond_t gIdleCondition;             // tied to ThreadListLock
constexpr int kTurnProcessorYields = 8;  // see WaitForTurn
std::atomic<bool> gDeadlockReported{false};
PeriodicTask* gSchedulerTask = nullptr;  // belongs to the holder of the turn

// The idle condition measures its time-outs on the monotonic clock, so that
// a change of the wall clock does not stretch or cut an idle wait.
[[maybe_unused]] const bool gIdleConditionReady = [] {
  pthread_condattr_t attr;
  pthread_condattr_init(&attr);
  pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
  pthread_cond_init(&gIdleCondition, &attr);
  pthread_condattr_destroy(&attr);
  return true;
}();

// RingLock is taken only while some thread runs beside the turn; the choice
// is made once, so that the release matches the acquisition.
class RingGuard {
 public:
  RingGuard() : mHeld(LocksInForce()) {
    if (mHeld) pthread_mutex_lock(&gRingLock);
  }
  ~RingGuard() { Release(); }
  void Release() {
    if (mHeld) pthread_mutex_unlock(&gRingLock);
    mHeld = false;
  }
  RingGuard(const RingGuard&) = delete;
  RingGuard& operator=(const RingGuard&) = delete;

 private:
  bool mHeld;
};

class ListGuard {
 public:
  ListGuard() { pthread_mutex_lock(ThreadListLock()); }
  ~ListGuard() { pthread_mutex_unlock(ThreadListLock()); }
  ListGuard(const ListGuard&) = delete;
  ListGuard& operator=(const ListGuard&) = delete;
};

// A thread that may run again by itself: not blocked, running beside the
// turn, or polling a lock file.
bool CanRunAgainLocked() {
  for (RuntimeThread* t = ThreadListHead(); t; t = t->next)
    if (!t->dead && (t->blockCount == 0 || (t->state & kThreadDetachedBit) ||
                     t->state == (kThreadWaitingBit | kThreadMutexFileBit)))
      return true;
  return false;
}

int LiveThreadCountLocked(bool attachedOnly) {
  int count = 0;
  for (RuntimeThread* t = ThreadListHead(); t; t = t->next)
    if (!t->dead && !(attachedOnly && (t->state & kThreadDetachedBit))) ++count;
  return count;
}

// How long the scheduler may idle: 0 when some thread can run now, the
// time to the earliest wake when all sleep, 250 ms for a waiter that polls
// a lock file.
uint32_t NextWakeDelay() {
  const uint32_t now = platform::SchedulerClock();
  uint32_t delay = 0x7FFFFFFF;
  ListGuard lock;
  for (RuntimeThread* t = ThreadListHead(); t; t = t->next) {
    if (t->dead) continue;
    const uint32_t state = t->state;
    if (state == kThreadSleepingBit) {
      if (t->wakeTime <= now) return 0;
      if (t->wakeTime - now < delay) delay = t->wakeTime - now;
    } else if (t->blockCount == 0) {
      return 0;
    } else if (state & kThreadDetachedBit) {
      if (t->unsafeDetach) return 0;
    } else if (state == (kThreadWaitingBit | kThreadMutexFileBit)) {
      return 250;
    }
  }
  return delay;
}

timespec MonotonicDeadline(uint32_t milliseconds) {
  timespec deadline;
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += milliseconds / 1000;
  deadline.tv_nsec += long(milliseconds % 1000) * 1000000L;
  if (deadline.tv_nsec >= 1000000000L) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1000000000L;
  }
  return deadline;
}

// Waits until a detached thread asks to come back or `milliseconds` pass.
void IdleWait(uint32_t milliseconds) {
  const timespec deadline = MonotonicDeadline(milliseconds);
  bool wakeQueued;
  {
    ListGuard lock;
    while (gWakeList.Empty())
      if (pthread_cond_timedwait(&gIdleCondition, ThreadListLock(), &deadline) == ETIMEDOUT) break;
    wakeQueued = !gWakeList.Empty();
  }
  // A thread at its end has no turn to wait for: its caller picks again.
  if (wakeQueued && !CurrentThread()->dead) Yield(true);
}

void MarkPicked(RunTicket& ticket) {
  ticket.visited = 1;
  ticket.thread->state = 0;  // a sleeper that is picked wakes
}

class SchedulerTask final : public PeriodicTask {
 public:
  // Period 0 and no platform timer: only the main loop runs it, every
  // iteration, and its presence keeps the loop from blocking.
  SchedulerTask() : PeriodicTask(0, false) {}
  void Action() override { Yield(true); }
};

void InsertTicketsAtFront(RuntimeThread* thread, uint32_t count) {
  gRunRing.Reserve(gRunRing.count + count);
  if (gRunRing.capacity < gRunRing.count + count) return;
  std::memmove(static_cast<void*>(gRunRing.items + count), gRunRing.items,
               gRunRing.count * sizeof(RunTicket));
  for (uint32_t i = 0; i < count; ++i) gRunRing.items[i] = {thread, 0};
  gRunRing.count += count;
}

}  // namespace

bool DeadlockReported() { return gDeadlockReported; }

bool ThreadsLockedOut() {
  ListGuard lock;
  return !CanRunAgainLocked();
}

void ReportLockOut() {
  if (!gDeadlockReported.exchange(true))
    VELA_ASSERT_MSG(false, "false", "%s",
                    "Infinite loop detected in the thread scheduler.  This is likely caused "
                    "by incorrectly locking resources with semaphores or critical sections.");
}

int LiveAttachedThreadCount() {
  ListGuard lock;
  return LiveThreadCountLocked(true);
}

void QueueForWake(RuntimeThread* thread) {
  ListGuard lock;
  gWakeList.Append(thread);
  pthread_cond_signal(&gIdleCondition);
}

void RaiseThreadEnd() { RaiseNamedException("ThreadEndException", 0, nullptr); }

RuntimeThread* PickNextThread(bool mayIdle) {
  bool alone;
  {
    ListGuard lock;
    for (RuntimeThread* woken : gWakeList) {
      woken->state &= ~kThreadDetachedBit;
      woken->blockCount = 0;
    }
    gWakeList.count = 0;
    alone = LiveThreadCountLocked(true) < 2;
    if (!alone && !CanRunAgainLocked()) {
      // Every live thread waits for another: they locked each other out.
      ReportLockOut();
      return nullptr;
    }
  }
  if (alone) {
    // Only the main thread is left in the turn: it is the answer, after an
    // idle wait if it sleeps.
    if (mayIdle)
      if (uint32_t delay = NextWakeDelay()) IdleWait(delay);
    return sMainThread;
  }
  {
    const uint32_t now = platform::SchedulerClock();
    RingGuard ring;
    RunTicket* chosen = nullptr;
    RunTicket* early = nullptr;
    RunTicket* firstVisited = nullptr;
    for (RunTicket& ticket : gRunRing) {
      RuntimeThread* t = ticket.thread;
      if (t->blockCount != 0 && !MutexPollDue(t, now)) continue;
      if (IsAsleep(t, now)) {
        if (!early && t->wakeEarly && !ticket.visited) early = &ticket;
      } else if (!ticket.visited) {
        chosen = &ticket;
        break;
      } else if (!firstVisited) {
        firstVisited = &ticket;
      }
    }
    if (RunTicket* pick = early ? early : chosen) {
      MarkPicked(*pick);
      return pick->thread;
    }
    // A cycle is over: every ticket may run again.
    for (RunTicket& ticket : gRunRing) ticket.visited = 0;
    if (firstVisited) {
      MarkPicked(*firstVisited);
      return firstVisited->thread;
    }
  }
  // Every thread sleeps.
  if (!mayIdle) return nullptr;
  if (uint32_t delay = NextWakeDelay()) IdleWait(delay);
  return PickNextThread(false);
}

void SwitchTo(RuntimeThread* next) {
  RuntimeThread* current = sCurrentThread;
  CaptureMachineContext(&current->savedContext);
  sCurrentThread = next;
  // The old thread drops its flag before the next one gets its own, so the
  // turn is never held twice; each flag changes only under its mutex, so a
  // signal cannot fall between a waiter's test and its wait.
  pthread_mutex_lock(&current->turnMutex);
  current->turn = 0;
  pthread_mutex_unlock(&current->turnMutex);
  pthread_mutex_lock(&next->turnMutex);
  next->turn = 1;
  pthread_cond_signal(&next->turnCondition);
  pthread_mutex_unlock(&next->turnMutex);
}

void WaitForTurn(RuntimeThread* self) {
  ThreadLocalState& local = CurrentThreadState();
  // A turn that comes back soon is taken without sleeping, since waking a
  // sleeper costs more than a few yields of the processor. Yielding rather
  // than spinning serves both cases: a partner on another core answers
  // while we look, and one that needs this core gets it at once.
  for (int pass = 0; pass < kTurnProcessorYields && !self->turn.load(std::memory_order_acquire);
       ++pass)
    sched_yield();
  pthread_mutex_lock(&self->turnMutex);
  if (local.detached) {
    gDetachedThreadCount.fetch_sub(1);
    local.detached = 0;
  }
  while (!self->turn) pthread_cond_wait(&self->turnCondition, &self->turnMutex);
  sCurrentThread = self;
  pthread_mutex_unlock(&self->turnMutex);
}

bool Yield(bool mayIdle) {
  ThreadLocalState& local = CurrentThreadState();
  if (local.detached) {
    RuntimeThread* self = local.thread;
    if (self->killed) {
      RaiseThreadEnd();
      return true;
    }
    if (self->state & kThreadSuspendedBit) {
      self->suspendedWait = 1;
      const timespec step{0, 10 * 1000000L};
      while (self->suspendedWait) nanosleep(&step, nullptr);
    }
    return true;
  }
  // A native thread that the runtime did not start holds no turn to give.
  if (!local.isLanguageThread) return true;
  RuntimeThread* self = sCurrentThread;
  VELA_ASSERT(sCurrentThread);
  if (!self) return false;
  RuntimeThread* next = PickNextThread(mayIdle);
  if (!next) return false;
  if (next == self) return true;
  SwitchTo(next);
  WaitForTurn(self);
  if (self->killed) RaiseThreadEnd();
  bool alone;
  {
    ListGuard lock;
    alone = LiveThreadCountLocked(false) < 2;
  }
  if (alone && gSchedulerTask) {
    PeriodicTask* task = gSchedulerTask;
    gSchedulerTask = nullptr;
    delete task;
  }
  return true;
}

void SetPriority(RuntimeThread* thread, int32_t priority) {
  if (!thread) thread = sMainThread;
  VELA_ASSERT_TEXT(thread, "runThread");
  if (!thread) return;
  const int32_t change = priority - thread->priority;
  {
    RingGuard ring;
    if (change < 0) {
      int32_t toRemove = -change;
      for (uint32_t i = gRunRing.count; i-- > 0 && toRemove > 0;)
        if (gRunRing.items[i].thread == thread) {
          gRunRing.RemoveAt(i);
          --toRemove;
        }
    } else if (change > 0) {
      InsertTicketsAtFront(thread, uint32_t(change));
    }
  }
  thread->priority = priority;
}

void RemoveAllTickets(RuntimeThread* thread) {
  RingGuard ring;
  for (uint32_t i = gRunRing.count; i-- > 0;)
    if (gRunRing.items[i].thread == thread) gRunRing.RemoveAt(i);
}

void SleepThread(RuntimeThread* thread, int32_t milliseconds, bool wakeEarly) {
  VELA_ASSERT(thread);
  if (!thread) return;
  ThreadLocalState& local = CurrentThreadState();
  if (local.detached) {
    // A detached thread sleeps natively, and only itself.
    if (thread != local.thread) return;
    if (thread->killed) {
      RaiseThreadEnd();
      return;
    }
    if (thread->state & kThreadSleepingBit) return;
    thread->state |= kThreadSleepingBit;
    if (milliseconds > 0) {
      timespec delay{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
      while (nanosleep(&delay, &delay) != 0) {
      }
    }
    thread->state &= ~kThreadSleepingBit;
    return;
  }
  const uint32_t now = platform::SchedulerClock();
  thread->state |= kThreadSleepingBit;
  thread->sleepStart = now;
  thread->wakeTime = now + uint32_t(milliseconds > 0 ? milliseconds : 0);
  thread->wakeEarly = wakeEarly;
  // Another thread put to sleep from outside stops at its next pick.
  if (thread != sCurrentThread) return;
  // An idle wait can end early (a detached thread came back), so the
  // sleeper yields until its time has come, it was woken early or resumed
  // (either clears the bit), or it was killed.
  do Yield(true);
  while (!thread->killed && (thread->state & kThreadSleepingBit) &&
         IsAsleep(thread, platform::SchedulerClock()));
}

void SleepCurrentThread(int32_t milliseconds) {
  ThreadLocalState& local = CurrentThreadState();
  if (local.detached) return;
  if (!local.isLanguageThread || !sCurrentThread) {
    // No turn to give away: the native thread simply waits.
    if (milliseconds <= 0) return;
    timespec delay{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    while (nanosleep(&delay, &delay) != 0) {
    }
    return;
  }
  SleepThread(sCurrentThread, milliseconds, false);
}

void EnsureSchedulerTask() {
  if (!gSchedulerTask) gSchedulerTask = new SchedulerTask;
}

bool SchedulerTaskExists() { return gSchedulerTask != nullptr; }

}  // namespace vela
