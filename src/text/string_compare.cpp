// Text comparison of strings, and the two comparison exports.
#include "text/string_compare.h"

#include <unicode/ucol.h>
#include <unicode/utf8.h>

#include "support/assert.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/simple_case.h"
#include "text/string_concat.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/TESSstring";

int32_t OrderOfLengths(int32_t a, int32_t b) { return a == b ? 0 : (a < b ? -1 : 1); }

// One code point of UTF-8 text at `i`, which moves past it. A byte that does
// not start a well-formed sequence stands for itself as U+DC80..U+DCFF, so
// that distinct bytes stay distinct and never fold.
uint32_t NextCodePoint(const unsigned char* text, int32_t& i, int32_t length) {
  const unsigned char lead = text[i];
  if (lead < 0x80) {
    ++i;
    return lead;
  }
  const int32_t start = i;
  UChar32 c;
  U8_NEXT(text, i, length, c);
  if (c < 0) {
    i = start + 1;
    return 0xDC00u | lead;
  }
  return uint32_t(c);
}

// Code points in step; at a difference, folded case decides when `fold` is
// set. Once one side runs out, fewer bytes is less.
int32_t CompareUtf8(TESSstring a, TESSstring b, bool fold) {
  const unsigned char* textA = StringBytes(a);
  const unsigned char* textB = StringBytes(b);
  const int32_t lengthA = a->mLength;
  const int32_t lengthB = b->mLength;
  int32_t i = 0;
  int32_t j = 0;
  while (i < lengthA && j < lengthB) {
    uint32_t ca = NextCodePoint(textA, i, lengthA);
    uint32_t cb = NextCodePoint(textB, j, lengthB);
    if (ca == cb) continue;
    if (fold) {
      ca = SimpleUpperCase(ca);
      cb = SimpleUpperCase(cb);
      if (ca == cb) continue;
    }
    return ca < cb ? -1 : 1;
  }
  return OrderOfLengths(lengthA, lengthB);
}

// The same on 16-bit units in host order, surrogates taken one by one. A
// dangling last byte reads as a unit with a zero high byte (the terminator
// bytes follow it).
int32_t CompareUtf16(TESSstring a, TESSstring b, bool fold) {
  const unsigned char* textA = StringBytes(a);
  const unsigned char* textB = StringBytes(b);
  const int32_t unitsA = int32_t((int64_t(a->mLength) + 1) / 2);
  const int32_t unitsB = int32_t((int64_t(b->mLength) + 1) / 2);
  const int32_t common = unitsA < unitsB ? unitsA : unitsB;
  for (int32_t k = 0; k < common; ++k) {
    uint16_t ua;
    uint16_t ub;
    std::memcpy(&ua, textA + 2 * k, 2);
    std::memcpy(&ub, textB + 2 * k, 2);
    if (ua == ub) continue;
    uint32_t ca = ua;
    uint32_t cb = ub;
    if (fold) {
      ca = SimpleUpperCase(ca);
      cb = SimpleUpperCase(cb);
      if (ca == cb) continue;
    }
    return ca < cb ? -1 : 1;
  }
  return OrderOfLengths(unitsA, unitsB);
}

UCollator* OpenRootCollator(UCollationStrength strength) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* collator = ucol_open("", &status);
  if (U_FAILURE(status)) return nullptr;
  ucol_setStrength(collator, strength);
  return collator;
}

// Two process-wide root collators, set up once and never changed again, so
// that comparing through them from several threads is safe. Case is a
// tertiary difference: folding compares at secondary strength.
UCollator* RootCollator(bool fold) {
  static UCollator* const tertiary = OpenRootCollator(UCOL_TERTIARY);
  static UCollator* const secondary = OpenRootCollator(UCOL_SECONDARY);
  return fold ? secondary : tertiary;
}

// Collation of the UTF-16 forms; on equal, fewer units is less. Text that
// cannot be brought to UTF-16 is ordered by its bytes.
int32_t CompareByCollation(TESSstring a, TESSstring b, bool fold) {
  StringHolder wideA = StringHolder::Adopt(ConvertString(a, kEncodingUTF16));
  StringHolder wideB = StringHolder::Adopt(ConvertString(b, kEncodingUTF16));
  UCollator* collator = RootCollator(fold);
  VELA_ASSERT(collator != nullptr);
  if (!wideA || !wideB || !collator) return CompareStringBytes(a, b);

  const int32_t unitsA = wideA.get()->mLength / 2;
  const int32_t unitsB = wideB.get()->mLength / 2;
  const UChar* textA = reinterpret_cast<const UChar*>(StringBytes(wideA.get()));
  const UChar* textB = reinterpret_cast<const UChar*>(StringBytes(wideB.get()));
  switch (ucol_strcoll(collator, textA, unitsA, textB, unitsB)) {
    case UCOL_LESS: return -1;
    case UCOL_GREATER: return 1;
    case UCOL_EQUAL: break;
  }
  return OrderOfLengths(unitsA, unitsB);
}

int32_t CompareReconciled(TESSstring a, TESSstring b, uint32_t encoding, bool fold) {
  if (encoding == kEncodingUTF8 || encoding == kEncodingASCII) return CompareUtf8(a, b, fold);
  if (encoding == kEncodingUTF16) return CompareUtf16(a, b, fold);
  if (const ScriptTable* table = FindScriptTable(encoding))
    return CompareThroughTable(StringBytes(a), a->mLength, StringBytes(b), b->mLength, *table,
                               fold);
  return CompareByCollation(a, b, fold);
}

}  // namespace

int32_t CompareThroughTable(const unsigned char* a, int32_t lengthA, const unsigned char* b,
                            int32_t lengthB, const ScriptTable& table, bool fold) {
  const int32_t common = lengthA < lengthB ? lengthA : lengthB;
  for (int32_t k = 0; k < common; ++k) {
    unsigned char ca = a[k];
    unsigned char cb = b[k];
    if (fold) {
      ca = table.upper[ca];
      cb = table.upper[cb];
    }
    const unsigned char wa = table.weight[ca];
    const unsigned char wb = table.weight[cb];
    if (wa != wb) return wa < wb ? -1 : 1;
  }
  return OrderOfLengths(lengthA, lengthB);
}

int32_t CompareStringText(TESSstring a, TESSstring b, bool fold) {
  if (a == b) return 0;
  if (!a) return -1;
  if (!b) return 1;
  // Same encoding: nothing to convert, and the caller holds both.
  if (a->mEncoding == b->mEncoding) return CompareReconciled(a, b, a->mEncoding, fold);

  StringHolder first(a);
  StringHolder second(b);
  const uint32_t encoding = ReconcileStrings(first, second);
  return CompareReconciled(first.get(), second.get(), encoding, fold);
}

}  // namespace vela

// The language's =, < and > on strings: without regard to case.
VELA_EXPORT int32_t RuntimeStringCompare(TESSstring a, TESSstring b) {
  return vela::CompareStringText(a, b, true);
}

// StrComp: mode 0 compares bytes, any other mode text with case.
VELA_EXPORT int32_t StringStrCompare(TESSstring a, TESSstring b, int32_t mode) {
  return mode == 0 ? vela::CompareStringBytes(a, b) : vela::CompareStringText(a, b, false);
}
