// The introspection exports: creation and class tests that raise instead of
// asserting on a nil class, and the generic call of a method member.
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "vela/object.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

void RaiseNilClass() { RaiseNamedException("NilObjectException", 0, "classPtr is Nil"); }

// The vtable that `object`'s class provides for exactly `interface`, or nil.
RuntimeVtableEntry* InterfaceVtable(const RuntimeObject* object, const RuntimeClass* interface) {
  const RuntimeClass* cls = object->classPtr;
  for (uint32_t i = 0; i < cls->interfaceCount; ++i)
    if (cls->interfaceEntries[i].interface == interface) return cls->interfaceEntries[i].vtable;
  return nullptr;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeObject* Introspection_NewObject(RuntimeClass* cls) {
  if (!cls) {
    RaiseNilClass();
    return nullptr;
  }
  return RuntimeNewObject(cls);
}

VELA_EXPORT VelaBoolean Introspection_ObjectIsA(RuntimeObject* object, RuntimeClass* cls) {
  if (!cls) {
    RaiseNilClass();
    return false;
  }
  return RuntimeObjectIsa(object, cls);
}

VELA_EXPORT intptr_t Introspection_GenericInvoker(RuntimeClass* cls, RuntimeMethodMember* member,
                                                  RuntimeObject* object, void* parameters) {
  VELA_ASSERT(member);
  if (!member) return 0;
  auto invoker = reinterpret_cast<RuntimeInvoker>(member->invoker);
  VELA_ASSERT_TEXT(invoker, "member->invoker");
  if (!invoker) return 0;

  void* target = member->function;
  if ((member->head.flags & kMemberVirtual) && object) {
    if (cls && (cls->flags & kInterfaceFlag)) {
      // Dispatch through the vtable the object's class gives this interface;
      // a class without one has nothing to call.
      RuntimeVtableEntry* vtable = InterfaceVtable(object, cls);
      if (!vtable) return 0;
      target = vtable[member->vtableSlot];
    } else {
      target = object->vtable[member->vtableSlot];
    }
  }
  return invoker(target, object, parameters);
}
