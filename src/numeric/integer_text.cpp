// Decimal text of the integer types, and the two ways of reading it back:
// the strict reader (an optional "-" and digits, nothing else) and the
// lenient one, which takes what a number the text starts with and never
// fails. Both wrap at the type's width instead of checking for overflow,
// as the language's integer arithmetic does.
#include <cinttypes>
#include <cstdio>
#include <string>
#include <type_traits>

#include "numeric/number_text_support.h"
#include "support/export.h"
#include "vela/number_text.h"

namespace vela {
namespace {

template <typename T>
TESSstring DecimalString(T value) {
  char digits[24];
  int n = std::is_signed_v<T> ? std::snprintf(digits, sizeof digits, "%" PRId64, int64_t(value))
                              : std::snprintf(digits, sizeof digits, "%" PRIu64, uint64_t(value));
  return NewNumberString(std::string_view(digits, size_t(n)), kEncodingASCII);
}

template <typename T>
T StrictDecimal(TESSstring s) {
  const std::string text = NumberTextOf(s);
  if (text.empty()) {
    RaiseInvalidArgument("Empty strings values are not valid integers.");
    return 0;
  }
  using U = std::make_unsigned_t<T>;
  size_t i = 0;
  const bool negative = text[0] == '-';
  if (negative && ++i == text.size()) {
    RaiseInvalidArgument("- must be followed by one or more digits.");
    return 0;
  }
  U value = 0;
  while (i < text.size()) {
    size_t next = 0;
    const std::string_view character = CodePointAt(text, i, &next);
    if (character.size() != 1 || character[0] < '0' || character[0] > '9') {
      RaiseInvalidArgument("Character '" + std::string(character) + "' is not a valid number");
      return 0;
    }
    value = U(value * 10u + U(character[0] - '0'));
    i = next;
  }
  if (negative && std::is_signed_v<T>) value = U(0u - value);
  return T(value);
}

int LenientDigit(char c, int radix) {
  int d = 99;
  if (c >= '0' && c <= '9') d = c - '0';
  else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
  else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
  return d < radix ? d : -1;
}

// The lenient reading in 64 bits, unchecked; the caller cuts it to its type.
uint64_t LenientBits(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlankByte(text[i])) ++i;
  text.remove_prefix(i);
  if (text.size() >= 2 && text[0] == '&') {
    int radix = 0;
    switch (text[1]) {
      case 'h': case 'H': radix = 16; break;
      case 'o': case 'O': radix = 8; break;
      case 'b': case 'B': radix = 2; break;
      default: return 0;
    }
    uint64_t value = 0;
    for (size_t k = 2; k < text.size() && LenientDigit(text[k], radix) >= 0; ++k)
      value = value * uint64_t(radix) + uint64_t(LenientDigit(text[k], radix));
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

template <typename T>
T LenientDecimal(TESSstring s) {
  return T(LenientBits(NumberTextOf(s)));
}

}  // namespace

double LenientNumberAsDouble(std::string_view text) { return double(int64_t(LenientBits(text))); }

}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring Int32ToStringNoLocale(int32_t v) { return DecimalString(v); }
VELA_EXPORT TESSstring Int64ToStringNoLocale(int64_t v) { return DecimalString(v); }
VELA_EXPORT TESSstring UInt32ToStringNoLocale(uint32_t v) { return DecimalString(v); }
VELA_EXPORT TESSstring UInt64ToStringNoLocale(uint64_t v) { return DecimalString(v); }

#define VELA_DECIMAL_READERS(Word, Type)                                                   \
  VELA_EXPORT Type Word##FromStringNoLocale(TESSstring s) { return StrictDecimal<Type>(s); } \
  VELA_EXPORT Type Word##FromStringParse(TESSstring s) { return LenientDecimal<Type>(s); }
VELA_DECIMAL_READERS(Integer, int32_t)
VELA_DECIMAL_READERS(UInteger, uint32_t)
VELA_DECIMAL_READERS(Int64, int64_t)
VELA_DECIMAL_READERS(UInt64, uint64_t)
#undef VELA_DECIMAL_READERS
