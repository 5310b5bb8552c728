// The classic substring, length and character-code operations, and the
// exports the language's Len, Left, Right, Mid, Asc and Chr call.
//
// Positions are 1-based. The character forms turn character positions into
// byte positions by the encoding's stepping rule and then cut with MidBytes,
// so every form returns Nil for an empty window and the argument itself
// (with one more reference) for the whole string.
#include <algorithm>
#include <atomic>


#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_chars.h"
#include "text/string_ops_classic.h"
#include "text/string_record.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

TESSstring Same(TESSstring s) {
  LockString(s);
  return s;
}

// The window [start, start + count) of the bytes, 1-based; 64-bit so that
// no combination of 32-bit arguments overflows.
TESSstring CutBytes(TESSstring s, int64_t start, int64_t count) {
  if (!s) return nullptr;
  const int64_t length = s->mLength;
  if (start < 1) {
    count = count - 1 + start;
    start = 1;
  }
  if (count < 1 || start > length) return nullptr;
  if (start == 1 && count >= length) return Same(s);
  const int64_t take = std::min(count, length - start + 1);
  return NewString(StringBytes(s) + (start - 1), int32_t(take), s->mEncoding);
}

CharRule ResolvedRule(TESSstring s) { return CharRuleFor(ResolveUnknownEncoding(s->mEncoding)); }


}  // namespace

int32_t StringOpsClassic::CharLength(TESSstring s) {
  if (!s) return 0;
  std::atomic_ref<int32_t> cached(s->mCharCount);
  if (int32_t n = cached.load(std::memory_order_relaxed)) return n;
  const int32_t n = int32_t(CountChars(CharRuleFor(s->mEncoding), StringBytes(s), s->mLength));
  cached.store(n, std::memory_order_relaxed);
  return n;
}

TESSstring StringOpsClassic::MidBytes(TESSstring s, int32_t start, int32_t count) {
  return CutBytes(s, start, count);
}

TESSstring StringOpsClassic::LeftBytes(TESSstring s, int32_t count) {
  return CutBytes(s, 1, count);
}

TESSstring StringOpsClassic::RightBytes(TESSstring s, int32_t count) {
  return CutBytes(s, int64_t(StringLength(s)) - count + 1, count);
}

TESSstring StringOpsClassic::MidToEndBytes(TESSstring s, int32_t start) {
  return CutBytes(s, start, int64_t(StringLength(s)) + 1 - start);
}

TESSstring StringOpsClassic::LeftChars(TESSstring s, int32_t count) {
  if (!s || count < 1) return nullptr;
  return CutBytes(s, 1, StepChars(ResolvedRule(s), StringBytes(s), s->mLength, 0, count));
}

TESSstring StringOpsClassic::RightChars(TESSstring s, int32_t count) {
  if (!s || count < 1) return nullptr;
  const int64_t from = StepCharsBack(ResolvedRule(s), StringBytes(s), s->mLength, count);
  return CutBytes(s, from + 1, s->mLength - from);
}

TESSstring StringOpsClassic::MidChars(TESSstring s, int32_t start, int32_t count) {
  if (!s || count < 1) return nullptr;
  int64_t first = start, n = count;
  if (first < 1) {
    n = n - 1 + first;
    first = 1;
  }
  if (n < 1) return nullptr;
  const CharRule rule = ResolvedRule(s);
  const int64_t from = StepChars(rule, StringBytes(s), s->mLength, 0, first - 1);
  if (from >= s->mLength) return nullptr;
  const int64_t to = StepChars(rule, StringBytes(s), s->mLength, from, n);
  return CutBytes(s, from + 1, to - from);
}

TESSstring StringOpsClassic::MidToEndChars(TESSstring s, int32_t start) {
  if (!s) return nullptr;
  if (start < 1) return Same(s);
  const int64_t from = StepChars(ResolvedRule(s), StringBytes(s), s->mLength, 0, int64_t(start) - 1);
  return CutBytes(s, from + 1, s->mLength - from);
}

int32_t StringOpsClassic::SnapToChar(TESSstring s, int32_t byteOffset) {
  if (!s) return 0;
  return int32_t(CharStartAt(ResolvedRule(s), StringBytes(s), s->mLength, byteOffset));
}

uint32_t StringOpsClassic::FirstCodePoint(TESSstring s) {
  if (!s || s->mLength == 0) return 0;
  return CharCodeAt(s->mEncoding, StringBytes(s), s->mLength, 0).code;
}

int32_t StringOpsClassic::FirstByte(TESSstring s) {
  return (s && s->mLength > 0) ? StringBytes(s)[0] : 0;
}

uint32_t StringOpsClassic::CodePointAt(TESSstring s, int32_t position) {
  TESSstring one = MidChars(s, position, 1);
  const uint32_t code = FirstCodePoint(one);
  UnlockString(one);
  return code;
}

TESSstring StringOpsClassic::FromByte(int32_t code) {
  const unsigned char byte = static_cast<unsigned char>(code);
  return NewString(&byte, 1, kEncodingUnknown);
}

TESSstring StringOpsClassic::FromCodePoint(int32_t code, uint32_t encoding) {
  if (code < 0 || code >= 0x200000) return nullptr;
  if (encoding == kEncodingUnknown) encoding = code < 0x80 ? kEncodingASCII : kEncodingUTF8;
  unsigned char bytes[4];
  int32_t n = 0;
  uint32_t made;
  if (code < 0x80) {
    bytes[n++] = static_cast<unsigned char>(code);
    made = kEncodingASCII;
  } else {
    // Written out by hand: the four-byte pattern reaches 0x1FFFFF, beyond
    // what the Unicode macros accept.
    const uint32_t c = uint32_t(code);
    if (c < 0x800) {
      bytes[n++] = static_cast<unsigned char>(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
      bytes[n++] = static_cast<unsigned char>(0xE0 | (c >> 12));
      bytes[n++] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
    } else {
      bytes[n++] = static_cast<unsigned char>(0xF0 | (c >> 18));
      bytes[n++] = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
      bytes[n++] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
    }
    bytes[n++] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    made = kEncodingUTF8;
  }
  TESSstring s = NewString(bytes, n, made);
  if (made == encoding) return s;
  TESSstring converted = ConvertString(s, encoding);
  UnlockString(s);
  return converted;
}

}  // namespace vela

using vela::StringOpsClassic;

VELA_EXPORT int32_t StringDBCSLen(TESSstring s) { return StringOpsClassic::Get().CharLength(s); }
VELA_EXPORT int32_t StringLen(TESSstring s) { return vela::StringLength(s); }

VELA_EXPORT TESSstring StringDBCSLeft(TESSstring s, int32_t count) {
  return StringOpsClassic::Get().LeftChars(s, count);
}
VELA_EXPORT TESSstring StringLeft(TESSstring s, int32_t count) {
  return vela::CutBytes(s, 1, count);
}
VELA_EXPORT TESSstring StringDBCSRight(TESSstring s, int32_t count) {
  return StringOpsClassic::Get().RightChars(s, count);
}
VELA_EXPORT TESSstring StringRight(TESSstring s, int32_t count) {
  return StringOpsClassic::Get().RightBytes(s, count);
}

VELA_EXPORT TESSstring StringDBCSMid2(TESSstring s, int32_t start) {
  return StringOpsClassic::Get().MidToEndChars(s, start);
}
VELA_EXPORT TESSstring StringDBCSMid3(TESSstring s, int32_t start, int32_t count) {
  if (count < 1) return nullptr;
  return StringOpsClassic::Get().MidChars(s, start, count);
}
VELA_EXPORT TESSstring StringMid2(TESSstring s, int32_t start) {
  return StringOpsClassic::Get().MidToEndBytes(s, start);
}
VELA_EXPORT TESSstring StringMid3(TESSstring s, int32_t start, int32_t count) {
  if (count < 1) return nullptr;
  return vela::CutBytes(s, start, count);
}

// The 0-based forms: the start moves up by one, then as Mid and MidB.
VELA_EXPORT TESSstring StringMiddle(TESSstring s, int32_t start) {
  return StringOpsClassic::Get().MidToEndChars(s, int32_t(std::min<int64_t>(int64_t(start) + 1, INT32_MAX)));
}
VELA_EXPORT TESSstring StringMiddleWithLength(TESSstring s, int32_t start, int32_t count) {
  return StringDBCSMid3(s, int32_t(std::min<int64_t>(int64_t(start) + 1, INT32_MAX)), count);
}
VELA_EXPORT TESSstring StringMiddleBytes(TESSstring s, int32_t start) {
  return vela::CutBytes(s, int64_t(start) + 1, int64_t(vela::StringLength(s)) - start);
}
VELA_EXPORT TESSstring StringMiddleBytesWithLength(TESSstring s, int32_t start, int32_t count) {
  if (count < 1) return nullptr;
  return vela::CutBytes(s, int64_t(start) + 1, count);
}

VELA_EXPORT uint32_t StringDBCSAsc(TESSstring s) {
  return StringOpsClassic::Get().FirstCodePoint(s);
}
VELA_EXPORT int32_t StringAsc(TESSstring s) { return StringOpsClassic::Get().FirstByte(s); }
VELA_EXPORT TESSstring StringDBCSChr(int32_t code) {
  return StringOpsClassic::Get().FromCodePoint(code, kEncodingUnknown);
}
VELA_EXPORT TESSstring StringChr(int32_t code) { return StringOpsClassic::Get().FromByte(code); }
