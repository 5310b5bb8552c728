// The three iterator classes (Text and String by character, Text by code
// point) and the String functions that walk a string's characters.
#include "text/text_iterators.h"

#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "object/arrays/array_record.h"
#include "object/class_decl.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_holder.h"
#include "text/text_ops.h"
#include "vela/auto.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "RuntimeCore/TextImpICU";

// A cursor on one character: the units [mStart, mEnd) of character mIndex.
// The end cursor is the one at the text's length, so begin equals end for
// an empty text. The break iterator is the object's own for its life.
// mValue is the object's own reference to the last character it handed
// out; once the caller has dropped its reference, the record is refilled
// with the next character instead of a new one being made.
struct CharacterIteratorObject {
  RuntimeObject header;
  TextValue mText;
  TextValue mValue;
  UBreakIterator* mBreaks;
  int32_t mStart;
  int32_t mEnd;
  int32_t mIndex;
  uint8_t mStarted;

  static void Destruct(CharacterIteratorObject* data) {
    ReleaseBreakIterator(data->mBreaks, kDefaultTextLocale);
    data->mBreaks = nullptr;
    UnlockText(data->mValue);
    data->mValue = nullptr;
    UnlockText(data->mText);
    data->mText = nullptr;
  }
};

struct CodepointIteratorObject {
  RuntimeObject header;
  TextValue mText;
  int32_t mOffset;
  int32_t mLength;
  uint8_t mStarted;

  static void Destruct(CodepointIteratorObject* data) {
    UnlockText(data->mText);
    data->mText = nullptr;
  }
};

NativeClassDecl<CharacterIteratorObject> gTextCharacterIteratorDecl(nullptr,
                                                                    "Text._CharacterIterator");
NativeClassDecl<CharacterIteratorObject> gStringCharacterIteratorDecl(nullptr,
                                                                      "String._CharacterIterator");
NativeClassDecl<CodepointIteratorObject> gCodepointIteratorDecl(nullptr, "Text._CodepointIterator");

// The object's native part. An object of exactly the declared class, the
// case of every call from compiled code, needs none of Data's checks.
template <class T>
T* Cast(const NativeClassDecl<T>& decl, RuntimeObject* object) {
  if (object && object->classPtr == decl.classPtr() && object->classPtr)
    return reinterpret_cast<T*>(object);
  return decl.Data(object);
}

int32_t NextBoundary(CharacterIteratorObject* it) {
  const int32_t length = TextLength(it->mText);
  if (it->mStart >= length) return length;
  // The object's own iterator always stands on mStart.
  const int32_t next = it->mBreaks ? ubrk_next(it->mBreaks) : UBRK_DONE;
  return next == UBRK_DONE ? length : next;
}

RuntimeObject* NewCharacterIterator(const NativeClassDecl<CharacterIteratorObject>& decl,
                                    TextValue text) {
  RuntimeObject* object = decl.New();
  CharacterIteratorObject* it = object ? decl.Data(object) : nullptr;
  if (!it) return object;
  it->mText = Share(text);
  it->mBreaks = TextLength(text) > 0
                    ? AcquireBreakIterator(TextUnits(text), TextLength(text), kDefaultTextLocale)
                    : nullptr;
  it->mEnd = NextBoundary(it);
  return object;
}

bool MoveCharacter(const NativeClassDecl<CharacterIteratorObject>& decl, RuntimeObject* object) {
  CharacterIteratorObject* it = Cast(decl, object);
  if (!it) return false;
  const int32_t length = TextLength(it->mText);
  if (!it->mStarted) {
    it->mStarted = 1;
    return it->mStart < length;
  }
  if (it->mStart >= length) return false;
  it->mStart = it->mEnd;
  it->mEnd = NextBoundary(it);
  ++it->mIndex;
  return it->mStart < length;
}

// The current character as a Text, owned by the caller; Nil after
// reporting a read at the end.
TextValue CurrentCharacter(const NativeClassDecl<CharacterIteratorObject>& decl,
                           RuntimeObject* object) {
  CharacterIteratorObject* it = Cast(decl, object);
  if (!it) return nullptr;
  const bool inside = it->mStart < TextLength(it->mText);
  VELA_ASSERT_TEXT(inside, "offset < mLength");
  if (!inside) return nullptr;
  it->mValue = RefillText(it->mValue, TextUnits(it->mText) + it->mStart, it->mEnd - it->mStart, 1);
  return Share(it->mValue);
}

template <class Element, class Fill>
RuntimeArray* ArrayOf(int32_t kind, int32_t count, Fill fill) {
  RuntimeArray* array = NewFilledArray(TableFor(kind, 1), count);
  if (array && count > 0) fill(static_cast<Element*>(array->data));
  return array;
}

}  // namespace

TextValue TextCharacterIteratorCurrent(RuntimeObject* iterator) {
  return CurrentCharacter(gTextCharacterIteratorDecl, iterator);
}

TESSstring StringCharacterIteratorCurrent(RuntimeObject* iterator) {
  TextHolder character =
      TextHolder::Adopt(CurrentCharacter(gStringCharacterIteratorDecl, iterator));
  return StringFromText(character.get());
}

uint32_t TextCodepointIteratorCurrent(RuntimeObject* iterator) {
  CodepointIteratorObject* it = Cast(gCodepointIteratorDecl, iterator);
  if (!it) return 0;
  VELA_ASSERT_TEXT(it->mOffset < it->mLength, "mOffset < mLength");
  if (it->mOffset >= it->mLength) return 0;
  int32_t at = it->mOffset;
  UChar32 c;
  U16_NEXT(TextUnits(it->mText), at, it->mLength, c);
  return uint32_t(c);
}

}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeObject* TextCharacterGetIterator(TextValue text) {
  return NewCharacterIterator(gTextCharacterIteratorDecl, text);
}

VELA_EXPORT VelaBoolean TextCharacterIteratorMoveNext(RuntimeObject* iterator) {
  return MoveCharacter(gTextCharacterIteratorDecl, iterator);
}

VELA_EXPORT RuntimeObject* StringCharacterGetIterator(TESSstring s) {
  TextHolder text = TextHolder::Adopt(TextFromString(s));
  return NewCharacterIterator(gStringCharacterIteratorDecl, text.get());
}

VELA_EXPORT VelaBoolean StringCharacterIteratorMoveNext(RuntimeObject* iterator) {
  return MoveCharacter(gStringCharacterIteratorDecl, iterator);
}

VELA_EXPORT RuntimeObject* TextCodepointGetIterator(TextValue text) {
  RuntimeObject* object = gCodepointIteratorDecl.New();
  CodepointIteratorObject* it = object ? gCodepointIteratorDecl.Data(object) : nullptr;
  if (!it) return object;
  it->mText = Share(text);
  it->mLength = TextLength(text);
  return object;
}

VELA_EXPORT VelaBoolean TextCodepointIteratorMoveNext(RuntimeObject* iterator) {
  CodepointIteratorObject* it = Cast(gCodepointIteratorDecl, iterator);
  if (!it) return false;
  if (!it->mStarted) {
    it->mStarted = 1;
    return it->mOffset < it->mLength;
  }
  if (it->mOffset >= it->mLength) return false;
  U16_FWD_1(TextUnits(it->mText), it->mOffset, it->mLength);
  return it->mOffset < it->mLength;
}

// The values are Auto words: the current character as a Text or a String,
// the current code point as a UInt32.
VELA_EXPORT VelaAutoWord TextCharacterIteratorValue(RuntimeObject* iterator) {
  TextHolder character = TextHolder::Adopt(TextCharacterIteratorCurrent(iterator));
  return RuntimeCreateAutoFromText(character.get());
}
VELA_EXPORT VelaAutoWord StringCharacterIteratorValue(RuntimeObject* iterator) {
  StringHolder character = StringHolder::Adopt(StringCharacterIteratorCurrent(iterator));
  return RuntimeCreateAutoFromString(character.get());
}
VELA_EXPORT VelaAutoWord TextCodepointIteratorValue(RuntimeObject* iterator) {
  return RuntimeCreateAutoFromUInt32(TextCodepointIteratorCurrent(iterator));
}

VELA_EXPORT RuntimeArray* String_Characters(TESSstring s) {
  TextHolder text = TextHolder::Adopt(TextFromString(s));
  const char16_t* units = TextUnits(text.get());
  const int32_t count = TextCharCount(text.get());
  return ArrayOf<TESSstring>(kArrayString, count, [&](TESSstring* slots) {
    GraphemeCursor cursor(units, TextLength(text.get()));
    int32_t from = 0, index = 0;
    for (int32_t to; index < count && (to = cursor.Next()) >= 0; from = to)
      slots[index++] = StringFromUnits(units + from, to - from);
  });
}

VELA_EXPORT int32_t String_CharacterCount(TESSstring s) {
  TextHolder text = TextHolder::Adopt(TextFromString(s));
  return TextCharCount(text.get());
}

VELA_EXPORT RuntimeArray* String_Codepoints(TESSstring s) {
  TextHolder text = TextHolder::Adopt(TextFromString(s));
  const char16_t* units = TextUnits(text.get());
  const int32_t length = TextLength(text.get());
  const int32_t count = u_countChar32(reinterpret_cast<const UChar*>(units), length);
  return ArrayOf<uint32_t>(kArrayUInt32, count, [&](uint32_t* slots) {
    for (int32_t at = 0, index = 0; at < length && index < count; ++index) {
      UChar32 c;
      U16_NEXT(units, at, length, c);
      slots[index] = uint32_t(c);
    }
  });
}
