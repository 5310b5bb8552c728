#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "kit/string_counts.h"
#include "text/string_create.h"
#include "vela/accessors.h"
#include "vela/text.h"

namespace vela {
namespace {

// A block with the "object" in its middle: fields at negative offsets lie in
// front of it, as properties do in front of a native structure.
struct FieldArena {
  alignas(16) unsigned char bytes[128];
  FieldArena() { std::memset(bytes, 0xA5, sizeof bytes); }
  RuntimeObject* object() { return reinterpret_cast<RuntimeObject*>(bytes + 64); }
  size_t ChangedBytes() const {
    size_t changed = 0;
    for (unsigned char b : bytes) changed += b != 0xA5;
    return changed;
  }
};

template <class T>
T SampleValue() {
  if constexpr (std::is_pointer_v<T>) return reinterpret_cast<T>(uintptr_t(0x1122334455667788));
  else if constexpr (std::is_floating_point_v<T>) return T(-1234.5);
  else return T(0x5A5A5A5A5A5A5A5AULL & ~T(0) & T(~0x01));  // no byte equals 0xA5
}

template <class T>
void CheckAccessor(const char* name, T (*getter)(RuntimeObject*, intptr_t),
                   void (*setter)(RuntimeObject*, intptr_t, T)) {
  // Aligned and unaligned, behind and in front of the object pointer.
  for (intptr_t offset : {intptr_t(8), intptr_t(13), intptr_t(-8), intptr_t(-21)}) {
    FieldArena arena;
    T value = SampleValue<T>();
    setter(arena.object(), offset, value);
    EXPECT_EQ(arena.ChangedBytes(), sizeof(T)) << name << " at " << offset;
    EXPECT_EQ(std::memcmp(arena.bytes + 64 + offset, &value, sizeof(T)), 0) << name;
    EXPECT_EQ(getter(arena.object(), offset), value) << name << " at " << offset;
  }
}

TEST(Accessors, EveryScalarAccessorWritesExactlyItsWidth) {
#define VELA_CHECK_ACCESSOR(name, type) \
  CheckAccessor<type>(#name, name##Getter, name##Setter);
  VELA_SCALAR_ACCESSORS(VELA_CHECK_ACCESSOR)
#undef VELA_CHECK_ACCESSOR
}

TEST(Accessors, WidthsFollowTheBinaryInterface) {
  FieldArena arena;
  ptrSetter(arena.object(), 0, nullptr);
  EXPECT_EQ(arena.ChangedBytes(), 8u);  // pointer-sized on this platform
  FieldArena small;
  booleanSetter(small.object(), -1, 1);
  EXPECT_EQ(small.ChangedBytes(), 1u);
  EXPECT_EQ(booleanGetter(small.object(), -1), 1);
}

TEST(Accessors, StringSetterLocksTheNewValueBeforeDroppingTheOld) {
  testkit::StringLeakCheck strings;
  FieldArena arena;
  ptrSetter(arena.object(), -16, nullptr);  // a new object's fields start as zero
  stringSetter(arena.object(), -16, nullptr);
  EXPECT_EQ(stringGetter(arena.object(), -16), nullptr);
  TESSstring s = NewString("held", -1, kEncodingUTF8);
  stringSetter(arena.object(), -16, s);
  RuntimeUnlockString(s);  // the field holds the only reference now
  stringSetter(arena.object(), -16, s);  // the same value again must survive
  EXPECT_EQ(s->mRefCount, 1);
  TESSstring got = stringGetter(arena.object(), -16);
  EXPECT_EQ(got, s);
  EXPECT_EQ(s->mRefCount, 2);
  RuntimeUnlockString(got);
  stringSetter(arena.object(), -16, nullptr);
  EXPECT_TRUE(strings.NoLeaks());
}

TEST(Accessors, ObjectSetterLocksTheNewValueBeforeDroppingTheOld) {
  testkit::LeakCheck leaks;
  testkit::ClassScope classes;
  RuntimeClass* cls = classes.Build(testkit::ClassBuilder("Held").InstanceSize(48));
  FieldArena arena;
  ptrSetter(arena.object(), 24, nullptr);
  RuntimeObject* object = RuntimeNewObject(cls);
  objSetter(arena.object(), 24, object);
  RuntimeUnlockObject(object);  // the field holds the only reference now
  objSetter(arena.object(), 24, object);
  EXPECT_EQ(object->objectRefCount, 1);
  RuntimeObject* got = objGetter(arena.object(), 24);
  EXPECT_EQ(got, object);
  EXPECT_EQ(object->objectRefCount, 2);
  RuntimeUnlockObject(got);
  objSetter(arena.object(), 24, nullptr);  // drops the last reference
}

TEST(Accessors, TextValuesAreCountedLikeStrings) {
  FieldArena arena;
  ptrSetter(arena.object(), 8, nullptr);
  textSetter(arena.object(), 8, nullptr);
  EXPECT_EQ(textGetter(arena.object(), 8), nullptr);
  const uint16_t units[] = {'h', 'i', 0};
  TextValue text = RuntimeTextFromWString(units);
  textSetter(arena.object(), 8, text);
  EXPECT_EQ(text->mRefCount, 2);
  TextValue read = textGetter(arena.object(), 8);
  EXPECT_EQ(read, text);
  EXPECT_EQ(text->mRefCount, 3);
  RuntimeUnlockText(read);
  textSetter(arena.object(), 8, nullptr);
  EXPECT_EQ(text->mRefCount, 1);
  RuntimeUnlockText(text);
}

}  // namespace
}  // namespace vela
