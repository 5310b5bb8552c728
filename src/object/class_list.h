// The global list of class records, newest first. Compiled code prepends to
// it through RuntimeNewClass; the library looks classes up by name here and
// usually keeps the answer in a static.
#pragma once

#include "vela/object.h"

namespace vela {

// The first class on the list (the newest) whose name equals `name` without
// regard to ASCII case, or nil. Takes ObjectLock while it is in force.
RuntimeClass* FindClassByName(const char* name);

}  // namespace vela
