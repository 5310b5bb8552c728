// The dispatch of a raised exception: the search for the nearest compiled
// frame with a handler for the call in progress, and the patch of that
// frame's return address.
#pragma once

#include <cstdint>

#include "vela/object.h"

namespace vela {

// An inline handler mark in image code: the handler's address and the
// offset of the exception's slot from the frame pointer (0: no slot).
struct InlineHandler {
  uintptr_t handler;
  int32_t slotOffset;
};

// Scans the code behind `returnAddress`, up to `codeEnd`, for the mark of
// the handler that protects the call. False at a function's epilogue or at
// the end of the code.
bool FindInlineHandler(const uint8_t* returnAddress, const uint8_t* codeEnd, InlineHandler* out);

// Walks outward from the frame whose return slot is at `startSlot` and
// installs the first handler found: a landing pad from the frame tables
// (the exception becomes the current exception) or an inline mark (the
// exception goes into the frame's slot, if the mark names one). Either way
// the handler receives one reference. False when no frame has a handler.
bool DispatchException(RuntimeObject* exception, uintptr_t startSlot);

}  // namespace vela
