// The native data of the three locks of the language (Semaphore,
// CriticalSection and Mutex, which derives from CriticalSection) and the
// declarations that find them behind an object.
//
// Type 0 (cooperative) locks are a count or an owner plus a first-in,
// first-out queue of waiting thread records; only the holder of the turn
// touches them, so they need no native lock. Type 1 (preemptive) locks are a
// native mutex, with a condition for the semaphore.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "exec/thread_record.h"
#include "object/class_decl.h"
#include "support/simple_vector.h"

namespace vela {

using WaiterQueue = SimpleVector<RuntimeThread*>;

inline constexpr int32_t kCooperativeLock = 0;
inline constexpr int32_t kPreemptiveLock = 1;

// Each 32-bit value in the low half of its own word.
struct SemaphoreData {
  int32_t type;  // kCooperativeLock or kPreemptiveLock
  int32_t typePad;
  int32_t maximum;  // the initial count; a cooperative release stops there
  int32_t maximumPad;
  int32_t count;  // free units
  int32_t countPad;
  WaiterQueue* waiters;  // owned; made by the initializer
  pthread_mutex_t mutex;  // type 1: guards count
  pthread_cond_t condition;  // type 1: signalled at each release

  static void Construct(SemaphoreData* data);
  static void Destruct(SemaphoreData* data);
};

struct CriticalSectionData {
  int32_t type;
  int32_t typePad;
  int32_t enterCount;  // depth of the owner's entries
  int32_t enterCountPad;
  // The holder, nil if free: type 0 (and Mutex) its record; type 1 its
  // native thread (pthread_t), written only by the holder
  RuntimeThread* owner;
  WaiterQueue* waiters;  // owned
  pthread_mutex_t mutex;  // type 1: recursive. In a Mutex: guards the fields
                          // while a thread runs beside the turn

  static void Construct(CriticalSectionData* data);
  static void Destruct(CriticalSectionData* data);
};

// The lock file of a Mutex is named by a path, and holding the Mutex is
// holding the lock of an open descriptor of that file.
struct MutexData {
  CriticalSectionData section;
  char* lockFile;        // malloc'ed path; nil when no file could be made
  intptr_t lockHandle;   // descriptor that holds the file's lock, -1 when not held

  static void Construct(MutexData* data);
  static void Destruct(MutexData* data);
};

// The declaration that Mutex derives from.
extern TrailingDataDecl<CriticalSectionData> gCriticalSectionDecl;

// The native data of an object of the class (with the declaration's
// checks), or nil.
SemaphoreData* SemaphoreDataOf(RuntimeObject* self);
CriticalSectionData* CriticalSectionDataOf(RuntimeObject* self);
MutexData* MutexDataOf(RuntimeObject* self);

// A new, empty waiter queue, and its end.
WaiterQueue* NewWaiterQueue();
void FreeWaiterQueue(WaiterQueue*& queue);

}  // namespace vela

namespace vela {
// The layouts that docs/ABI.md gives.
static_assert(offsetof(SemaphoreData, waiters) == 24 && offsetof(SemaphoreData, mutex) == 32 &&
              offsetof(SemaphoreData, condition) == 72 && sizeof(SemaphoreData) == 120);
static_assert(offsetof(CriticalSectionData, owner) == 16 &&
              offsetof(CriticalSectionData, mutex) == 32 && sizeof(CriticalSectionData) == 72);
static_assert(offsetof(MutexData, lockFile) == 72 && sizeof(MutexData) == 88);
}  // namespace vela
