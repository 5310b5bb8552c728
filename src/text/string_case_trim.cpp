// The classic case functions (Uppercase, Lowercase, Titlecase) and Trim,
// and their exports.
//
// Case goes by simple one-to-one mapping: Unicode text code point by code
// point (only the Basic Multilingual Plane has partners), single-byte pages
// through the page's case row, everything else through UTF-8 and back.
// Text that comes out unchanged is returned itself, with one more reference.
#include <cstring>
#include <string>

#include <unicode/utf8.h>

#include "support/assert.h"
#include "support/export.h"
#include "text/classic_search.h"
#include "text/encoding_convert.h"
#include "text/simple_case.h"
#include "text/string_chars.h"
#include "text/string_holder.h"
#include "text/string_ops_classic.h"
#include "text/string_record.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/StringOpsClassic";

enum class CaseMode : uint8_t { kUpper, kLower, kTitle };

TESSstring Same(TESSstring s) {
  LockString(s);
  return s;
}

// Whitespace of Unicode text, for Trim and for Titlecase.
bool IsUnicodeSpace(uint32_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         c == 0x180E || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 ||
         c == 0x202F || c == 0x205F || c == 0x3000;
}

bool IsAsciiSpace(uint32_t c) { return (c >= 0x09 && c <= 0x0D) || c == 0x20; }

// Maps one code point; Titlecase upper-cases at the start and after
// whitespace (tested on the mapped character) and lower-cases elsewhere.
struct CaseMapper {
  CaseMode mode;
  bool atWordStart = true;
  uint32_t operator()(uint32_t c) {
    if (mode == CaseMode::kUpper) return SimpleUpperCase(c);
    if (mode == CaseMode::kLower) return SimpleLowerCase(c);
    const uint32_t mapped = atWordStart ? SimpleUpperCase(c) : SimpleLowerCase(c);
    atWordStart = IsUnicodeSpace(mapped);
    return mapped;
  }
};

// The mapped text in the string's encoding, or the string itself when
// nothing changed.
TESSstring Finish(TESSstring s, const std::string& bytes) {
  if (bytes.size() == size_t(s->mLength) && std::memcmp(bytes.data(), StringBytes(s), bytes.size()) == 0)
    return Same(s);
  return NewString(bytes.data(), int32_t(bytes.size()), s->mEncoding);
}

// UTF-8 (or ASCII) text; malformed bytes pass unchanged.
TESSstring MapUtf8(TESSstring s, CaseMode mode) {
  CaseMapper map{mode};
  const unsigned char* p = StringBytes(s);
  const int32_t n = s->mLength;
  std::string out;
  out.reserve(size_t(n));
  for (int32_t i = 0; i < n;) {
    const int32_t start = i;
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0) {
      out.append(reinterpret_cast<const char*>(p + start), size_t(i - start));
      map.atWordStart = false;
      continue;
    }
    const uint32_t m = map(uint32_t(c));
    char buffer[4];
    int32_t k = 0;
    U8_APPEND_UNSAFE(buffer, k, UChar32(m));
    out.append(buffer, size_t(k));
  }
  return Finish(s, out);
}

// The UTF-16 family, unit by unit in the text's byte order.
TESSstring MapUtf16(TESSstring s, CaseMode mode) {
  CaseMapper map{mode};
  const bool big = s->mEncoding == kEncodingUTF16BE;
  std::string out(reinterpret_cast<const char*>(StringBytes(s)), size_t(s->mLength));
  for (size_t i = 0; i + 1 < out.size(); i += 2) {
    auto* u = reinterpret_cast<unsigned char*>(&out[i]);
    const uint32_t unit = big ? uint32_t(u[0] << 8 | u[1]) : uint32_t(u[1] << 8 | u[0]);
    const uint32_t m = map(unit);
    u[big ? 0 : 1] = static_cast<unsigned char>(m >> 8);
    u[big ? 1 : 0] = static_cast<unsigned char>(m);
  }
  return Finish(s, out);
}

// True for pages whose case goes through a byte row: those with a script
// table.
bool HasCaseRow(uint32_t encoding) { return FindScriptTable(encoding) != nullptr; }

TESSstring MapRow(TESSstring s, bool upper) {
  const unsigned char* row = CaseRowFor(s->mEncoding, upper);
  std::string out(reinterpret_cast<const char*>(StringBytes(s)), size_t(s->mLength));
  for (char& c : out) c = static_cast<char>(row[static_cast<unsigned char>(c)]);
  return Finish(s, out);
}

// Through UTF-8 and back to the source's encoding. Without a UTF-8 form,
// Upper and Lower give what the conversion gave and Titlecase the string.
TESSstring MapThroughUtf8(TESSstring s, CaseMode mode) {
  StringHolder utf8 = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  if (!utf8 || utf8.get()->mEncoding != kEncodingUTF8)
    return mode == CaseMode::kTitle ? Same(s) : utf8.Release();
  StringHolder mapped = StringHolder::Adopt(MapUtf8(utf8.get(), mode));
  if (mapped.get() == utf8.get()) return Same(s);
  return ConvertString(mapped.get(), s->mEncoding);
}

TESSstring MapCase(TESSstring s, CaseMode mode) {
  if (!s) return nullptr;
  const uint32_t encoding = ResolveUnknownEncoding(s->mEncoding);
  if (encoding == kEncodingUTF8 || encoding == kEncodingASCII) return MapUtf8(s, mode);
  if (IsUtf16Encoding(encoding)) return MapUtf16(s, mode);
  if (mode != CaseMode::kTitle && HasCaseRow(encoding)) return MapRow(s, mode == CaseMode::kUpper);
  return MapThroughUtf8(s, mode);
}

// Trim of UTF-8, ASCII or UTF-16 text.
TESSstring TrimUnicode(TESSstring s, bool left, bool right) {
  const uint32_t e = s->mEncoding;
  VELA_ASSERT(e == kEncodingUTF8 || IsUtf16Encoding(e) || e == kEncodingASCII ||
              e == kEncodingUnknown);
  const unsigned char* p = StringBytes(s);
  const int32_t n = s->mLength;
  int32_t from = 0, to = n;
  if (IsUtf16Encoding(e)) {
    const bool big = e == kEncodingUTF16BE;
    auto unit = [&](int32_t i) { return big ? uint32_t(p[i] << 8 | p[i + 1]) : uint32_t(p[i + 1] << 8 | p[i]); };
    to = n & ~1;
    if (left) while (from < to && IsUnicodeSpace(unit(from))) from += 2;
    if (right) while (to > from && IsUnicodeSpace(unit(to - 2))) to -= 2;
    if (to == (n & ~1)) to = n;
  } else if (e == kEncodingUTF8) {
    if (left) {
      while (from < n) {
        int32_t i = from;
        UChar32 c;
        U8_NEXT(p, i, n, c);
        if (c < 0 || !IsUnicodeSpace(uint32_t(c))) break;
        from = i;
      }
    }
    if (right) {
      while (to > from) {
        int32_t i = to;
        UChar32 c;
        U8_PREV(p, from, i, c);
        if (c < 0 || !IsUnicodeSpace(uint32_t(c))) break;
        to = i;
      }
    }
  } else {
    if (left) while (from < n && IsAsciiSpace(p[from])) ++from;
    if (right) while (to > from && IsAsciiSpace(p[to - 1])) --to;
  }
  if (from == 0 && to == n) return Same(s);
  return StringOpsClassic::Get().MidBytes(s, from + 1, to - from);
}

}  // namespace

TESSstring StringOpsClassic::UpperCase(TESSstring s) { return MapCase(s, CaseMode::kUpper); }
TESSstring StringOpsClassic::LowerCase(TESSstring s) { return MapCase(s, CaseMode::kLower); }
TESSstring StringOpsClassic::TitleCase(TESSstring s) { return MapCase(s, CaseMode::kTitle); }

TESSstring StringOpsClassic::Trim(TESSstring s, bool left, bool right) {
  if (!s) return nullptr;
  const uint32_t e = s->mEncoding;
  if (e == kEncodingUTF8 || e == kEncodingASCII || e == kEncodingUnknown || IsUtf16Encoding(e))
    return TrimUnicode(s, left, right);
  StringHolder utf8 = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  if (!utf8 || utf8.get()->mEncoding != kEncodingUTF8) return Same(s);
  StringHolder trimmed = StringHolder::Adopt(TrimUnicode(utf8.get(), left, right));
  if (trimmed.get() == utf8.get()) return Same(s);
  if (!trimmed) return nullptr;
  return ConvertString(trimmed.get(), e);
}

}  // namespace vela

using vela::StringOpsClassic;

VELA_EXPORT TESSstring StringUCase(TESSstring s) { return StringOpsClassic::Get().UpperCase(s); }
VELA_EXPORT TESSstring StringLCase(TESSstring s) { return StringOpsClassic::Get().LowerCase(s); }
VELA_EXPORT TESSstring StringTitleCase(TESSstring s) {
  return StringOpsClassic::Get().TitleCase(s);
}
VELA_EXPORT TESSstring runTrim(TESSstring s) { return StringOpsClassic::Get().Trim(s, true, true); }
VELA_EXPORT TESSstring runLTrim(TESSstring s) { return StringOpsClassic::Get().Trim(s, true, false); }
VELA_EXPORT TESSstring runRTrim(TESSstring s) { return StringOpsClassic::Get().Trim(s, false, true); }
