// The scheduling record of a language thread, the per-native-thread state,
// and the operations of the cooperative scheduler that the rest of the
// execution layer uses.
//
// Every language thread is a native thread, and only the holder of the turn
// (sCurrentThread) runs language code. A thread gives the turn on by
// clearing its own turn flag and setting the next thread's, each under that
// thread's turn mutex, and then sleeps on its own turn condition. Detached
// threads (preemptive ones, and those that called ThreadDetach) run beside
// the turn; gDetachedThreadCount counts them and switches the runtime's
// locks on.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "vela/object.h"
#include "vela/threads.h"

extern "C" void CaptureMachineContext(VelaMachineContext* out);

namespace vela {

// State bits of a record.
enum : uint32_t {
  kThreadSuspendedBit = 0x01,
  kThreadSleepingBit = 0x02,
  kThreadWaitingBit = 0x04,  // on a semaphore, critical section or mutex
  kThreadFinishedBit = 0x08,
  kThreadDetachedBit = 0x10,
  kThreadMutexFileBit = 0x20,  // with 0x04: a Mutex whose lock file is polled
};

// The fields keep the order of the published record; those that a detached
// thread and the holder of the turn may touch at the same moment are atomic
// (same size and alignment as the plain type). Everything else belongs to
// the holder of the turn.
class RuntimeThread {
 public:
  RuntimeThread();
  virtual ~RuntimeThread();
  virtual void GetSavedContext(VelaMachineContext* out) const;
  // The stack's high bound and usable size.
  virtual void GetStackBounds(uintptr_t* high, size_t* size) const;

  uint32_t nativeThreadId = 0;  // set by the thread itself when it starts
  pthread_mutex_t turnMutex;    // guards `turn`
  pthread_cond_t turnCondition;
  // True: this thread may run. Written under turnMutex; read without it
  // only by the owner's short spin before it sleeps on the condition.
  std::atomic<uint8_t> turn{0};
  std::atomic<uint8_t> suspendedWait{0};  // a suspended detached thread waits while set
  std::atomic<uint8_t> unsafeDetach{0};   // left through _UnsafeDetachCurrentThread
  uintptr_t stackHigh = 0;
  size_t stackSize = 0;  // usable size below stackHigh
  uint8_t stackCheck = 1;  // RuntimeStackCheck looks only while set
  VelaMachineContext savedContext{};  // captured at each switch
  RuntimeObject* languageObject = nullptr;  // the Thread object; nil for the main thread
  RuntimeThread* next = nullptr;            // thread list, newest first
  uint32_t wakeTime = 0;                    // scheduler clock at which a sleep ends
  uint32_t sleepStart = 0;                  // scheduler clock at which it began
  std::atomic<int32_t> blockCount{0};       // 0: not blocked
  int32_t priority = 0;                     // tickets in the run ring
  uint8_t wakeEarly = 0;                    // argument of the last sleep
  std::atomic<uint8_t> dead{0};
  std::atomic<uint8_t> killed{0};  // to end at the next yield point
  std::atomic<uint32_t> state{0};

  RuntimeThread(const RuntimeThread&) = delete;
  RuntimeThread& operator=(const RuntimeThread&) = delete;
};

// Per native thread, in the library's thread-local storage.
struct ThreadLocalState {
  uint8_t detached = 0;          // runs outside the turn
  uint8_t isLanguageThread = 0;  // the main thread and every thread threadRun started
  uint8_t debuggerFlag = 0;      // copied from the debugger's state at thread start
  RuntimeThread* thread = nullptr;
};
ThreadLocalState& CurrentThreadState();

extern RuntimeThread* sMainThread;
extern std::atomic<RuntimeThread*> sCurrentThread;

// The record of the calling thread: its own when it is detached, else the
// holder of the turn.
RuntimeThread* CurrentThread();

// ThreadListLock guards the thread list, the wake list and the idle
// condition; it is always taken and never held across a switch.
pthread_mutex_t* ThreadListLock();

// The head of the thread list (under ThreadListLock).
RuntimeThread*& ThreadListHead();

// Creates the main thread's record on the calling native thread: it becomes
// sMainThread and sCurrentThread, with the stack bounds of this thread.
RuntimeThread* CreateMainThreadRecord();

// A new record at the head of the thread list, block count 0, state 0,
// priority 0.
RuntimeThread* NewThreadRecord();
// Removes `thread` from the thread list.
void UnlinkThreadRecord(RuntimeThread* thread);

// Finds the calling native thread's stack and stores it in `thread`.
void RefreshStackBounds(RuntimeThread* thread);

// For the debugger: stores `context` as the current thread's saved context,
// refreshes its stack bounds and sets its stack-check flag from the
// thread-local language flag.
void StoreCurrentContext(const VelaMachineContext& context);

// --- the scheduler -------------------------------------------------------

// Gives the turn to the next thread and waits for it to come back. With
// `mayIdle` the scheduler may wait for a sleeper instead of returning at
// once when nothing can run. On a detached thread it only honours a kill or
// a suspension. False when the scheduler found no thread to run (every one
// asleep after the wait, or all locked out): the caller keeps the turn.
bool Yield(bool mayIdle);
RuntimeThread* PickNextThread(bool mayIdle);
void SwitchTo(RuntimeThread* next);
void WaitForTurn(RuntimeThread* self);

// Gives `thread` (nil: the main thread) `priority` tickets in the ring.
void SetPriority(RuntimeThread* thread, int32_t priority);
// Takes every ticket of `thread` out of the ring.
void RemoveAllTickets(RuntimeThread* thread);

// True when `thread` sleeps at scheduler time `now`.
inline bool IsAsleep(const RuntimeThread* thread, uint32_t now) {
  return now < thread->wakeTime && thread->sleepStart <= now;
}

// A waiter on a Mutex whose lock file may be held by another process has
// no local thread to release it: it polls. Its wake time is the next poll,
// and once that has come the scheduler may pick it although it is blocked.
inline bool MutexPollDue(const RuntimeThread* thread, uint32_t now) {
  return thread->state == (kThreadWaitingBit | kThreadMutexFileBit) && !IsAsleep(thread, now);
}

// True when no live thread can run again: every one is blocked, none runs
// beside the turn and none polls a lock file. Takes ThreadListLock.
bool ThreadsLockedOut();
// The report of threads that locked each other out; it fires once per
// process.
void ReportLockOut();

// Puts `thread` to sleep from now for `milliseconds`. When it is the holder
// of the turn it yields until its sleep is over (or it is woken early, or
// resumed, or killed).
void SleepThread(RuntimeThread* thread, int32_t milliseconds, bool wakeEarly);

// The sleep of the current language thread.
void SleepCurrentThread(int32_t milliseconds);

// The SchedulerTask: the main loop's periodic task that yields while
// language threads other than the main thread exist.
void EnsureSchedulerTask();
bool SchedulerTaskExists();

// Counts records that are neither dead nor detached (under the lock).
int LiveAttachedThreadCount();

// Appends `thread` to the wake list and signals the idle condition: the
// holder of the turn takes it back into the ring at its next pick.
void QueueForWake(RuntimeThread* thread);

// Raises ThreadEndException on the calling thread.
void RaiseThreadEnd();

// Ends every language thread other than the caller: kills each in list
// order and waits until its Run has ended. RuntimeRun calls it at the end.
void StopAllThreads();

// The deadlock report has fired in this process.
bool DeadlockReported();

}  // namespace vela
