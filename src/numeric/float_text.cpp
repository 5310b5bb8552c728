// Double, Single and Currency to and from text; Boolean text.
//
// Double text is read in the C locale: as much of a decimal number as the
// text starts with, 0 if none, so garbage gives 0 rather than an error;
// only Nil or empty text is refused. Text that starts with "&" is an
// integer in a radix form. Currency text is read exactly, digit by digit,
// with at most four decimals, and anything else is refused. A localising
// locale formats and reads through its number service instead.
#include <strings.h>

#include <cstdio>
#include <string>

#include "numeric/locale_numbers.h"
#include "numeric/number_text_support.h"
#include "support/export.h"
#include "text/string_numbers.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/number_text.h"
#include "vela/number_text_locale.h"

namespace vela {
namespace {

constexpr int64_t kMaxWholeCurrency = 922337203685477;

std::string_view WithoutLeadingBlanks(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlankByte(text[i])) ++i;
  return text.substr(i);
}

TESSstring AsString(TextValue owned) {
  TextHolder text = TextHolder::Adopt(owned);
  return StringFromText(text.get());
}

// Lenient: never raises; Nil or no characters give 0.
double ParseDouble(const std::string& text, RuntimeObject* locale) {
  if (text.empty()) return 0;
  if (std::shared_ptr<NumberFormatter> f = AnyFormatter(locale)) {
    IgnoreErrorsScope lenient(*f);
    TextHolder units = TextHolder::Adopt(NewNumberText(text));
    return f->ParseDouble(TextView(units.get())).value();
  }
  std::string_view t = WithoutLeadingBlanks(text);
  if (!t.empty() && t[0] == '&') return double(int64_t(LenientIntegerBits(t)));
  return ParseDecimalPrefix(t);
}

double DoubleFromText(const std::string& text, RuntimeObject* locale,
                      const NumberTextFlavour& flavour) {
  if (text.empty()) {
    RaiseNamedException(flavour.invalidArgument, 0, EmptyMessage(flavour, "doubles").c_str());
    return 0;
  }
  if (text[0] == '&') return ParseDouble(text, nullptr);
  if (!locale) return ParseDecimalPrefix(WithoutLeadingBlanks(text));
  if (!AnyFormatter(locale)) {
    RaiseNamedException("RuntimeException", 0, "Formatter could not be initialized.");
    return 0;
  }
  return ParseDouble(text, locale);
}

// The exact Currency reader; false for text that is not a Currency value.
bool ReadCurrency(std::string_view text, int64_t* result) {
  std::string_view t = WithoutLeadingBlanks(text);
  size_t i = 0;
  const bool negative = i < t.size() && t[i] == '-';
  if (negative) ++i;
  int64_t whole = 0;
  bool wholeDigits = false;
  bool tooLarge = false;
  for (; i < t.size() && t[i] >= '0' && t[i] <= '9'; ++i) {
    wholeDigits = true;
    if (whole > kMaxWholeCurrency) tooLarge = true;  // stop growing; invalid anyway
    else whole = whole * 10 + (t[i] - '0');
  }
  int64_t fraction = 0;
  bool point = false;
  if (i < t.size() && t[i] == '.') {
    point = true;
    ++i;
    int64_t weight = 1000;
    size_t decimals = 0;
    for (; i < t.size() && decimals < 4 && t[i] >= '0' && t[i] <= '9'; ++i, ++decimals) {
      fraction += (t[i] - '0') * weight;
      weight /= 10;
    }
    if (decimals == 0) return false;
  }
  if (i != t.size() || (!wholeDigits && !point)) return false;
  if (tooLarge || whole > kMaxWholeCurrency || (whole == kMaxWholeCurrency && fraction >= 5808))
    return false;
  const int64_t value = whole * 10000 + fraction;
  *result = negative ? -value : value;
  return true;
}

VelaCurrency CurrencyFromText(const std::string& text, RuntimeObject* locale,
                              const NumberTextFlavour& flavour) {
  if (text.empty()) {
    RaiseNamedException(flavour.invalidArgument, 0, EmptyMessage(flavour, "currency").c_str());
    return 0;
  }
  if (std::shared_ptr<NumberFormatter> f = LocalisingFormatter(locale)) {
    ClassicExceptionsScope classic(*f, !flavour.text);
    TextHolder units = TextHolder::Adopt(NewNumberText(text));
    return f->ParseCurrency(TextView(units.get())).ValueOrRaise();
  }
  int64_t value = 0;
  if (ReadCurrency(text, &value)) return value;
  if (flavour.text)
    RaiseNamedException(flavour.badData, 0, "The text is not a valid currency.");
  else
    RaiseInvalidArgument(text + " is not a valid currency.");
  return 0;
}

// A Double's text: localised, else the String forms print as Str does and
// the Text forms as "%f".
TextValue DoubleText(double value, RuntimeObject* locale, bool asString) {
  if (std::shared_ptr<NumberFormatter> f = LocalisingFormatter(locale)) return f->FormatDouble(value);
  if (asString) return NewNumberText(FormatNumberAuto(value, 7));
  char buffer[400];
  const int n = std::snprintf(buffer, sizeof buffer, "%f", value);
  return NewNumberText(std::string_view(buffer, size_t(n > 0 ? n : 0)));
}

TextValue DoubleTextWithFormat(double value, RuntimeObject* locale, std::u16string_view format,
                               const NumberTextFlavour& flavour) {
  std::shared_ptr<NumberFormatter> f = PatternFormatter(locale, format, flavour);
  if (!f) return nullptr;
  ClassicExceptionsScope classic(*f, !flavour.text);
  return f->FormatDoubleWithPattern(value, format).ValueOrRaise();
}

TextValue CurrencyText(VelaCurrency value, RuntimeObject* locale) {
  if (std::shared_ptr<NumberFormatter> f = LocalisingFormatter(locale)) return f->FormatCurrency(value);
  return NewNumberText(CurrencyPlainText(value));
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT double Double_FromStringNoLocale(TESSstring s) {
  return DoubleFromText(NumberTextOf(s), nullptr, kStringFlavour);
}
VELA_EXPORT float Single_FromStringNoLocale(TESSstring s) {
  return float(DoubleFromText(NumberTextOf(s), nullptr, kStringFlavour));
}
VELA_EXPORT double Double_StringParse(TESSstring s) { return ParseDouble(NumberTextOf(s), nullptr); }
VELA_EXPORT float Single_StringParse(TESSstring s) { return float(ParseDouble(NumberTextOf(s), nullptr)); }

VELA_EXPORT double Double_FromString(TESSstring s, RuntimeObject* locale) {
  return DoubleFromText(NumberTextOf(s), locale, kStringFlavour);
}
VELA_EXPORT float Single_FromString(TESSstring s, RuntimeObject* locale) {
  return float(DoubleFromText(NumberTextOf(s), locale, kStringFlavour));
}
VELA_EXPORT double Double_FromText(TextValue t, RuntimeObject* locale) {
  return DoubleFromText(NumberTextOf(t), locale, kTextFlavour);
}
VELA_EXPORT float Single_FromText(TextValue t, RuntimeObject* locale) {
  return float(DoubleFromText(NumberTextOf(t), locale, kTextFlavour));
}
VELA_EXPORT double Double_Parse(TextValue t, RuntimeObject* locale) {
  return ParseDouble(NumberTextOf(t), locale);
}
VELA_EXPORT float Single_Parse(TextValue t, RuntimeObject* locale) {
  return float(ParseDouble(NumberTextOf(t), locale));
}

VELA_EXPORT TESSstring Double_ToString(double v, RuntimeObject* locale) {
  return AsString(DoubleText(v, locale, true));
}
VELA_EXPORT TESSstring Single_ToString(float v, RuntimeObject* locale) {
  return AsString(DoubleText(double(v), locale, true));
}
VELA_EXPORT TextValue Double_ToText(double v, RuntimeObject* locale) { return DoubleText(v, locale, false); }
VELA_EXPORT TextValue Single_ToText(float v, RuntimeObject* locale) {
  return DoubleText(double(v), locale, false);
}
VELA_EXPORT TESSstring Double_ToStringWithFormat(double v, RuntimeObject* locale, TESSstring format) {
  TextHolder pattern = TextHolder::Adopt(TextFromString(format));
  return AsString(DoubleTextWithFormat(v, locale, TextView(pattern.get()), kStringFlavour));
}
VELA_EXPORT TESSstring Single_ToStringWithFormat(float v, RuntimeObject* locale, TESSstring format) {
  return Double_ToStringWithFormat(double(v), locale, format);
}
VELA_EXPORT TextValue Double_ToTextWithFormat(double v, RuntimeObject* locale, TextValue format) {
  return DoubleTextWithFormat(v, locale, TextView(format), kTextFlavour);
}
VELA_EXPORT TextValue Single_ToTextWithFormat(float v, RuntimeObject* locale, TextValue format) {
  return DoubleTextWithFormat(double(v), locale, TextView(format), kTextFlavour);
}

VELA_EXPORT TESSstring Currency_ToStringNoLocale(VelaCurrency value) {
  return NewNumberString(CurrencyPlainText(value), kEncodingASCII);
}
VELA_EXPORT TESSstring Currency_ToString(VelaCurrency v, RuntimeObject* locale) {
  return AsString(CurrencyText(v, locale));
}
VELA_EXPORT TextValue Currency_ToText(VelaCurrency v, RuntimeObject* locale) { return CurrencyText(v, locale); }
VELA_EXPORT VelaCurrency Currency_FromStringNoLocale(TESSstring s) {
  return CurrencyFromText(NumberTextOf(s), nullptr, kStringFlavour);
}
VELA_EXPORT VelaCurrency Currency_FromString(TESSstring s, RuntimeObject* locale) {
  return CurrencyFromText(NumberTextOf(s), locale, kStringFlavour);
}
VELA_EXPORT VelaCurrency Currency_FromText(TextValue t, RuntimeObject* locale) {
  return CurrencyFromText(NumberTextOf(t), locale, kTextFlavour);
}

VELA_EXPORT TESSstring BooleanToString(VelaBoolean value) {
  return NewNumberString(value ? "True" : "False", kEncodingASCII);
}

VELA_EXPORT VelaBoolean BooleanFromString(TESSstring s) {
  const std::string text = NumberTextOf(s);
  std::string_view t = WithoutLeadingBlanks(text);
  while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.remove_suffix(1);
  return t.size() == 4 && strncasecmp(t.data(), "true", 4) == 0;
}
