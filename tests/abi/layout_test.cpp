// The records that compiled code reads and writes by position: the object
// header, the class record with its tables, and the string record. Each test
// makes a real record through the exports and reads it as raw memory, so
// that a field moved in the headers or in the code fails here.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "vela/object.h"
#include "vela/string.h"
#include "vela/text.h"

namespace {

// The `index`th 8-byte word of a record.
uint64_t Word(const void* record, size_t index) {
  uint64_t value;
  std::memcpy(&value, static_cast<const unsigned char*>(record) + index * 8, sizeof value);
  return value;
}
uint32_t U32At(const void* record, size_t offset) {
  uint32_t value;
  std::memcpy(&value, static_cast<const unsigned char*>(record) + offset, sizeof value);
  return value;
}
uint64_t Address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

// The allocator's size of a block. Under AddressSanitizer it is the size that
// was asked for; glibc may round up.
void ExpectBlockHolds(const void* block, size_t bytes) {
#if defined(__SANITIZE_ADDRESS__)
  EXPECT_EQ(malloc_usable_size(const_cast<void*>(block)), bytes);
#else
  EXPECT_GE(malloc_usable_size(const_cast<void*>(block)), bytes);
#endif
}

void MarkerA(RuntimeObject*) {}
void MarkerB(RuntimeObject*) {}
void MarkerC(RuntimeObject*) {}

// ---------------------------------------------------------------------------
// Class record

constexpr uint32_t kMethods = 2, kInterfaces = 1, kEvents = 3, kProperties = 2, kExtras = 1;
constexpr size_t kRecordWords =
    20 + 3 * kInterfaces + 8 * kMethods + 6 * kEvents + 10 * kProperties + 3 * kExtras;

TEST(ClassRecordLayout, HeadWordsAndTablePositions) {
  RuntimeClass* previousHead = RuntimeGetClassList();
  RuntimeClass* cls = RuntimeNewClass(nullptr, kMethods, kInterfaces, kEvents, 0, kProperties,
                                      kExtras);
  ASSERT_NE(cls, nullptr);
  const uint64_t base = Address(cls);

  // What the library fills in.
  EXPECT_EQ(Word(cls, 0), Address(previousHead)) << "nextClass";
  EXPECT_EQ(RuntimeGetClassList(), cls);
  EXPECT_EQ(Word(cls, 1), 0u) << "superClass of a root class";
  EXPECT_EQ(Word(cls, 11), kMethods) << "methods.count";
  EXPECT_EQ(Word(cls, 13), kEvents) << "events.count";
  EXPECT_EQ(Word(cls, 15), kProperties) << "properties.count";
  EXPECT_EQ(Word(cls, 17), kExtras) << "extraCount";
  EXPECT_EQ(Word(cls, 19), kInterfaces) << "interfaceCount";

  // The tables follow the head in one block: interface entries, methods,
  // events, properties, extras.
  const uint64_t interfaces = base + 20 * 8;
  const uint64_t methods = interfaces + 3 * 8 * kInterfaces;
  const uint64_t events = methods + 8 * 8 * kMethods;
  const uint64_t properties = events + 6 * 8 * kEvents;
  const uint64_t extras = properties + 10 * 8 * kProperties;
  EXPECT_EQ(Address(cls->interfaceEntries), interfaces);
  EXPECT_EQ(Word(cls, 12), methods) << "methods items";
  EXPECT_EQ(Word(cls, 14), events) << "events items";
  EXPECT_EQ(Word(cls, 16), properties) << "properties items";
  EXPECT_EQ(Word(cls, 18), extras) << "extraItems";
  EXPECT_EQ(extras + 3 * 8 * kExtras, base + kRecordWords * 8);

  // Everything else starts zero, up to the last word of the block.
  for (size_t i = 0; i < kRecordWords; ++i) {
    if (i == 0 || (i >= 11 && i <= 19)) continue;
    EXPECT_EQ(Word(cls, i), 0u) << "word " << i;
  }
  ExpectBlockHolds(cls, kRecordWords * 8);

  // What compiled code fills in, through the header's names, lands on the
  // documented words; 32-bit fields sit in the low half of their word.
  static const char kName[] = "LayoutProbe";
  int glue = 0;
  cls->name = kName;
  cls->instanceSize = 0x12345678;
  cls->flags = kPropertiesBackwardsFlag;
  cls->cppGlueDecl = &glue;
  cls->initializer = MarkerA;
  cls->destructorHook = MarkerB;
  cls->finalizer = MarkerC;
  cls->compiledWord = 0xC0FFEE;
  cls->vtable = RuntimeNewVtable(4);
  EXPECT_EQ(Word(cls, 2), Address(kName));
  EXPECT_EQ(Word(cls, 3), 0x12345678u);
  EXPECT_EQ(Word(cls, 4), uint64_t(kPropertiesBackwardsFlag));
  EXPECT_EQ(Word(cls, 5), Address(&glue));
  EXPECT_EQ(Word(cls, 6), Address(reinterpret_cast<void*>(&MarkerA)));
  EXPECT_EQ(Word(cls, 7), Address(reinterpret_cast<void*>(&MarkerB)));
  EXPECT_EQ(Word(cls, 8), Address(reinterpret_cast<void*>(&MarkerC)));
  EXPECT_EQ(Word(cls, 9), 0xC0FFEEu);
  EXPECT_EQ(Word(cls, 10), Address(cls->vtable));

  cls->cppGlueDecl = nullptr;
  RuntimeDestroyClass(cls);
  EXPECT_EQ(RuntimeGetClassList(), previousHead);
}

TEST(ClassRecordLayout, EntryShapesOfTheFourTables) {
  RuntimeClass* cls = RuntimeNewClass(nullptr, 1, 1, 1, 0, 1, 1);
  ASSERT_NE(cls, nullptr);
  static const char kMember[] = "Member";

  // Method entry: four-word member head, signature, function, invoker, slot.
  RuntimeMethodMember& method = cls->methods[0];
  method.head.name = kMember;
  method.head.flags = kScopePublic | kMemberVirtual;
  method.signature = "%%f8";
  method.function = reinterpret_cast<void*>(&MarkerA);
  method.invoker = reinterpret_cast<void*>(&MarkerB);
  method.vtableSlot = 5;
  const uint64_t m = Address(&method);
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 0), Address(kMember));
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 1), uint64_t(kScopePublic | kMemberVirtual));
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 5), Address(reinterpret_cast<void*>(&MarkerA)));
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 6), Address(reinterpret_cast<void*>(&MarkerB)));
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 7), 5u);

  // The attribute table sits in word 3 and its count in word 2 of the head.
  RuntimeAttribute* attributes =
      RuntimeAllocateAttributeTable(cls->methods, 0, 2);
  ASSERT_NE(attributes, nullptr);
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 2), 2u);
  EXPECT_EQ(Word(reinterpret_cast<void*>(m), 3), Address(attributes));

  // Event entry: head, then the handler's function and object.
  RuntimeEventMember& event = cls->events[0];
  event.function = reinterpret_cast<void*>(&MarkerC);
  EXPECT_EQ(Word(&event, 4), Address(reinterpret_cast<void*>(&MarkerC)));
  EXPECT_EQ(Word(&event, 5), 0u);

  // Property entry: head, declaration, parameter, getter, setter, two words.
  RuntimePropertyMember& property = cls->properties[0];
  property.parameter = -24;
  property.getter = reinterpret_cast<void*>(&MarkerA);
  property.setter = reinterpret_cast<void*>(&MarkerB);
  EXPECT_EQ(int64_t(Word(&property, 5)), -24);
  EXPECT_EQ(Word(&property, 6), Address(reinterpret_cast<void*>(&MarkerA)));
  EXPECT_EQ(Word(&property, 7), Address(reinterpret_cast<void*>(&MarkerB)));

  // Interface entry: interface record, a word for compiled code, vtable.
  cls->interfaceEntries[0].interface = cls;
  cls->interfaceEntries[0].vtable = RuntimeNewVtable(1);
  EXPECT_EQ(Word(cls, 20), Address(cls));
  EXPECT_EQ(Word(cls, 22), Address(cls->interfaceEntries[0].vtable));

  RuntimeDestroyClass(cls);
}

TEST(ClassRecordLayout, SubclassCopiesInheritedEntriesToTheFrontOfItsTables) {
  RuntimeClass* base = RuntimeNewClass(nullptr, kMethods, kInterfaces, kEvents, 0, kProperties,
                                       kExtras);
  ASSERT_NE(base, nullptr);
  base->interfaceEntries[0].compiled = 0x1F;
  for (uint32_t i = 0; i < kMethods; ++i) base->methods[i].vtableSlot = 100 + i;
  for (uint32_t i = 0; i < kEvents; ++i) base->events[i].function = reinterpret_cast<void*>(&MarkerA);
  for (uint32_t i = 0; i < kProperties; ++i) base->properties[i].parameter = 200 + i;
  base->extraItems[0].words[0] = 0xE;

  RuntimeClass* derived = RuntimeNewClass(base, kMethods + 1, kInterfaces + 1, kEvents + 1, 0,
                                          kProperties + 1, kExtras + 1);
  ASSERT_NE(derived, nullptr);
  EXPECT_EQ(Word(derived, 1), Address(base)) << "superClass";
  EXPECT_EQ(Word(derived, 0), Address(base)) << "nextClass: the newest class first";
  const size_t derivedWords = 20 + 3 * (kInterfaces + 1) + 8 * (kMethods + 1) +
                              6 * (kEvents + 1) + 10 * (kProperties + 1) + 3 * (kExtras + 1);
  ExpectBlockHolds(derived, derivedWords * 8);

  // Interface entries start at word 20, then the other tables in order.
  EXPECT_EQ(Word(derived, 21), 0x1Fu);
  const uint64_t methods = Address(derived) + (20 + 3 * (kInterfaces + 1)) * 8;
  EXPECT_EQ(Word(derived, 12), methods);
  EXPECT_EQ(derived->methods[0].vtableSlot, 100u);
  EXPECT_EQ(derived->methods[1].vtableSlot, 101u);
  EXPECT_EQ(derived->methods[2].vtableSlot, 0u);
  EXPECT_EQ(Word(derived, 14), methods + 8 * 8 * (kMethods + 1));
  EXPECT_EQ(derived->events[kEvents - 1].function, reinterpret_cast<void*>(&MarkerA));
  EXPECT_EQ(derived->events[kEvents].function, nullptr);
  EXPECT_EQ(derived->properties[1].parameter, 201);
  EXPECT_EQ(derived->properties[2].parameter, 0);
  // The extra table belongs to each class alone.
  EXPECT_EQ(derived->extraItems[0].words[0], 0u);

  RuntimeDestroyClass(derived);
  RuntimeDestroyClass(base);
}

// ---------------------------------------------------------------------------
// Object header

TEST(ObjectHeaderLayout, SixWordsAtTheObjectPointer) {
  RuntimeClass* cls = RuntimeNewClass(nullptr, 0, 0, 2, 0, 0, 0);
  ASSERT_NE(cls, nullptr);
  cls->name = "HeaderProbe";
  cls->instanceSize = 16;  // two words of properties behind the header
  cls->vtable = RuntimeNewVtable(2);
  cls->vtable[0] = reinterpret_cast<void*>(&MarkerA);
  cls->vtable[1] = reinterpret_cast<void*>(&MarkerB);

  RuntimeObject* older = RuntimeNewObject(cls);
  RuntimeObject* newer = RuntimeNewObject(cls);
  ASSERT_NE(older, nullptr);
  ASSERT_NE(newer, nullptr);

  EXPECT_EQ(Word(newer, 0), Address(cls->vtable)) << "vtable";
  EXPECT_EQ(Word(newer, 1), Address(cls)) << "classPtr";
  EXPECT_EQ(Word(newer, 2), Address(cls->events)) << "eventTable: the class's shared table";
  EXPECT_EQ(Word(newer, 3), 1u) << "objectRefCount, high half zero";
  // The live list links hold complemented addresses; the newest object has
  // no newer neighbour.
  EXPECT_EQ(Word(newer, 4), ~uint64_t(0)) << "liveListPrev of the head";
  EXPECT_EQ(Word(newer, 5), ~Address(older)) << "liveListNext";
  EXPECT_EQ(Word(older, 4), ~Address(newer)) << "liveListPrev of the older object";
  EXPECT_EQ(Word(newer, 6), 0u) << "properties start zero";
  EXPECT_EQ(Word(newer, 7), 0u);

  // The count is a 32-bit value in the low half of word 3.
  RuntimeLockObject(newer);
  EXPECT_EQ(U32At(newer, 24), 2u);
  EXPECT_EQ(U32At(newer, 28), 0u);
  RuntimeUnlockObject(newer);

  RuntimeUnlockObject(newer);
  const uint64_t prev = Word(older, 4);
  EXPECT_TRUE(prev == 0 || prev == ~uint64_t(0)) << "older is the head again: " << prev;

  RuntimeUnlockObject(older);
  RuntimeDestroyClass(cls);
}

// ---------------------------------------------------------------------------
// String record

struct StringView {
  int32_t refCount;
  uint64_t buffer;
  uint32_t reserved;
  int32_t length;
  uint32_t encoding;
  int32_t charCount;
};

StringView ReadString(TESSstring s) {
  StringView v;
  std::memcpy(&v.refCount, s, 4);
  v.buffer = Word(s, 1);
  v.reserved = U32At(s, 16);
  std::memcpy(&v.length, reinterpret_cast<const char*>(s) + 20, 4);
  v.encoding = U32At(s, 24);
  std::memcpy(&v.charCount, reinterpret_cast<const char*>(s) + 28, 4);
  return v;
}

// The length byte, the text on an even address right behind it, and four
// zero bytes behind the text.
void ExpectTextBlock(TESSstring s, const StringView& v, const std::string& text) {
  const uint64_t record = Address(s);
  EXPECT_TRUE(v.buffer == record + 32 || v.buffer == record + 33)
      << "mBuffer at offset " << (v.buffer - record);
  const auto* lengthByte = reinterpret_cast<const unsigned char*>(v.buffer);
  const auto* textStart = lengthByte + 1;
  EXPECT_EQ(Address(textStart) % 2, 0u) << "text must start on an even address";
  EXPECT_EQ(*lengthByte, text.size() > 255 ? 255u : text.size());
  EXPECT_EQ(std::memcmp(textStart, text.data(), text.size()), 0);
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(textStart[text.size() + i], 0) << "terminator " << i;
  ExpectBlockHolds(s, size_t(textStart - reinterpret_cast<const unsigned char*>(s)) +
                          text.size() + 4);
}

TEST(StringRecordLayout, FieldsAndTextOfACString) {
  TESSstring s = StringFromCString("hello");
  ASSERT_NE(s, nullptr);
  const StringView v = ReadString(s);
  EXPECT_EQ(v.refCount, 1);
  EXPECT_EQ(v.reserved, 0u);
  EXPECT_EQ(v.length, 5);
  EXPECT_EQ(v.encoding, kEncodingASCII);
  EXPECT_EQ(v.charCount, 0);
  ExpectTextBlock(s, v, "hello");
  // The header's field names agree with the positions.
  EXPECT_EQ(Address(s->mBuffer), v.buffer);
  EXPECT_EQ(s->mLength, 5);
  RuntimeUnlockString(s);
}

TEST(StringRecordLayout, LongTextKeepsALengthByteOf255) {
  const std::string text(300, 'x');
  TESSstring s = StringFromCString(text.c_str());
  ASSERT_NE(s, nullptr);
  const StringView v = ReadString(s);
  EXPECT_EQ(v.length, 300);
  ExpectTextBlock(s, v, text);
  RuntimeUnlockString(s);
}

TEST(StringRecordLayout, WideTextIsReadableInPlaceAsUtf16) {
  const uint16_t wide[] = {'V', 0x00E9, 'l', 'a', 0};
  TESSstring s = StringFromWString(wide);
  ASSERT_NE(s, nullptr);
  const StringView v = ReadString(s);
  EXPECT_EQ(v.length, 8);
  EXPECT_EQ(v.encoding, kEncodingUTF16);
  ExpectTextBlock(s, v, std::string(reinterpret_cast<const char*>(wide), 8));
  const auto* units = reinterpret_cast<const uint16_t*>(v.buffer + 1);
  EXPECT_EQ(units[1], 0x00E9);
  EXPECT_EQ(units[4], 0);  // a terminated UTF-16 string without a copy
  RuntimeUnlockString(s);
}

// A Text read by offsets as compiled code reads it: count, units, length in
// units, characters once counted.
TEST(TextRecordLayout, FieldsAtTheirOffsets) {
  const uint16_t wide[] = {u'e', 0x0301, u'x', 0};  // three units, two characters
  TextValue t = RuntimeTextFromWString(wide);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(Address(t) % 8, 0u);
  int32_t refCount, length, charCount;
  std::memcpy(&refCount, t, 4);
  std::memcpy(&length, reinterpret_cast<const char*>(t) + 16, 4);
  EXPECT_EQ(refCount, 1);
  EXPECT_EQ(length, 3);
  const auto* units = reinterpret_cast<const uint16_t*>(Word(t, 1));
  EXPECT_EQ(units[0], u'e');
  EXPECT_EQ(units[1], 0x0301);
  EXPECT_EQ(units[2], u'x');
  EXPECT_EQ(units[3], 0);  // zero-terminated
  EXPECT_EQ(RuntimeTextLen(t), 2);
  std::memcpy(&charCount, reinterpret_cast<const char*>(t) + 20, 4);
  EXPECT_EQ(charCount, 2);  // cached by the count
  EXPECT_EQ(Word(t, 3), 0u);  // reserved
  EXPECT_EQ(sizeof(TextRecord), 32u);
  RuntimeUnlockText(t);
}

}  // namespace
