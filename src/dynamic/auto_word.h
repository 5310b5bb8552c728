// The Auto word: one pointer-sized value that holds any language value.
// Small values live in the word itself, tagged in its low bits; the rest
// go into a box, an immutable object of the library's class "Auto".
//
// Inline values are the 32-bit words of the classic scheme with the upper
// half zero: small integers (value × 4 + 1 signed, value × 4 + 2 unsigned),
// and one low byte per small type (Int8 0x07, Int16 0x0F, UInt8 0x17,
// UInt16 0x1F, Color 0x27, Boolean 0x2F) with the value in the top bits of
// the 32-bit word. String and Text words carry full 64-bit pointers plus 4
// and plus 3, so their records must be 8-byte aligned; an object word is
// the object's own pointer (low bits 000), and 0 is Nil.
#pragma once

#include <cstdint>
#include <string>

#include "vela/object.h"
#include "vela/string.h"

struct TextRecord;

namespace vela {

using AutoWordValue = uintptr_t;

// The type codes (the language's AutoTypes).
enum AutoType : int32_t {
  kAutoNil = 0, kAutoInt8, kAutoInt16, kAutoInt32, kAutoInt64, kAutoUInt8, kAutoUInt16,
  kAutoUInt32, kAutoUInt64, kAutoSingle, kAutoDouble, kAutoCurrency, kAutoText, kAutoObject,
  kAutoPtr, kAutoBoolean, kAutoColor, kAutoString, kAutoOSType, kAutoCString, kAutoWString,
  kAutoPString, kAutoCFString, kAutoWindowPtr, kAutoStructure, kAutoArray,
};

// The low bytes of the small tagged kinds.
enum : uint32_t {
  kTagInt8 = 0x07, kTagInt16 = 0x0F, kTagUInt8 = 0x17, kTagUInt16 = 0x1F, kTagColor = 0x27,
  kTagBoolean = 0x2F,
};

constexpr AutoWordValue kAutoTextTag = 3;
constexpr AutoWordValue kAutoStringTag = 4;

// A box: the header, the type code, then the value.
struct AutoBox {
  RuntimeObject header;
  int32_t type;
  union {
    int64_t i;
    uint64_t u;
    float f;
    double d;
    void* p;
    RuntimeObject* object;
    TESSstring string;
    TextRecord* text;
    struct {
      char* name;
      void* data;
      int32_t size;
    } structValue;
  } u;
};

RuntimeClass* AutoClass();

// The box a word points at, or null when the word is not a box.
AutoBox* BoxOf(AutoWordValue word);

// The word's type code (reports "Unknown tagged ptr %p" for a word no kind
// claims, and answers Nil).
int32_t AutoTypeOf(AutoWordValue word);

// A new box of `type` with zero value, one reference; null when memory ran
// out (reported).
AutoBox* NewAutoBox(int32_t type);

// The text of a type code in messages ("Int32", "String", ...); for objects,
// arrays and structures the word names the class, element and structure.
std::string AutoTypeText(AutoWordValue word);

// The text of an array element kind in messages ("Int32", "objects", ...).
std::string ElementKindText(int32_t kind);

// Raises TypeMismatchException with "Expected <expected> but got <word's type>".
void RaiseAutoMismatch(const std::string& expected, AutoWordValue word);

// Inline words of the small kinds.
constexpr AutoWordValue TagSmall(uint32_t payload, uint32_t tag) { return payload | tag; }
inline uint32_t Low32(AutoWordValue word) { return uint32_t(word); }

}  // namespace vela
