// The iterator objects of Text and String: by character (grapheme cluster)
// and by code point. The Value exports wrap these in Auto values.
#pragma once

#include <cstdint>

#include "vela/text.h"

namespace vela {

// The current value of each kind of iterator, owned by the caller. Reading
// at the end is reported as an assertion and gives Nil or 0.
TextValue TextCharacterIteratorCurrent(RuntimeObject* iterator);
TESSstring StringCharacterIteratorCurrent(RuntimeObject* iterator);
uint32_t TextCodepointIteratorCurrent(RuntimeObject* iterator);

}  // namespace vela
