// The generic property accessors. Compiled code calls them around nearly
// every property access it cannot inline, so each is one load or one store at
// the object pointer plus the property's offset.
#include <cstring>

#include "vela/accessors.h"
#include "support/export.h"
#include "text/text_bridge.h"

namespace vela {
namespace {

inline void* FieldAddress(RuntimeObject* object, intptr_t parameter) {
  return reinterpret_cast<unsigned char*>(object) + parameter;
}

// Fields in front of a native structure or behind packed properties need not
// be aligned; memcpy reads and writes exactly sizeof(T) bytes either way.
template <class T>
inline T LoadField(RuntimeObject* object, intptr_t parameter) {
  T value;
  std::memcpy(&value, FieldAddress(object, parameter), sizeof value);
  return value;
}

template <class T>
inline void StoreField(RuntimeObject* object, intptr_t parameter, T value) {
  std::memcpy(FieldAddress(object, parameter), &value, sizeof value);
}

}  // namespace
}  // namespace vela

using vela::LoadField;
using vela::StoreField;

#define VELA_DEFINE_SCALAR_ACCESSOR(name, type)                                    \
  VELA_EXPORT type name##Getter(RuntimeObject* object, intptr_t parameter) {       \
    return LoadField<type>(object, parameter);                                     \
  }                                                                                \
  VELA_EXPORT void name##Setter(RuntimeObject* object, intptr_t parameter, type value) { \
    StoreField<type>(object, parameter, value);                                    \
  }
VELA_SCALAR_ACCESSORS(VELA_DEFINE_SCALAR_ACCESSOR)
#undef VELA_DEFINE_SCALAR_ACCESSOR

VELA_EXPORT TESSstring stringGetter(RuntimeObject* object, intptr_t parameter) {
  TESSstring value = LoadField<TESSstring>(object, parameter);
  RuntimeLockString(value);
  return value;
}

VELA_EXPORT void stringSetter(RuntimeObject* object, intptr_t parameter, TESSstring value) {
  TESSstring old = LoadField<TESSstring>(object, parameter);
  RuntimeLockString(value);
  RuntimeUnlockString(old);
  StoreField(object, parameter, value);
}

VELA_EXPORT RuntimeObject* objGetter(RuntimeObject* object, intptr_t parameter) {
  RuntimeObject* value = LoadField<RuntimeObject*>(object, parameter);
  RuntimeLockObject(value);
  return value;
}

VELA_EXPORT void objSetter(RuntimeObject* object, intptr_t parameter, RuntimeObject* value) {
  RuntimeObject* old = LoadField<RuntimeObject*>(object, parameter);
  RuntimeLockObject(value);
  RuntimeUnlockObject(old);
  StoreField(object, parameter, value);
}

VELA_EXPORT TextValue textGetter(RuntimeObject* object, intptr_t parameter) {
  TextValue value = LoadField<TextValue>(object, parameter);
  vela::LockTextValue(value);
  return value;
}

VELA_EXPORT void textSetter(RuntimeObject* object, intptr_t parameter, TextValue value) {
  TextValue old = LoadField<TextValue>(object, parameter);
  vela::LockTextValue(value);
  StoreField(object, parameter, value);
  // A Text count changes under the text lock; the old value is dropped after
  // the store, outside it.
  vela::UnlockTextValue(old);
}
