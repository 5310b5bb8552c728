// Internals of the runtime-debug exports that tests look at.
#pragma once

#include <cstdint>

namespace vela {

// How often a position lookup of RuntimeDebugObjectClass or
// RuntimeDebugObjectRefs had to walk the live list from its head. A request
// for the remembered position or one step from it does not walk.
uint64_t DebugPositionWalkCount();

}  // namespace vela
