// The library's own way to make and read strings, for every subsystem.
#pragma once

#include <cstdint>

#include "vela/string.h"

namespace vela {

// A new string of `length` bytes (negative: measured up to the terminator)
// tagged with `encoding`; Nil for length 0. Null bytes leave the text for the
// caller to fill.
TESSstring NewString(const void* bytes, int32_t length, uint32_t encoding);

// The text address of a string, or null for Nil.
inline const char* StringText(TESSstring s) {
  return s ? reinterpret_cast<const char*>(s->mBuffer + 1) : nullptr;
}
inline int32_t StringLength(TESSstring s) { return s ? s->mLength : 0; }

// Number of counted string records alive, while tracking is on. Tracking
// costs one relaxed atomic per create and free; tests switch it on to check
// that they leaked nothing.
void SetStringTracking(bool on);
int64_t LiveStringCount();

}  // namespace vela
