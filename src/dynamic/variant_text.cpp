// Variants in the classic text functions: IsNumeric, CStr, and Hex, Oct and
// Bin of a Variant.
#include <string>

#include "dynamic/variant_box.h"
#include "dynamic/variant_convert.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/string_numbers.h"
#include "vela/number_text.h"

namespace vela {
namespace {

using DigitsOf32 = TESSstring (*)(int32_t);
using DigitsOf64 = TESSstring (*)(int64_t);

// Int32 Variants print at 32 bits, Int64 and String ones at 64; others
// have no digits.
TESSstring DigitsOf(RuntimeObject* value, DigitsOf32 digits32, DigitsOf64 digits64) {
  switch (VariantTypeOf(value)) {
    case kVarTypeInt32: return digits32(ConvertOrRaise<Target::kInt32>(value));
    case kVarTypeInt64:
    case kVarTypeString: return digits64(ConvertOrRaise<Target::kInt64>(value));
    default: return nullptr;
  }
}

bool IsTextType(int32_t type) {
  return type == kVarTypeString || type == kVarTypeText ||
         (type >= kVarTypeCString && type <= kVarTypePString);
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring RuntimeHexVariant(RuntimeObject* value) {
  return DigitsOf(value, RuntimeHexInt32, RuntimeHexInt64);
}
VELA_EXPORT TESSstring RuntimeOctVariant(RuntimeObject* value) {
  return DigitsOf(value, RuntimeOctInt32, RuntimeOctInt64);
}
VELA_EXPORT TESSstring RuntimeBinVariant(RuntimeObject* value) {
  return DigitsOf(value, RuntimeBinInt32, RuntimeBinInt64);
}

// Numbers are numeric; text is when the whole of it reads as one number.
VELA_EXPORT VelaBoolean RuntimeIsNumeric(RuntimeObject* value) {
  const int32_t type = VariantTypeOf(value);
  if (type >= kVarTypeInt32 && type <= kVarTypeCurrency) return true;
  if (!IsTextType(type)) return false;
  TESSstring s = nullptr;
  if (!TryConvert<Target::kString>(value, &s)) return false;
  StringHolder text = StringHolder::Adopt(s);
  StringHolder utf8 = StringHolder::Adopt(ConvertString(text.get(), kEncodingUTF8));
  return IsNumericText(std::string_view(utf8 ? StringText(utf8.get()) : "",
                                        size_t(StringLength(utf8.get()))));
}

VELA_EXPORT TESSstring runCStr(RuntimeObject* value) {
  return ConvertOrRaise<Target::kString>(value);
}
