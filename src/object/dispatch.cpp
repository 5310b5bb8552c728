#include "object/dispatch.h"

#include <cstring>

#include "object/frame_table.h"
#include "object/loader.h"
#include "object/stack_crawl.h"
#include "support/export.h"

namespace vela {
namespace {

constexpr uint32_t kHandlerMark = 0x411;
constexpr uint32_t kNestedRegionStart = 0x412;
constexpr uint32_t kNestedRegionEnd = 0x413;
constexpr uint8_t kJump32 = 0xE9, kJump8 = 0xEB;

// The exception that a frame-table landing pad takes with
// TakeCurrentException. Written under ObjectLock when that is in force, and
// read by the landing pad right after the return, with no yield between.
RuntimeObject* gCurrentException = nullptr;

uint32_t Word(const uint8_t* at) {
  uint32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

struct Dispatch {
  RuntimeObject* exception;
  const uint8_t* codeStart;
  const uint8_t* codeEnd;
  bool handled;
};

void InstallCurrentException(RuntimeObject* exception) {
  RuntimeLockObject(exception);
  RuntimeObject* untaken = gCurrentException;
  gCurrentException = exception;
  // A pad that never took its exception leaves nobody else to drop it.
  RuntimeUnlockObject(untaken);
}

bool InstallHandler(const MachineFrame& frame, Dispatch* dispatch) {
  if (uintptr_t pad = frametable::LandingPadFor(frame.returnAddress)) {
    InstallCurrentException(dispatch->exception);
    *frame.returnSlot = pad;
    return true;
  }
  auto* code = reinterpret_cast<const uint8_t*>(frame.returnAddress);
  if (code < dispatch->codeStart || code >= dispatch->codeEnd) return false;
  InlineHandler mark;
  if (!FindInlineHandler(code, dispatch->codeEnd, &mark)) return false;
  if (mark.slotOffset != 0) {
    uintptr_t slot = frame.framePointer + uintptr_t(intptr_t(mark.slotOffset));
    if (!CurrentThreadStack().Contains(slot, sizeof(RuntimeObject*))) return false;
    RuntimeLockObject(dispatch->exception);
    *reinterpret_cast<RuntimeObject**>(slot) = dispatch->exception;
  }
  *frame.returnSlot = mark.handler;
  return true;
}

}  // namespace

bool FindInlineHandler(const uint8_t* returnAddress, const uint8_t* codeEnd, InlineHandler* out) {
  int nesting = 0;
  for (const uint8_t* at = returnAddress; at + 1 < codeEnd;) {
    if ((at[0] == 0xC9 || at[0] == 0x5D) && at[1] == 0xC3) return false;  // leave/pop rbp; ret
    if (at[0] != kJump32 && at[0] != kJump8) {
      ++at;
      continue;
    }
    if (codeEnd - at < 9) return false;
    uint32_t word = Word(at + 5);
    if (word == kHandlerMark && nesting == 0) {
      if (codeEnd - at < 13) return false;
      out->slotOffset = int32_t(Word(at + 9));
      out->handler = reinterpret_cast<uintptr_t>(at + 13);
      return true;
    }
    if (word == kHandlerMark) {
      ++at;
    } else if (word == kNestedRegionStart) {
      ++nesting;
      ++at;
    } else if (word == kNestedRegionEnd) {
      if (nesting > 0) --nesting;
      ++at;
    } else {
      at += at[0] == kJump8 ? 2 : 3;
    }
  }
  return false;
}

bool DispatchException(RuntimeObject* exception, uintptr_t startSlot) {
  Loader& loader = Loader::Instance();
  const uint8_t* codeStart = loader.CodeBase();
  Dispatch dispatch{exception, codeStart, codeStart ? codeStart + loader.CodeLength() : nullptr,
                    false};
  WalkStack(
      startSlot,
      [](const MachineFrame& frame, void* context) {
        auto* d = static_cast<Dispatch*>(context);
        return d->handled = InstallHandler(frame, d);
      },
      &dispatch);
  return dispatch.handled;
}

}  // namespace vela

VELA_EXPORT RuntimeObject* TakeCurrentException(void) {
  RuntimeObject* exception = vela::gCurrentException;
  vela::gCurrentException = nullptr;
  return exception;
}
