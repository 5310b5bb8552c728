#include "object/stack_crawl.h"

#include <pthread.h>
#include <unwind.h>

#include <cstring>

#include "object/loader.h"
#include "platform/process.h"
#include "support/assert.h"

extern "C" void __register_frame(void* begin);
extern "C" void __deregister_frame(void* begin);

namespace vela {
namespace {
constexpr const char* kReportPath = "Universal/CrawlStack";
constexpr int kFramePointerRegister = 6;  // rbp in the DWARF numbering

// One CIE and one FDE in the exception-frame form, then the terminator. The
// CIE's rule holds at every call site of frame-pointer code: the frame
// starts 16 bytes above the frame pointer, the caller's frame pointer is
// saved at the frame pointer and the return address right above it.
struct alignas(8) ImageUnwindTable {
  uint8_t bytes[64];
};

constexpr uint8_t kImageCie[24] = {
    20, 0, 0, 0,       // length
    0, 0, 0, 0,        // CIE id
    1,                 // version
    'z', 'R', 0,       // augmentation
    1,                 // code alignment
    0x78,              // data alignment -8
    16,                // return address register
    1,                 // augmentation data length
    0x00,              // FDE pointers: 8-byte absolute
    0x0c, 6, 16,       // def_cfa rbp+16
    0x86, 2,           // rbp saved at cfa-16
    0x90, 1,           // return address at cfa-8
};

void BuildImageUnwindTable(ImageUnwindTable* table, uintptr_t start, uint64_t length) {
  std::memset(table->bytes, 0, sizeof table->bytes);
  std::memcpy(table->bytes, kImageCie, sizeof kImageCie);
  uint8_t* fde = table->bytes + sizeof kImageCie;
  const uint32_t fdeLength = 28;      // CIE pointer, start, length, augmentation, padding
  const uint32_t ciePointer = 24 + 4;  // from the CIE pointer field back to the CIE
  std::memcpy(fde, &fdeLength, 4);
  std::memcpy(fde + 4, &ciePointer, 4);
  std::memcpy(fde + 8, &start, 8);
  std::memcpy(fde + 16, &length, 8);
  // Augmentation length 0 and DW_CFA_nop padding are the zero bytes; the
  // terminator follows at 56.
}

pthread_mutex_t gImageTableLock = PTHREAD_MUTEX_INITIALIZER;
ImageUnwindTable gImageTable;
bool gImageTableRegistered = false;
uintptr_t gImageStart = 0;
uint64_t gImageLength = 0;

struct UnwindWalk {
  uintptr_t start;
  FrameVisitor visit;
  void* context;
  const ThreadStack* stack;
  bool stopped = false;     // the visitor or a check ended the walk
  bool reachedEnd = false;  // the unwinder reached the thread's first frame
  bool haveLast = false;
  MachineFrame last{};
};

_Unwind_Reason_Code UnwindStep(_Unwind_Context* context, void* argument) {
  auto* walk = static_cast<UnwindWalk*>(argument);
  uintptr_t ip = _Unwind_GetIP(context);
  if (ip == 0) {
    walk->reachedEnd = true;
    return _URC_END_OF_STACK;
  }
  uintptr_t slotAddress = _Unwind_GetCFA(context) - sizeof(uintptr_t);
  // A frame whose described return slot does not hold its return address
  // is not trusted, and nothing behind it either.
  if (!walk->stack->Contains(slotAddress, sizeof(uintptr_t)) ||
      *reinterpret_cast<uintptr_t*>(slotAddress) != ip) {
    walk->stopped = true;
    return _URC_NORMAL_STOP;
  }
  MachineFrame frame{ip, reinterpret_cast<uintptr_t*>(slotAddress),
                     uintptr_t(_Unwind_GetGR(context, kFramePointerRegister))};
  walk->last = frame;
  walk->haveLast = true;
  if (slotAddress < walk->start) return _URC_NO_REASON;
  if (walk->visit(frame, walk->context)) {
    walk->stopped = true;
    return _URC_NORMAL_STOP;
  }
  return _URC_NO_REASON;
}

ThreadStack ComputeThreadStack() {
  platform::StackBounds bounds = platform::CurrentThreadStackBounds();
  ThreadStack stack{bounds.high - bounds.size, bounds.high};
  VELA_ASSERT_TEXT(stack.high > stack.low, "highLimit > lowLimit");
  return stack;
}

}  // namespace

const ThreadStack& CurrentThreadStack() {
  static thread_local ThreadStack stack = ComputeThreadStack();
  return stack;
}

void SyncImageUnwindInfo() {
  Loader& loader = Loader::Instance();
  auto start = reinterpret_cast<uintptr_t>(loader.CodeBase());
  uint64_t length = start ? loader.CodeLength() : 0;
  pthread_mutex_lock(&gImageTableLock);
  if (start != gImageStart || length != gImageLength) {
    if (gImageTableRegistered) __deregister_frame(gImageTable.bytes);
    gImageTableRegistered = false;
    gImageStart = start;
    gImageLength = length;
    if (start && length) {
      BuildImageUnwindTable(&gImageTable, start, length);
      __register_frame(gImageTable.bytes);
      gImageTableRegistered = true;
    }
  }
  pthread_mutex_unlock(&gImageTableLock);
}

// The saved frame pointers may lead anywhere when code without them stands
// in the chain; the checks keep every read inside this thread's stack, and
// the sanitizer is told that reading another function's frame is intended.
__attribute__((no_sanitize_address)) void WalkFramePointers(uintptr_t framePointer,
                                                            FrameVisitor visit, void* context) {
  const ThreadStack& stack = CurrentThreadStack();
  uintptr_t fp = framePointer;
  while (fp && fp % sizeof(uintptr_t) == 0 && stack.Contains(fp, 2 * sizeof(uintptr_t))) {
    auto* record = reinterpret_cast<uintptr_t*>(fp);
    uintptr_t next = record[0];
    uintptr_t returnAddress = record[1];
    if (next <= fp || next > stack.high || returnAddress == 0) return;
    if (visit(MachineFrame{returnAddress, &record[1], next}, context)) return;
    fp = next;
  }
}

__attribute__((noinline)) void WalkStack(uintptr_t start, FrameVisitor visit, void* context) {
  SyncImageUnwindInfo();
  UnwindWalk walk{start, visit, context, &CurrentThreadStack()};
  _Unwind_Backtrace(UnwindStep, &walk);
  if (walk.stopped || walk.reachedEnd || !walk.haveLast) return;
  // The unwinder met code it has no description for: the last frame it
  // described is that code's; its saved frame pointers lead on.
  WalkFramePointers(walk.last.framePointer, visit, context);
}

}  // namespace vela
