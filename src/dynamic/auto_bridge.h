// What the object layer (arrays of Auto) needs of Auto values; the Auto
// type in this folder provides it.
// An Auto is one pointer-sized tagged word; 0 is the Nil Auto.
#pragma once

#include <cstdint>

namespace vela {

using AutoWord = uintptr_t;

// Add and drop the reference that a word holds by its inner type; Nil holds
// nothing.
void LockAutoValue(AutoWord value);
void UnlockAutoValue(AutoWord value);

// The language's order of two Auto values: below 0, 0 or above 0.
int32_t CompareAutoValues(AutoWord a, AutoWord b);

}  // namespace vela
