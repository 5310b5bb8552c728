// Creating, comparing and casting delegates.
#include "object/delegate.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "object/instance_layout.h"
#include "object/live_list.h"
#include "object/raise.h"
#include "object/weak_ref.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeDelegates";

void DelegateFinalizer(RuntimeObject* obj);

// Zero-filled, completed when the library loads. The whole record is the
// instance, header included: delegates are made without RuntimeNewObject,
// and the block has exactly the class's size.
RuntimeClass gDelegateClass;
[[maybe_unused]] const bool gDelegateClassMade = [] {
  gDelegateClass.name = "Delegate";
  gDelegateClass.instanceSize = sizeof(RuntimeDelegate);
  gDelegateClass.finalizer = &DelegateFinalizer;
  return true;
}();
static_assert(sizeof(RuntimeDelegate) == 11 * sizeof(void*));
static_assert(offsetof(RuntimeDelegate, invoker) == sizeof(RuntimeObject));

// A weak delegate's target word is a registered weak reference; the target
// of a strong one is counted.
void DelegateFinalizer(RuntimeObject* obj) {
  VELA_ASSERT(obj);
  if (!obj) return;
  auto* delegate = reinterpret_cast<RuntimeDelegate*>(obj);
  if (delegate->weak) {
    DropWeakReference(&delegate->target);
  } else {
    RuntimeObject* target = delegate->target;
    delegate->target = nullptr;
    RuntimeUnlockObject(target);
  }
  std::free(delegate->signature);
  delegate->signature = nullptr;
}

// Signatures are compared byte for byte; nil reads as the empty text.
bool SameSignature(const char* a, const char* b) {
  return std::strcmp(a ? a : "", b ? b : "") == 0;
}

// A weak target word may be cleared by a death on another thread.
RuntimeObject* TargetWord(RuntimeDelegate* delegate) {
  return std::atomic_ref<RuntimeObject*>(delegate->target).load(std::memory_order_acquire);
}

}  // namespace

RuntimeClass* DelegateClass() { return &gDelegateClass; }

}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeObject* RuntimeCreateDelegate(void* invoker, void* function,
                                                 RuntimeObject* target, const char* signature,
                                                 VelaBoolean weak) {
  if (!invoker || !function) {
    RaiseNamedException("NilObjectException", 0, nullptr);
    return nullptr;
  }
  auto* delegate = static_cast<RuntimeDelegate*>(
      AllocateInstance(&gDelegateClass, 0, gDelegateClass.instanceSize));
  if (!delegate) {
    RaiseNamedException("NilObjectException", 0, nullptr);
    return nullptr;
  }
  // The block is zero-filled: vtable and eventTable stay nil.
  delegate->header.classPtr = &gDelegateClass;
  delegate->header.objectRefCount = 1;
  delegate->invoker = invoker;
  delegate->function = function;
  delegate->signature = signature ? strdup(signature) : nullptr;
  VELA_ASSERT_TEXT(delegate->signature || !signature, "signature copy");
  delegate->weak = weak ? 1 : 0;
  if (weak) {
    // A nil target is the registration's assertion "obj"; the word stays nil.
    RegisterWeakReference(&delegate->target, target);
  } else {
    RuntimeLockObject(target);
    delegate->target = target;
  }
  ObjectLockGuard guard;
  LiveListPrepend(&delegate->header);
  return &delegate->header;
}

VELA_EXPORT VelaBoolean RuntimeDelegateIsA(RuntimeObject* object, const char* signature) {
  RuntimeDelegate* delegate = AsDelegate(object);
  return delegate && SameSignature(delegate->signature, signature);
}

VELA_EXPORT RuntimeObject* RuntimeCheckDelegateCast(RuntimeObject* object, const char* signature) {
  if (!object) return nullptr;
  if (RuntimeDelegateIsA(object, signature)) {
    RuntimeLockObject(object);
    return object;
  }
  RaiseNamedException("IllegalCastException", 0, nullptr);
  return nullptr;
}

// Two delegates are equal when they call the same function on the same target
// word: two weak delegates whose targets died both hold nil and compare equal.
VELA_EXPORT VelaBoolean RuntimeCompareDelegates(RuntimeObject* a, RuntimeObject* b) {
  RuntimeDelegate* da = AsDelegate(a);
  RuntimeDelegate* db = AsDelegate(b);
  if (!da || !db) return a == b;
  return da->function == db->function && TargetWord(da) == TargetWord(db);
}
