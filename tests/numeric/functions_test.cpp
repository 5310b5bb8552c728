// The mathematical and bit functions of the language.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "object/raise.h"
#include "vela/numbers.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A one-dimensional array of the given kind for the ParamArray forms.
template <typename T>
RuntimeArray* ArrayOf(int32_t kind, std::initializer_list<T> values) {
  RuntimeArray* array = RuntimeArrayCreateSingleDimBoundedArray(kind, int32_t(values.size()) - 1);
  auto set = reinterpret_cast<void (*)(RuntimeArray*, T, int32_t)>(array->ops->set);
  int32_t i = 0;
  for (T v : values) set(array, v, i++);
  return array;
}
RuntimeArray* DoubleArray(std::initializer_list<double> v) { return ArrayOf(kArrayFloat64, v); }
RuntimeArray* UInt64Array(std::initializer_list<uint64_t> v) { return ArrayOf(kArrayUInt64, v); }

TEST(NumericFunctions, SignsAndAbsoluteValues) {
  EXPECT_TRUE(std::signbit(RuntimeAbs(-0.0)));  // -0.0 is not below 0
  EXPECT_EQ(RuntimeAbs(-2.5), 2.5);
  EXPECT_EQ(RuntimeSign(-3), -1);
  EXPECT_EQ(RuntimeSign(0.0), 0);
  EXPECT_EQ(RuntimeSign(kNaN), 0);
  EXPECT_EQ(RuntimeRound(-2.5), -3);  // halves away from zero
  EXPECT_TRUE(std::isnan(RuntimeSqrt(-1)));
  EXPECT_TRUE(std::isnan(RuntimeACos(1.5)));
}

TEST(NumericFunctions, MaxAndMinFoldLeftToRight) {
  EXPECT_EQ(RuntimeMax(1, 5, nullptr), 5);
  EXPECT_EQ(RuntimeMin(1, 5, nullptr), 1);
  RuntimeArray* more = DoubleArray({7, -2, 3});
  EXPECT_EQ(RuntimeMax(1, 5, more), 7);
  EXPECT_EQ(RuntimeMin(1, 5, more), -2);
  RuntimeUnlockObject(&more->header);
  // On a tie the later value stands: visible with signed zeros.
  EXPECT_TRUE(std::signbit(RuntimeMax(0.0, -0.0, nullptr)));
  EXPECT_FALSE(std::signbit(RuntimeMin(-0.0, 0.0, nullptr)));
  RuntimeArray* empty = DoubleArray({});
  EXPECT_EQ(RuntimeMax(2, 1, empty), 2);
  RuntimeUnlockObject(&empty->header);
}

TEST(NumericBits, FoldsAndFieldShifts) {
  EXPECT_EQ(BitwiseXor(0xF0, 0xFF), 0x0Fu);
  RuntimeArray* more = UInt64Array({0x0F0, 0x100});
  EXPECT_EQ(RuntimeBitwiseOr(1, 2, more), 0x1F3u);
  EXPECT_EQ(RuntimeBitwiseAnd(0xFFF, 0x1F0, more), 0u);
  EXPECT_EQ(RuntimeBitwiseXor(0, 0, more), 0x1F0u);
  RuntimeUnlockObject(&more->header);
  EXPECT_EQ(RuntimeBitwiseAnd(6, 3, nullptr), 2u);

  EXPECT_EQ(RuntimeBitwiseShiftLeft(0xFF, 4, 8), 0xF0u);
  EXPECT_EQ(RuntimeBitwiseShiftLeft(0xAB, 1, 4), 0xA6u);  // only the low four bits move
  EXPECT_EQ(RuntimeBitwiseShiftLeft(0xAB, 4, 4), 0u);
  EXPECT_EQ(RuntimeBitwiseShiftRight(0xAB, 1, 4), 0xA5u);
  EXPECT_EQ(RuntimeBitwiseShiftLeft(~uint64_t(0), 63, 64), uint64_t(1) << 63);
  EXPECT_EQ(RuntimeBitwiseShiftRight(uint64_t(1) << 63, 63, 64), 1u);
  EXPECT_EQ(RuntimeBitwiseShiftLeft(5, 1, 0), 0u);
}

std::string gLastMessage;
void Observe(const char*, int32_t, const char* message) { gLastMessage = message ? message : ""; }

TEST(NumericBits, TooWideAFieldRaises) {
  vela::RaiseObserver previous = vela::SetRaiseObserver(Observe);
  EXPECT_EQ(RuntimeBitwiseShiftLeft(1, 1, 65), 0u);
  EXPECT_EQ(gLastMessage, "Specifying 65 as the number of bits is not supported");
  vela::SetRaiseObserver(previous);
}

TEST(NumericBits, FloatingClassTests) {
  EXPECT_TRUE(Double_IsInf(-std::numeric_limits<double>::infinity()));
  EXPECT_FALSE(Double_IsInf(kNaN));
  EXPECT_TRUE(Double_IsNaN(kNaN));
  EXPECT_TRUE(Single_IsNaN(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_FALSE(Single_IsInf(3.0f));
}

}  // namespace
