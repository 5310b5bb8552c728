// Object lifetime: creation, the reference count, and destruction.
//
// The count is changed atomically at all times, because cooperative and
// detached threads share objects. The last reference runs the destructor
// hooks (which may resurrect the object) and then destroys it; a destruction
// that releases further objects queues them on a flat pending list instead of
// recursing, so that however long a chain of objects dies, the native stack
// stays flat.
#include <atomic>
#include <cstdlib>

#include "object/class_decl.h"
#include "object/instance_layout.h"
#include "object/lifetime_hooks.h"
#include "object/live_list.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "vela/object.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

std::atomic<ObjectHook> gClearWeakReferences{nullptr};
std::atomic<ObjectHook> gDestructionHook{nullptr};

inline std::atomic_ref<int32_t> RefCount(RuntimeObject* object) {
  return std::atomic_ref<int32_t>(object->objectRefCount);
}

// Destruction state. It has no lock of its own: ObjectLock guards it while
// that lock is in force, the cooperative turn otherwise.
bool sDestructionRunning = false;

// Objects whose destruction was requested while another one ran. Used last
// in, first out; the storage exists only while something is pending.
struct PendingList {
  RuntimeObject** items = nullptr;
  size_t count = 0;
  size_t capacity = 0;
};
PendingList sPending;

void DestroyObject(RuntimeObject* object);

void PushPending(RuntimeObject* object) {
  if (sPending.count == sPending.capacity) {
    size_t grown = sPending.capacity + (sPending.capacity > 16 ? sPending.capacity : 16);
    auto* items =
        static_cast<RuntimeObject**>(std::realloc(sPending.items, grown * sizeof(RuntimeObject*)));
    VELA_ASSERT_TEXT(items, "pending destruction list");
    if (!items) {
      // Out of memory: destroy it right here rather than leak it.
      DestroyObject(object);
      return;
    }
    sPending.items = items;
    sPending.capacity = grown;
  }
  sPending.items[sPending.count++] = object;
}

void ReleasePendingStorage() {
  if (!sPending.items) return;
  std::free(sPending.items);
  sPending = PendingList{};
}

// The declarations' operations are C++ code; a failure in them is reported,
// never let through to compiled code.
void ConstructNative(const ClassDecl* decl, RuntimeObject* object) {
  try {
    decl->Construct(object);
  } catch (...) {
    RuntimeAssertFormat(kReportPath, __LINE__, "Construct", "%s threw", decl->name());
  }
}

void DestructNative(const ClassDecl* decl, RuntimeObject* object) {
  try {
    decl->Destruct(object);
  } catch (...) {
    RuntimeAssertFormat(kReportPath, __LINE__, "Destruct", "%s threw", decl->name());
  }
}

// Root class first, the object's own class last. The chain is gathered
// from the object's class upward and run backwards; a chain deeper than the
// buffer has its upper part run first by a nested call.
void RunInitializers(RuntimeClass* cls, RuntimeObject* object) {
  constexpr size_t kDepth = 32;
  RuntimeClass* chain[kDepth];
  size_t depth = 0;
  for (; cls && depth < kDepth; cls = cls->superClass) chain[depth++] = cls;
  if (cls) RunInitializers(cls, object);
  while (depth > 0) {
    RuntimeClass* c = chain[--depth];
    if (c->initializer) c->initializer(object);
  }
}

// Runs the destructor hooks from the object's own class up to the root while
// the count is 1 again. Answers true when a hook stored a new reference: the
// destruction is then called off and the base classes' hooks do not run.
bool RunDestructorHooks(RuntimeObject* object) {
  for (RuntimeClass* cls = object->classPtr; cls; cls = cls->superClass) {
    if (!cls->destructorHook) continue;
    cls->destructorHook(object);
    if (RefCount(object).load(std::memory_order_acquire) > 1) return true;
  }
  return false;
}

void DestroyObject(RuntimeObject* object) {
  RuntimeClass* cls = object->classPtr;

  if (ObjectHook clear = gClearWeakReferences.load(std::memory_order_acquire)) clear(object);

  for (RuntimeClass* c = cls; c; c = c->superClass)
    if (c->finalizer) c->finalizer(object);

  InstanceLayout layout = ComputeInstanceLayout(cls);
  if (layout.decl) DestructNative(layout.decl, object);

  if (ObjectHook hook = gDestructionHook.load(std::memory_order_acquire)) hook(object);

  // A private event table holds a reference on each handler object. Those
  // handlers go on the pending list, not into a nested destruction.
  void* table = object->eventTable;
  if (table && table != cls->events) {
    auto* entries = static_cast<RuntimeEventMember*>(table);
    for (uint32_t i = 0; i < cls->eventCount; ++i) RuntimeUnlockObject(entries[i].target);
    std::free(table);
    object->eventTable = nullptr;
  }

  {
    ObjectLockGuard guard;
    LiveListUnlink(object);
  }
  FreeInstance(object, layout.prefix);
}

bool HasDestructorHooks(const RuntimeClass* cls) {
  for (; cls; cls = cls->superClass)
    if (cls->destructorHook) return true;
  return false;
}

// The count of `object` has just fallen from 1 to 0.
[[gnu::noinline]] void ReleaseLastReference(RuntimeObject* object) {
  ObjectLockGuard guard;
  // Without destructor hooks the closing phase has nothing to run and the
  // object goes straight to dying at a count of 0.
  if (HasDestructorHooks(object->classPtr)) {
    for (;;) {
      // Closing: the count is 1 again while the hooks run. An add rather
      // than a store, so that a concurrent late lock cannot be lost.
      RefCount(object).fetch_add(1, std::memory_order_relaxed);
      bool resurrected = RunDestructorHooks(object);
      // Take back the 1 added above. Anything else left means somebody
      // holds a reference now: the object lives on and its next last
      // release starts the sequence again.
      if (RefCount(object).fetch_sub(1, std::memory_order_acq_rel) != 1) return;
      if (!resurrected) break;
      // A hook resurrected the object and that reference was dropped again
      // before the hooks finished: start over.
    }
  }

  if (sDestructionRunning) {
    PushPending(object);
    return;
  }
  sDestructionRunning = true;
  DestroyObject(object);
  while (sPending.count > 0) DestroyObject(sPending.items[--sPending.count]);
  ReleasePendingStorage();
  sDestructionRunning = false;
}

}  // namespace

ObjectHook SetClearWeakReferencesHook(ObjectHook hook) {
  return gClearWeakReferences.exchange(hook, std::memory_order_acq_rel);
}

ObjectHook SetObjectDestructionHook(ObjectHook hook) {
  return gDestructionHook.exchange(hook, std::memory_order_acq_rel);
}

}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeObject* RuntimeNewObject(RuntimeClass* cls) {
  if (!cls) {
    RaiseNamedException("NilObjectException", 0, nullptr);
    return nullptr;
  }
  RuntimeObject* object = nullptr;
  {
    ObjectLockGuard guard;
    VELA_ASSERT_TEXT(!(cls->flags & kInterfaceFlag),
                     "!(parent->flags & RuntimeClass::kInterfaceFlag)");
    if (cls->flags & kInterfaceFlag) return nullptr;

    InstanceLayout layout = ComputeInstanceLayout(cls);
    object = static_cast<RuntimeObject*>(AllocateInstance(cls, layout.prefix, layout.size));
    if (object) {
      LiveListPrepend(object);
      object->classPtr = cls;
      object->vtable = cls->vtable;
      object->eventTable = cls->events;
      object->objectRefCount = 1;
      if (layout.decl) ConstructNative(layout.decl, object);
      RunInitializers(cls, object);
    }
  }
  if (!object) RaiseNamedException("NilObjectException", 0, nullptr);
  return object;
}

VELA_EXPORT void RuntimeLockObject(RuntimeObject* object) {
  if (!object) return;
  // A count that was 0 marks a static or dying object: undo the add, so that
  // a late lock cannot bring a dying object back.
  if (RefCount(object).fetch_add(1, std::memory_order_relaxed) == 0)
    RefCount(object).fetch_sub(1, std::memory_order_relaxed);
}

VELA_EXPORT void RuntimeUnlockObject(RuntimeObject* object) {
  if (!object) return;
  // Only the step from exactly 1 starts the end of the object; a count at 0
  // or below (a static or dying object) never starts a second destruction.
  if (__builtin_expect(RefCount(object).fetch_sub(1, std::memory_order_acq_rel) == 1, 0))
    ReleaseLastReference(object);
}

// Arrays are objects; these are the same two operations under the names
// that compiled code uses for array variables.
VELA_EXPORT void RuntimeLockArray(RuntimeObject* array) __attribute__((alias("RuntimeLockObject")));
VELA_EXPORT void RuntimeUnlockArray(RuntimeObject* array)
    __attribute__((alias("RuntimeUnlockObject")));
