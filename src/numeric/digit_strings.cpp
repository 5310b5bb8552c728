// Binary, octal and hexadecimal digit strings of the integer types, in
// both directions, and the language's Hex, Oct and Bin.
//
// A value's digits are those of its bits at its own width, so Int8 -1 is
// "FF". The readers accept only the digits of their base (both cases for
// hexadecimal) and accumulate at the type's width without overflow checks.
#include <string>
#include <type_traits>

#include "numeric/integer_types.h"
#include "numeric/machine_convert.h"
#include "numeric/number_text_support.h"
#include "object/raise.h"
#include "support/export.h"
#include "vela/number_text.h"
#include "vela/number_text_locale.h"

namespace vela {
namespace {

// Padding beyond this many digits is cut: a request for more is a mistake,
// not a number's text, and must not exhaust memory.
constexpr int32_t kMaxPadding = 1 << 20;

struct Radix {
  int bits;          // per digit
  const char* kind;  // in the reader's message
};
constexpr Radix kBinary{1, "binary"};
constexpr Radix kOctal{3, "octal"};
constexpr Radix kHex{4, "hex"};

template <typename T>
TESSstring DigitString(T value, Radix radix, int32_t minDigits) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  uint64_t bits = std::make_unsigned_t<T>(value);
  char buffer[64];
  int n = 0;
  do {
    buffer[63 - n++] = kDigits[bits & ((1u << radix.bits) - 1)];
    bits >>= radix.bits;
  } while (bits != 0);
  std::string text;
  if (minDigits > n) text.assign(size_t(std::min(minDigits, kMaxPadding) - n), '0');
  text.append(buffer + 64 - n, size_t(n));
  return NewNumberString(text, kEncodingUTF8);
}

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return 99;
}

template <typename T>
T FromDigits(const std::string& text, Radix radix, const NumberTextFlavour& flavour) {
  if (text.empty()) {
    RaiseNamedException(flavour.invalidArgument, 0, EmptyMessage(flavour, "input").c_str());
    return 0;
  }
  using U = std::make_unsigned_t<T>;
  U value = 0;
  for (size_t i = 0; i < text.size();) {
    size_t next = 0;
    const std::string_view character = CodePointAt(text, i, &next);
    const int digit = character.size() == 1 ? DigitValue(character[0]) : 99;
    if (digit >= (1 << radix.bits)) {
      const std::string message =
          "Character '" + std::string(character) + "' is not valid " + radix.kind + " data";
      RaiseNamedException(flavour.badData, 0, message.c_str());
      return 0;
    }
    value = U(value << radix.bits) | U(digit);
    i = next;
  }
  return T(value);
}

}  // namespace
}  // namespace vela

using namespace vela;

#define VELA_DIGIT_STRINGS(Word, Type)                                                      \
  VELA_EXPORT TESSstring Word##ToBinary(Type v, int32_t min) { return DigitString(v, kBinary, min); } \
  VELA_EXPORT TESSstring Word##ToOctal(Type v, int32_t min) { return DigitString(v, kOctal, min); }   \
  VELA_EXPORT TESSstring Word##ToHex(Type v, int32_t min) { return DigitString(v, kHex, min); }       \
  VELA_EXPORT TESSstring RuntimeBin##Word(Type v) { return DigitString(v, kBinary, 0); }             \
  VELA_EXPORT TESSstring RuntimeOct##Word(Type v) { return DigitString(v, kOctal, 0); }              \
  VELA_EXPORT TESSstring RuntimeHex##Word(Type v) { return DigitString(v, kHex, 0); }
VELA_INTEGER_TYPES(VELA_DIGIT_STRINGS)
#undef VELA_DIGIT_STRINGS

// The older names of the 32- and 64-bit forms.
#define VELA_DIGIT_STRING_ALIAS(Word, Type, Radix, Name) \
  VELA_EXPORT TESSstring Word##To##Name##String(Type v, int32_t min) { return DigitString(v, Radix, min); }
VELA_DIGIT_STRING_ALIAS(Int32, int32_t, kBinary, Binary)
VELA_DIGIT_STRING_ALIAS(Int64, int64_t, kBinary, Binary)
VELA_DIGIT_STRING_ALIAS(Int32, int32_t, kOctal, Octal)
VELA_DIGIT_STRING_ALIAS(Int64, int64_t, kOctal, Octal)
VELA_DIGIT_STRING_ALIAS(Int32, int32_t, kHex, Hex)
VELA_DIGIT_STRING_ALIAS(Int64, int64_t, kHex, Hex)
#undef VELA_DIGIT_STRING_ALIAS

// Floating values are truncated to Int32 first, with the machine's result
// for NaN and out-of-range values.
#define VELA_FLOAT_DIGITS(Word, Type)                                                          \
  VELA_EXPORT TESSstring RuntimeBin##Word(Type v) { return DigitString(TruncateToInt32(v), kBinary, 0); } \
  VELA_EXPORT TESSstring RuntimeOct##Word(Type v) { return DigitString(TruncateToInt32(v), kOctal, 0); }  \
  VELA_EXPORT TESSstring RuntimeHex##Word(Type v) { return DigitString(TruncateToInt32(v), kHex, 0); }
VELA_FLOAT_DIGITS(Single, float)
VELA_FLOAT_DIGITS(Double, double)
#undef VELA_FLOAT_DIGITS

// The String forms raise InvalidArgumentException; the Text forms raise
// the newer API's classes.
#define VELA_DIGIT_READERS(Word, Type)                                              \
  VELA_EXPORT Type Word##FromBinaryString(TESSstring s) {                           \
    return FromDigits<Type>(NumberTextOf(s), kBinary, kStringFlavour);              \
  }                                                                                 \
  VELA_EXPORT Type Word##FromOctalString(TESSstring s) {                            \
    return FromDigits<Type>(NumberTextOf(s), kOctal, kStringFlavour);               \
  }                                                                                 \
  VELA_EXPORT Type Word##FromHexString(TESSstring s) {                              \
    return FromDigits<Type>(NumberTextOf(s), kHex, kStringFlavour);                 \
  }                                                                                 \
  VELA_EXPORT Type Word##FromBinary(TextValue t) {                                  \
    return FromDigits<Type>(NumberTextOf(t), kBinary, kTextFlavour);                \
  }                                                                                 \
  VELA_EXPORT Type Word##FromOctal(TextValue t) {                                   \
    return FromDigits<Type>(NumberTextOf(t), kOctal, kTextFlavour);                 \
  }                                                                                 \
  VELA_EXPORT Type Word##FromHex(TextValue t) { return FromDigits<Type>(NumberTextOf(t), kHex, kTextFlavour); }
VELA_INTEGER_TYPES_WITH_ALIASES(VELA_DIGIT_READERS)
#undef VELA_DIGIT_READERS
