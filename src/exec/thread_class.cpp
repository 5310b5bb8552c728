// The Thread class: its declaration, the start of a language thread and the
// body that runs its "Run" event on a native thread of its own, and the
// exports that act on one thread object.
#include "exec/thread_class.h"

#include <limits.h>
#include <pthread.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "object/class_decl.h"
#include "object/exception.h"
#include "object/raise.h"
#include "platform/clock.h"
#include "platform/process.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

DeclEvent gThreadEvents[] = {{"Run", 0, 0}};
}  // namespace

TrailingDataDecl<ThreadData> gThreadDecl(nullptr, "Thread", gThreadEvents);

void ThreadData::Destruct(ThreadData* data) {
  RuntimeUnlockString(data->debugIdentifier);
  data->debugIdentifier = nullptr;
}

ThreadData* ThreadDataOf(RuntimeObject* self) { return self ? gThreadDecl.Data(self) : nullptr; }

namespace {

// Linux keeps 15 bytes of a thread's name; the cut falls on a character
// boundary of the UTF-8 text.
void NameNativeThread(TESSstring identifier) {
  if (StringLength(identifier) == 0) return;
  TESSstring utf8 = ConvertString(identifier, kEncodingUTF8);
  if (!utf8) return;
  char name[16];
  size_t length = size_t(StringLength(utf8));
  if (length > sizeof(name) - 1) {
    length = sizeof(name) - 1;
    while (length > 0 && (static_cast<unsigned char>(StringText(utf8)[length]) & 0xC0) == 0x80)
      --length;
  }
  std::memcpy(name, StringText(utf8), length);
  name[length] = 0;
  RuntimeUnlockString(utf8);
  pthread_setname_np(pthread_self(), name);
}

void CallRunHandler(void* context) {
  auto* self = static_cast<RuntimeObject*>(context);
  auto handler = reinterpret_cast<void (*)(RuntimeObject*)>(
      gThreadDecl.GetEventHandler(self, gThreadEvents[0]));
  if (handler) handler(self);
}

void* ThreadBody(void* argument) {
  auto* record = static_cast<RuntimeThread*>(argument);
  VELA_ASSERT_TEXT(record, "threadPtr");
  if (!record) return nullptr;
  ThreadLocalState& local = CurrentThreadState();
  local.isLanguageThread = 1;
  local.detached = 0;
  WaitForTurn(record);
  local.thread = record;
  local.debuggerFlag = 0;  // no debugger session exists to copy from
  // Threads need no apartment set-up on this platform: there is no COM.
  record->nativeThreadId = uint32_t(platform::CurrentNativeThreadId());
  RefreshStackBounds(record);

  RuntimeObject* self = record->languageObject;
  ThreadData* data = ThreadDataOf(self);
  NameNativeThread(data->debugIdentifier);
  // A thread killed before its first turn never enters its Run.
  if (!record->killed && gThreadDecl.GetEventHandler(self, gThreadEvents[0])) {
    if (data->type == kPreemptiveThread) ThreadDetach(self);
    // Run is entered without a compiled caller: an exception that escapes
    // it goes to the unhandled-exception helper, which lets a
    // ThreadEndException pass quietly and forwards the others to the main
    // thread.
    CallWithExceptionHelper(CallRunHandler, self);
    ThreadReattach(self);
  }

  data->record = nullptr;
  record->languageObject = nullptr;
  RuntimeUnlockObject(self);  // the reference of threadRun
  SetPriority(record, 0);
  UnlinkThreadRecord(record);
  record->dead = 1;
  record->state = kThreadFinishedBit;
  RemoveAllTickets(record);
  // When nothing can run, the main thread takes the turn: it is never dead,
  // and its own yields wait for the sleepers.
  RuntimeThread* next = PickNextThread(true);
  SwitchTo(next ? next : sMainThread);
  delete record;
  return nullptr;
}

size_t NativeStackSize(int32_t requested) {
  size_t size = size_t(requested > 0 ? requested : kDefaultThreadStackSize);
  // Below this the guard space of a raise would eat the stack.
  const size_t minimum = PTHREAD_STACK_MIN > 0x10000 ? PTHREAD_STACK_MIN : 0x10000;
  if (size < minimum) size = minimum;
  const size_t page = size_t(sysconf(_SC_PAGESIZE));
  return (size + page - 1) / page * page;
}

// Starts the native thread; false (after the report) when none was made.
bool StartNativeThread(RuntimeThread* record, int32_t stackSize) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, NativeStackSize(stackSize));
  pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  pthread_t handle;
  int error = pthread_create(&handle, &attr, ThreadBody, record);
  pthread_attr_destroy(&attr);
  VELA_ASSERT_MSG(error == 0, "0 != threadHandle", "_beginthreadex: %i", error);
  return error == 0;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT void ThreadInitializer(RuntimeObject* self) {
  if (ThreadData* data = ThreadDataOf(self)) data->priority = kDefaultThreadPriority;
}

VELA_EXPORT void threadRun(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  if (!data) return;
  if (data->record) {
    RaiseNamedException("ThreadAlreadyRunningException", 0,
                        "You cannot call Run on a thread that is already running.");
    return;
  }
  // The starter must not count as asleep at the pick below.
  if (RuntimeThread* current = CurrentThread()) current->wakeTime = platform::SchedulerClock() - 1;
  RuntimeThread* record = NewThreadRecord();
  record->languageObject = self;
  data->record = record;
  // A priority of 0 or less is never stored; it means the initializer did
  // not run, and the thread gets the default rather than no turn at all.
  SetPriority(record, data->priority > 0 ? data->priority : kDefaultThreadPriority);
  RuntimeLockObject(self);
  EnsureSchedulerTask();
  if (!StartNativeThread(record, data->stackSize)) {
    SetPriority(record, 0);
    UnlinkThreadRecord(record);
    data->record = nullptr;
    RuntimeUnlockObject(self);
    delete record;
    return;
  }
  Yield(true);
}

VELA_EXPORT void ThreadSuspend(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  RuntimeThread* record = data ? data->record : nullptr;
  if (!record) return;
  // One suspension counts once: the bit and its share of the block count
  // come and go together.
  if (!(record->state.fetch_or(kThreadSuspendedBit) & kThreadSuspendedBit)) ++record->blockCount;
  if (record != CurrentThread() || CurrentThreadState().detached) return;
  do {
    if (!Yield(true)) break;  // nothing else can run: the report has been made
  } while ((record->state & kThreadSuspendedBit) && !record->killed);
}

VELA_EXPORT void ThreadResume(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  RuntimeThread* record = data ? data->record : nullptr;
  if (!record) return;
  if (record->state.fetch_and(~kThreadSuspendedBit) & kThreadSuspendedBit) --record->blockCount;
  if (record->state.fetch_and(~kThreadSleepingBit) & kThreadSleepingBit)
    record->wakeTime = record->sleepStart = platform::SchedulerClock() - 1;
  if (record->blockCount < 0) record->blockCount = 0;
  if ((record->state & kThreadDetachedBit) && record->suspendedWait) record->suspendedWait = 0;
}

VELA_EXPORT void ThreadKill(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  RuntimeThread* record = data ? data->record : nullptr;
  if (!record) return;
  RuntimeLockObject(self);
  record->blockCount = (record->state & kThreadDetachedBit) ? 1 : 0;
  record->wakeTime = record->sleepStart = platform::SchedulerClock() - 1;
  if (record == CurrentThread()) {
    RaiseThreadEnd();
    RuntimeUnlockObject(self);
    return;
  }
  record->killed = 1;
  ThreadResume(self);
  // The record word is cleared at the end of the thread's body.
  while (data->record) Yield(true);
  RuntimeUnlockObject(self);
}

VELA_EXPORT void ThreadSleep(RuntimeObject* self, int32_t milliseconds, VelaBoolean wakeEarly) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  if (data && data->record) SleepThread(data->record, milliseconds, wakeEarly != 0);
}

VELA_EXPORT int32_t ThreadGetState(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  RuntimeThread* record = data ? data->record : nullptr;
  if (!record) return kThreadNotRunning;
  const uint32_t state = record->state;
  if (state == 0) return kThreadRunning;
  if (state & kThreadWaitingBit) return kThreadWaiting;
  if (state & kThreadSuspendedBit)
    return !(state & kThreadDetachedBit) || record->suspendedWait ? kThreadSuspended
                                                                   : kThreadRunning;
  if (state & kThreadSleepingBit) return kThreadSleeping;
  if (state & kThreadFinishedBit) return kThreadNotRunning;
  if (state & kThreadDetachedBit) return kThreadRunning;
  VELA_ASSERT_MSG(false, "false", "Unknown thread state: %li", long(record->blockCount));
  return kThreadRunning;
}

VELA_EXPORT int32_t ThreadGetPriority(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  return data ? data->priority : 0;
}

VELA_EXPORT void ThreadSetPriority(RuntimeObject* self, intptr_t, int32_t priority) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  if (!data || priority <= 0) return;
  data->priority = priority;
  if (data->record) SetPriority(data->record, priority);
}

VELA_EXPORT int32_t ThreadGetStackSize(RuntimeObject* self) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  if (!data) return 0;
  return data->stackSize > 0 ? data->stackSize : kDefaultThreadStackSize;
}

VELA_EXPORT void ThreadSetStackSize(RuntimeObject* self, intptr_t, int32_t size) {
  VELA_ASSERT(self);
  ThreadData* data = ThreadDataOf(self);
  if (!data) return;
  if (data->record) {
    RaiseNamedException("ThreadAlreadyRunningException", 0, nullptr);
    return;
  }
  data->stackSize = size < 1 ? kDefaultThreadStackSize : size;
}

VELA_EXPORT TESSstring ThreadGetDebugIdentifier(RuntimeObject* self) {
  ThreadData* data = ThreadDataOf(self);
  if (!data) return nullptr;
  RuntimeLockString(data->debugIdentifier);
  return data->debugIdentifier;
}

VELA_EXPORT void ThreadSetDebugIdentifier(RuntimeObject* self, TESSstring identifier) {
  ThreadData* data = ThreadDataOf(self);
  if (!data) return;
  RuntimeLockString(identifier);
  TESSstring old = data->debugIdentifier;
  data->debugIdentifier = identifier;
  RuntimeUnlockString(old);
}

VELA_EXPORT intptr_t ThreadGetID(RuntimeObject* self) {
  ThreadData* data = ThreadDataOf(self);
  return data ? reinterpret_cast<intptr_t>(data->record) : 0;
}

VELA_EXPORT int32_t Thread_GetType(RuntimeObject* self) {
  ThreadData* data = ThreadDataOf(self);
  return data ? data->type : 0;
}

VELA_EXPORT void Thread_SetType(RuntimeObject* self, int32_t type) {
  ThreadData* data = ThreadDataOf(self);
  if (!data) return;
  data->type = type;
  if (!data->record) return;
  if (type == 0) ThreadReattach(self);
  if (type == kPreemptiveThread) ThreadDetach(self);
}

VELA_EXPORT void ThreadDetach(RuntimeObject* self) {
  ThreadData* data = ThreadDataOf(self);
  RuntimeThread* record = data ? data->record : nullptr;
  ThreadLocalState& local = CurrentThreadState();
  if (!record || local.detached || sCurrentThread == sMainThread) return;
  // Only the calling thread can leave the turn: its native thread is the
  // one that goes on without it.
  if (record != sCurrentThread) return;
  gDetachedThreadCount.fetch_add(1);
  local.detached = 1;
  record->blockCount.fetch_add(1);
  record->state = kThreadDetachedBit;
  // With every other thread asleep the turn goes to the main thread, whose
  // own yields then wait for the sleepers; it must not stay with a thread
  // that no longer takes turns.
  RuntimeThread* next = PickNextThread(false);
  SwitchTo(next ? next : sMainThread);
}

VELA_EXPORT void ThreadReattach(RuntimeObject* self) {
  ThreadData* data = ThreadDataOf(self);
  RuntimeThread* record = data ? data->record : nullptr;
  ThreadLocalState& local = CurrentThreadState();
  // Only a detached thread can come back, and only to its own record.
  if (!record || !local.detached || record != local.thread) return;
  if (!(record->state & kThreadDetachedBit)) return;
  QueueForWake(record);
  WaitForTurn(record);
  if (RuntimeThread* current = sCurrentThread; current && current->killed) RaiseThreadEnd();
}

VELA_EXPORT RuntimeObject* TESSGetCurrentThread(void) {
  RuntimeThread* current = CurrentThread();
  RuntimeObject* object = current ? current->languageObject : nullptr;
  RuntimeLockObject(object);
  return object;
}

namespace vela {

void StopAllThreads() {
  std::vector<RuntimeObject*> objects;
  pthread_mutex_lock(ThreadListLock());
  for (RuntimeThread* t = ThreadListHead(); t; t = t->next)
    if (t->languageObject) {
      RuntimeLockObject(t->languageObject);
      objects.push_back(t->languageObject);
    }
  pthread_mutex_unlock(ThreadListLock());
  for (RuntimeObject* object : objects) ThreadKill(object);
  for (RuntimeObject* object : objects) RuntimeUnlockObject(object);
}

}  // namespace vela
