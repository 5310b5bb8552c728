/* Auto: the dynamic value of the newer API, one pointer-sized word. Small
 * integers, Booleans, colours, Strings and Texts are held in the word
 * itself (no allocation); other values go into an immutable box of the
 * library's class "Auto"; an object is held as the object. Creators return
 * an owned word; converters read a borrowed one and raise
 * TypeMismatchException ("Expected Int32 but got String") for a value of
 * another type. The word 0 is Nil. */
#ifndef VELA_AUTO_H
#define VELA_AUTO_H

#include "vela/arrays.h"
#include "vela/numbers.h"
#include "vela/text.h"

VELA_BEGIN_DECLS

/* Life. */
VELA_API void RuntimeLockAuto(VelaAutoWord word);
VELA_API void RuntimeUnlockAuto(VelaAutoWord word);
VELA_API void RuntimeLockUnlockAuto(VelaAutoWord newWord, VelaAutoWord oldWord);

/* Creation. */
VELA_API VelaAutoWord RuntimeCreateAutoFromInt8(int8_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromInt16(int16_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromInt32(int32_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromInt64(int64_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromUInt8(uint8_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromUInt16(uint16_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromUInt32(uint32_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromUInt64(uint64_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromColor(uint32_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromSingle(float value);
VELA_API VelaAutoWord RuntimeCreateAutoFromDouble(double value);
VELA_API VelaAutoWord RuntimeCreateAutoFromCurrency(VelaCurrency value);
VELA_API VelaAutoWord RuntimeCreateAutoFromString(TESSstring value);
VELA_API VelaAutoWord RuntimeCreateAutoFromText(TextValue value);
VELA_API VelaAutoWord RuntimeCreateAutoFromBoolean(VelaBoolean value);
VELA_API VelaAutoWord RuntimeCreateAutoFromPtr(void *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromCString(const char *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromWString(const uint16_t *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromPString(const unsigned char *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromCFString(void *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromOSType(uint32_t value);
VELA_API VelaAutoWord RuntimeCreateAutoFromWindowPtr(void *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromObject(RuntimeObject *value);
VELA_API VelaAutoWord RuntimeCreateAutoFromStruct(int32_t size, const void *data, const char *name);

/* Conversion of a borrowed word. */
VELA_API int8_t RuntimeConvertAutoToInt8(VelaAutoWord word);
VELA_API int16_t RuntimeConvertAutoToInt16(VelaAutoWord word);
VELA_API int32_t RuntimeConvertAutoToInt32(VelaAutoWord word);
VELA_API int64_t RuntimeConvertAutoToInt64(VelaAutoWord word);
VELA_API uint8_t RuntimeConvertAutoToUInt8(VelaAutoWord word);
VELA_API uint16_t RuntimeConvertAutoToUInt16(VelaAutoWord word);
VELA_API uint32_t RuntimeConvertAutoToUInt32(VelaAutoWord word);
VELA_API uint64_t RuntimeConvertAutoToUInt64(VelaAutoWord word);
VELA_API uint32_t RuntimeConvertAutoToColor(VelaAutoWord word);
VELA_API float RuntimeConvertAutoToSingle(VelaAutoWord word);
VELA_API double RuntimeConvertAutoToDouble(VelaAutoWord word);
VELA_API VelaCurrency RuntimeConvertAutoToCurrency(VelaAutoWord word);
VELA_API TESSstring RuntimeConvertAutoToString(VelaAutoWord word);
VELA_API TextValue RuntimeConvertAutoToText(VelaAutoWord word);
VELA_API RuntimeObject *RuntimeConvertAutoToObject(VelaAutoWord word);
VELA_API uint32_t RuntimeConvertAutoToOSType(VelaAutoWord word);
VELA_API VelaBoolean RuntimeConvertAutoToBoolean(VelaAutoWord word);
VELA_API void *RuntimeConvertAutoToPtr(VelaAutoWord word);
VELA_API char *RuntimeConvertAutoToCString(VelaAutoWord word);
VELA_API uint16_t *RuntimeConvertAutoToWString(VelaAutoWord word);
VELA_API unsigned char *RuntimeConvertAutoToPString(VelaAutoWord word);
VELA_API void *RuntimeConvertAutoToCFString(VelaAutoWord word);
VELA_API void *RuntimeConvertAutoToWindowPtr(VelaAutoWord word);
/* Copies a structure of `size` bytes named `name` to `destination`. */
VELA_API void RuntimeConvertAutoToStruct(VelaAutoWord word, const char *name, int32_t size,
                                         void *destination);
/* Arrays: of the element kind; of the named structure; of the class. */
VELA_API RuntimeArray *RuntimeConvertAutoToArray(VelaAutoWord word, int32_t elementKind);
VELA_API RuntimeArray *RuntimeConvertAutoToStructArray(VelaAutoWord word, const char *name);
VELA_API RuntimeArray *RuntimeConvertAutoToObjectArray(VelaAutoWord word, RuntimeClass *cls);

/* Order: -1, 0 or 1; Nil sorts after every value. */
VELA_API int32_t RuntimeCompareAuto(VelaAutoWord a, VelaAutoWord b);

/* The bridges to and from Variant (an object; Nil is the Nil Variant):
 * numbers, Booleans, colours, strings and Texts change form, objects and
 * arrays stay the same object. */
VELA_API VelaAutoWord VariantToAuto(RuntimeObject *variant);
VELA_API RuntimeObject *AutoToVariant(VelaAutoWord word);

/* Introspection: the type code (AutoTypes), and for structures and arrays
 * their names, rank, element kind and class (others raise
 * TypeMismatchException). */
VELA_API int32_t Introspection_Auto_Type(VelaAutoWord word);
VELA_API TextValue Introspection_Auto_StructName(VelaAutoWord word);
VELA_API int32_t Introspection_Auto_ArrayRank(VelaAutoWord word);
VELA_API int32_t Introspection_Auto_ArrayElementType(VelaAutoWord word);
VELA_API TextValue Introspection_Auto_ArrayStructName(VelaAutoWord word);
VELA_API RuntimeClass *Introspection_Auto_ArrayClass(VelaAutoWord word);

VELA_END_DECLS

#endif
