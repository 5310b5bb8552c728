/* The generic property accessors that compiled code stores in property
 * entries. A getter takes (object, parameter), a setter (object, parameter,
 * value); the parameter is the property's signed byte offset from the object
 * pointer (negative for properties in front of a native structure). */
#ifndef VELA_ACCESSORS_H
#define VELA_ACCESSORS_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* name, C type: each row is a getter nameGetter and a setter nameSetter that
 * read and write exactly sizeof(type) bytes. ptr is pointer-sized. */
#define VELA_SCALAR_ACCESSORS(X) \
  X(int, int32_t)                \
  X(int32, int32_t)              \
  X(uint, uint32_t)              \
  X(uint32, uint32_t)            \
  X(colour, uint32_t)            \
  X(ptr, void *)                 \
  X(boolean, VelaBoolean)        \
  X(int8, int8_t)                \
  X(uint8, uint8_t)              \
  X(int16, int16_t)              \
  X(uint16, uint16_t)            \
  X(int64, int64_t)              \
  X(uint64, uint64_t)            \
  X(single, float)               \
  X(double, double)

#define VELA_DECLARE_SCALAR_ACCESSOR(name, type)                          \
  VELA_API type name##Getter(RuntimeObject *object, intptr_t parameter); \
  VELA_API void name##Setter(RuntimeObject *object, intptr_t parameter, type value);
VELA_SCALAR_ACCESSORS(VELA_DECLARE_SCALAR_ACCESSOR)
#undef VELA_DECLARE_SCALAR_ACCESSOR

/* Counted values: the getter adds a reference for the caller; the setter
 * adds one to the new value before it drops the old one. */
VELA_API TESSstring stringGetter(RuntimeObject *object, intptr_t parameter);
VELA_API void stringSetter(RuntimeObject *object, intptr_t parameter, TESSstring value);
VELA_API RuntimeObject *objGetter(RuntimeObject *object, intptr_t parameter);
VELA_API void objSetter(RuntimeObject *object, intptr_t parameter, RuntimeObject *value);

typedef struct TextRecord *TextValue;
VELA_API TextValue textGetter(RuntimeObject *object, intptr_t parameter);
VELA_API void textSetter(RuntimeObject *object, intptr_t parameter, TextValue value);

VELA_END_DECLS

#endif
