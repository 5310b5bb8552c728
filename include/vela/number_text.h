/* Text forms of numbers that need no locale: decimal text of the integer
 * types, digit strings (binary, octal, hexadecimal) in both directions,
 * Hex/Oct/Bin, the strict and the lenient integer readers, Double, Single
 * and Currency from text, Currency and Boolean to text.
 *
 * Strings received are borrowed; strings returned are owned by the caller.
 * The strict readers raise InvalidArgumentException with the reason; the
 * lenient ones ("Parse") never raise. */
#ifndef VELA_NUMBER_TEXT_H
#define VELA_NUMBER_TEXT_H

#include "vela/numbers.h"

VELA_BEGIN_DECLS

/* Decimal text without grouping. */
VELA_API TESSstring Int32ToStringNoLocale(int32_t value);
VELA_API TESSstring Int64ToStringNoLocale(int64_t value);
VELA_API TESSstring UInt32ToStringNoLocale(uint32_t value);
VELA_API TESSstring UInt64ToStringNoLocale(uint64_t value);

/* The value's bits at its type's width as binary, hexadecimal or octal
 * digits (upper case), padded with "0" to at least minDigits digits. */
VELA_API TESSstring Int8ToBinary(int8_t value, int32_t minDigits);
VELA_API TESSstring Int16ToBinary(int16_t value, int32_t minDigits);
VELA_API TESSstring Int32ToBinary(int32_t value, int32_t minDigits);
VELA_API TESSstring Int64ToBinary(int64_t value, int32_t minDigits);
VELA_API TESSstring UInt8ToBinary(uint8_t value, int32_t minDigits);
VELA_API TESSstring UInt16ToBinary(uint16_t value, int32_t minDigits);
VELA_API TESSstring UInt32ToBinary(uint32_t value, int32_t minDigits);
VELA_API TESSstring UInt64ToBinary(uint64_t value, int32_t minDigits);
VELA_API TESSstring Int8ToHex(int8_t value, int32_t minDigits);
VELA_API TESSstring Int16ToHex(int16_t value, int32_t minDigits);
VELA_API TESSstring Int32ToHex(int32_t value, int32_t minDigits);
VELA_API TESSstring Int64ToHex(int64_t value, int32_t minDigits);
VELA_API TESSstring UInt8ToHex(uint8_t value, int32_t minDigits);
VELA_API TESSstring UInt16ToHex(uint16_t value, int32_t minDigits);
VELA_API TESSstring UInt32ToHex(uint32_t value, int32_t minDigits);
VELA_API TESSstring UInt64ToHex(uint64_t value, int32_t minDigits);
VELA_API TESSstring Int8ToOctal(int8_t value, int32_t minDigits);
VELA_API TESSstring Int16ToOctal(int16_t value, int32_t minDigits);
VELA_API TESSstring Int32ToOctal(int32_t value, int32_t minDigits);
VELA_API TESSstring Int64ToOctal(int64_t value, int32_t minDigits);
VELA_API TESSstring UInt8ToOctal(uint8_t value, int32_t minDigits);
VELA_API TESSstring UInt16ToOctal(uint16_t value, int32_t minDigits);
VELA_API TESSstring UInt32ToOctal(uint32_t value, int32_t minDigits);
VELA_API TESSstring UInt64ToOctal(uint64_t value, int32_t minDigits);
VELA_API TESSstring Int32ToBinaryString(int32_t value, int32_t minDigits);
VELA_API TESSstring Int64ToBinaryString(int64_t value, int32_t minDigits);
VELA_API TESSstring Int32ToHexString(int32_t value, int32_t minDigits);
VELA_API TESSstring Int64ToHexString(int64_t value, int32_t minDigits);
VELA_API TESSstring Int32ToOctalString(int32_t value, int32_t minDigits);
VELA_API TESSstring Int64ToOctalString(int64_t value, int32_t minDigits);

/* Hex, Oct and Bin: the same digits without padding; Single and Double are
 * truncated to Int32 first. */
VELA_API TESSstring RuntimeHexInt8(int8_t value);
VELA_API TESSstring RuntimeHexInt16(int16_t value);
VELA_API TESSstring RuntimeHexInt32(int32_t value);
VELA_API TESSstring RuntimeHexInt64(int64_t value);
VELA_API TESSstring RuntimeHexUInt8(uint8_t value);
VELA_API TESSstring RuntimeHexUInt16(uint16_t value);
VELA_API TESSstring RuntimeHexUInt32(uint32_t value);
VELA_API TESSstring RuntimeHexUInt64(uint64_t value);
VELA_API TESSstring RuntimeHexSingle(float value);
VELA_API TESSstring RuntimeHexDouble(double value);
VELA_API TESSstring RuntimeOctInt8(int8_t value);
VELA_API TESSstring RuntimeOctInt16(int16_t value);
VELA_API TESSstring RuntimeOctInt32(int32_t value);
VELA_API TESSstring RuntimeOctInt64(int64_t value);
VELA_API TESSstring RuntimeOctUInt8(uint8_t value);
VELA_API TESSstring RuntimeOctUInt16(uint16_t value);
VELA_API TESSstring RuntimeOctUInt32(uint32_t value);
VELA_API TESSstring RuntimeOctUInt64(uint64_t value);
VELA_API TESSstring RuntimeOctSingle(float value);
VELA_API TESSstring RuntimeOctDouble(double value);
VELA_API TESSstring RuntimeBinInt8(int8_t value);
VELA_API TESSstring RuntimeBinInt16(int16_t value);
VELA_API TESSstring RuntimeBinInt32(int32_t value);
VELA_API TESSstring RuntimeBinInt64(int64_t value);
VELA_API TESSstring RuntimeBinUInt8(uint8_t value);
VELA_API TESSstring RuntimeBinUInt16(uint16_t value);
VELA_API TESSstring RuntimeBinUInt32(uint32_t value);
VELA_API TESSstring RuntimeBinUInt64(uint64_t value);
VELA_API TESSstring RuntimeBinSingle(float value);
VELA_API TESSstring RuntimeBinDouble(double value);

/* Digit strings back to values, accumulated at the type's width without
 * overflow checks. Nil, empty text and characters outside the digits of
 * the base raise InvalidArgumentException. */
VELA_API int8_t Int8FromBinaryString(TESSstring s);
VELA_API int16_t Int16FromBinaryString(TESSstring s);
VELA_API int32_t Int32FromBinaryString(TESSstring s);
VELA_API int64_t Int64FromBinaryString(TESSstring s);
VELA_API uint8_t UInt8FromBinaryString(TESSstring s);
VELA_API uint16_t UInt16FromBinaryString(TESSstring s);
VELA_API uint32_t UInt32FromBinaryString(TESSstring s);
VELA_API uint64_t UInt64FromBinaryString(TESSstring s);
VELA_API int32_t IntegerFromBinaryString(TESSstring s);
VELA_API uint32_t UIntegerFromBinaryString(TESSstring s);
VELA_API int8_t Int8FromHexString(TESSstring s);
VELA_API int16_t Int16FromHexString(TESSstring s);
VELA_API int32_t Int32FromHexString(TESSstring s);
VELA_API int64_t Int64FromHexString(TESSstring s);
VELA_API uint8_t UInt8FromHexString(TESSstring s);
VELA_API uint16_t UInt16FromHexString(TESSstring s);
VELA_API uint32_t UInt32FromHexString(TESSstring s);
VELA_API uint64_t UInt64FromHexString(TESSstring s);
VELA_API int32_t IntegerFromHexString(TESSstring s);
VELA_API uint32_t UIntegerFromHexString(TESSstring s);
VELA_API int8_t Int8FromOctalString(TESSstring s);
VELA_API int16_t Int16FromOctalString(TESSstring s);
VELA_API int32_t Int32FromOctalString(TESSstring s);
VELA_API int64_t Int64FromOctalString(TESSstring s);
VELA_API uint8_t UInt8FromOctalString(TESSstring s);
VELA_API uint16_t UInt16FromOctalString(TESSstring s);
VELA_API uint32_t UInt32FromOctalString(TESSstring s);
VELA_API uint64_t UInt64FromOctalString(TESSstring s);
VELA_API int32_t IntegerFromOctalString(TESSstring s);
VELA_API uint32_t UIntegerFromOctalString(TESSstring s);

/* Strict decimal readers: an optional "-" and digits only, wrapping at the
 * type's width; anything else raises InvalidArgumentException. */
VELA_API int32_t IntegerFromStringNoLocale(TESSstring s);
VELA_API uint32_t UIntegerFromStringNoLocale(TESSstring s);
VELA_API int64_t Int64FromStringNoLocale(TESSstring s);
VELA_API uint64_t UInt64FromStringNoLocale(TESSstring s);

/* Lenient readers: leading white space, then "&h", "&o" or "&b" digits or
 * an optional "-" and decimal digits, as far as they go; never raise. */
VELA_API int32_t IntegerFromStringParse(TESSstring s);
VELA_API uint32_t UIntegerFromStringParse(TESSstring s);
VELA_API int64_t Int64FromStringParse(TESSstring s);
VELA_API uint64_t UInt64FromStringParse(TESSstring s);

/* Double and Single from text in the C locale (what is recognised, else 0;
 * Nil or empty raises), and their lenient forms (never raise). */
VELA_API double Double_FromStringNoLocale(TESSstring s);
VELA_API float Single_FromStringNoLocale(TESSstring s);
VELA_API double Double_StringParse(TESSstring s);
VELA_API float Single_StringParse(TESSstring s);

/* Currency in plain decimal ("1.25"), and back with at most four decimals;
 * other text raises InvalidArgumentException. */
VELA_API TESSstring Currency_ToStringNoLocale(VelaCurrency value);
VELA_API VelaCurrency Currency_FromStringNoLocale(TESSstring s);

/* "True" or "False"; and true only for "True" in any case, blanks around. */
VELA_API TESSstring BooleanToString(VelaBoolean value);
VELA_API VelaBoolean BooleanFromString(TESSstring s);

VELA_END_DECLS

#endif
