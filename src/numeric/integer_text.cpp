// Decimal text of the integer types and the readers of it.
//
// Without a locale (or with the raw one) integers print as plain digits,
// the strict reader takes an optional "-" and digits only, and the lenient
// one takes what number the text starts with; both wrap at the type's
// width instead of checking for overflow, as the language's integer
// arithmetic does. A localising locale formats and reads through its number
// service. The String forms raise the classic classes, the Text forms
// those of the newer API.
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <string>
#include <type_traits>

#include "numeric/integer_types.h"
#include "numeric/locale_numbers.h"
#include "numeric/number_text_support.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/number_text.h"
#include "vela/number_text_locale.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/RuntimeNumericFoundation";

template <typename T>
std::string PlainDigits(T value) {
  char digits[24];
  int n = std::is_signed_v<T> ? std::snprintf(digits, sizeof digits, "%" PRId64, int64_t(value))
                              : std::snprintf(digits, sizeof digits, "%" PRIu64, uint64_t(value));
  return std::string(digits, size_t(n));
}

// The integer's text as a Text: localised, or plain digits.
template <typename T>
TextValue IntegerText(T value, RuntimeObject* locale) {
  if (std::shared_ptr<NumberFormatter> f = LocalisingFormatter(locale)) {
    if (!std::is_signed_v<T> && uint64_t(value) > uint64_t(INT64_MAX)) {
      RaiseNamedException("RuntimeException", 0, "Value is too large to format");
      return nullptr;
    }
    return f->FormatInt64(int64_t(value));
  }
  return NewNumberText(PlainDigits(value));
}

template <typename T>
TextValue IntegerTextWithFormat(T value, RuntimeObject* locale, std::u16string_view format,
                                const NumberTextFlavour& flavour) {
  std::shared_ptr<NumberFormatter> f = PatternFormatter(locale, format, flavour);
  if (!f) return nullptr;
  ClassicExceptionsScope classic(*f, !flavour.text);
  ErrorOr<TextValue> text = std::is_signed_v<T> ? f->FormatInt64WithPattern(int64_t(value), format)
                                                : f->FormatUInt64WithPattern(uint64_t(value), format);
  return text.ValueOrRaise();
}

template <typename T>
T StrictDecimal(const std::string& text, const NumberTextFlavour& flavour) {
  if (text.empty()) {
    RaiseNamedException(flavour.invalidArgument, 0, flavour.emptyIntegers);
    return 0;
  }
  using U = std::make_unsigned_t<T>;
  size_t i = 0;
  const bool negative = text[0] == '-';
  if (negative && ++i == text.size()) {
    RaiseNamedException(flavour.badData, 0, "- must be followed by one or more digits.");
    return 0;
  }
  U value = 0;
  while (i < text.size()) {
    size_t next = 0;
    const std::string_view character = CodePointAt(text, i, &next);
    if (character.size() != 1 || character[0] < '0' || character[0] > '9') {
      const std::string message = "Character '" + std::string(character) + "' is not a valid number";
      RaiseNamedException(flavour.badData, 0, message.c_str());
      return 0;
    }
    value = U(value * 10u + U(character[0] - '0'));
    i = next;
  }
  if (negative && std::is_signed_v<T>) value = U(0u - value);
  return T(value);
}

// A value the locale's service read, checked against the type's range.
template <typename T, typename Wide>
T InRange(const ErrorOr<Wide>& parsed, const NumberTextFlavour& flavour) {
  if (!parsed.ok()) return T(parsed.ValueOrRaise());
  const Wide value = parsed.value();
  if (value > Wide(std::numeric_limits<T>::max())) {
    RaiseNamedException(flavour.invalidArgument, 0, "Input is out of range for this type");
    return 0;
  }
  if constexpr (std::is_signed_v<T>)
    VELA_ASSERT_MSG(value >= Wide(std::numeric_limits<T>::min()), "value >= min", "%s",
                    "a locale read a value below the type's minimum");
  return T(value);
}

template <typename T>
T StrictInteger(const std::string& text, RuntimeObject* locale, const NumberTextFlavour& flavour) {
  std::shared_ptr<NumberFormatter> f = text.empty() ? nullptr : AnyFormatter(locale);
  if (!f) return StrictDecimal<T>(text, flavour);
  ClassicExceptionsScope classic(*f, !flavour.text);
  TextHolder units = TextHolder::Adopt(NewNumberText(text));
  if constexpr (std::is_signed_v<T>)
    return InRange<T>(f->ParseInt64(TextView(units.get())), flavour);
  else
    return InRange<T>(f->ParseUInt64(TextView(units.get())), flavour);
}

template <typename T>
T LenientInteger(const std::string& text, RuntimeObject* locale) {
  if (text.empty()) return 0;
  if (std::shared_ptr<NumberFormatter> f = AnyFormatter(locale)) {
    IgnoreErrorsScope lenient(*f);
    TextHolder units = TextHolder::Adopt(NewNumberText(text));
    if constexpr (std::is_signed_v<T>)
      return T(f->ParseInt64(TextView(units.get())).value());
    else
      return T(f->ParseUInt64(TextView(units.get())).value());
  }
  return T(LenientIntegerBits(text));
}

TESSstring AsString(TextValue owned) {
  TextHolder text = TextHolder::Adopt(owned);
  return StringFromText(text.get());
}

std::u16string_view FormatUnits(TextValue format) { return TextView(format); }

}  // namespace

uint64_t LenientIntegerBits(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlankByte(text[i])) ++i;
  text.remove_prefix(i);
  auto digit = [](char c, int radix) {
    int d = 99;
    if (c >= '0' && c <= '9') d = c - '0';
    else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
    else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
    return d < radix ? d : -1;
  };
  if (text.size() >= 2 && text[0] == '&') {
    int radix = 0;
    switch (text[1]) {
      case 'h': case 'H': radix = 16; break;
      case 'o': case 'O': radix = 8; break;
      case 'b': case 'B': radix = 2; break;
      default: return 0;
    }
    uint64_t value = 0;
    for (size_t k = 2; k < text.size() && digit(text[k], radix) >= 0; ++k)
      value = value * uint64_t(radix) + uint64_t(digit(text[k], radix));
    return value;
  }
  size_t k = 0;
  const bool negative = !text.empty() && text[0] == '-';
  if (negative) ++k;
  uint64_t value = 0;
  for (; k < text.size() && text[k] >= '0' && text[k] <= '9'; ++k)
    value = value * 10 + uint64_t(text[k] - '0');
  return negative ? 0 - value : value;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring Int32ToStringNoLocale(int32_t v) { return NewNumberString(PlainDigits(v), kEncodingASCII); }
VELA_EXPORT TESSstring Int64ToStringNoLocale(int64_t v) { return NewNumberString(PlainDigits(v), kEncodingASCII); }
VELA_EXPORT TESSstring UInt32ToStringNoLocale(uint32_t v) { return NewNumberString(PlainDigits(v), kEncodingASCII); }
VELA_EXPORT TESSstring UInt64ToStringNoLocale(uint64_t v) { return NewNumberString(PlainDigits(v), kEncodingASCII); }

#define VELA_DECIMAL_READERS(Word, Type)                                                      \
  VELA_EXPORT Type Word##FromStringNoLocale(TESSstring s) {                                   \
    return StrictDecimal<Type>(NumberTextOf(s), kStringFlavour);                              \
  }                                                                                           \
  VELA_EXPORT Type Word##FromStringParse(TESSstring s) { return LenientInteger<Type>(NumberTextOf(s), nullptr); }
VELA_DECIMAL_READERS(Integer, int32_t)
VELA_DECIMAL_READERS(UInteger, uint32_t)
VELA_DECIMAL_READERS(Int64, int64_t)
VELA_DECIMAL_READERS(UInt64, uint64_t)
#undef VELA_DECIMAL_READERS

#define VELA_INTEGER_TO_TEXT(Word, Type)                                                        \
  VELA_EXPORT TESSstring Word##ToString(Type v, RuntimeObject* locale) {                        \
    return AsString(IntegerText(v, locale));                                                    \
  }                                                                                             \
  VELA_EXPORT TextValue Word##ToText(Type v, RuntimeObject* locale) { return IntegerText(v, locale); } \
  VELA_EXPORT TESSstring Word##_ToStringWithFormat(Type v, RuntimeObject* locale, TESSstring format) { \
    TextHolder pattern = TextHolder::Adopt(TextFromString(format));                            \
    return AsString(IntegerTextWithFormat(v, locale, FormatUnits(pattern.get()), kStringFlavour)); \
  }                                                                                             \
  VELA_EXPORT TextValue Word##_ToTextWithFormat(Type v, RuntimeObject* locale, TextValue format) { \
    return IntegerTextWithFormat(v, locale, FormatUnits(format), kTextFlavour);                 \
  }
VELA_INTEGER_TYPES(VELA_INTEGER_TO_TEXT)
#undef VELA_INTEGER_TO_TEXT

#define VELA_INTEGER_FROM_TEXT(Word, Type)                                                  \
  VELA_EXPORT Type Word##FromString(TESSstring s, RuntimeObject* locale) {                  \
    return StrictInteger<Type>(NumberTextOf(s), locale, kStringFlavour);                    \
  }                                                                                         \
  VELA_EXPORT Type Word##FromText(TextValue t, RuntimeObject* locale) {                     \
    return StrictInteger<Type>(NumberTextOf(t), locale, kTextFlavour);                      \
  }                                                                                         \
  VELA_EXPORT Type Word##Parse(TextValue t, RuntimeObject* locale) {                        \
    return LenientInteger<Type>(NumberTextOf(t), locale);                                   \
  }
VELA_INTEGER_TYPES_WITH_ALIASES(VELA_INTEGER_FROM_TEXT)
#undef VELA_INTEGER_FROM_TEXT
