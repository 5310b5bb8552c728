// Str of the whole-number and Currency types, and CDbl and CLong, which
// read numbers written the user's way.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "platform/locale.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/string_numbers.h"
#include "text/string_ops_classic.h"
#include "vela/classic_strings.h"
#include "vela/variant.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/TESSstring";

TESSstring NewTextOf(const std::string& text, uint32_t encoding) {
  return NewString(text.data(), int32_t(text.size()), encoding);
}

// Every whole-number width prints through the widest type of its sign.
TESSstring DecimalText(int64_t value) {
  char digits[24];
  int n = std::snprintf(digits, sizeof digits, "%" PRId64, value);
  return NewString(digits, n, kEncodingASCII);
}
TESSstring DecimalText(uint64_t value) {
  char digits[24];
  int n = std::snprintf(digits, sizeof digits, "%" PRIu64, value);
  return NewString(digits, n, kEncodingASCII);
}

// The text with the locale's group separator removed and its decimal
// separator turned into ".", in UTF-8, ready for the C-locale readers.
std::string DelocalisedUtf8(TESSstring s) {
  const platform::NumberSeparators& sep = platform::SystemNumberSeparators();
  StringOpsClassic& ops = StringOpsClassic::Get();
  StringHolder text(s);
  StringHolder group = StringHolder::Adopt(NewTextOf(sep.group, kEncodingUTF8));
  StringHolder nothing;
  text.Reset(ops.ReplaceAllChars(text.get(), group.get(), nothing.get()));
  if (sep.decimal != ".") {
    StringHolder decimal = StringHolder::Adopt(NewTextOf(sep.decimal, kEncodingUTF8));
    StringHolder point = StringHolder::Adopt(NewString(".", 1, kEncodingASCII));
    text.Reset(ops.ReplaceAllChars(text.get(), decimal.get(), point.get()));
  }
  StringHolder utf8 = StringHolder::Adopt(ConvertString(text.get(), kEncodingUTF8));
  if (!utf8) return {};
  return std::string(StringText(utf8.get()), size_t(StringLength(utf8.get())));
}

}  // namespace
}  // namespace vela

using namespace vela;

#define VELA_STR_OF_WHOLE(Name, Type, Wide) \
  VELA_EXPORT TESSstring Name(Type value) { return DecimalText(Wide(value)); }
VELA_STR_OF_WHOLE(StringStrInt8, int8_t, int64_t)
VELA_STR_OF_WHOLE(StringStrUInt8, uint8_t, uint64_t)
VELA_STR_OF_WHOLE(StringStrInt16, int16_t, int64_t)
VELA_STR_OF_WHOLE(StringStrUInt16, uint16_t, uint64_t)
VELA_STR_OF_WHOLE(StringStrInt32, int32_t, int64_t)
VELA_STR_OF_WHOLE(StringStrUInt32, uint32_t, uint64_t)
VELA_STR_OF_WHOLE(StringStrInt64, int64_t, int64_t)
VELA_STR_OF_WHOLE(StringStrUInt64, uint64_t, uint64_t)
#undef VELA_STR_OF_WHOLE

VELA_EXPORT TESSstring StringStrCurrency(int64_t value) {
  return NewTextOf(CurrencyPlainText(value), kEncodingASCII);
}

// Str of a Variant: floating values print as Str prints them, everything
// else in its String conversion.
VELA_EXPORT TESSstring StringStrVariant(RuntimeObject* value) {
  switch (VarType(value, 0)) {
    case kVarTypeSingle: return StringStrSingle(VariantToSingle(value));
    case kVarTypeDouble: return StringStrDouble(VariantToDouble(value));
    default: return VariantToString(value);
  }
}

VELA_EXPORT double runCDbl(TESSstring s) {
  if (!s) return 0;
  return ParseValText(DelocalisedUtf8(s));
}

VELA_EXPORT int64_t runCLong(TESSstring s) {
  if (!s) return 0;
  return ParseInt64Text(DelocalisedUtf8(s));
}
