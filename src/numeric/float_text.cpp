// Double, Single and Currency from text without a locale, Currency and
// Boolean to text.
//
// Double text is read in the C locale: as much of a decimal number as the
// text starts with, 0 if none, so garbage gives 0 rather than an error;
// only Nil or empty text is refused. Text that starts with "&" is an
// integer in a radix form. Currency text is read exactly, digit by digit,
// with at most four decimals, and anything else is refused.
#include <strings.h>

#include <string>

#include "numeric/number_text_support.h"
#include "support/export.h"
#include "text/string_numbers.h"
#include "vela/number_text.h"

namespace vela {
namespace {

constexpr int64_t kMaxWholeCurrency = 922337203685477;

std::string_view WithoutLeadingBlanks(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlankByte(text[i])) ++i;
  return text.substr(i);
}

double DoubleFromText(TESSstring s) {
  const std::string text = NumberTextOf(s);
  if (text.empty()) {
    RaiseInvalidArgument("Empty string values are not valid doubles.");
    return 0;
  }
  if (text[0] == '&') return LenientNumberAsDouble(text);
  return ParseDecimalPrefix(WithoutLeadingBlanks(text));
}

double DoubleParse(TESSstring s) {
  const std::string text = NumberTextOf(s);
  std::string_view t = WithoutLeadingBlanks(text);
  if (!t.empty() && t[0] == '&') return LenientNumberAsDouble(t);
  return ParseDecimalPrefix(t);
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

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT double Double_FromStringNoLocale(TESSstring s) { return DoubleFromText(s); }
VELA_EXPORT float Single_FromStringNoLocale(TESSstring s) { return float(DoubleFromText(s)); }
VELA_EXPORT double Double_StringParse(TESSstring s) { return DoubleParse(s); }
VELA_EXPORT float Single_StringParse(TESSstring s) { return float(DoubleParse(s)); }

VELA_EXPORT TESSstring Currency_ToStringNoLocale(VelaCurrency value) {
  return NewNumberString(CurrencyPlainText(value), kEncodingASCII);
}

VELA_EXPORT VelaCurrency Currency_FromStringNoLocale(TESSstring s) {
  const std::string text = NumberTextOf(s);
  if (text.empty()) {
    RaiseInvalidArgument("Empty string values are not valid currency.");
    return 0;
  }
  int64_t value = 0;
  if (!ReadCurrency(text, &value)) {
    RaiseInvalidArgument(text + " is not a valid currency.");
    return 0;
  }
  return value;
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
