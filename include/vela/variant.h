/* Variant: the dynamic value of the classic API. A Variant is an object
 * pointer: nil is the Nil Variant, a boxed primitive is an instance of one
 * of the library's `_Variant...` classes, and any other object, array or
 * delegate is a Variant as it is.
 *
 * Boxing returns an owned Variant; the zero value of each boxed type is one
 * shared object. Unboxing and the operators borrow their operands; a Nil
 * Variant unboxes to the type's zero; a value that cannot convert raises
 * TypeMismatchException (no message). Results that are strings, texts,
 * objects or raw text pointers belong to the caller.
 *
 * The boxed classes' conversion members (`Int32ObjectToDouble` and the
 * like) and their `_Hashable` members (`Int32ObjectHash`...) are exported
 * for the class records that compiled code builds; they take the box and
 * are listed in tests/abi/exports/variant.txt. */
#ifndef VELA_VARIANT_H
#define VELA_VARIANT_H

#include "vela/arrays.h"
#include "vela/numbers.h"
#include "vela/text.h"

VELA_BEGIN_DECLS

/* VarType codes. An array is kVarTypeArray plus its element's code. */
enum {
  kVarTypeNil = 0,
  kVarTypeInt32 = 2,
  kVarTypeInt64 = 3,
  kVarTypeSingle = 4,
  kVarTypeDouble = 5,
  kVarTypeCurrency = 6,
  kVarTypeDate = 7,
  kVarTypeString = 8,
  kVarTypeObject = 9,
  kVarTypeBoolean = 11,
  kVarTypeColor = 16,
  kVarTypeCString = 18,
  kVarTypeWString = 19,
  kVarTypePString = 20,
  kVarTypeCFStringRef = 21,
  kVarTypeWindowPtr = 22,
  kVarTypeOSType = 23,
  kVarTypePtr = 26,
  kVarTypeStructure = 36,
  kVarTypeText = 37,
  kVarTypeDateTime = 38,
  kVarTypeDelegate = 39,
  kVarTypeArray = 0x1000
};

/* Boxing. Pointers keep all 64 bits. The raw text forms box a registered
 * copy of the text (nil stays nil). A structure is its name and its bytes,
 * both as strings. */
VELA_API RuntimeObject *IntegerToVariant(int32_t value);
VELA_API RuntimeObject *Int32ToVariant(int32_t value);
VELA_API RuntimeObject *UInt32ToVariant(uint32_t value);
VELA_API RuntimeObject *Int64ToVariant(int64_t value);
VELA_API RuntimeObject *UInt64ToVariant(uint64_t value);
VELA_API RuntimeObject *SingleToVariant(float value);
VELA_API RuntimeObject *DoubleToVariant(double value);
VELA_API RuntimeObject *BooleanToVariant(VelaBoolean value);
VELA_API RuntimeObject *ColorToVariant(uint32_t value);
VELA_API RuntimeObject *CurrencyToVariant(VelaCurrency value);
VELA_API RuntimeObject *PtrToVariant(void *value);
VELA_API RuntimeObject *StringToVariant(TESSstring value);
VELA_API RuntimeObject *CStringToVariant(const char *value);
VELA_API RuntimeObject *WStringToVariant(const uint16_t *value);
VELA_API RuntimeObject *PStringToVariant(const unsigned char *value);
VELA_API RuntimeObject *CFStringRefToVariant(void *value);
VELA_API RuntimeObject *WindowPtrToVariant(void *value);
VELA_API RuntimeObject *OSTypeToVariant(uint32_t value);
VELA_API RuntimeObject *TextToVariant(TextValue value);
VELA_API RuntimeObject *StructureToVariant(TESSstring name, TESSstring bytes);
/* Release hooks of the String, Structure and Text boxes: they drop what the
 * box holds (once; the box's own destruction drops nothing more). */
VELA_API void StringObjectFinalizer(RuntimeObject *box);
VELA_API void StringObjectDestructor(RuntimeObject *box);
VELA_API void StructureObjectFinalizer(RuntimeObject *box);
VELA_API void StructureObjectDestructor(RuntimeObject *box);
VELA_API void TextObjectDestructor(RuntimeObject *box);
VELA_API RuntimeObject *PluginStructureToVariant(const char *name, const void *data, int32_t size);
/* Copies the bytes of a Structure Variant to `destination` when its size
 * is `size`; false for anything else. */
VELA_API VelaBoolean PluginStructureFromVariant(RuntimeObject *value, void *destination,
                                                int32_t size);
/* Identity on the reference: the result is the same object, one more count. */
VELA_API RuntimeObject *ObjectToVariant(RuntimeObject *value);
VELA_API RuntimeObject *DateToVariant(RuntimeObject *value);
VELA_API RuntimeObject *DateTimeToVariant(RuntimeObject *value);
VELA_API RuntimeObject *VariantToObject(RuntimeObject *value);

/* Unboxing. */
VELA_API int32_t VariantToInt32(RuntimeObject *value);
VELA_API uint32_t VariantToUInt32(RuntimeObject *value);
VELA_API int64_t VariantToInt64(RuntimeObject *value);
VELA_API uint64_t VariantToUInt64(RuntimeObject *value);
VELA_API float VariantToSingle(RuntimeObject *value);
VELA_API double VariantToDouble(RuntimeObject *value);
VELA_API VelaCurrency VariantToCurrency(RuntimeObject *value);
VELA_API VelaBoolean VariantToBoolean(RuntimeObject *value);
VELA_API uint32_t VariantToColor(RuntimeObject *value);
VELA_API TESSstring VariantToString(RuntimeObject *value);
VELA_API TextValue VariantToText(RuntimeObject *value);
VELA_API char *VariantToCString(RuntimeObject *value);
VELA_API uint16_t *VariantToWString(RuntimeObject *value);
VELA_API unsigned char *VariantToPString(RuntimeObject *value);
VELA_API void *VariantToCFStringRef(RuntimeObject *value);
VELA_API void *VariantToPtr(RuntimeObject *value);
VELA_API void *VariantToWindowPtr(RuntimeObject *value);
VELA_API uint32_t VariantToOSType(RuntimeObject *value);
VELA_API RuntimeObject *VariantToDate(RuntimeObject *value);
VELA_API RuntimeObject *VariantToDateTime(RuntimeObject *value);
VELA_API RuntimeObject *VariantToVelaCoreDate(RuntimeObject *value);

/* Operators: a new Variant, or nil after a raise. The ...Right forms swap
 * the operands. */
VELA_API RuntimeObject *VariantAdd(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantAddRight(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantSubtract(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantSubtractRight(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantMultiply(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantDivide(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantDivideRight(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantIntegerDivide(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantIntegerDivideRight(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantModulo(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantModuloRight(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantPower(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantPowerRight(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantAnd(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantOr(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantXOr(RuntimeObject *a, RuntimeObject *b);
VELA_API RuntimeObject *VariantNegate(RuntimeObject *value);
VELA_API RuntimeObject *VariantNot(RuntimeObject *value);
/* -1, 0 or 1; strings compare without regard to case. */
VELA_API int32_t VariantCompare(RuntimeObject *a, RuntimeObject *b);
VELA_API VelaBoolean VariantEqual(RuntimeObject *a, RuntimeObject *b);
VELA_API uint32_t VariantHash(RuntimeObject *value);

/* Inspection. */
VELA_API int32_t VarType(RuntimeObject *value, int32_t reserved);
VELA_API VelaBoolean IsNull(RuntimeObject *value);
VELA_API VelaBoolean VariantIsArray(RuntimeObject *value);
/* The element's VarType for an array, else -1. */
VELA_API int32_t VariantGetArrayElementType(RuntimeObject *value);
VELA_API int32_t MapArrayElementTypeToVarType(int32_t elementKind);
VELA_API VelaBoolean RuntimeIsNumeric(RuntimeObject *value);
/* Hex, Oct and Bin of an Int32 or Int64 Variant (a String through Int64);
 * Nil for any other. */
VELA_API TESSstring RuntimeHexVariant(RuntimeObject *value);
VELA_API TESSstring RuntimeOctVariant(RuntimeObject *value);
VELA_API TESSstring RuntimeBinVariant(RuntimeObject *value);
/* CStr: the value's String conversion. (Str is StringStrVariant, in
 * classic_strings.h.) */
VELA_API TESSstring runCStr(RuntimeObject *value);

/* Assignment checks: the Variant with one more reference, or nil after
 * raising TypeMismatchException. A Nil Variant passes as nil. */
VELA_API RuntimeObject *VariantArrayAssignmentWithTypeCheck(int32_t elementKind,
                                                            RuntimeObject *value);
VELA_API RuntimeObject *VariantStructureArrayAssignmentWithTypeCheck(RuntimeObject *value,
                                                                     const char *name);
VELA_API RuntimeObject *VariantStructureTypeCheck(RuntimeObject *value, const char *name);

VELA_END_DECLS

#endif
