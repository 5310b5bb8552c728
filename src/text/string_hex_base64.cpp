// The hexadecimal form of a string's bytes, both ways, and Base64 decoding.
#include <string>

#include "support/export.h"
#include "text/string_create.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

int HexDigit(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int Base64Digit(unsigned char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

TESSstring Result(const std::string& bytes, uint32_t encoding) {
  return NewString(bytes.data(), int32_t(bytes.size()), encoding);
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring RuntimeEncodeHex(TESSstring s, VelaBoolean spaced) {
  int32_t length = StringLength(s);
  if (length == 0) return nullptr;
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const auto* bytes = reinterpret_cast<const unsigned char*>(StringText(s));
  std::string out;
  out.reserve(size_t(length) * 3);
  for (int32_t i = 0; i < length; ++i) {
    if (spaced && i > 0) out += ' ';
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 15];
  }
  return Result(out, kEncodingUTF8);
}

// Anything that is not a hexadecimal digit is skipped where a pair would
// start; a pair is two digits in a row. A lone last digit is dropped, and a
// high digit followed by anything else ends the decoding.
VELA_EXPORT TESSstring RuntimeDecodeHex(TESSstring s) {
  int32_t length = StringLength(s);
  const auto* text = reinterpret_cast<const unsigned char*>(StringText(s));
  std::string out;
  for (int32_t i = 0; i < length; ++i) {
    int high = HexDigit(text[i]);
    if (high < 0) continue;
    if (i + 1 >= length) break;
    int low = HexDigit(text[++i]);
    if (low < 0) break;
    out += char(high * 16 + low);
  }
  return Result(out, kEncodingUTF8);
}

// Decoding stops at the first character outside the alphabet, padding "="
// included; the bytes that are complete by then are the result.
VELA_EXPORT TESSstring StringExtends_DecodeBase64(TESSstring s) {
  int32_t length = StringLength(s);
  const auto* text = reinterpret_cast<const unsigned char*>(StringText(s));
  std::string out;
  uint32_t bits = 0;
  int held = 0;
  for (int32_t i = 0; i < length; ++i) {
    int d = Base64Digit(text[i]);
    if (d < 0) break;
    bits = (bits << 6) | uint32_t(d);
    held += 6;
    if (held >= 8) {
      held -= 8;
      out += char((bits >> held) & 0xFF);
    }
  }
  return Result(out, kEncodingUnknown);
}
