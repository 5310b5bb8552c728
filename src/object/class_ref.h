// A class that the library needs by name without owning a declaration for
// it. The class is looked up on first use and remembered once it exists.
#pragma once

#include "vela/object.h"

namespace vela {

struct ClassRef {
  const char* name;
  RuntimeClass* cls;

  explicit constexpr ClassRef(const char* className) : name(className), cls(nullptr) {}

  // The class, or nil while the image has no class of that name.
  RuntimeClass* Get();
  // A new instance, owned by the caller; a missing class is the assertion
  // "defn" and gives nil.
  RuntimeObject* New();
};

}  // namespace vela
