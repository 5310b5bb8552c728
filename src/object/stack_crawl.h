// The walk over the machine stack that exception dispatch and the stack
// list of an exception share. Each frame gives the return address into its
// function, where that address is stored, and the frame pointer of the
// function that contains the address.
//
// Frames are found by their unwind information: the library, the C++
// runtime and plug-ins describe their frames in their exception-frame
// sections, and the image's code is described by one entry that says "frame
// pointer frame" (every image function keeps the x86 frame-pointer
// convention). Code that nobody describes ends the unwind information; the
// walk then goes on along the chain of saved frame pointers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vela {

struct MachineFrame {
  uintptr_t returnAddress;
  uintptr_t* returnSlot;   // where returnAddress is stored on the stack
  uintptr_t framePointer;  // the frame pointer of the function returned into
};

// Answers true to end the walk.
using FrameVisitor = bool (*)(const MachineFrame& frame, void* context);

// Visits the frames whose return slot lies at or above `start` (an address
// on the current stack), innermost first.
void WalkStack(uintptr_t start, FrameVisitor visit, void* context);

// The reference walk along saved frame pointers from `framePointer`: each
// step needs a saved frame pointer above the current one and within the
// thread's stack. Frames of code without frame pointers break it.
void WalkFramePointers(uintptr_t framePointer, FrameVisitor visit, void* context);

// The current native thread's usable stack: 0x4000 bytes above its low
// limit up to its high limit.
struct ThreadStack {
  uintptr_t low;
  uintptr_t high;
  bool Contains(uintptr_t address, size_t bytes) const {
    return address >= low && address <= high && high - address >= bytes;
  }
};
const ThreadStack& CurrentThreadStack();

// Bounds of the image's code as the unwinder knows them; kept in step with
// the loader on every walk.
void SyncImageUnwindInfo();

}  // namespace vela
