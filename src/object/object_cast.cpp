// Class tests and checked casts. RuntimeObjectIsa is among the hottest
// operations of the system: it takes no lock and allocates nothing.
#include <cstring>

#include "support/message_text.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "vela/object.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

// An interface matches itself and every interface it extends, reached
// through superClass of the implemented interface's record.
bool ImplementsInterface(const RuntimeClass* cls, const RuntimeClass* interface) {
  for (uint32_t i = 0; i < cls->interfaceCount; ++i)
    for (const RuntimeClass* it = cls->interfaceEntries[i].interface; it; it = it->superClass)
      if (it == interface) return true;
  return false;
}

bool NamedExactly(const RuntimeClass* cls, const char* name) {
  return cls && cls->name && std::strcmp(cls->name, name) == 0;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeClass* RuntimeClassOf(RuntimeObject* object) {
  return object ? object->classPtr : nullptr;
}

VELA_EXPORT RuntimeClass* Introspection_ObjectClass(RuntimeObject* object)
    __attribute__((alias("RuntimeClassOf")));

VELA_EXPORT VelaBoolean RuntimeObjectIsa(RuntimeObject* object, RuntimeClass* cls) {
  VELA_ASSERT_TEXT(cls, "classrec");
  if (!object || !cls) return false;
  const RuntimeClass* own = object->classPtr;
  if (cls->flags & kInterfaceFlag) return ImplementsInterface(own, cls);
  // Classes are compared by record: two classes of one name are different.
  for (; own; own = own->superClass)
    if (own == cls) return true;
  return false;
}

VELA_EXPORT RuntimeObject* RuntimeCheckCast(RuntimeObject* object, RuntimeClass* cls) {
  if (!object) return nullptr;
  if (!cls) return object;
  if (RuntimeObjectIsa(object, cls)) {
    RuntimeLockObject(object);
    return object;
  }
  // Every class directly below OLEObject accepts a plain OLEObject: the
  // automation object's real type is only known to the server.
  if (cls->superClass && NamedExactly(object->classPtr, "OLEObject") &&
      NamedExactly(cls->superClass, "OLEObject")) {
    RuntimeLockObject(object);
    return object;
  }
  MessageText message("%s cannot be cast to %s", NameForMessage(object->classPtr->name),
                      NameForMessage(cls->name));
  RaiseNamedException("IllegalCastException", 0, message.c_str());
  return nullptr;
}

VELA_EXPORT RuntimeVtableEntry* RuntimeLookupInterfaceVtable(RuntimeObject* object,
                                                             RuntimeClass* interface) {
  if (!object || !interface) {
    RaiseNamedException("NilObjectException", 0, nullptr);
    return nullptr;
  }
  if (!(interface->flags & kInterfaceFlag)) {
    RaiseNamedException("IllegalCastException", 0, nullptr);
    return nullptr;
  }
  // Only the exact interface counts here: an interface that is implemented
  // through one that extends it has no vtable of its own in this class.
  const RuntimeClass* cls = object->classPtr;
  for (uint32_t i = 0; i < cls->interfaceCount; ++i)
    if (cls->interfaceEntries[i].interface == interface) return cls->interfaceEntries[i].vtable;
  MessageText message("%s does not implement the %s interface", NameForMessage(cls->name),
                      NameForMessage(interface->name));
  RaiseNamedException("IllegalCastException", 0, message.c_str());
  return nullptr;
}
