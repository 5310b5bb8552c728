// The bridges between Auto and Variant: values change form and come back,
// objects stay themselves, and nothing is left behind.
#include <gtest/gtest.h>

#include "kit/leak_check.h"
#include "variant_test_support.h"
#include "vela/auto.h"
#include "vela/variant.h"

namespace {

using namespace varianttest;

TEST(AutoVariant, ValuesRoundTripBothWays) {
  InChild([] {
    vela::testkit::LeakCheck leaks;
    auto roundTrip = [](VelaAutoWord word) {
      RuntimeObject* v = AutoToVariant(word);
      VelaAutoWord back = VariantToAuto(v);
      const int32_t order = RuntimeCompareAuto(word, back);
      const int32_t type = Introspection_Auto_Type(back);
      RuntimeUnlockObject(v);
      RuntimeUnlockAuto(back);
      RuntimeUnlockAuto(word);
      return std::make_pair(order, type);
    };
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromInt32(-7)), std::make_pair(0, 3));
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromInt64(1LL << 40)), std::make_pair(0, 4));
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromDouble(2.5)), std::make_pair(0, 10));
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromCurrency(12500)), std::make_pair(0, 11));
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromBoolean(1)), std::make_pair(0, 15));
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromColor(0x123456)), std::make_pair(0, 16));
    TESSstring s = NewUtf8("hello");
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromString(s)), std::make_pair(0, 17));
    RuntimeUnlockString(s);
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromCString("raw")), std::make_pair(-1, 19));  // a new copy
    const int64_t point[2] = {1, 2};
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromStruct(sizeof point, point, "Point")), std::make_pair(0, 24));
    EXPECT_EQ(AutoToVariant(0), nullptr);
    EXPECT_EQ(VariantToAuto(nullptr), 0u);
    // An UInt8 goes through the UInt32 box and comes back as a UInt32.
    EXPECT_EQ(roundTrip(RuntimeCreateAutoFromUInt8(200)).first, 0);
    EXPECT_TRUE(leaks.NothingLeaked());
  });
}

TEST(AutoVariant, ObjectsStayThemselves) {
  InChild([] {
    RuntimeArray* array = RuntimeArrayCreateSingleDimBoundedArray(kArrayInt32, 1);
    VelaAutoWord word = RuntimeCreateAutoFromObject(&array->header);
    RuntimeObject* v = AutoToVariant(word);
    EXPECT_EQ(v, &array->header);
    EXPECT_EQ(VarType(v, 0), 0x1000 + 2);
    VelaAutoWord back = VariantToAuto(v);
    EXPECT_EQ(back, word);
    EXPECT_EQ(array->header.objectRefCount, 4);  // ours, the word, the Variant, the word back
    for (VelaAutoWord w : {word, back}) RuntimeUnlockAuto(w);
    RuntimeUnlockObject(v);
    RuntimeUnlockObject(&array->header);
  });
}

}  // namespace
