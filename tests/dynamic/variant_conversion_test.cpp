// Variant boxing, VarType, conversions through Operator_Convert members
// (boxed and application classes), the text functions, the assignment
// checks, and the references that boxes hold.
#include <cmath>

#include "dynamic/variant_box.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "text/string_bridges.h"
#include "variant_test_support.h"
#include "vela/classic_strings.h"

namespace varianttest {
namespace {

int32_t FortyTwo(RuntimeObject*) { return 42; }
TESSstring Named(RuntimeObject*) { return NewUtf8("gadget"); }

TEST(VariantTypes, EachBoxHasItsCode) {
  InChild([] {
    int local = 0;
    struct Case {
      RuntimeObject* v;
      int32_t code;
    } cases[] = {{Int32ToVariant(3), 2},        {UInt32ToVariant(3), 2},
                 {Int64ToVariant(3), 3},        {UInt64ToVariant(3), 3},
                 {SingleToVariant(1), 4},       {DoubleToVariant(1), 5},
                 {CurrencyToVariant(1), 6},     {Str("s"), 8},
                 {BooleanToVariant(1), 11},     {ColorToVariant(1), 16},
                 {CStringToVariant("c"), 18},   {WStringToVariant(reinterpret_cast<const uint16_t*>(u"w")), 19},
                 {PStringToVariant(reinterpret_cast<const unsigned char*>("\1p")), 20},
                 {CFStringRefToVariant(&local), 21}, {WindowPtrToVariant(&local), 22},
                 {OSTypeToVariant(1), 23},      {PtrToVariant(&local), 26},
                 {PluginStructureToVariant("Pt", &local, sizeof local), 36},
                 {Txt("t"), 37}};
    for (const Case& c : cases) {
      EXPECT_EQ(VarType(c.v, 0), c.code) << c.v->classPtr->name;
      RuntimeUnlockObject(c.v);
    }
    EXPECT_EQ(VarType(nullptr, 0), 0);
    EXPECT_TRUE(IsNull(nullptr));

    RuntimeClass* plain = ClassBuilder("PlainThing").Build();
    RuntimeClass* mine = ClassBuilder("MyInt").Base(vela::BoxClass(vela::BoxKind::kInt32)).Backwards().Build();
    V thing(RuntimeNewObject(plain)), derived(RuntimeNewObject(mine));
    EXPECT_EQ(VarType(thing, 0), kVarTypeObject);
    EXPECT_EQ(VarType(derived, 0), kVarTypeInt32);

    RuntimeArray* array = CreateArray(1, kArrayInt32, 3);
    V arr(&array->header);
    EXPECT_EQ(VarType(arr, 0), kVarTypeArray + 2);
    EXPECT_TRUE(VariantIsArray(arr));
    EXPECT_EQ(VariantGetArrayElementType(arr), 2);
    EXPECT_EQ(VariantGetArrayElementType(thing), -1);
    EXPECT_EQ(MapArrayElementTypeToVarType(kArrayUInt8), 2);
    EXPECT_EQ(MapArrayElementTypeToVarType(kArrayAuto), kArrayAuto);
  });
}

TEST(VariantBoxing, ZeroValuesShareOneBox) {
  InChild([] {
    V a(Int32ToVariant(0)), b(Int32ToVariant(0)), c(Int32ToVariant(1)), d(Int32ToVariant(1));
    EXPECT_EQ(a.get(), b.get());
    EXPECT_NE(c.get(), d.get());
    V s1(StringToVariant(nullptr)), s2(StringToVariant(nullptr));
    EXPECT_EQ(s1.get(), s2.get());
    V z(DoubleToVariant(0.0)), negativeZero(DoubleToVariant(-0.0));
    EXPECT_NE(z.get(), negativeZero.get());
    EXPECT_TRUE(std::signbit(VariantToDouble(negativeZero)));
    V u(UInt32ToVariant(0));
    EXPECT_NE(a.get(), u.get());  // one per class
  });
}

TEST(VariantConversion, RulesOfTheBoxedClasses) {
  InChild([] {
    Raises raises;
    V up(DoubleToVariant(2.9)), down(DoubleToVariant(-2.9));
    EXPECT_EQ(VariantToInt32(up), 2);
    EXPECT_EQ(VariantToInt32(down), -2);
    EXPECT_EQ(VariantToInt32(nullptr), 0);
    EXPECT_EQ(AsString(nullptr), "");
    V True(Str("True")), lower(Str("true")), one(Str("1"));
    EXPECT_FALSE(VariantToBoolean(True));
    EXPECT_TRUE(VariantToBoolean(lower));
    EXPECT_TRUE(VariantToBoolean(one));

    V d1(DoubleToVariant(1.0)), d20(DoubleToVariant(1e20)), dq(DoubleToVariant(-0.125));
    EXPECT_EQ(AsString(d1), "1.0");
    EXPECT_EQ(AsString(d20), "1.0e+20");
    EXPECT_EQ(AsString(dq), "-1.25e-1");
    EXPECT_EQ(Of(VariantToText(d20)), "1.0e+20");
    V cur(CurrencyToVariant(12500)), yes(BooleanToVariant(true)), big(Int64ToVariant(-1));
    EXPECT_EQ(AsString(cur), "1.25");
    EXPECT_EQ(VariantToInt32(cur), 1);
    EXPECT_EQ(AsString(yes), "True");
    EXPECT_EQ(VariantToInt32(yes), 1);
    EXPECT_EQ(VariantToUInt64(big), ~uint64_t(0));
    V red(ColorToVariant(0xFF0000)), amp(Str("&cFF000080")), hex(Str("&h00FF00"));
    EXPECT_EQ(AsString(red), "&h00FF0000");
    EXPECT_EQ(VariantToColor(amp), 0x80FF0000u);
    EXPECT_EQ(VariantToColor(hex), 0x00FF00u);
    V val(Str("12.75abc")), text(Txt("2.5"));
    EXPECT_EQ(VariantToInt32(val), 12);
    EXPECT_EQ(VariantToCurrency(val), 127500);
    EXPECT_EQ(VariantToDouble(text), 2.5);
    V umlaut(Str("ü"));
    EXPECT_EQ(Of(VariantToText(umlaut)), "ü");

    // Pointers keep all 64 bits.
    void* high = reinterpret_cast<void*>(uintptr_t(0x123456789A));
    V p(PtrToVariant(high));
    EXPECT_EQ(VariantToInt64(p), 0x123456789A);
    EXPECT_EQ(AsString(p), "78187493530");
    V os(OSTypeToVariant(0x54455854));  // 'TEXT'
    EXPECT_EQ(AsString(os), "TEXT");
    EXPECT_EQ(raises.Take(), "");

    V win(WindowPtrToVariant(high));
    EXPECT_EQ(VariantToDouble(win), 0.0);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
  });
}

TEST(VariantConversion, ApplicationClassesTakePart) {
  InChild([] {
    Raises raises;
    RuntimeClass* answer = ClassBuilder("Answer")
                               .Method("Operator_Convert", "%i4%", reinterpret_cast<void*>(FortyTwo), nullptr)
                               .Method("operator_convert", "%s%", reinterpret_cast<void*>(Named), nullptr)
                               .Build();
    RuntimeClass* subAnswer = ClassBuilder("SubAnswer").Base(answer).Build();
    RuntimeClass* silent = ClassBuilder("Silent").Build();
    V a(RuntimeNewObject(answer)), sub(RuntimeNewObject(subAnswer)), s(RuntimeNewObject(silent));
    EXPECT_EQ(VariantToInt32(a), 42);
    EXPECT_EQ(VariantToInt32(sub), 42);
    EXPECT_EQ(AsString(a), "gadget");
    EXPECT_EQ(raises.Take(), "");
    EXPECT_EQ(VariantToInt64(a), 0);  // no "i8" member
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    EXPECT_EQ(VariantToInt32(s), 0);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    V obj(VariantToObject(a));
    EXPECT_EQ(obj.get(), a.get());
  });
}

TEST(VariantConversion, DatesAreReportedAsNotBuilt) {
  InChild([] {
    vela::testkit::RecordingReporter reports;
    RuntimeClass* date = ClassBuilder("Date").Build();
    V d(RuntimeNewObject(date)), one(Int32ToVariant(1));
    EXPECT_EQ(VarType(d, 0), kVarTypeDate);
    VariantToInt32(d);
    EXPECT_TRUE(reports.SawMessage("Date classes"));
    reports.Clear();
    VariantToDate(one);
    EXPECT_TRUE(reports.SawMessage("Date classes"));
    V same(VariantToDate(d));
    EXPECT_EQ(same.get(), d.get());
  });
}

TEST(VariantText, StrHexAndIsNumeric) {
  InChild([] {
    V d(DoubleToVariant(1.5)), i(Int32ToVariant(255)), big(Int64ToVariant(int64_t(1) << 32)),
        s(Str("  12e3 ")), t(Txt("abc")), yes(BooleanToVariant(true));
    EXPECT_EQ(Of(StringStrVariant(d)), "1.5");  // Str's digits, not the conversion's
    EXPECT_EQ(Of(runCStr(d)), "1.5");
    EXPECT_EQ(Of(StringStrVariant(i)), "255");
    EXPECT_EQ(Of(RuntimeHexVariant(i)), "FF");
    EXPECT_EQ(Of(RuntimeOctVariant(i)), "377");
    EXPECT_EQ(Of(RuntimeBinVariant(big)), "1" + std::string(32, '0'));
    V hexText(Str("&h10"));
    EXPECT_EQ(Of(RuntimeHexVariant(hexText)), "10");
    EXPECT_EQ(RuntimeHexVariant(yes), nullptr);
    EXPECT_TRUE(RuntimeIsNumeric(i));
    EXPECT_TRUE(RuntimeIsNumeric(s));
    EXPECT_FALSE(RuntimeIsNumeric(t));
    EXPECT_FALSE(RuntimeIsNumeric(yes));
    EXPECT_FALSE(RuntimeIsNumeric(nullptr));
  });
}

TEST(VariantChecks, ArraysAndStructures) {
  InChild([] {
    Raises raises;
    RuntimeArray* ints = CreateArray(1, kArrayInt32, 1);
    V arr(&ints->header);
    V passed(VariantArrayAssignmentWithTypeCheck(kArrayInt32, arr));
    EXPECT_EQ(passed.get(), arr.get());
    EXPECT_EQ(VariantArrayAssignmentWithTypeCheck(kArrayFloat64, arr), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    EXPECT_EQ(VariantArrayAssignmentWithTypeCheck(kArrayInt32, nullptr), nullptr);
    EXPECT_EQ(raises.Take(), "");

    const int32_t point[2] = {3, 4};
    V pt(PluginStructureToVariant("Point", point, sizeof point));
    V ok(VariantStructureTypeCheck(pt, "Point"));
    EXPECT_EQ(ok.get(), pt.get());
    EXPECT_EQ(VariantStructureTypeCheck(pt, "Size"), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
    int32_t out[2] = {};
    EXPECT_FALSE(PluginStructureFromVariant(pt, out, 4));
    EXPECT_TRUE(PluginStructureFromVariant(pt, out, sizeof out));
    EXPECT_EQ(out[1], 4);
    RuntimeArray* points = RuntimeCreateStructureArray("Point", 1, sizeof point, 2);
    V parr(&points->header);
    V okArray(VariantStructureArrayAssignmentWithTypeCheck(parr, "Point"));
    EXPECT_EQ(okArray.get(), parr.get());
    EXPECT_EQ(VariantStructureArrayAssignmentWithTypeCheck(parr, "point"), nullptr);
    EXPECT_EQ(raises.Take(), "TypeMismatchException");
  });
}

TEST(VariantReferences, EveryHeldValueIsReleasedOnce) {
  InChild([] {
    // The shared zero boxes live for the process: make them before counting.
    for (RuntimeObject* zero : {Int32ToVariant(0), StringToVariant(nullptr), DoubleToVariant(0)})
      RuntimeUnlockObject(zero);
    vela::testkit::LeakCheck leaks;
    {
      vela::StringHolder s = vela::StringHolder::Adopt(NewUtf8("held"));
      V sv(StringToVariant(s.get()));
      V tv(Txt("text")), one(Int32ToVariant(1));
      V sum(VariantAdd(sv, one)), cmp(VariantAdd(tv, sv));
      EXPECT_EQ(VariantCompare(tv, sv), 1);
      EXPECT_EQ(AsString(sum), "held1");
      V st(StructureToVariant(s.get(), s.get()));
      EXPECT_EQ(AsString(st), "held");
      V nf(VariantNegate(sv));
      for (int32_t i = 0; i < 3; ++i) RuntimeUnlockObject(VariantAdd(one, one));
    }
    EXPECT_TRUE(leaks.NothingLeaked());

    char* c = nullptr;
    {
      V cv(CStringToVariant("raw"));
      c = VariantToCString(cv);
      EXPECT_STREQ(c, "raw");
      EXPECT_EQ(vela::RawTextLockCount(vela::RawTextKind::kC, c), 2);
    }
    EXPECT_EQ(vela::RawTextLockCount(vela::RawTextKind::kC, c), 1);
    RuntimeUnlockCString(c);

    // A record whose finaliser is the exported hook still releases once.
    vela::StringHolder s = vela::StringHolder::Adopt(NewUtf8("once"));
    RuntimeObject* box = StringToVariant(s.get());
    EXPECT_EQ(s.get()->mRefCount, 2);
    StringObjectFinalizer(box);
    StringObjectDestructor(box);
    EXPECT_EQ(s.get()->mRefCount, 1);
    RuntimeUnlockObject(box);
    EXPECT_EQ(s.get()->mRefCount, 1);
  });
}

}  // namespace
}  // namespace varianttest
