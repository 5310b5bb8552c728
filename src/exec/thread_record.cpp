#include "exec/thread_record.h"

#include <time.h>

#include "platform/process.h"

namespace vela {

RuntimeThread* sMainThread = nullptr;
RuntimeThread* sCurrentThread = nullptr;

ThreadLocalState& CurrentThreadState() {
  static thread_local ThreadLocalState state;
  return state;
}

RuntimeThread* CreateMainThreadRecord() {
  auto* thread = new RuntimeThread;  // lives as long as the process
  thread->nativeThreadId = platform::CurrentNativeThreadId();
  sMainThread = thread;
  sCurrentThread = thread;
  CurrentThreadState().isLanguageThread = true;
  return thread;
}

void StopAllThreads() {
  // The main thread is the only language thread until the scheduler can
  // start others, so there is nothing to stop yet.
}

void SleepCurrentThread(int32_t milliseconds) {
  if (milliseconds <= 0) return;
  // With a single language thread a sleep gives the turn to nobody: the
  // thread simply waits. The scheduler replaces this with its timed block.
  timespec delay{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
  while (nanosleep(&delay, &delay) != 0) {
  }
}

}  // namespace vela
