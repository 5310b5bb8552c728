// The bridges between the two dynamic types: an Auto word from a Variant
// and a Variant from an Auto word. Small and common values change form;
// objects, dates and arrays stay the same object.
#include "dynamic/auto_word.h"
#include "dynamic/variant_box.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_value.h"
#include "vela/auto.h"
#include "vela/variant.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "RuntimeCore/RuntimeAuto";

VelaAutoWord StringAuto(TESSstring owned) {
  StringHolder s = StringHolder::Adopt(owned);
  return RuntimeCreateAutoFromString(s.get());
}

VelaAutoWord TextAuto(TextValue owned) {
  TextHolder t = TextHolder::Adopt(owned);
  return RuntimeCreateAutoFromText(t.get());
}

VelaAutoWord StructureAuto(RuntimeObject* variant) {
  const StructureValue& value = BoxedValue<BoxKind::kStructure>(variant);
  const std::string name(StringText(value.name), size_t(StringLength(value.name)));
  return RuntimeCreateAutoFromStruct(StringLength(value.bytes), StringText(value.bytes),
                                     name.c_str());
}

RuntimeObject* StructureVariant(VelaAutoWord word) {
  const AutoBox* box = BoxOf(word);
  const auto& s = box->u.structValue;
  StringHolder name = StringHolder::Adopt(NewString(s.name, -1, kEncodingUTF8));
  StringHolder bytes = StringHolder::Adopt(
      s.data && s.size > 0 ? NewString(s.data, s.size, kEncodingUnknown) : nullptr);
  return StructureToVariant(name.get(), bytes.get());
}

RuntimeObject* SameObject(VelaAutoWord word) {
  auto* object = reinterpret_cast<RuntimeObject*>(word);
  RuntimeLockObject(object);
  return object;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT VelaAutoWord VariantToAuto(RuntimeObject* v) {
  if (!v) return 0;
  const int32_t type = VariantTypeOf(v);
  if (type & 0x1000) return RuntimeCreateAutoFromObject(v);  // an array
  switch (type) {
    case 2: return RuntimeCreateAutoFromInt32(VariantToInt32(v));
    case 3: return RuntimeCreateAutoFromInt64(VariantToInt64(v));
    case 4: return RuntimeCreateAutoFromSingle(VariantToSingle(v));
    case 5: return RuntimeCreateAutoFromDouble(VariantToDouble(v));
    case 6: return RuntimeCreateAutoFromCurrency(VariantToCurrency(v));
    case 7: case 9: case 38: case 39: return RuntimeCreateAutoFromObject(v);
    case 8: return StringAuto(VariantToString(v));
    case 11: return RuntimeCreateAutoFromBoolean(VariantToBoolean(v));
    case 16: return RuntimeCreateAutoFromColor(VariantToColor(v));
    case 17: return RuntimeCreateAutoFromUInt32(VariantToUInt32(v));
    case 18: return RuntimeCreateAutoFromCString(BoxedValue<BoxKind::kCString>(v));
    case 19: return RuntimeCreateAutoFromWString(BoxedValue<BoxKind::kWString>(v));
    case 20: return RuntimeCreateAutoFromPString(BoxedValue<BoxKind::kPString>(v));
    case 21: return 0;  // no CFString passes into an Auto on this platform
    case 22: return RuntimeCreateAutoFromWindowPtr(VariantToWindowPtr(v));
    case 23: return RuntimeCreateAutoFromOSType(VariantToOSType(v));
    case 26: return RuntimeCreateAutoFromPtr(VariantToPtr(v));
    case 36: return StructureAuto(v);
    case 37: return TextAuto(VariantToText(v));
    default:
      RuntimeAssertFormat(kReportPath, __LINE__, "false", "Unknown variant type %d", type);
      return 0;
  }
}

VELA_EXPORT RuntimeObject* AutoToVariant(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoNil: return nullptr;
    case kAutoInt8: case kAutoInt16: case kAutoInt32: return Int32ToVariant(RuntimeConvertAutoToInt32(w));
    case kAutoUInt8: case kAutoUInt16: case kAutoUInt32: return UInt32ToVariant(RuntimeConvertAutoToUInt32(w));
    case kAutoInt64: return Int64ToVariant(RuntimeConvertAutoToInt64(w));
    case kAutoUInt64: return UInt64ToVariant(RuntimeConvertAutoToUInt64(w));
    case kAutoSingle: return SingleToVariant(RuntimeConvertAutoToSingle(w));
    case kAutoDouble: return DoubleToVariant(RuntimeConvertAutoToDouble(w));
    case kAutoCurrency: return CurrencyToVariant(RuntimeConvertAutoToCurrency(w));
    case kAutoText: {
      TextHolder t = TextHolder::Adopt(RuntimeConvertAutoToText(w));
      return TextToVariant(t.get());
    }
    case kAutoString: {
      StringHolder s = StringHolder::Adopt(RuntimeConvertAutoToString(w));
      return StringToVariant(s.get());
    }
    case kAutoObject: case kAutoArray: return SameObject(w);
    case kAutoPtr: return PtrToVariant(RuntimeConvertAutoToPtr(w));
    case kAutoBoolean: return BooleanToVariant(RuntimeConvertAutoToBoolean(w));
    case kAutoColor: return ColorToVariant(RuntimeConvertAutoToColor(w));
    case kAutoOSType: return OSTypeToVariant(RuntimeConvertAutoToOSType(w));
    case kAutoCString: return CStringToVariant(static_cast<char*>(BoxOf(w)->u.p));
    case kAutoWString: return WStringToVariant(static_cast<uint16_t*>(BoxOf(w)->u.p));
    case kAutoPString: return PStringToVariant(static_cast<unsigned char*>(BoxOf(w)->u.p));
    case kAutoCFString: return CFStringRefToVariant(BoxOf(w)->u.p);
    case kAutoWindowPtr: return WindowPtrToVariant(RuntimeConvertAutoToWindowPtr(w));
    case kAutoStructure: return StructureVariant(w);
    default: return nullptr;
  }
}
