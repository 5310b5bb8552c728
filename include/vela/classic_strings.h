/* The language's classic string functions: lengths, substrings, character
 * codes, searches, fields, replace, split and join, case and trimming,
 * in their character forms (by the string's encoding) and their byte
 * forms. Positions are 1-based except in the Middle forms, which are
 * 0-based. Strings received are borrowed; strings returned are owned by the
 * caller, and a function that would return its argument unchanged returns
 * it with one more reference. Nil is the empty string. */
#ifndef VELA_CLASSIC_STRINGS_H
#define VELA_CLASSIC_STRINGS_H


#include "vela/arrays.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* Len (characters) and LenB (bytes). */
VELA_API int32_t StringDBCSLen(TESSstring s);
VELA_API int32_t StringLen(TESSstring s);

/* Left, LeftB, Right, RightB. */
VELA_API TESSstring StringDBCSLeft(TESSstring s, int32_t count);
VELA_API TESSstring StringLeft(TESSstring s, int32_t count);
VELA_API TESSstring StringDBCSRight(TESSstring s, int32_t count);
VELA_API TESSstring StringRight(TESSstring s, int32_t count);

/* Mid and MidB with two and three arguments. */
VELA_API TESSstring StringDBCSMid2(TESSstring s, int32_t start);
VELA_API TESSstring StringDBCSMid3(TESSstring s, int32_t start, int32_t count);
VELA_API TESSstring StringMid2(TESSstring s, int32_t start);
VELA_API TESSstring StringMid3(TESSstring s, int32_t start, int32_t count);

/* Middle and MiddleBytes: 0-based starts. */
VELA_API TESSstring StringMiddle(TESSstring s, int32_t start);
VELA_API TESSstring StringMiddleWithLength(TESSstring s, int32_t start, int32_t count);
VELA_API TESSstring StringMiddleBytes(TESSstring s, int32_t start);
VELA_API TESSstring StringMiddleBytesWithLength(TESSstring s, int32_t start, int32_t count);

/* Asc (first character's code), AscB (first byte), Chr (a character in
 * ASCII or UTF-8), ChrB (one raw byte). */
VELA_API uint32_t StringDBCSAsc(TESSstring s);
VELA_API int32_t StringAsc(TESSstring s);
VELA_API TESSstring StringDBCSChr(int32_t code);
VELA_API TESSstring StringChr(int32_t code);

/* InStr (case-insensitive, in characters) and InStrB (exact, in bytes):
 * the 1-based position of the first occurrence at or after start, 0 when
 * there is none; an empty find gives start. The extension forms take the
 * source first. IndexOfBytes is the 0-based byte form, -1 when not found. */
VELA_API int32_t StringInStr(int32_t start, TESSstring source, TESSstring find);
VELA_API int32_t StringDBCSInStr(int32_t start, TESSstring source, TESSstring find);
VELA_API int32_t StringExtendsInStr(TESSstring source, int32_t start, TESSstring find);
VELA_API int32_t StringInStrB(int32_t start, TESSstring source, TESSstring find);
VELA_API int32_t StringExtendsInStrB(TESSstring source, int32_t start, TESSstring find);
VELA_API int32_t StringIndexOfBytes(TESSstring s, int32_t start, TESSstring find);

/* CountFields and NthField, with their exact byte forms (the B forms). The
 * character forms find the separator without regard to case. Fields are
 * numbered from 1; adjacent separators enclose an empty field. */
VELA_API int32_t StringCountFields(TESSstring s, TESSstring separator);
VELA_API int32_t StringCountFieldsB(TESSstring s, TESSstring separator);
VELA_API TESSstring StringNthField(TESSstring s, TESSstring separator, int32_t index);
VELA_API TESSstring StringNthFieldB(TESSstring s, TESSstring separator, int32_t index);

/* LastField: the text behind the last occurrence of the separator, found
 * without regard to case, as UTF-8; Nil when the separator is empty, longer
 * than the string, or absent. */
VELA_API TESSstring StringLastField(TESSstring s, TESSstring separator);

/* IsEmpty: true for Nil and the empty string. */
VELA_API VelaBoolean StringIsEmpty(TESSstring s);

/* Replace (the first occurrence) and ReplaceAll, case-insensitive; the B
 * forms are exact and convert nothing. */
VELA_API TESSstring StringReplace(TESSstring s, TESSstring find, TESSstring with);
VELA_API TESSstring StringReplaceAll(TESSstring s, TESSstring find, TESSstring with);
VELA_API TESSstring StringReplaceB(TESSstring s, TESSstring find, TESSstring with);
VELA_API TESSstring StringReplaceAllB(TESSstring s, TESSstring find, TESSstring with);

/* Split into a new one-dimensional String array (empty pieces are Nil; an
 * empty delimiter gives one element per character, or per byte for SplitB),
 * and Join of a String array's elements with the delimiter between them. */
VELA_API RuntimeArray *StringSplit(TESSstring s, TESSstring delimiter);
VELA_API RuntimeArray *StringSplitB(TESSstring s, TESSstring delimiter);
VELA_API TESSstring StringJoin(RuntimeArray *array, TESSstring delimiter);

/* Uppercase, Lowercase and Titlecase by simple one-to-one case mapping;
 * Titlecase upper-cases the first character and each one after whitespace
 * and lower-cases the rest. */
VELA_API TESSstring StringUCase(TESSstring s);
VELA_API TESSstring StringLCase(TESSstring s);
VELA_API TESSstring StringTitleCase(TESSstring s);

/* Trim, LTrim and RTrim: whitespace dropped from both ends, the start, the
 * end. */
VELA_API TESSstring runTrim(TESSstring s);
VELA_API TESSstring runLTrim(TESSstring s);
VELA_API TESSstring runRTrim(TESSstring s);

/* Val: the number the text starts with, 0 if none. Reads decimal text in
 * the C locale and the radix forms "&h", "&o" and "&b" (32-bit signed). */
VELA_API double StringVal(TESSstring s);

/* Str of a Double and of a Single: 7 significant digits, fixed notation
 * without trailing decimal zeros, or scientific beyond that range. */
VELA_API TESSstring StringStrDouble(double value);
VELA_API TESSstring StringStrSingle(float value);

/* Str of the whole-number types: plain decimal digits, "-" when negative. */
VELA_API TESSstring StringStrInt8(int8_t value);
VELA_API TESSstring StringStrUInt8(uint8_t value);
VELA_API TESSstring StringStrInt16(int16_t value);
VELA_API TESSstring StringStrUInt16(uint16_t value);
VELA_API TESSstring StringStrInt32(int32_t value);
VELA_API TESSstring StringStrUInt32(uint32_t value);
VELA_API TESSstring StringStrInt64(int64_t value);
VELA_API TESSstring StringStrUInt64(uint64_t value);

/* Str of a Currency (the amount times 10,000): the decimal amount without
 * trailing zeros ("1.25", "1", "-0.5"). */
VELA_API TESSstring StringStrCurrency(int64_t value);

/* Str of a Variant: the text form of its value. */
VELA_API TESSstring StringStrVariant(RuntimeObject *value);

/* CDbl and CLong: Val and the whole-number reading of text written with
 * the user's locale's group and decimal separators. */
VELA_API double runCDbl(TESSstring s);
VELA_API int64_t runCLong(TESSstring s);

/* Format: the value laid out by a pattern of up to three sections
 * (positive; negative; zero). Localised uses the locale's separators. */
VELA_API TESSstring StringFormat(double value, TESSstring format, VelaBoolean localised);

/* The bytes as hexadecimal digit pairs (a blank between pairs when spaced),
 * the bytes back from such text, and the bytes of Base64 text. */
VELA_API TESSstring RuntimeEncodeHex(TESSstring s, VelaBoolean spaced);
VELA_API TESSstring RuntimeDecodeHex(TESSstring s);
VELA_API TESSstring StringExtends_DecodeBase64(TESSstring s);

VELA_END_DECLS

#endif
