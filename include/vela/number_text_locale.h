/* Text forms of numbers with a locale, and the Text forms of the newer API.
 *
 * A locale is a vela.Core.Locale object or Nil. Nil and the raw locale
 * (Locale.Raw) format and read without localisation; any other locale
 * formats through its number service (grouping, decimal separator,
 * currency symbol) and reads leniently as that service reads. The String
 * forms raise the classic exception classes (InvalidArgumentException); the
 * Text forms raise Vela.Core.InvalidArgumentException for empty input and
 * values out of range and Vela.Core.BadDataException for characters that
 * are not a number. "Parse" readers never raise. */
#ifndef VELA_NUMBER_TEXT_LOCALE_H
#define VELA_NUMBER_TEXT_LOCALE_H

#include "vela/numbers.h"
#include "vela/text.h"

VELA_BEGIN_DECLS

/* Integers to text: plain decimal for Nil and the raw locale, else through
 * the locale's number service. The WithFormat forms take an ICU decimal
 * pattern and need a locale. */
VELA_API TESSstring Int8ToString(int8_t value, RuntimeObject *locale);
VELA_API TESSstring Int16ToString(int16_t value, RuntimeObject *locale);
VELA_API TESSstring Int32ToString(int32_t value, RuntimeObject *locale);
VELA_API TESSstring Int64ToString(int64_t value, RuntimeObject *locale);
VELA_API TESSstring UInt8ToString(uint8_t value, RuntimeObject *locale);
VELA_API TESSstring UInt16ToString(uint16_t value, RuntimeObject *locale);
VELA_API TESSstring UInt32ToString(uint32_t value, RuntimeObject *locale);
VELA_API TESSstring UInt64ToString(uint64_t value, RuntimeObject *locale);
VELA_API TESSstring Int8_ToStringWithFormat(int8_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring Int16_ToStringWithFormat(int16_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring Int32_ToStringWithFormat(int32_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring Int64_ToStringWithFormat(int64_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring UInt8_ToStringWithFormat(uint8_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring UInt16_ToStringWithFormat(uint16_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring UInt32_ToStringWithFormat(uint32_t value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring UInt64_ToStringWithFormat(uint64_t value, RuntimeObject *locale, TESSstring format);
VELA_API TextValue Int8ToText(int8_t value, RuntimeObject *locale);
VELA_API TextValue Int16ToText(int16_t value, RuntimeObject *locale);
VELA_API TextValue Int32ToText(int32_t value, RuntimeObject *locale);
VELA_API TextValue Int64ToText(int64_t value, RuntimeObject *locale);
VELA_API TextValue UInt8ToText(uint8_t value, RuntimeObject *locale);
VELA_API TextValue UInt16ToText(uint16_t value, RuntimeObject *locale);
VELA_API TextValue UInt32ToText(uint32_t value, RuntimeObject *locale);
VELA_API TextValue UInt64ToText(uint64_t value, RuntimeObject *locale);
VELA_API TextValue Int8_ToTextWithFormat(int8_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue Int16_ToTextWithFormat(int16_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue Int32_ToTextWithFormat(int32_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue Int64_ToTextWithFormat(int64_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue UInt8_ToTextWithFormat(uint8_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue UInt16_ToTextWithFormat(uint16_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue UInt32_ToTextWithFormat(uint32_t value, RuntimeObject *locale, TextValue format);
VELA_API TextValue UInt64_ToTextWithFormat(uint64_t value, RuntimeObject *locale, TextValue format);

/* Text to integers: strict (an optional "-" and digits, or what the
 * locale's service reads in full) and lenient. */
VELA_API int8_t Int8FromString(TESSstring s, RuntimeObject *locale);
VELA_API int16_t Int16FromString(TESSstring s, RuntimeObject *locale);
VELA_API int32_t Int32FromString(TESSstring s, RuntimeObject *locale);
VELA_API int64_t Int64FromString(TESSstring s, RuntimeObject *locale);
VELA_API uint8_t UInt8FromString(TESSstring s, RuntimeObject *locale);
VELA_API uint16_t UInt16FromString(TESSstring s, RuntimeObject *locale);
VELA_API uint32_t UInt32FromString(TESSstring s, RuntimeObject *locale);
VELA_API uint64_t UInt64FromString(TESSstring s, RuntimeObject *locale);
VELA_API int32_t IntegerFromString(TESSstring s, RuntimeObject *locale);
VELA_API uint32_t UIntegerFromString(TESSstring s, RuntimeObject *locale);
VELA_API int8_t Int8FromText(TextValue text, RuntimeObject *locale);
VELA_API int16_t Int16FromText(TextValue text, RuntimeObject *locale);
VELA_API int32_t Int32FromText(TextValue text, RuntimeObject *locale);
VELA_API int64_t Int64FromText(TextValue text, RuntimeObject *locale);
VELA_API uint8_t UInt8FromText(TextValue text, RuntimeObject *locale);
VELA_API uint16_t UInt16FromText(TextValue text, RuntimeObject *locale);
VELA_API uint32_t UInt32FromText(TextValue text, RuntimeObject *locale);
VELA_API uint64_t UInt64FromText(TextValue text, RuntimeObject *locale);
VELA_API int32_t IntegerFromText(TextValue text, RuntimeObject *locale);
VELA_API uint32_t UIntegerFromText(TextValue text, RuntimeObject *locale);
VELA_API int8_t Int8Parse(TextValue text, RuntimeObject *locale);
VELA_API int16_t Int16Parse(TextValue text, RuntimeObject *locale);
VELA_API int32_t Int32Parse(TextValue text, RuntimeObject *locale);
VELA_API int64_t Int64Parse(TextValue text, RuntimeObject *locale);
VELA_API uint8_t UInt8Parse(TextValue text, RuntimeObject *locale);
VELA_API uint16_t UInt16Parse(TextValue text, RuntimeObject *locale);
VELA_API uint32_t UInt32Parse(TextValue text, RuntimeObject *locale);
VELA_API uint64_t UInt64Parse(TextValue text, RuntimeObject *locale);
VELA_API int32_t IntegerParse(TextValue text, RuntimeObject *locale);
VELA_API uint32_t UIntegerParse(TextValue text, RuntimeObject *locale);

/* Binary, octal and hexadecimal Text to integers. */
VELA_API int8_t Int8FromBinary(TextValue text);
VELA_API int16_t Int16FromBinary(TextValue text);
VELA_API int32_t Int32FromBinary(TextValue text);
VELA_API int64_t Int64FromBinary(TextValue text);
VELA_API uint8_t UInt8FromBinary(TextValue text);
VELA_API uint16_t UInt16FromBinary(TextValue text);
VELA_API uint32_t UInt32FromBinary(TextValue text);
VELA_API uint64_t UInt64FromBinary(TextValue text);
VELA_API int32_t IntegerFromBinary(TextValue text);
VELA_API uint32_t UIntegerFromBinary(TextValue text);
VELA_API int8_t Int8FromHex(TextValue text);
VELA_API int16_t Int16FromHex(TextValue text);
VELA_API int32_t Int32FromHex(TextValue text);
VELA_API int64_t Int64FromHex(TextValue text);
VELA_API uint8_t UInt8FromHex(TextValue text);
VELA_API uint16_t UInt16FromHex(TextValue text);
VELA_API uint32_t UInt32FromHex(TextValue text);
VELA_API uint64_t UInt64FromHex(TextValue text);
VELA_API int32_t IntegerFromHex(TextValue text);
VELA_API uint32_t UIntegerFromHex(TextValue text);
VELA_API int8_t Int8FromOctal(TextValue text);
VELA_API int16_t Int16FromOctal(TextValue text);
VELA_API int32_t Int32FromOctal(TextValue text);
VELA_API int64_t Int64FromOctal(TextValue text);
VELA_API uint8_t UInt8FromOctal(TextValue text);
VELA_API uint16_t UInt16FromOctal(TextValue text);
VELA_API uint32_t UInt32FromOctal(TextValue text);
VELA_API uint64_t UInt64FromOctal(TextValue text);
VELA_API int32_t IntegerFromOctal(TextValue text);
VELA_API uint32_t UIntegerFromOctal(TextValue text);

/* Double, Single and Currency to text: without a locale (or with the raw
 * one) the String forms print as Str does (7 significant digits) and the
 * Text forms as C's "%f"; Currency prints its plain decimal amount. */
VELA_API TESSstring Double_ToString(double value, RuntimeObject *locale);
VELA_API TESSstring Single_ToString(float value, RuntimeObject *locale);
VELA_API TESSstring Currency_ToString(VelaCurrency value, RuntimeObject *locale);
VELA_API TESSstring Double_ToStringWithFormat(double value, RuntimeObject *locale, TESSstring format);
VELA_API TESSstring Single_ToStringWithFormat(float value, RuntimeObject *locale, TESSstring format);
VELA_API TextValue Double_ToText(double value, RuntimeObject *locale);
VELA_API TextValue Single_ToText(float value, RuntimeObject *locale);
VELA_API TextValue Currency_ToText(VelaCurrency value, RuntimeObject *locale);
VELA_API TextValue Double_ToTextWithFormat(double value, RuntimeObject *locale, TextValue format);
VELA_API TextValue Single_ToTextWithFormat(float value, RuntimeObject *locale, TextValue format);

/* Text to Double, Single and Currency. */
VELA_API double Double_FromString(TESSstring s, RuntimeObject *locale);
VELA_API float Single_FromString(TESSstring s, RuntimeObject *locale);
VELA_API VelaCurrency Currency_FromString(TESSstring s, RuntimeObject *locale);
VELA_API double Double_FromText(TextValue text, RuntimeObject *locale);
VELA_API float Single_FromText(TextValue text, RuntimeObject *locale);
VELA_API VelaCurrency Currency_FromText(TextValue text, RuntimeObject *locale);
VELA_API double Double_Parse(TextValue text, RuntimeObject *locale);
VELA_API float Single_Parse(TextValue text, RuntimeObject *locale);

VELA_END_DECLS

#endif
