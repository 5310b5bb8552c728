/* Text: the Unicode string of the newer API. An immutable, counted run of
 * UTF-16 code units whose character is a grapheme cluster. The null handle
 * is Nil and the only empty Text. Positions are 0-based and counted in
 * characters; bad arguments raise. Texts received are borrowed; Texts
 * returned are owned by the caller (a function that would return its
 * argument unchanged returns it with one more reference).
 *
 * Options values (ComparisonOptions): 0 ignores case (and, by primary
 * collation strength, accents), 1 is case-sensitive; any other value raises
 * Vela.Core.InvalidArgumentException. A locale argument is a
 * Vela.Core.Locale object or Nil, which means "en_US". */
#ifndef VELA_TEXT_H
#define VELA_TEXT_H

#include "vela/arrays.h"
#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* The Text record, 32 bytes, 8-byte aligned:
 *   0 mRefCount, 8 mChars, 16 mLength, 20 mCharCount, 24 mReserved.
 * mChars points at mLength code units and a terminating zero unit. A count
 * of 0 marks a record that is never counted or freed. */
typedef struct TextRecord {
  int32_t mRefCount;  /* plain integer; changed under the Text mutex while
                         detached threads run */
  uint32_t mPad;
  uint16_t *mChars;
  int32_t mLength;    /* code units */
  int32_t mCharCount; /* grapheme clusters, 0 until counted */
  void *mReserved;    /* nil at creation; freed with the record if set */
} TextRecord;

typedef struct TextRecord *TextValue;

/* An Auto value word (the dynamic value of the newer API). */
typedef uintptr_t VelaAutoWord;

enum { kTextOptionsIgnoreCase = 0, kTextOptionsCaseSensitive = 1 };

/* Life. All accept Nil. LockUnlock locks the new value before it unlocks
 * the old one. */
VELA_API void RuntimeLockText(TextValue text);
VELA_API void RuntimeUnlockText(TextValue text);
VELA_API void RuntimeLockUnlockText(TextValue newText, TextValue oldText);

/* Concatenation, emptiness, length in characters. */
VELA_API TextValue RuntimeConcatText(TextValue a, TextValue b);
VELA_API VelaBoolean RuntimeTextEmpty(TextValue text);
VELA_API int32_t RuntimeTextLen(TextValue text);

/* Order (-1, 0, 1) and equality by collation: without options case and
 * accents are ignored; Nil sorts first. */
VELA_API int32_t RuntimeCompareText(TextValue a, TextValue b);
VELA_API int32_t RuntimeCompareTextWithOptions(TextValue a, TextValue b, int32_t options,
                                               RuntimeObject *locale);
VELA_API VelaBoolean RuntimeTextEquals(TextValue a, TextValue b);
VELA_API VelaBoolean RuntimeTextBeginsWith(TextValue text, TextValue other, int32_t options,
                                           RuntimeObject *locale);
VELA_API VelaBoolean RuntimeTextEndsWith(TextValue text, TextValue other, int32_t options,
                                         RuntimeObject *locale);

/* Search: the character index of the first match at or after `start`, or
 * -1. Find uses the default options. */
VELA_API int32_t RuntimeTextIndexOf(TextValue text, int32_t start, TextValue other,
                                    int32_t options, RuntimeObject *locale);
VELA_API int32_t RuntimeTextFind(TextValue text, TextValue find, int32_t start);

/* Substrings by character; out-of-range arguments raise
 * OutOfBoundsException. */
VELA_API TextValue RuntimeTextLeft(TextValue text, int32_t count);
VELA_API TextValue RuntimeTextRight(TextValue text, int32_t count);
VELA_API TextValue RuntimeTextMid2(TextValue text, int32_t start);
VELA_API TextValue RuntimeTextMid3(TextValue text, int32_t start, int32_t length);

/* Full case mapping in the locale's rules; title case breaks at words. */
VELA_API TextValue RuntimeTextLCase(TextValue text, RuntimeObject *locale);
VELA_API TextValue RuntimeTextUCase(TextValue text, RuntimeObject *locale);
VELA_API TextValue RuntimeTextTitleCase(TextValue text, RuntimeObject *locale);

/* Split into a new Text array (empty pieces are Nil), one element per
 * character, Join of a Text array, Replace (first match) and ReplaceAll. */
VELA_API RuntimeArray *RuntimeTextSplit(TextValue text, TextValue separator, int32_t options,
                                        RuntimeObject *locale);
VELA_API RuntimeArray *RuntimeTextSplitChars(TextValue text);
VELA_API TextValue RuntimeTextJoin(RuntimeArray *texts, TextValue separator);
VELA_API TextValue RuntimeTextReplace(TextValue text, TextValue find, TextValue with,
                                      int32_t options, RuntimeObject *locale);
VELA_API TextValue RuntimeTextReplaceAll(TextValue text, TextValue find, TextValue with,
                                         int32_t options, RuntimeObject *locale);

/* Unicode white space dropped from the start, the end, or both. */
VELA_API TextValue RuntimeTextLTrim(TextValue text);
VELA_API TextValue RuntimeTextRTrim(TextValue text);
VELA_API TextValue RuntimeTextTrim(TextValue text);

/* Raw text. The wide and C strings returned are registered in the raw-text
 * maps of vela/string.h (count 1): release them with UnlockWString and
 * RuntimeUnlockCString. `encoding` is a Vela.Core.TextEncoding object. */
VELA_API uint16_t *RuntimeTextToWString(TextValue text);
VELA_API TextValue RuntimeTextFromWString(const uint16_t *text);
VELA_API TextValue RuntimeTextFromCString(const char *text, RuntimeObject *encoding);
VELA_API char *RuntimeTextToCString(TextValue text, RuntimeObject *encoding);

/* Code points: a one-character Text, and the first code point (0 for Nil). */
VELA_API TextValue RuntimeTextFromUnicodePoint(uint32_t codePoint);
VELA_API uint32_t RuntimeGetUnicodePoint(TextValue text);

/* Bridges to String. A Text becomes a UTF-8 String (a lone surrogate
 * becomes U+FFFD); a String becomes Text through UTF-8 and malformed text
 * gives Nil. String_ToText converts by the string's encoding and raises on
 * failure. */
VELA_API TESSstring RuntimeStringFromText(TextValue text);
VELA_API TextValue RuntimeTextFromOldString(TESSstring s);
VELA_API TextValue String_ToText(TESSstring s);
VELA_API RuntimeArray *RuntimeStringArrayFromTextArray(RuntimeArray *texts);

/* Iterators: objects of Text._CharacterIterator, String._CharacterIterator
 * and Text._CodepointIterator. MoveNext answers whether a value is there;
 * Value gives it as an Auto (a Text, a UTF-8 String, a UInt32). */
VELA_API RuntimeObject *TextCharacterGetIterator(TextValue text);
VELA_API VelaBoolean TextCharacterIteratorMoveNext(RuntimeObject *iterator);
VELA_API VelaAutoWord TextCharacterIteratorValue(RuntimeObject *iterator);
VELA_API RuntimeObject *StringCharacterGetIterator(TESSstring s);
VELA_API VelaBoolean StringCharacterIteratorMoveNext(RuntimeObject *iterator);
VELA_API VelaAutoWord StringCharacterIteratorValue(RuntimeObject *iterator);
VELA_API RuntimeObject *TextCodepointGetIterator(TextValue text);
VELA_API VelaBoolean TextCodepointIteratorMoveNext(RuntimeObject *iterator);
VELA_API VelaAutoWord TextCodepointIteratorValue(RuntimeObject *iterator);

/* A String's characters (grapheme clusters) as UTF-8 Strings, their count,
 * and its code points as a UInt32 array. */
VELA_API RuntimeArray *String_Characters(TESSstring s);
VELA_API int32_t String_CharacterCount(TESSstring s);
VELA_API RuntimeArray *String_Codepoints(TESSstring s);

/* The newer String API over Text: the same operations and checks, with
 * "string" in the messages; starts are measured in the String's
 * characters. */
VELA_API VelaBoolean StringBeginsWith(TESSstring s, TESSstring other, int32_t options,
                                      RuntimeObject *locale);
VELA_API VelaBoolean StringEndsWith(TESSstring s, TESSstring other, int32_t options,
                                    RuntimeObject *locale);
VELA_API int32_t StringCompare(TESSstring a, TESSstring b, int32_t options,
                               RuntimeObject *locale);
VELA_API int32_t StringIndexOf(TESSstring s, TESSstring other, int32_t options,
                               RuntimeObject *locale);
VELA_API int32_t StringIndexOfWithStartPosition(TESSstring s, int32_t start, TESSstring other,
                                                int32_t options, RuntimeObject *locale);
VELA_API VelaBoolean StringContainsNoLocale(TESSstring s, TESSstring other, int32_t options);

/* The classic extension forms with options and locale. Without a locale
 * they work by the classic rules (IndexOf: the case-insensitive character
 * search for options 0, the byte search otherwise; 0-based, -1 when
 * absent); with one they work through Text. */
VELA_API VelaBoolean StringExtends_BeginsWith(TESSstring s, TESSstring other, int32_t options,
                                              RuntimeObject *locale);
VELA_API VelaBoolean StringExtends_EndsWith(TESSstring s, TESSstring other, int32_t options,
                                            RuntimeObject *locale);
VELA_API int32_t StringExtends_Compare(TESSstring a, TESSstring b, int32_t options,
                                       RuntimeObject *locale);
VELA_API int32_t StringExtends_IndexOf(TESSstring s, int32_t start, TESSstring find,
                                       int32_t options, RuntimeObject *locale);

VELA_END_DECLS

#endif
