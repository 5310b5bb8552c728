// The scheduling record of a language thread and the per-native-thread state.
// Start-up makes the main thread's record; the cooperative scheduler extends
// both when language threads exist.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vela {

struct RuntimeThread {
  uint64_t nativeThreadId = 0;
  uintptr_t stackHigh = 0;   // high end of the usable stack
  size_t stackSize = 0;      // usable size below stackHigh
  int32_t priority = 0;
};

// Per native thread, in thread-local storage of the library.
struct ThreadLocalState {
  bool isLanguageThread = false;
};

extern RuntimeThread* sMainThread;
extern RuntimeThread* sCurrentThread;
ThreadLocalState& CurrentThreadState();

// Creates the main thread's record on the calling native thread: it becomes
// sMainThread and sCurrentThread.
RuntimeThread* CreateMainThreadRecord();

// Ends every language thread other than the caller. Only the main thread
// exists until threads can be started.
void StopAllThreads();

// The sleep of the current language thread.
void SleepCurrentThread(int32_t milliseconds);

}  // namespace vela
