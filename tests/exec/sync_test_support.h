// What the lock tests share: a runtime with the Thread classes of the
// thread tests plus Semaphore, CriticalSection and Mutex (a subclass of
// CriticalSection) with their initializers and finalizers, and small makers.
#pragma once

#include "exec/sync_objects.h"
#include "exec/thread_test_support.h"
#include "text/string_create.h"
#include "vela/sync.h"

namespace vela::synctest {

using namespace threadtest;

inline void BuildLockClasses() {
  constexpr uint32_t kHeader = sizeof(RuntimeObject);
  testkit::ClassBuilder("Semaphore")
      .InstanceSize(kHeader)
      .Initializer(SemaphoreInitializer)
      .Finalizer(SemaphoreFinalizer)
      .Build();
  RuntimeClass* section = testkit::ClassBuilder("CriticalSection")
                              .InstanceSize(kHeader)
                              .Initializer(CriticalSectionInitializer)
                              .Finalizer(CriticalSectionFinalizer)
                              .Build();
  testkit::ClassBuilder("Mutex")
      .Base(section)
      .InstanceSize(kHeader)
      .Initializer(MutexInitializer)
      .Finalizer(MutexFinalizer)
      .Build();
}

inline ThreadClasses StartRuntimeWithLocks() { return StartRuntime(BuildLockClasses); }

inline RuntimeObject* NewLock(const char* className) {
  for (RuntimeClass* cls = RuntimeGetClassList(); cls; cls = cls->nextClass)
    if (std::string(cls->name) == className) return RuntimeNewObject(cls);
  return nullptr;
}

inline RuntimeObject* NewSemaphore(int32_t count, int32_t type = kCooperativeLock) {
  RuntimeObject* semaphore = NewLock("Semaphore");
  Semaphore_Constructor(semaphore, count);
  Semaphore_SetType(semaphore, type);
  return semaphore;
}

inline RuntimeObject* NewSection(int32_t type = kCooperativeLock) {
  RuntimeObject* section = NewLock("CriticalSection");
  CriticalSection_SetType(section, type);
  return section;
}

// A Mutex of that name; nil for a lock file of a unique name.
inline RuntimeObject* NewMutex(const char* name) {
  RuntimeObject* mutex = NewLock("Mutex");
  TESSstring text = name ? NewString(name, -1, kEncodingUTF8) : nullptr;
  MutexContructor(mutex, text);
  RuntimeUnlockString(text);
  return mutex;
}

inline bool LastRaiseIs(const char* className, int32_t errorNumber, const char* message) {
  std::lock_guard<std::mutex> lock(gRaisesLock);
  if (gRaises.empty()) return false;
  const Raise& last = gRaises.back();
  return last.className == className && last.errorNumber == errorNumber &&
         last.message == message;
}

inline bool Finished(RuntimeObject* thread) { return ThreadGetState(thread) == kThreadNotRunning; }

}  // namespace vela::synctest
