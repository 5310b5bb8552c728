// What the object layer needs of Text values: reference counting on the
// handles it stores (properties, exception data, array elements).
#pragma once

#include "vela/accessors.h"

namespace vela {

// Add and drop one reference on a Text value; nil is ignored.
void LockTextValue(TextValue text);
void UnlockTextValue(TextValue text);

}  // namespace vela
