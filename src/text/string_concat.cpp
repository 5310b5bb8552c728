// Common encodings and concatenation.
#include "text/string_concat.h"

#include <cstring>

#include "support/export.h"
#include "text/encoding_convert.h"

namespace vela {
namespace {

bool IsAsciiOrUtf8(uint32_t encoding) {
  return encoding == kEncodingASCII || encoding == kEncodingUTF8;
}

// Codes whose base (the low 16 bits; the Unicode forms keep their variant in
// the high bits) lies outside the Unicode range 0x100..0x1FF. ASCII text is
// valid as it stands in all of these (Mac scripts, ISO 8859, DOS and Windows
// code pages, and the rest), but not in UTF-16 or UTF-32 of any byte order.
bool OutsideUnicodeBase(uint32_t encoding) {
  uint32_t base = encoding & 0xFFFFu;
  return base < 0x100 || base >= 0x200;
}

// One record holding a's text and then b's, tagged `encoding`.
TESSstring JoinTexts(TESSstring a, TESSstring b, uint32_t encoding) {
  const int64_t lengthA = StringLength(a);
  const int64_t lengthB = StringLength(b);
  const int64_t total = lengthA + lengthB;
  if (total > INT32_MAX) return nullptr;  // as an allocation failure: Nil
  TESSstring result = NewString(nullptr, int32_t(total), encoding);
  if (!result) return nullptr;
  unsigned char* text = result->mBuffer + 1;
  if (lengthA) std::memcpy(text, StringBytes(a), size_t(lengthA));
  if (lengthB) std::memcpy(text + lengthA, StringBytes(b), size_t(lengthB));
  return result;
}

}  // namespace

uint32_t CombineEncodings(uint32_t a, uint32_t b, bool promote) {
  if (a == b) return a;
  if (IsAsciiOrUtf8(a)) {
    if (IsAsciiOrUtf8(b)) return kEncodingUTF8;
    if (a == kEncodingASCII && OutsideUnicodeBase(b)) return b;
  } else if (b == kEncodingASCII && OutsideUnicodeBase(a)) {
    return a;
  }
  if (!promote) return kEncodingUnknown;
  if ((a != kEncodingUTF16 && b != kEncodingUTF16) || a == kEncodingUTF8) return kEncodingUTF8;
  return b == kEncodingUTF8 ? kEncodingUTF8 : kEncodingUTF16;
}

uint32_t ReconcileStrings(StringHolder& first, StringHolder& second) {
  TESSstring s1 = first.get();
  TESSstring s2 = second.get();
  if (!s1) return s2 ? s2->mEncoding : kEncodingASCII;
  if (!s2 || s1->mEncoding == s2->mEncoding) return s1->mEncoding;

  const uint32_t e1 = s1->mEncoding;
  const uint32_t e2 = s2->mEncoding;
  if (e1 == kEncodingUnknown || e2 == kEncodingUnknown) return kEncodingUnknown;
  const uint32_t combined = CombineEncodings(e1, e2, false);
  if (combined != kEncodingUnknown) return combined;

  const bool toUtf16 =
      (e1 == kEncodingUTF16 && e2 != kEncodingUTF8) || (e2 == kEncodingUTF16 && e1 != kEncodingUTF8);
  const uint32_t target = toUtf16 ? kEncodingUTF16 : kEncodingUTF8;
  if (e1 != target) {
    TESSstring converted = ConvertString(s1, target);
    if (!converted) return kEncodingUnknown;
    first.Reset(converted);
  }
  if (e2 != target) {
    TESSstring converted = ConvertString(s2, target);
    if (!converted) return kEncodingUnknown;
    second.Reset(converted);
  }
  return target;
}

TESSstring ConcatStrings(TESSstring a, TESSstring b) {
  // No copy when one side is empty: the other is the result.
  if (StringLength(a) == 0) {
    LockString(b);
    return b;
  }
  if (StringLength(b) == 0) {
    LockStringRecord(a);
    return a;
  }
  if (a->mEncoding == b->mEncoding) return JoinTexts(a, b, a->mEncoding);

  StringHolder first(a);
  StringHolder second(b);
  const uint32_t encoding = ReconcileStrings(first, second);
  return JoinTexts(first.get(), second.get(), encoding);
}

}  // namespace vela

VELA_EXPORT TESSstring RuntimeAddString(TESSstring a, TESSstring b) {
  return vela::ConcatStrings(a, b);
}
