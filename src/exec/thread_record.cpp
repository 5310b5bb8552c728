// Thread records: their construction, the thread list, the per-native-thread
// state, and what the debugger reads of a record.
#include "exec/thread_record.h"

#include <cstring>

#include "platform/process.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

pthread_mutex_t gThreadListLock = PTHREAD_MUTEX_INITIALIZER;
RuntimeThread* gThreadList = nullptr;

// Mutex and condition failures are faults of the thread library: say so.
void CheckPthread(int result, const char* what) {
  VELA_ASSERT_MSG(result == 0, "0 == result", "%s: %s", what, std::strerror(result));
}
}  // namespace

RuntimeThread* sMainThread = nullptr;
std::atomic<RuntimeThread*> sCurrentThread{nullptr};

RuntimeThread::RuntimeThread() {
  CheckPthread(pthread_mutex_init(&turnMutex, nullptr), "pthread_mutex_init");
  CheckPthread(pthread_cond_init(&turnCondition, nullptr), "pthread_cond_init");
}

RuntimeThread::~RuntimeThread() {
  pthread_cond_destroy(&turnCondition);
  pthread_mutex_destroy(&turnMutex);
}

void RuntimeThread::GetSavedContext(VelaMachineContext* out) const {
  if (out) *out = savedContext;
}

void RuntimeThread::GetStackBounds(uintptr_t* high, size_t* size) const {
  if (high) *high = stackHigh;
  if (size) *size = stackSize;
}

ThreadLocalState& CurrentThreadState() {
  static thread_local ThreadLocalState state;
  return state;
}

RuntimeThread* CurrentThread() {
  ThreadLocalState& local = CurrentThreadState();
  return local.detached ? local.thread : sCurrentThread.load();
}

pthread_mutex_t* ThreadListLock() { return &gThreadListLock; }
RuntimeThread*& ThreadListHead() { return gThreadList; }

void RefreshStackBounds(RuntimeThread* thread) {
  platform::StackBounds bounds = platform::CurrentThreadStackBounds();
  thread->stackHigh = bounds.high;
  thread->stackSize = bounds.size;
}

RuntimeThread* NewThreadRecord() {
  auto* thread = new RuntimeThread;
  pthread_mutex_lock(&gThreadListLock);
  thread->next = gThreadList;
  gThreadList = thread;
  pthread_mutex_unlock(&gThreadListLock);
  return thread;
}

void UnlinkThreadRecord(RuntimeThread* thread) {
  pthread_mutex_lock(&gThreadListLock);
  for (RuntimeThread** link = &gThreadList; *link; link = &(*link)->next)
    if (*link == thread) {
      *link = thread->next;
      break;
    }
  pthread_mutex_unlock(&gThreadListLock);
  thread->next = nullptr;
}

RuntimeThread* CreateMainThreadRecord() {
  RuntimeThread* thread = NewThreadRecord();  // lives as long as the process
  thread->nativeThreadId = uint32_t(platform::CurrentNativeThreadId());
  thread->turn = 1;
  RefreshStackBounds(thread);
  ThreadLocalState& local = CurrentThreadState();
  local.isLanguageThread = 1;
  local.thread = thread;
  sMainThread = thread;
  sCurrentThread = thread;
  return thread;
}

void StoreCurrentContext(const VelaMachineContext& context) {
  RuntimeThread* current = CurrentThread();
  VELA_ASSERT_TEXT(current, "currentThread");
  if (!current) return;
  pthread_mutex_lock(&gThreadListLock);
  current->savedContext = context;
  RefreshStackBounds(current);
  current->stackCheck = CurrentThreadState().isLanguageThread;
  pthread_mutex_unlock(&gThreadListLock);
}

}  // namespace vela
