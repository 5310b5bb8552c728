// Weak references: variables that the runtime sets to nil when their target
// dies. A process-wide table maps each target to the addresses of its
// reference variables; the destruction of an object clears its variables
// first, before any finalizer runs (see lifetime_hooks.h).
#pragma once

#include <cstddef>

#include "vela/object.h"

namespace vela {

// Stores `target` in the variable at `variable` and registers it. The
// variable must be pointer-aligned; a nil target or variable is an assertion.
void RegisterWeakReference(RuntimeObject** variable, RuntimeObject* target);

// Removes the registration of `variable` with `target` and sets it to nil.
// The variable must hold `target` and be registered with it.
void UnregisterWeakReference(RuntimeObject** variable, RuntimeObject* target);

// The same for whatever the variable holds now, read under the lock, so that
// a target dying on another thread cannot slip in between; a nil variable is
// left alone.
void DropWeakReference(RuntimeObject** variable);

// The target with a reference added (the two-step lock), or nil.
RuntimeObject* ResolveWeakReference(RuntimeObject* const* variable);

// Registrations in the table, for diagnostics and tests.
size_t WeakReferenceCount();

}  // namespace vela
