// The Thread class's native data and the declaration that finds it.
#pragma once

#include <cstdint>

#include "exec/thread_record.h"
#include "vela/string.h"

namespace vela {

// Five words behind the object's properties; each 32-bit value in the low
// half of its own word.
struct ThreadData {
  RuntimeThread* record;  // nil while the thread does not run; ThreadGetID answers it
  int32_t stackSize;      // 0 or less: the default
  int32_t stackSizePad;
  int32_t priority;  // ThreadInitializer sets 5
  int32_t priorityPad;
  int32_t type;  // 0 cooperative, 1 preemptive
  int32_t typePad;
  TESSstring debugIdentifier;  // counted

  static void Destruct(ThreadData* data);
};

inline constexpr int32_t kDefaultThreadStackSize = 0x100000;
inline constexpr int32_t kDefaultThreadPriority = 5;
inline constexpr int32_t kPreemptiveThread = 1;

// The native data of a Thread object (with the declaration's checks), or nil.
ThreadData* ThreadDataOf(RuntimeObject* self);

}  // namespace vela
