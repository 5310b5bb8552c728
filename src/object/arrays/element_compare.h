// How elements that are references compare in Sort and IndexOf: objects
// (delegates, dynamic values and plain objects each in their own way) and
// Text values. Results are below 0, 0 or above 0.
#pragma once

#include <cstdint>

#include "vela/accessors.h"
#include "vela/object.h"

namespace vela {

// Two delegates with the same function and target word are equal. When
// neither value is a plain object (nil, a dynamic value box, an array, a
// delegate) the dynamic values' own order decides, which is what makes an
// array of them sort by value; as soon as one is a plain object, the
// addresses decide.
int32_t CompareObjectElements(RuntimeObject* a, RuntimeObject* b);

// Text order: the language's comparison of Text, which ignores case and
// accents; Nil sorts first.
int32_t CompareTextElements(TextValue a, TextValue b);

}  // namespace vela
