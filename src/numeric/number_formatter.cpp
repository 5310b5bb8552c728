// A locale's number service over ICU; see number_formatter.h.
#include "numeric/number_formatter.h"

#include <unicode/parseerr.h>

#include <cstdlib>
#include <string>

#include "numeric/machine_convert.h"
#include "text/text_value.h"

namespace vela {
namespace {

constexpr int32_t kIntegerUnits = 32;  // buffer of an integer's text
constexpr int32_t kDoubleUnits = 64;   // of a Double's or a Currency's

const UChar* U(const char16_t* units) { return reinterpret_cast<const UChar*>(units); }

TextRecord* TextOfUnits(const UChar* units, int32_t length, UErrorCode status) {
  if (U_FAILURE(status) || length <= 0) return nullptr;
  return NewText(reinterpret_cast<const char16_t*>(units), length);
}

// Formats with `format` into a buffer of `capacity` units; a result that
// does not fit is cut, as the fixed buffers of the service always were.
template <typename Format>
TextRecord* FormatInto(int32_t capacity, Format format) {
  UChar buffer[kDoubleUnits];
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = format(buffer, capacity, &status);
  if (status == U_BUFFER_OVERFLOW_ERROR || status == U_STRING_NOT_TERMINATED_WARNING) {
    status = U_ZERO_ERROR;
    length = capacity;
  }
  return TextOfUnits(buffer, length > capacity ? capacity : length, status);
}

// The whole part of a decimal number as ICU writes it ("123", "1.5E+3",
// "-0"); false for a negative value or one beyond 64 bits.
bool DecimalToUInt64(std::string_view number, uint64_t* out) {
  if (!number.empty() && (number[0] == '-' || number[0] == '+')) {
    if (number[0] == '-' && number.find_first_of("123456789") != std::string_view::npos)
      return false;
    number.remove_prefix(1);
  }
  int64_t exponent = 0;
  const size_t e = number.find_first_of("eE");
  if (e != std::string_view::npos) {
    exponent = std::strtoll(std::string(number.substr(e + 1)).c_str(), nullptr, 10);
    number = number.substr(0, e);
  }
  std::string digits;
  int64_t pointAt = -1;
  for (char c : number) {
    if (c == '.') pointAt = int64_t(digits.size());
    else if (c >= '0' && c <= '9') digits += c;
    else return false;
  }
  if (pointAt < 0) pointAt = int64_t(digits.size());
  const int64_t wholeDigits = pointAt + exponent;  // digits before the point
  unsigned __int128 value = 0;
  for (int64_t i = 0; i < wholeDigits; ++i) {
    const int digit = i < int64_t(digits.size()) ? digits[size_t(i)] - '0' : 0;
    value = value * 10 + unsigned(digit);
    if (value > ~uint64_t(0)) return false;
  }
  *out = uint64_t(value);
  return true;
}

}  // namespace

std::shared_ptr<NumberFormatter> NumberFormatter::Open(const std::string& localeName) {
  std::shared_ptr<NumberFormatter> formatter(new NumberFormatter(localeName));
  if (!formatter->Formatter(Kind::kInteger)) return nullptr;
  return formatter;
}

NumberFormatter::~NumberFormatter() {
  for (UNumberFormat* f : {mInteger, mDouble, mCurrency})
    if (f) unum_close(f);
}

UNumberFormat* NumberFormatter::Formatter(Kind kind) {
  UNumberFormat** slot =
      kind == Kind::kCurrency ? &mCurrency : (kind == Kind::kDouble ? &mDouble : &mInteger);
  if (!*slot) {
    UErrorCode status = U_ZERO_ERROR;
    UNumberFormat* f = unum_open(kind == Kind::kCurrency ? UNUM_CURRENCY : UNUM_DECIMAL, nullptr,
                                 0, mLocale.c_str(), nullptr, &status);
    if (U_FAILURE(status)) {
      if (f) unum_close(f);
      return nullptr;
    }
    unum_setAttribute(f, UNUM_LENIENT_PARSE, 1);
    *slot = f;
  }
  return *slot;
}

const char* NumberFormatter::ErrorClass() const {
  return mClassicExceptions ? "InvalidArgumentException" : "Vela.Core.InvalidArgumentException";
}

template <typename Format>
ErrorOr<TextRecord*> NumberFormatter::FormatWithPattern(std::u16string_view pattern, Format format) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError parseError;
  UNumberFormat* f = unum_open(UNUM_PATTERN_DECIMAL, U(pattern.data()), int32_t(pattern.size()),
                               mLocale.c_str(), &parseError, &status);
  if (U_FAILURE(status)) {
    if (f) unum_close(f);
    return ErrorOr<TextRecord*>::Error(ErrorClass(), "Bad format");
  }
  TextRecord* text = FormatInto(kDoubleUnits, [&](UChar* b, int32_t c, UErrorCode* s) {
    return format(f, b, c, s);
  });
  unum_close(f);
  return ErrorOr<TextRecord*>::Value(text);
}

ErrorOr<TextRecord*> NumberFormatter::FormatUInt64WithPattern(uint64_t value,
                                                              std::u16string_view pattern) {
  // ICU has no unsigned formatting; the value goes as a decimal number.
  const std::string digits = std::to_string(value);
  return FormatWithPattern(pattern, [&](UNumberFormat* f, UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatDecimal(f, digits.c_str(), int32_t(digits.size()), b, c, nullptr, s);
  });
}

TextRecord* NumberFormatter::FormatUInt64(uint64_t value) {
  UNumberFormat* f = Formatter(Kind::kInteger);
  if (!f) return nullptr;
  const std::string digits = std::to_string(value);
  return FormatInto(kIntegerUnits, [&](UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatDecimal(f, digits.c_str(), int32_t(digits.size()), b, c, nullptr, s);
  });
}

ErrorOr<TextRecord*> NumberFormatter::FormatInt64WithPattern(int64_t value,
                                                             std::u16string_view pattern) {
  return FormatWithPattern(pattern, [&](UNumberFormat* f, UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatInt64(f, value, b, c, nullptr, s);
  });
}

TextRecord* NumberFormatter::FormatInt64(int64_t value) {
  UNumberFormat* f = Formatter(Kind::kInteger);
  if (!f) return nullptr;
  return FormatInto(kIntegerUnits, [&](UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatInt64(f, value, b, c, nullptr, s);
  });
}

TextRecord* NumberFormatter::FormatCurrency(VelaCurrency value) {
  UNumberFormat* f = Formatter(Kind::kCurrency);
  if (!f) return nullptr;
  return FormatInto(kDoubleUnits, [&](UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatDouble(f, double(value) / 10000.0, b, c, nullptr, s);
  });
}

ErrorOr<TextRecord*> NumberFormatter::FormatDoubleWithPattern(double value,
                                                              std::u16string_view pattern) {
  return FormatWithPattern(pattern, [&](UNumberFormat* f, UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatDouble(f, value, b, c, nullptr, s);
  });
}

TextRecord* NumberFormatter::FormatDouble(double value) {
  UNumberFormat* f = Formatter(Kind::kDouble);
  if (!f) return nullptr;
  return FormatInto(kDoubleUnits, [&](UChar* b, int32_t c, UErrorCode* s) {
    return unum_formatDouble(f, value, b, c, nullptr, s);
  });
}

// A strict parse must take the whole text; with ignore-errors set, what
// ICU recognised stands and a failure reads as 0.
template <typename T, typename ParseFn>
ErrorOr<T> NumberFormatter::Parse(Kind kind, std::u16string_view text, ParseFn parse) {
  UNumberFormat* f = Formatter(kind);
  if (!f) return ErrorOr<T>::Error("RuntimeException", "Formatter could not be initialized.");
  UErrorCode status = U_ZERO_ERROR;
  int32_t position = 0;
  T value = parse(f, U(text.data()), int32_t(text.size()), &position, &status);
  if (mIgnoreErrors) return ErrorOr<T>::Value(U_FAILURE(status) ? T{} : value);
  if (U_SUCCESS(status) && position != int32_t(text.size())) status = U_PARSE_ERROR;
  if (U_FAILURE(status)) return ErrorOr<T>::Error(ErrorClass(), u_errorName(status));
  return ErrorOr<T>::Value(value);
}

ErrorOr<uint64_t> NumberFormatter::ParseUInt64(std::u16string_view text) {
  return Parse<uint64_t>(Kind::kInteger, text,
                         [](UNumberFormat* f, const UChar* t, int32_t n, int32_t* pos, UErrorCode* s) {
    char number[128];
    const int32_t length = unum_parseDecimal(f, t, n, pos, number, sizeof number, s);
    if (U_FAILURE(*s) || length <= 0 || length >= int32_t(sizeof number)) return uint64_t(0);
    uint64_t value = 0;
    if (!DecimalToUInt64(std::string_view(number, size_t(length)), &value))
      *s = U_INVALID_FORMAT_ERROR;  // negative, or beyond 64 bits
    return value;
  });
}

ErrorOr<int64_t> NumberFormatter::ParseInt64(std::u16string_view text) {
  return Parse<int64_t>(Kind::kInteger, text,
                        [](UNumberFormat* f, const UChar* t, int32_t n, int32_t* pos, UErrorCode* s) {
    return unum_parseInt64(f, t, n, pos, s);
  });
}

ErrorOr<VelaCurrency> NumberFormatter::ParseCurrency(std::u16string_view text) {
  return Parse<VelaCurrency>(Kind::kCurrency, text,
                             [](UNumberFormat* f, const UChar* t, int32_t n, int32_t* pos, UErrorCode* s) {
    return RuntimeCvtReal64ToCurrency(unum_parseDouble(f, t, n, pos, s));
  });
}

ErrorOr<double> NumberFormatter::ParseDouble(std::u16string_view text) {
  return Parse<double>(Kind::kDouble, text,
                       [](UNumberFormat* f, const UChar* t, int32_t n, int32_t* pos, UErrorCode* s) {
    return unum_parseDouble(f, t, n, pos, s);
  });
}

void NumberFormatter::SetIgnoreErrors(bool ignore) { mIgnoreErrors = ignore; }
bool NumberFormatter::ClassicExceptions() const { return mClassicExceptions; }
void NumberFormatter::SetClassicExceptions(bool classic) { mClassicExceptions = classic; }

}  // namespace vela
