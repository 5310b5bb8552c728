// The order of Auto values, and the introspection of Auto words.
//
// Values of different types compare as numbers when both are numbers (as
// integers of the wider or signed kind, else as Doubles), as Strings or
// Texts where the language lets those meet, and otherwise by their words;
// Nil sorts after everything.
#include <cctype>
#include <cstring>

#include "dynamic/auto_word.h"
#include "object/arrays/array_record.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_concat.h"
#include "text/string_holder.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/auto.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "RuntimeCore/RuntimeAutoComparisons";

template <typename T>
int32_t Order(T a, T b) {
  return a < b ? -1 : (b < a ? 1 : 0);  // NaN is equal to everything
}

bool IsInteger(int32_t t) { return t >= kAutoInt8 && t <= kAutoUInt64; }
bool IsNumber(int32_t t) { return t >= kAutoInt8 && t <= kAutoCurrency; }
bool IsSigned(int32_t t) { return t >= kAutoInt8 && t <= kAutoInt64; }
bool Is64(int32_t t) { return t == kAutoInt64 || t == kAutoUInt64; }

int32_t CompareIntegers(AutoWordValue a, int32_t ta, AutoWordValue b, int32_t tb) {
  const bool signedCompare = IsSigned(ta) || IsSigned(tb);
  if (Is64(ta) || Is64(tb)) {
    if (signedCompare) return Order(RuntimeConvertAutoToInt64(a), RuntimeConvertAutoToInt64(b));
    return Order(RuntimeConvertAutoToUInt64(a), RuntimeConvertAutoToUInt64(b));
  }
  if (signedCompare) return Order(RuntimeConvertAutoToInt32(a), RuntimeConvertAutoToInt32(b));
  return Order(RuntimeConvertAutoToUInt32(a), RuntimeConvertAutoToUInt32(b));
}

int32_t CompareTexts(AutoWordValue a, AutoWordValue b) {
  TextHolder ta = TextHolder::Adopt(RuntimeConvertAutoToText(a));
  TextHolder tb = TextHolder::Adopt(RuntimeConvertAutoToText(b));
  if (!ta.get() || !tb.get()) return ta.get() == tb.get() ? 0 : (ta.get() ? 1 : -1);
  const int32_t order = RuntimeCompareText(ta.get(), tb.get());
  return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

// Bytes through tolower, then the shorter is the lesser.
int32_t CompareFolded(TESSstring a, TESSstring b) {
  const auto* pa = reinterpret_cast<const unsigned char*>(StringText(a));
  const auto* pb = reinterpret_cast<const unsigned char*>(StringText(b));
  const int32_t la = StringLength(a), lb = StringLength(b);
  for (int32_t i = 0; i < la && i < lb; ++i) {
    const int ca = std::tolower(pa[i]), cb = std::tolower(pb[i]);
    if (ca != cb) return ca < cb ? -1 : 1;
  }
  return Order(la, lb);
}

int32_t CompareStrings(AutoWordValue a, AutoWordValue b) {
  StringHolder sa = StringHolder::Adopt(RuntimeConvertAutoToString(a));
  StringHolder sb = StringHolder::Adopt(RuntimeConvertAutoToString(b));
  if (!sa.get() || !sb.get() || sa.get()->mEncoding == sb.get()->mEncoding ||
      sa.get()->mEncoding == kEncodingUnknown || sb.get()->mEncoding == kEncodingUnknown)
    return CompareFolded(sa.get(), sb.get());
  ReconcileStrings(sa, sb);
  return CompareFolded(sa.get(), sb.get());
}

int32_t CompareSameType(AutoWordValue a, AutoWordValue b, int32_t type) {
  switch (type) {
    case kAutoInt8: case kAutoInt16: case kAutoInt32: case kAutoInt64:
      return Order(RuntimeConvertAutoToInt64(a), RuntimeConvertAutoToInt64(b));
    case kAutoUInt8: case kAutoUInt16: case kAutoUInt32: case kAutoUInt64:
      return Order(RuntimeConvertAutoToUInt64(a), RuntimeConvertAutoToUInt64(b));
    case kAutoSingle: return Order(RuntimeConvertAutoToSingle(a), RuntimeConvertAutoToSingle(b));
    case kAutoDouble: return Order(RuntimeConvertAutoToDouble(a), RuntimeConvertAutoToDouble(b));
    case kAutoCurrency: return Order(RuntimeConvertAutoToCurrency(a), RuntimeConvertAutoToCurrency(b));
    case kAutoText: return CompareTexts(a, b);
    case kAutoString: return CompareStrings(a, b);
    case kAutoBoolean: return Order(RuntimeConvertAutoToBoolean(a), RuntimeConvertAutoToBoolean(b));
    case kAutoColor: return Order(RuntimeConvertAutoToColor(a), RuntimeConvertAutoToColor(b));
    case kAutoPtr: case kAutoWindowPtr:
      return Order(uintptr_t(BoxOf(a)->u.p), uintptr_t(BoxOf(b)->u.p));
    case kAutoOSType: return Order(BoxOf(a)->u.u, BoxOf(b)->u.u);
    case kAutoStructure: {
      const auto& sa = BoxOf(a)->u.structValue;
      const auto& sb = BoxOf(b)->u.structValue;
      if (int order = std::strcmp(sa.name, sb.name)) return order < 0 ? -1 : 1;
      VELA_ASSERT_TEXT(sa.data && sb.data, "lhsData && rhsData");
      VELA_ASSERT_TEXT(sa.size == sb.size, "lhsSize == rhsSize");
      if (!sa.data || !sb.data || sa.size != sb.size) return Order(sa.size, sb.size);
      const int order = std::memcmp(sa.data, sb.data, size_t(sa.size));
      return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }
    default: return Order(a, b);  // objects, arrays and raw text by identity
  }
}

bool IsRawText(int32_t t) { return t >= kAutoOSType && t <= kAutoCFString; }

// The array a word holds, else TypeMismatchException without a message.
RuntimeArray* ArrayOrRaise(AutoWordValue word) {
  if (AutoTypeOf(word) == kAutoArray) return reinterpret_cast<RuntimeArray*>(word);
  RaiseNamedException("TypeMismatchException", 0, nullptr);
  return nullptr;
}

TextValue TextOf(const char* name) {
  return name ? TextFromUtf8(name, int32_t(std::strlen(name))) : nullptr;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t RuntimeCompareAuto(VelaAutoWord a, VelaAutoWord b) {
  if (a == b) return 0;
  const int32_t ta = AutoTypeOf(a), tb = AutoTypeOf(b);
  if (ta == kAutoNil) return 1;
  if (tb == kAutoNil) return -1;
  if (ta == tb) return CompareSameType(a, b, ta);
  if (IsInteger(ta) && IsInteger(tb)) return CompareIntegers(a, ta, b, tb);
  if (IsNumber(ta) && IsNumber(tb))
    return Order(RuntimeConvertAutoToDouble(a), RuntimeConvertAutoToDouble(b));
  if ((ta == kAutoString && IsRawText(tb)) || (tb == kAutoString && IsRawText(ta)) ||
      (ta == kAutoText && tb == kAutoString) || (tb == kAutoText && ta == kAutoString))
    return CompareStrings(a, b);
  if ((ta == kAutoText && (tb == kAutoWString || tb == kAutoCFString)) ||
      (tb == kAutoText && (ta == kAutoWString || ta == kAutoCFString)))
    return CompareTexts(a, b);
  return Order(a, b);
}

VELA_EXPORT int32_t Introspection_Auto_Type(VelaAutoWord w) { return AutoTypeOf(w); }

VELA_EXPORT TextValue Introspection_Auto_StructName(VelaAutoWord w) {
  if (AutoTypeOf(w) != kAutoStructure) {
    RaiseNamedException("TypeMismatchException", 0, nullptr);
    return nullptr;
  }
  return TextOf(BoxOf(w)->u.structValue.name);
}

VELA_EXPORT int32_t Introspection_Auto_ArrayRank(VelaAutoWord w) {
  RuntimeArray* array = ArrayOrRaise(w);
  return array ? DescribeArray(array).dimensions : 0;
}

VELA_EXPORT int32_t Introspection_Auto_ArrayElementType(VelaAutoWord w) {
  RuntimeArray* array = ArrayOrRaise(w);
  return array ? DescribeArray(array).kind : -1;
}

VELA_EXPORT TextValue Introspection_Auto_ArrayStructName(VelaAutoWord w) {
  RuntimeArray* array = ArrayOrRaise(w);
  if (!array) return nullptr;
  if (DescribeArray(array).kind != kArrayStructure) {
    RaiseNamedException("TypeMismatchException", 0, nullptr);
    return nullptr;
  }
  return TextOf(reinterpret_cast<const StructureArrayOps*>(array->ops)->structureName(array));
}

VELA_EXPORT RuntimeClass* Introspection_Auto_ArrayClass(VelaAutoWord w) {
  RuntimeArray* array = ArrayOrRaise(w);
  if (!array) return nullptr;
  if (!IsWrapperTable(array->ops)) {
    RaiseNamedException("TypeMismatchException", 0, nullptr);
    return nullptr;
  }
  return reinterpret_cast<RuntimeArrayCastWrapper*>(array)->elementClass;
}
