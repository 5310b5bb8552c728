// Val and Str, and the number scanner and printer they share with IsNumeric
// and Format.
//
// Val never fails: it reads as much of a number as the text starts with.
// Besides decimal text it reads the language's own radix forms "&h", "&o"
// and "&b"; C's "0x" prefix, hexadecimal floats, "inf" and "nan" are not
// numbers here ("0x1A" reads as 0), which is why the decimal form is
// delimited by our own scanner before strtod sees it.
//
// Str prints 7 significant digits. Fixed notation drops trailing zeros only
// behind a decimal point, so 1000000 stays "1000000"; scientific notation
// keeps its six decimals ("1.000000e+7"). Infinities print as "INF" and
// "-INF", every NaN as "NaN".
#include "text/string_numbers.h"

#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale.h>

#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

constexpr size_t kValLimit = 128;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads a "&h", "&o" or "&b" form at `t` (already past leading blanks). The
// digits accumulate in the unsigned width of `Accumulator`. Invalid characters are skipped in the
// hexadecimal form and end the others; either way they make the text
// non-numeric, as does a form without digits. A blank ends every form, and
// only blanks may follow for the text to be numeric.
int RadixOf(std::string_view t) {
  if (t.size() < 2 || t[0] != '&') return 0;
  switch (t[1]) {
    case 'h': case 'H': return 16;
    case 'o': case 'O': return 8;
    case 'b': case 'B': return 2;
    default: return 0;
  }
}

template <typename Accumulator>
bool ReadRadix(std::string_view t, Accumulator* result, bool* numeric) {
  int radix = RadixOf(t);
  if (radix == 0) return false;
  Accumulator acc = 0;
  bool clean = true;
  int digits = 0;
  size_t i = 2;
  for (; i < t.size(); ++i) {
    int d = DigitValue(t[i]);
    if (d < 0 || d >= radix) {
      if (radix == 16 && !IsBlank(t[i])) { clean = false; continue; }
      break;
    }
    acc = acc * Accumulator(radix) + Accumulator(d);
    ++digits;
  }
  while (i < t.size() && IsBlank(t[i])) ++i;
  *result = acc;
  if (numeric) *numeric = clean && digits > 0 && i == t.size();
  return true;
}

// Val's radix forms: 32 bits, read as signed.
bool ReadRadixValue(std::string_view t, double* value, bool* numeric) {
  uint32_t bits = 0;
  if (!ReadRadix(t, &bits, numeric)) return false;
  *value = double(int32_t(bits));
  return true;
}

// Length of the decimal number at the start of `t`: sign, digits, one
// point, digits, and an exponent that has digits. `commas` admits commas
// among the integer digits and d/D as exponent letters (the checking mode).
size_t ScanDecimal(std::string_view t, bool commas, bool* hasDigits) {
  size_t i = 0;
  if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
  int mantissa = 0;
  while (i < t.size() && (IsDigit(t[i]) || (commas && t[i] == ',' && mantissa > 0))) {
    if (IsDigit(t[i])) ++mantissa;
    ++i;
  }
  if (i < t.size() && t[i] == '.') {
    ++i;
    while (i < t.size() && IsDigit(t[i])) { ++i; ++mantissa; }
  }
  *hasDigits = mantissa > 0;
  if (mantissa == 0) return 0;
  if (i < t.size()) {
    char c = t[i];
    bool letter = c == 'e' || c == 'E' || (commas && (c == 'd' || c == 'D'));
    if (letter) {
      size_t j = i + 1;
      if (j < t.size() && (t[j] == '+' || t[j] == '-')) ++j;
      size_t first = j;
      while (j < t.size() && IsDigit(t[j])) ++j;
      if (j > first) i = j;
    }
  }
  return i;
}

std::string_view SkipBlanks(std::string_view t) {
  size_t i = 0;
  while (i < t.size() && IsBlank(t[i])) ++i;
  return t.substr(i);
}

locale_t CLocale() {
  static locale_t c = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
  return c;
}

std::string Utf8Of(TESSstring s) {
  if (!s) return {};
  StringHolder u = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  return u ? std::string(StringText(u.get()), size_t(StringLength(u.get()))) : std::string();
}

TESSstring NewUtf8(const std::string& text) {
  return NewString(text.data(), int32_t(text.size()), kEncodingASCII);
}

}  // namespace

double ParseValText(std::string_view text) {
  std::string_view t = SkipBlanks(text.substr(0, std::min(text.size(), kValLimit)));
  double value = 0;
  bool numeric = false;
  if (ReadRadixValue(t, &value, &numeric)) return value;
  return ParseDecimalPrefix(t);
}

double ParseDecimalPrefix(std::string_view t) {
  bool digits = false;
  size_t n = ScanDecimal(t, false, &digits);
  if (n == 0) return 0;
  std::string number(t.substr(0, n));
  return strtod_l(number.c_str(), nullptr, CLocale());
}

int64_t ParseInt64Text(std::string_view text) {
  std::string_view t = SkipBlanks(text);
  uint64_t bits = 0;
  if (ReadRadix(t, &bits, nullptr)) return int64_t(bits);
  size_t i = 0;
  bool negative = false;
  if (i < t.size() && (t[i] == '+' || t[i] == '-')) negative = t[i++] == '-';
  // Accumulate the magnitude; past the limit of the sign the value saturates.
  const uint64_t limit = negative ? uint64_t(INT64_MAX) + 1 : uint64_t(INT64_MAX);
  uint64_t magnitude = 0;
  for (; i < t.size() && IsDigit(t[i]); ++i) {
    uint64_t digit = uint64_t(t[i] - '0');
    magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
  }
  return negative ? int64_t(0 - magnitude) : int64_t(magnitude);
}

std::string CurrencyPlainText(int64_t scaled) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%lld", static_cast<long long>(scaled));
  std::string text = digits[0] == '-' ? digits + 1 : digits;
  if (text.size() < 5) text.insert(0, 5 - text.size(), '0');
  std::string fraction = text.substr(text.size() - 4);
  text.resize(text.size() - 4);
  while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
  std::string out = scaled < 0 ? "-" : "";
  out += text;
  if (!fraction.empty()) out += "." + fraction;
  return out;
}

bool IsNumericText(std::string_view text) {
  std::string_view t = SkipBlanks(text);
  double value = 0;
  bool numeric = false;
  if (ReadRadixValue(t, &value, &numeric)) return numeric;
  bool digits = false;
  size_t n = ScanDecimal(t, true, &digits);
  if (!digits) return false;
  return SkipBlanks(t.substr(n)).empty();
}

std::string FormatNumberAuto(double value, int digits) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
  if (value == 0) value = 0;  // -0 prints as 0
  double magnitude = std::fabs(value);
  char buffer[400];
  char format[16];
  std::string text;
  // The decimal exponent after rounding to `digits` significant digits, so
  // that 9999999.6 counts as the 8-digit number it prints as.
  int exponent = 0;
  if (magnitude != 0) {
    std::snprintf(format, sizeof format, "%%.%de", digits - 1);
    std::snprintf(buffer, sizeof buffer, format, magnitude);
    exponent = std::atoi(std::strchr(buffer, 'e') + 1);
  }
  if (magnitude == 0 || (magnitude >= 1e-05 && exponent < digits)) {
    int front = exponent < 0 ? 1 : exponent + 1;
    int decimals = front > digits ? 0 : digits - front;
    std::snprintf(format, sizeof format, "%%.%df", decimals);
    std::snprintf(buffer, sizeof buffer, format, value);
    text = buffer;
    if (text.find('.') != std::string::npos) {
      while (text.back() == '0') text.pop_back();
      if (text.back() == '.') text.pop_back();
    }
  } else {
    std::snprintf(format, sizeof format, "%%.%de", digits - 1);
    std::snprintf(buffer, sizeof buffer, format, value);
    text = buffer;
    size_t e = text.find('e');
    if (e != std::string::npos && e + 2 < text.size()) {
      size_t first = e + 2;
      size_t nonzero = text.find_first_not_of('0', first);
      if (nonzero == std::string::npos) nonzero = text.size() - 1;
      text.erase(first, nonzero - first);
    }
  }
  if (text.size() > 1 && text[0] == '-' && text.find_first_not_of("0.", 1) == std::string::npos)
    text.erase(0, 1);
  return text;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT double StringVal(TESSstring s) {
  if (!s) return 0;
  uint32_t encoding = s->mEncoding;
  if (encoding == kEncodingUTF8 || encoding == kEncodingASCII ||
      (encoding == kEncodingUnknown && kSystemEncoding == kEncodingUTF8))
    return ParseValText(std::string_view(StringText(s), size_t(StringLength(s))));
  return ParseValText(Utf8Of(s));
}

VELA_EXPORT TESSstring StringStrDouble(double value) {
  return NewUtf8(FormatNumberAuto(value, 7));
}

VELA_EXPORT TESSstring StringStrSingle(float value) {
  return NewUtf8(FormatNumberAuto(double(value), 7));
}
