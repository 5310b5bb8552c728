// Delegates: small objects that stand for one method of one object. They all
// belong to one static class record, "Delegate", which is not on the class
// list and has no declaration.
#pragma once

#include "vela/events.h"

namespace vela {

RuntimeClass* DelegateClass();

inline bool IsDelegate(const RuntimeObject* object) {
  return object && object->classPtr == DelegateClass();
}

// The delegate record of `object`, or nil when it is not a delegate.
inline RuntimeDelegate* AsDelegate(RuntimeObject* object) {
  return IsDelegate(object) ? reinterpret_cast<RuntimeDelegate*>(object) : nullptr;
}

}  // namespace vela
