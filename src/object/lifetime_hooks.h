// Hooks into the destruction of objects for layers that are built on top of
// the object model. Both run with ObjectLock held (when it is in force) and
// must not wait for another thread that needs it.
#pragma once

#include "vela/object.h"

namespace vela {

using ObjectHook = void (*)(RuntimeObject* object);

// Clears every weak reference to `object`: the registered variables are set
// to nil and their registrations removed. Installed by the weak-reference
// layer; it runs first in the destruction of every object. Until it is
// installed no weak reference can exist and nothing needs clearing. Returns
// the hook that was in place.
ObjectHook SetClearWeakReferencesHook(ObjectHook hook);

// The process-wide object-destruction hook, installed by the debugger. It
// runs after the native part is destructed and before the object leaves the
// live list. Returns the hook that was in place.
ObjectHook SetObjectDestructionHook(ObjectHook hook);

// A private event table (an object's own copy of its class's event entries,
// made when a handler is added to that one object) is a single malloc block
// of `classPtr->eventCount` RuntimeEventMember entries, each holding one
// counted reference on its handler object (`target`). Destruction drops
// those references and releases the block with free().

}  // namespace vela
