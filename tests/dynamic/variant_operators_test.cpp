// Variant operators: promotion through the common type, the arithmetic of
// each result type, the logical operators, comparison and hashing.
#include <cmath>
#include <limits>

#include "dynamic/variant_operators.h"
#include "kit/recording_reporter.h"
#include "variant_test_support.h"

namespace varianttest {
namespace {

TEST(VariantCommonType, TableIsSymmetricAndKnowsItsEdges) {
  const int32_t codes[] = {2, 3, 4, 5, 6, 7, 8, 9, 11, 16, 17, 18, 19, 20, 21, 22, 23, 26, 36, 37, 38};
  for (int32_t a : codes)
    for (int32_t b : codes)
      EXPECT_EQ(vela::CommonTypeOfCodes(a, b), vela::CommonTypeOfCodes(b, a)) << a << "," << b;
  EXPECT_EQ(vela::CommonTypeOfCodes(0, 5), 0);
  EXPECT_EQ(vela::CommonTypeOfCodes(2, 2), 2);
  EXPECT_EQ(vela::CommonTypeOfCodes(0x1002, 2), -1);
  EXPECT_EQ(vela::CommonTypeOfCodes(37, 8), 8);   // Text and String meet as String
  EXPECT_EQ(vela::CommonTypeOfCodes(37, 4), 4);   // ... and Text and Single as Single
  EXPECT_EQ(vela::CommonTypeOfCodes(38, 37), 37);
  EXPECT_EQ(vela::CommonTypeOfCodes(26, 18), 26);
  EXPECT_EQ(vela::CommonTypeOfCodes(1, 37), 0);
  vela::testkit::RecordingReporter reports;
  EXPECT_EQ(vela::CommonTypeOfCodes(39, 2), -1);
  EXPECT_TRUE(reports.Saw("a >= 0 && a <= 38"));
  EXPECT_EQ(vela::CommonTypeOfCodes(10, 2), -1);
  EXPECT_TRUE(reports.Saw("aindex >= 0 && aindex <= 21"));
}

TEST(VariantArithmetic, PromotesThroughTheCommonType) {
  InChild([] {
    Raises raises;
    V one(Int32ToVariant(1)), abc(Str("abc")), half(DoubleToVariant(0.5));
    V sum(VariantAdd(one, abc));
    EXPECT_EQ(VarType(sum, 0), kVarTypeString);
    EXPECT_EQ(AsString(sum), "1abc");
    V right(VariantAddRight(one, abc));
    EXPECT_EQ(AsString(right), "abc1");

    V d(VariantAdd(one, half));
    EXPECT_EQ(VarType(d, 0), kVarTypeDouble);
    EXPECT_EQ(VariantToDouble(d), 1.5);
    V single(SingleToVariant(0.25f)), sd(VariantAdd(single, one));
    EXPECT_EQ(VarType(sd, 0), kVarTypeDouble);
    V cur(CurrencyToVariant(15000)), ci(VariantAdd(cur, one));
    EXPECT_EQ(VarType(ci, 0), kVarTypeCurrency);
    EXPECT_EQ(VariantToCurrency(ci), 25000);
    V cd(VariantAdd(cur, half));
    EXPECT_EQ(VarType(cd, 0), kVarTypeDouble);
    EXPECT_EQ(VariantToDouble(cd), 2.0);
    V yes(BooleanToVariant(true)), two(VariantAdd(yes, one));
    EXPECT_EQ(VarType(two, 0), kVarTypeInt32);
    EXPECT_EQ(VariantToInt32(two), 2);
    V big(Int64ToVariant(int64_t(1) << 40)), wide(VariantAdd(big, one));
    EXPECT_EQ(VarType(wide, 0), kVarTypeInt64);
    EXPECT_EQ(VariantToInt64(wide), (int64_t(1) << 40) + 1);
    V p(PtrToVariant(reinterpret_cast<void*>(uintptr_t(1) << 40))), moved(VariantAdd(p, one));
    EXPECT_EQ(VarType(moved, 0), kVarTypePtr);
    EXPECT_EQ(VariantToPtr(moved), reinterpret_cast<void*>((uintptr_t(1) << 40) + 1));
    EXPECT_EQ(raises.Take(), "");

    V max(Int32ToVariant(INT32_MAX)), wrapped(VariantAdd(max, one));
    EXPECT_EQ(VariantToInt32(wrapped), INT32_MIN);
  });
}

TEST(VariantArithmetic, MismatchesAndNilRaise) {
  InChild([] {
    Raises raises;
    V one(Int32ToVariant(1)), yes(BooleanToVariant(true));
    RuntimeArray* array = CreateArray(1, kArrayInt32, 3);
    V arr(&array->header);
    EXPECT_EQ(VariantAdd(arr, one), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    EXPECT_EQ(VariantMultiply(one, arr), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    EXPECT_EQ(VariantAdd(nullptr, one), nullptr);
    EXPECT_EQ(raises.Take(), "NilObjectException");
    EXPECT_EQ(VariantAdd(yes, yes), nullptr);  // Booleans do not add
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    RuntimeClass* plain = ClassBuilder("PlainThing").Build();
    V thing(RuntimeNewObject(plain));
    EXPECT_EQ(VariantSubtract(thing, one), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
  });
}

TEST(VariantArithmetic, EachOperatorInItsType) {
  InChild([] {
    Raises raises;
    V seven(Int32ToVariant(7)), two(Int32ToVariant(2)), zero(Int32ToVariant(0));
    V five(Str("5"));
    V q(VariantDivide(seven, two));
    EXPECT_EQ(VarType(q, 0), kVarTypeDouble);
    EXPECT_EQ(VariantToDouble(q), 3.5);
    V qr(VariantDivideRight(seven, two));
    EXPECT_NEAR(VariantToDouble(qr), 2.0 / 7.0, 1e-15);
    V iq(VariantIntegerDivide(seven, two)), m(VariantModulo(seven, two));
    EXPECT_EQ(VariantToInt32(iq), 3);
    EXPECT_EQ(VariantToInt32(m), 1);
    V byZero(VariantIntegerDivide(seven, zero)), modZero(VariantModulo(seven, zero));
    EXPECT_EQ(VarType(byZero, 0), kVarTypeInt32);  // no trap; the value is arbitrary
    V minimum(Int32ToVariant(INT32_MIN)), minusOne(Int32ToVariant(-1));
    V overflow(VariantIntegerDivide(minimum, minusOne));
    EXPECT_EQ(VarType(overflow, 0), kVarTypeInt32);
    V pw(VariantPower(two, seven));
    EXPECT_EQ(VarType(pw, 0), kVarTypeInt32);
    EXPECT_EQ(VariantToInt32(pw), 128);
    V diff(VariantSubtract(five, two));  // strings meet numbers in Double
    EXPECT_EQ(VarType(diff, 0), kVarTypeDouble);
    EXPECT_EQ(VariantToDouble(diff), 3.0);
    V back(VariantSubtractRight(five, two));
    EXPECT_EQ(VariantToDouble(back), -3.0);

    V c1(CurrencyToVariant(25000)), c2(CurrencyToVariant(20000));
    V cm(VariantMultiply(c1, c2)), cq(VariantDivide(c1, c2)), ciq(VariantIntegerDivide(c1, c2));
    EXPECT_EQ(VariantToCurrency(cm), 50000);
    EXPECT_EQ(VarType(cq, 0), kVarTypeCurrency);
    EXPECT_EQ(VariantToCurrency(cq), 12500);
    EXPECT_EQ(VarType(ciq, 0), kVarTypeInt64);
    EXPECT_EQ(VariantToInt64(ciq), 1);
    EXPECT_EQ(raises.Take(), "");

    V bits(Int32ToVariant(0b1100)), mask(Int32ToVariant(0b1010)), yes(BooleanToVariant(true)),
        no(BooleanToVariant(false));
    V a(VariantAnd(bits, mask)), o(VariantOr(bits, mask)), x(VariantXOr(bits, mask));
    EXPECT_EQ(VariantToInt32(a), 0b1000);
    EXPECT_EQ(VariantToInt32(o), 0b1110);
    EXPECT_EQ(VariantToInt32(x), 0b0110);
    V ba(VariantAnd(yes, no)), bo(VariantOr(yes, no));
    EXPECT_EQ(VarType(ba, 0), kVarTypeBoolean);
    EXPECT_FALSE(VariantToBoolean(ba));
    EXPECT_TRUE(VariantToBoolean(bo));
    EXPECT_EQ(VariantAnd(five, two), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
  });
}

TEST(VariantUnary, NegateAndNot) {
  InChild([] {
    Raises raises;
    V five(Int32ToVariant(5)), yes(BooleanToVariant(true)), single(SingleToVariant(0.0f));
    V notFive(VariantNot(five));
    EXPECT_EQ(VarType(notFive, 0), kVarTypeInt32);
    EXPECT_EQ(VariantToInt32(notFive), -5);
    V notYes(VariantNot(yes)), notNil(VariantNot(nullptr));
    EXPECT_FALSE(VariantToBoolean(notYes));
    EXPECT_TRUE(VariantToBoolean(notNil));
    V negSingle(VariantNegate(single));
    EXPECT_TRUE(std::signbit(VariantToSingle(negSingle)));
    V neg(VariantNegate(five)), text(Str("2.5")), negText(VariantNegate(text));
    EXPECT_EQ(VariantToInt32(neg), -5);
    EXPECT_EQ(VarType(negText, 0), kVarTypeDouble);
    EXPECT_EQ(VariantToDouble(negText), -2.5);
    V p(PtrToVariant(&raises));
    EXPECT_EQ(VariantNegate(p), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
  });
}

TEST(VariantCompare, OrdersByTheCommonType) {
  InChild([] {
    V abc(Str("abc")), ABC(Str("ABC")), abd(Str("abd")), five(Int32ToVariant(5));
    EXPECT_EQ(VariantCompare(abc, ABC), 0);
    EXPECT_TRUE(VariantEqual(abc, ABC));
    EXPECT_EQ(VariantCompare(abc, abd), -1);
    EXPECT_EQ(VariantCompare(nullptr, five), 1);
    EXPECT_EQ(VariantCompare(five, nullptr), -1);
    EXPECT_EQ(VariantCompare(nullptr, nullptr), 0);
    V nan(DoubleToVariant(std::numeric_limits<double>::quiet_NaN())), one(DoubleToVariant(1.0));
    EXPECT_EQ(VariantCompare(nan, one), 0);
    V big(Int64ToVariant(int64_t(1) << 33)), text5(Txt("5")), str10(Str("10"));
    EXPECT_EQ(VariantCompare(five, big), -1);
    EXPECT_EQ(VariantCompare(five, str10), 1);  // they meet as strings: "5" after "10"
    EXPECT_EQ(VariantCompare(text5, five), 0);
    V a(Txt("a")), A(Txt("A"));
    EXPECT_EQ(VariantCompare(a, A), 0);
    V yes(BooleanToVariant(true)), no(BooleanToVariant(false));
    EXPECT_EQ(VariantCompare(no, yes), 1);  // (a is false) - (b is false)
    RuntimeClass* plain = ClassBuilder("PlainThing").Build();
    V x(RuntimeNewObject(plain)), y(RuntimeNewObject(plain));
    EXPECT_EQ(VariantCompare(x, y), x.get() < y.get() ? -1 : 1);
    EXPECT_EQ(VariantCompare(x, x), 0);
  });
}

TEST(VariantHash, ThroughHashableOrTheAddress) {
  InChild([] {
    V abc(Str("abc")), ABC(Str("ABC")), a(Str("a"));
    EXPECT_EQ(VariantHash(abc), VariantHash(ABC));
    EXPECT_EQ(VariantHash(a), uint32_t('A'));
    EXPECT_EQ(VariantHash(nullptr), 0u);
    V d(DoubleToVariant(1.0));  // 0x3FF0000000000000
    EXPECT_EQ(VariantHash(d), 0x3FF00000u);
    V i(Int32ToVariant(0x12345678));
    EXPECT_EQ(VariantHash(i), 0x56781234u);
    RuntimeClass* plain = ClassBuilder("PlainThing").Build();
    V thing(RuntimeNewObject(plain));
    const uint64_t address = uintptr_t(thing.get());
    EXPECT_EQ(VariantHash(thing), vela::WordHash(address));  // the high half folds in
    V t1(Txt("Straße")), t2(Txt("STRASSE"));
    EXPECT_EQ(VariantHash(t1), VariantHash(t2));
  });
}

}  // namespace
}  // namespace varianttest
