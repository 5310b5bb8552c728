// Auto words: what is held inline and what is boxed, conversions and their
// refusals, the order of mixed values, and the references words hold.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstring>
#include <string>
#include <vector>

#include "dynamic/auto_word.h"
#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/last_raise.h"
#include "kit/leak_check.h"
#include "object/raise.h"
#include "text/string_bridges.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/application.h"
#include "vela/auto.h"

namespace {

using vela::StringHolder;
using vela::TextHolder;

using Raises = vela::testkit::LastRaise;

// An owned word released at the end of the scope.
struct Word {
  VelaAutoWord w;
  ~Word() { RuntimeUnlockAuto(w); }
  operator VelaAutoWord() const { return w; }
};

bool Boxed(VelaAutoWord w) { return vela::BoxOf(w) != nullptr; }

TEST(Auto, SmallValuesAreInlineAndAllocateNothing) {
  vela::testkit::LeakCheck leaks;
  const int32_t objectsBefore = leaks.ObjectDelta();
  StringHolder s = StringHolder::Adopt(vela::NewString("abc", 3, kEncodingUTF8));
  const int32_t refsBefore = s.get()->mRefCount;
  {
    Word values[] = {{RuntimeCreateAutoFromInt32(536870911)}, {RuntimeCreateAutoFromInt32(-536870912)},
                     {RuntimeCreateAutoFromInt8(-128)},       {RuntimeCreateAutoFromUInt16(65535)},
                     {RuntimeCreateAutoFromBoolean(1)},       {RuntimeCreateAutoFromColor(0xFFFFFF)},
                     {RuntimeCreateAutoFromUInt32(0)},        {RuntimeCreateAutoFromString(s.get())}};
    for (const Word& v : values) EXPECT_FALSE(Boxed(v)) << std::hex << v.w;
    EXPECT_EQ(leaks.ObjectDelta(), objectsBefore);
    EXPECT_EQ(leaks.StringDelta(), 1);  // only the string made above
    EXPECT_EQ(s.get()->mRefCount, refsBefore + 1);
    EXPECT_EQ(RuntimeConvertAutoToInt32(values[0]), 536870911);
    EXPECT_EQ(RuntimeConvertAutoToInt32(values[1]), -536870912);
    EXPECT_EQ(RuntimeConvertAutoToInt8(values[2]), -128);
    EXPECT_EQ(RuntimeConvertAutoToUInt16(values[3]), 65535);
    EXPECT_EQ(values[4].w, 0x0100002Fu);
    EXPECT_EQ(RuntimeConvertAutoToColor(values[5]), 0xFFFFFFu);
    EXPECT_EQ(values[6].w, 2u);
    EXPECT_EQ(values[7].w, reinterpret_cast<uintptr_t>(s.get()) + 4);
  }
  EXPECT_EQ(s.get()->mRefCount, refsBefore);
  EXPECT_EQ(RuntimeCreateAutoFromString(nullptr), 4u);  // a String Auto, not Nil
  EXPECT_EQ(RuntimeConvertAutoToString(4), nullptr);
  EXPECT_EQ(RuntimeCreateAutoFromText(nullptr), 3u);
}

// The heap's bytes in use do not move while thousands of small values are
// made, held and read. (Under AddressSanitizer the heap statistics read 0,
// and the object and string counts above carry the check.)
TEST(Auto, SmallValuesLeaveTheHeapAlone) {
  std::vector<VelaAutoWord> words(4096);
  const size_t before = mallinfo2().uordblks;
  for (size_t i = 0; i < words.size(); ++i)
    words[i] = i % 2 ? RuntimeCreateAutoFromInt32(int32_t(i) - 2000)
                     : RuntimeCreateAutoFromColor(uint32_t(i) * 0x101);
  int64_t sum = 0;
  for (VelaAutoWord w : words) sum += Introspection_Auto_Type(w) == 3 ? RuntimeConvertAutoToInt32(w) : 1;
  const size_t after = mallinfo2().uordblks;
  for (VelaAutoWord w : words) RuntimeUnlockAuto(w);
  EXPECT_EQ(after, before);
  EXPECT_NE(sum, 0);
}

TEST(Auto, WiderValuesGoIntoBoxesAndComeBack) {
  vela::testkit::LeakCheck leaks;
  Word big{RuntimeCreateAutoFromInt32(536870912)};
  Word low{RuntimeCreateAutoFromInt32(-536870913)};
  Word colour{RuntimeCreateAutoFromColor(0x80FF0000)};
  Word wide{RuntimeCreateAutoFromUInt32(5)};
  Word pointer{RuntimeCreateAutoFromPtr(reinterpret_cast<void*>(0x123456789ABCDEF0))};
  for (VelaAutoWord w : {big.w, low.w, colour.w, wide.w, pointer.w}) EXPECT_TRUE(Boxed(w));
  EXPECT_EQ(RuntimeConvertAutoToInt32(big), 536870912);
  EXPECT_EQ(RuntimeConvertAutoToInt32(low), -536870913);
  EXPECT_EQ(RuntimeConvertAutoToColor(colour), 0x80FF0000u);
  EXPECT_EQ(Introspection_Auto_Type(wide), 7);
  EXPECT_EQ(RuntimeConvertAutoToPtr(pointer), reinterpret_cast<void*>(0x123456789ABCDEF0));
  EXPECT_EQ(leaks.ObjectDelta(), 5);
}

TEST(Auto, NumbersConvertAmongThemselves) {
  Word int64{RuntimeCreateAutoFromInt64(300)};
  Word money{RuntimeCreateAutoFromCurrency(25000)};
  Word real{RuntimeCreateAutoFromDouble(-2.9)};
  Word huge{RuntimeCreateAutoFromDouble(1e19)};
  EXPECT_EQ(RuntimeConvertAutoToInt8(int64), 44);  // cut, not checked
  EXPECT_EQ(RuntimeConvertAutoToInt32(money), 2);
  EXPECT_EQ(RuntimeConvertAutoToDouble(money), 2.5);
  EXPECT_EQ(RuntimeConvertAutoToInt32(real), -2);
  EXPECT_EQ(RuntimeConvertAutoToCurrency(real), -29000);
  EXPECT_EQ(RuntimeConvertAutoToCurrency(int64), 3000000);
  EXPECT_EQ(RuntimeConvertAutoToUInt64(huge), 10000000000000000000u);
  EXPECT_EQ(RuntimeConvertAutoToInt32(huge), INT32_MIN);  // the machine's result
  EXPECT_EQ(RuntimeConvertAutoToSingle(RuntimeCreateAutoFromInt16(-7)), -7.0f);
}

TEST(Auto, RefusalsNameBothTypes) {
  Raises raises;
  EXPECT_EQ(RuntimeConvertAutoToInt32(0), 0);
  EXPECT_EQ(raises.Take(), "TypeMismatchException: Expected Int32 but got Nil");
  EXPECT_EQ(RuntimeConvertAutoToObject(0), nullptr);
  EXPECT_EQ(raises.Take(), "");
  StringHolder s = StringHolder::Adopt(vela::NewString("x", 1, kEncodingUTF8));
  Word text{RuntimeCreateAutoFromText(TextHolder::Adopt(vela::TextFromUtf8("t", 1)).get())};
  Word string{RuntimeCreateAutoFromString(s.get())};
  EXPECT_EQ(RuntimeConvertAutoToText(string), nullptr);
  EXPECT_EQ(raises.Take(), "TypeMismatchException: Expected Text but got String");
  StringHolder fromText = StringHolder::Adopt(RuntimeConvertAutoToString(text));
  EXPECT_EQ(std::string(vela::StringText(fromText.get()), 1), "t");
  RuntimeConvertAutoToBoolean(RuntimeCreateAutoFromInt8(1));
  EXPECT_EQ(raises.Take(), "TypeMismatchException: Expected Boolean but got Int8");

  vela::testkit::ClassScope classes;
  RuntimeClass* cls = classes.Build(vela::testkit::ClassBuilder("Shape").InstanceSize(64));
  RuntimeObject* object = RuntimeNewObject(cls);
  Word held{RuntimeCreateAutoFromObject(object)};
  RuntimeUnlockObject(object);
  EXPECT_EQ(Introspection_Auto_Type(held), 13);
  RuntimeConvertAutoToDouble(held);
  EXPECT_EQ(raises.Take(), "TypeMismatchException: Expected Double but got class Shape");
}

TEST(Auto, RawTextAndStructuresAreCopiesTheBoxOwns) {
  vela::testkit::LeakCheck leaks;
  Raises raises;
  {
    Word c{RuntimeCreateAutoFromCString("hello")};
    char* out = RuntimeConvertAutoToCString(c);
    EXPECT_STREQ(out, "hello");
    EXPECT_EQ(vela::RawTextLockCount(vela::RawTextKind::kC, out), 2);  // box + caller
    RuntimeUnlockCString(out);
    const uint16_t wide[] = {'h', 'i', 0};
    Word w{RuntimeCreateAutoFromWString(wide)};
    TextHolder t = TextHolder::Adopt(RuntimeConvertAutoToText(w));
    EXPECT_EQ(vela::TextView(t.get()), u"hi");

    const int64_t point[2] = {3, 4};
    Word shape{RuntimeCreateAutoFromStruct(sizeof point, point, "Point")};
    int64_t copy[2] = {};
    RuntimeConvertAutoToStruct(shape, "Point", sizeof copy, copy);
    EXPECT_EQ(copy[1], 4);
    RuntimeConvertAutoToStruct(shape, "Size", sizeof copy, copy);
    EXPECT_EQ(raises.Take(), "TypeMismatchException: Expected structure Size but got structure Point");
    Word other{RuntimeCreateAutoFromStruct(sizeof point, copy, "Point")};
    EXPECT_EQ(RuntimeCompareAuto(shape, other), 0);
  }
  EXPECT_TRUE(leaks.NothingLeaked());
}

TEST(Auto, ArraysStayArrays) {
  vela::testkit::LeakCheck leaks;
  Raises raises;
  RuntimeArray* numbers = RuntimeArrayCreateSingleDimBoundedArray(kArrayInt32, 2);
  Word held{RuntimeCreateAutoFromObject(&numbers->header)};
  RuntimeUnlockObject(&numbers->header);
  EXPECT_EQ(Introspection_Auto_Type(held), 25);
  EXPECT_EQ(Introspection_Auto_ArrayRank(held), 1);
  EXPECT_EQ(Introspection_Auto_ArrayElementType(held), kArrayInt32);
  RuntimeArray* back = RuntimeConvertAutoToArray(held, kArrayInt32);
  EXPECT_EQ(back, numbers);
  RuntimeUnlockObject(&back->header);
  EXPECT_EQ(RuntimeConvertAutoToArray(held, kArrayFloat64), nullptr);
  EXPECT_EQ(raises.Take(), "TypeMismatchException: Expected array of Double but got array of Int32");
  Introspection_Auto_StructName(held);
  EXPECT_EQ(raises.Take(), "TypeMismatchException");
}

TEST(Auto, MixedValuesOrderAsTheLanguageSays) {
  Word minusOne{RuntimeCreateAutoFromInt8(-1)};
  Word uintOne{RuntimeCreateAutoFromUInt32(1)};
  Word one{RuntimeCreateAutoFromInt32(1)};
  Word oneReal{RuntimeCreateAutoFromDouble(1.0)};
  Word five{RuntimeCreateAutoFromInt32(5)};
  Word bigUnsigned{RuntimeCreateAutoFromUInt64(~uint64_t(0))};
  EXPECT_EQ(RuntimeCompareAuto(minusOne, uintOne), -1);  // as Int32
  EXPECT_EQ(RuntimeCompareAuto(one, oneReal), 0);
  EXPECT_EQ(RuntimeCompareAuto(0, five), 1);  // Nil after everything
  EXPECT_EQ(RuntimeCompareAuto(five, 0), -1);
  EXPECT_EQ(RuntimeCompareAuto(minusOne, bigUnsigned), 0);  // as Int64: -1 and -1
  Word a{RuntimeCreateAutoFromText(TextHolder::Adopt(vela::TextFromUtf8("a", 1)).get())};
  Word upperA{RuntimeCreateAutoFromText(TextHolder::Adopt(vela::TextFromUtf8("A", 1)).get())};
  EXPECT_EQ(RuntimeCompareAuto(a, upperA), 0);
  StringHolder abc = StringHolder::Adopt(vela::NewString("abc", 3, kEncodingUTF8));
  StringHolder abd = StringHolder::Adopt(vela::NewString("ABD", 3, kEncodingASCII));
  Word s1{RuntimeCreateAutoFromString(abc.get())};
  Word s2{RuntimeCreateAutoFromString(abd.get())};
  EXPECT_EQ(RuntimeCompareAuto(s1, s2), -1);
  EXPECT_EQ(RuntimeCompareAuto(s2, s1), 1);
  EXPECT_EQ(RuntimeCompareAuto(a, s1), -1);  // Text against String: as Strings
}

// The iterators of Text and String hand out their values as Autos.
TEST(Auto, IteratorValuesAreAutos) {
  auto result = vela::testkit::RunInChild([]() -> int {
    for (const char* name : {"Text._CharacterIterator", "String._CharacterIterator",
                             "Text._CodepointIterator"})
      vela::testkit::ClassBuilder(name).Backwards().Build();
    RuntimeInitExternalClasses();
    TextHolder text = TextHolder::Adopt(vela::TextFromUtf8("e\xCC\x81\xF0\x9F\x98\x80", 7));
    RuntimeObject* characters = TextCharacterGetIterator(text.get());
    std::u16string seen;
    while (TextCharacterIteratorMoveNext(characters)) {
      Word value{TextCharacterIteratorValue(characters)};
      TextHolder character = TextHolder::Adopt(RuntimeConvertAutoToText(value));
      seen += std::u16string(vela::TextView(character.get())) + u"|";
    }
    RuntimeUnlockObject(characters);
    EXPECT_EQ(seen, u"e\u0301|\U0001F600|");
    RuntimeObject* points = TextCodepointGetIterator(text.get());
    std::vector<uint32_t> codes;
    while (TextCodepointIteratorMoveNext(points)) {
      Word value{TextCodepointIteratorValue(points)};
      codes.push_back(RuntimeConvertAutoToUInt32(value));
    }
    RuntimeUnlockObject(points);
    EXPECT_EQ(codes, (std::vector<uint32_t>{'e', 0x301, 0x1F600}));
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

}  // namespace
