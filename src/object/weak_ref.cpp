// The weak-reference table, its clearing at destruction, and the WeakRef
// classes built on it.
#include "object/weak_ref.h"

#include <atomic>
#include <cstdint>
#include <map>

#include "object/class_decl.h"
#include "object/lifetime_hooks.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "vela/events.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

// Target -> variable, ordered by target address. A multimap inserts an equal
// key behind those already there, so the variables of one target stay in
// order of arrival. Guarded by ObjectLock while that is in force; never freed,
// since objects may die during process exit.
using WeakTable = std::multimap<RuntimeObject*, RuntimeObject**>;

WeakTable& Table() {
  static WeakTable* table = new WeakTable;
  return *table;
}

// A variable is read without the lock (ResolveWeakRef) while another thread
// may clear it under the lock.
RuntimeObject* Load(RuntimeObject* const* variable) {
  return std::atomic_ref<RuntimeObject*>(*const_cast<RuntimeObject**>(variable))
      .load(std::memory_order_acquire);
}
void Store(RuntimeObject** variable, RuntimeObject* value) {
  std::atomic_ref<RuntimeObject*>(*variable).store(value, std::memory_order_release);
}

bool CheckArguments(RuntimeObject** variable, RuntimeObject* target) {
  VELA_ASSERT_TEXT(target, "obj");
  VELA_ASSERT_TEXT(variable, "addr");
  bool aligned = reinterpret_cast<uintptr_t>(variable) % alignof(RuntimeObject**) == 0;
  VELA_ASSERT_TEXT(aligned,
                   "0 == (reinterpret_cast<uintptr_t>(addr) % _alignof(RuntimeObject **))");
  return target && variable && aligned;
}

// The first step of every destruction: the dying object's variables become
// nil, then their nodes go. erase() of a range that is the whole table resets
// the tree at once; any other range is erased node by node. Most objects have
// no weak references, so one descent decides, not the two of equal_range.
void ClearWeakReferences(RuntimeObject* object) {
  ObjectLockGuard guard;
  WeakTable& table = Table();
  auto first = table.lower_bound(object);
  auto last = first;
  for (; last != table.end() && last->first == object; ++last) Store(last->second, nullptr);
  if (first != last) table.erase(first, last);
}

// Installed when the library loads, before any object can exist.
[[maybe_unused]] const bool gClearerInstalled =
    (SetClearWeakReferencesHook(&ClearWeakReferences), true);

// The native part of WeakRef and vela.Core.WeakRef: one reference variable.
struct WeakRefData {
  RuntimeObject header;
  RuntimeObject* target;

  // The compiled destructor unregisters through WeakRef_Destructor; one that
  // did not must not leave the freed variable in the table.
  static void Destruct(WeakRefData* data) { DropWeakReference(&data->target); }
};
static_assert(offsetof(WeakRefData, target) == sizeof(RuntimeObject));

NativeClassDecl<WeakRefData> gWeakRefDecl(nullptr, "WeakRef");
NativeClassDecl<WeakRefData> gCoreWeakRefDecl(nullptr, "vela.Core.WeakRef");

// The reference variable of a holder: its first native word.
RuntimeObject** HolderVariable(RuntimeObject* holder) {
  return holder ? &reinterpret_cast<WeakRefData*>(holder)->target : nullptr;
}

}  // namespace

void RegisterWeakReference(RuntimeObject** variable, RuntimeObject* target) {
  ObjectLockGuard guard;
  if (!CheckArguments(variable, target)) return;
  Store(variable, target);
  try {
    Table().emplace(target, variable);
  } catch (...) {
    // Out of memory: an unregistered variable would dangle once the target
    // dies, so it reads as already cleared instead.
    VELA_ASSERT_TEXT(false, "weak reference table");
    Store(variable, nullptr);
  }
}

void UnregisterWeakReference(RuntimeObject** variable, RuntimeObject* target) {
  ObjectLockGuard guard;
  if (!CheckArguments(variable, target)) return;
  if (Load(variable) != target) {
    VELA_ASSERT_TEXT(false, "*addr == obj");
    return;
  }
  // The target's range is searched from both ends at once, so that a
  // reference dropped soon after it came (the newest) or in order of arrival
  // (the oldest) is found at once however many others the target has. Nodes
  // of one target with the same variable are alike: which of them goes makes
  // no difference.
  WeakTable& table = Table();
  auto remove = [&](WeakTable::iterator node) {
    table.erase(node);
    Store(variable, nullptr);
  };
  auto [front, back] = table.equal_range(target);
  while (front != back) {
    if (front->second == variable) return remove(front);
    if (--back == front) break;
    if (back->second == variable) return remove(back);
    ++front;
  }
  VELA_ASSERT(false);
}

void DropWeakReference(RuntimeObject** variable) {
  ObjectLockGuard guard;
  if (RuntimeObject* target = Load(variable)) UnregisterWeakReference(variable, target);
}

RuntimeObject* ResolveWeakReference(RuntimeObject* const* variable) {
  RuntimeObject* target = Load(variable);
  RuntimeLockObject(target);
  return target;
}

size_t WeakReferenceCount() {
  ObjectLockGuard guard;
  return Table().size();
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void RegisterWeakRef(RuntimeObject* holder, RuntimeObject* target) {
  if (target) RegisterWeakReference(HolderVariable(holder), target);
}

VELA_EXPORT void UnregisterWeakRef(RuntimeObject* holder) {
  RuntimeObject** variable = HolderVariable(holder);
  VELA_ASSERT_TEXT(variable, "addr");
  if (variable) DropWeakReference(variable);
}

VELA_EXPORT RuntimeObject* ResolveWeakRef(RuntimeObject* holder) {
  return holder ? ResolveWeakReference(HolderVariable(holder)) : nullptr;
}

VELA_EXPORT RuntimeObject* WeakRef_Create(RuntimeObject* target) {
  if (!target) {
    RaiseNamedException("NilObjectException", 0, nullptr);
    return nullptr;
  }
  RuntimeObject* holder = gCoreWeakRefDecl.New();
  if (holder) RegisterWeakRef(holder, target);
  return holder;
}

VELA_EXPORT RuntimeObject* WeakRef_Value(RuntimeObject* self) __attribute__((alias("ResolveWeakRef")));
VELA_EXPORT void WeakRef_Destructor(RuntimeObject* self) __attribute__((alias("UnregisterWeakRef")));
