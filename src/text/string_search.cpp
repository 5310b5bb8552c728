// The classic searches: FindBytes (InStrB, exact) and FindChars (InStr,
// case-insensitive by simple upper-case mapping, positions in characters of
// the string's encoding), and their exports; the byte-offset searches of
// the field functions (classic_search.h) and the case rows of single-byte
// pages.
#include <algorithm>
#include <cstring>
#include <string>

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

// 0-based index of the first occurrence of `pat` in `text` at or after
// `from`, or -1. Requires 0 < m. The C library's memmem does the work; on
// long texts it is about three times faster than a byte-wise shift-table
// loop (bench/classic_string_bench.cpp measures both side by side).
int64_t SearchBytes(const unsigned char* text, int64_t n, const unsigned char* pat, int64_t m,
                    int64_t from) {
  if (from < 0) from = 0;
  if (from > n || n - from < m) return -1;
  const void* hit = memmem(text + from, size_t(n - from), pat, size_t(m));
  return hit ? static_cast<const unsigned char*>(hit) - text : -1;
}

// One UTF-8 character at `i`: a lead byte and the continuation bytes behind
// it, stepped as CharLength counts. A malformed lead gives its byte value.
uint32_t DecodeUtf8(const unsigned char* p, int64_t n, int64_t& i) {
  const unsigned char lead = p[i++];
  int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
  uint32_t c = extra ? (lead & (0x3F >> extra)) : lead;
  int got = 0;
  while (i < n && (p[i] & 0xC0) == 0x80) {
    c = (c << 6) | (p[i++] & 0x3F);
    ++got;
  }
  if (lead >= 0xF8 || (lead & 0xC0) == 0x80 || got != extra) return lead;
  return c;
}

// True when the pattern's characters from byte `b` on match the text's from
// byte `a` on, folded.
bool RestMatchesUtf8(const unsigned char* text, int64_t n, int64_t a, const unsigned char* pat,
                     int64_t m, int64_t b) {
  while (b < m) {
    if (a >= n) return false;
    if (SimpleUpperCase(DecodeUtf8(text, n, a)) != SimpleUpperCase(DecodeUtf8(pat, m, b)))
      return false;
  }
  return true;
}

// ASCII or UTF-8 text: positions in code points.
int32_t FindUtf8(TESSstring s, TESSstring find, int64_t start) {
  StringHolder converted;
  if (find->mEncoding != kEncodingUTF8 && find->mEncoding != kEncodingASCII) {
    converted = StringHolder::Adopt(ConvertString(find, kEncodingUTF8));
    if (!converted || converted.get()->mEncoding != kEncodingUTF8) return 0;
    find = converted.get();
  }
  const unsigned char* text = StringBytes(s);
  const int64_t n = s->mLength;
  const unsigned char* pat = StringBytes(find);
  const int64_t m = find->mLength;
  int64_t firstEnd = 0;
  const uint32_t first = SimpleUpperCase(DecodeUtf8(pat, m, firstEnd));
  int64_t i = StepChars({CharForm::kUtf8, nullptr}, text, n, 0, start - 1);
  for (int64_t position = start; i < n; ++position) {
    if (SimpleUpperCase(DecodeUtf8(text, n, i)) == first &&
        RestMatchesUtf8(text, n, i, pat, m, firstEnd))
      return int32_t(position);
  }
  return 0;
}

uint16_t ReadUnit16(const unsigned char* p, bool bigEndian) {
  return bigEndian ? uint16_t(p[0] << 8 | p[1]) : uint16_t(p[1] << 8 | p[0]);
}

// UTF-16 text: positions in 16-bit units, compared folded one by one.
int32_t FindUtf16(TESSstring s, TESSstring find, int64_t start) {
  StringHolder converted;
  if (find->mEncoding != s->mEncoding) {
    converted = StringHolder::Adopt(ConvertString(find, s->mEncoding));
    if (!converted || converted.get()->mEncoding != s->mEncoding) return 0;
    find = converted.get();
  }
  const bool big = s->mEncoding == kEncodingUTF16BE;
  const unsigned char* text = StringBytes(s);
  const unsigned char* pat = StringBytes(find);
  const int64_t n = s->mLength / 2;
  const int64_t m = find->mLength / 2;
  if (m == 0) return int32_t(start);
  for (int64_t i = start - 1; i + m <= n; ++i) {
    int64_t k = 0;
    while (k < m && SimpleUpperCase(ReadUnit16(text + 2 * (i + k), big)) ==
                        SimpleUpperCase(ReadUnit16(pat + 2 * k, big)))
      ++k;
    if (k == m) return int32_t(i + 1);
  }
  return 0;
}

// An upper-cased copy of double-byte text, made through UTF-16: each unit
// to its simple upper case, then back to the text's encoding. When no
// round trip can be made the text is searched as it is.
StringHolder UpperCopy(TESSstring s) {
  StringHolder wide = StringHolder::Adopt(ConvertString(s, kEncodingUTF16));
  if (wide && wide.get()->mEncoding == kEncodingUTF16) {
    std::u16string units(size_t(wide.get()->mLength) / 2, u'\0');
    std::memcpy(units.data(), StringBytes(wide.get()), units.size() * 2);
    for (char16_t& u : units) u = char16_t(SimpleUpperCase(u));
    StringHolder upper = StringHolder::Adopt(
        NewString(units.data(), int32_t(units.size() * 2), kEncodingUTF16));
    StringHolder back = StringHolder::Adopt(ConvertString(upper.get(), s->mEncoding));
    if (back && back.get()->mEncoding == s->mEncoding) return back;
  }
  LockString(s);
  return StringHolder::Adopt(s);
}

// Double-byte text: both sides upper-cased, then compared byte for byte at
// character starts only, so that a trail byte never begins a match.
// Positions in bytes.
int32_t FindLeadByte(TESSstring s, TESSstring find, int64_t start) {
  const LeadByteSet& leads = *LeadByteSetFor(s->mEncoding);
  StringHolder text = UpperCopy(s);
  StringHolder pat = UpperCopy(find);
  const unsigned char* t = StringBytes(text.get());
  const int64_t n = StringLength(text.get());
  const int64_t m = StringLength(pat.get());
  if (m == 0) return 0;
  for (int64_t i = 0; i + m <= n; i += (leads.Has(t[i]) && i + 1 < n) ? 2 : 1) {
    if (i >= start - 1 && std::memcmp(t + i, StringBytes(pat.get()), size_t(m)) == 0)
      return int32_t(i + 1);
  }
  return 0;
}

// Single-byte text (and raw bytes): positions in bytes, compared through
// the page's upper-case row.
int32_t FindSingleByte(TESSstring s, TESSstring find, int64_t start) {
  const unsigned char* row = CaseRowFor(s->mEncoding, true);
  const unsigned char* text = StringBytes(s);
  const unsigned char* pat = StringBytes(find);
  const int64_t n = s->mLength;
  const int64_t m = find->mLength;
  for (int64_t i = start - 1; i + m <= n; ++i) {
    int64_t k = 0;
    while (k < m && row[text[i + k]] == row[pat[k]]) ++k;
    if (k == m) return int32_t(i + 1);
  }
  return 0;
}

}  // namespace

// The page's table, the system encoding's for raw bytes, and the ASCII
// table where neither has one.
const unsigned char* CaseRowFor(uint32_t encoding, bool upper) {
  const ScriptTable* table = FindScriptTable(ResolveUnknownEncoding(encoding));
  if (!table) table = FindScriptTable(kEncodingASCII);
  return upper ? table->upper : table->lower;
}

PatternSearch::PatternSearch(TESSstring text, TESSstring pattern, bool exact)
    : mText(text), mPattern(pattern), mPatternLength(StringLength(pattern)) {
  const uint32_t e = text->mEncoding;
  if (exact) {
    mMode = Mode::kExact;
  } else if (e == kEncodingUTF8 || e == kEncodingASCII) {
    mMode = Mode::kUtf8;
  } else if (IsUtf16Encoding(e)) {
    mMode = Mode::kUtf16;
  } else if (LeadByteSetFor(e)) {
    mMode = Mode::kLeadByte;
    mUpperText = UpperCopy(text);
    mUpperPattern = UpperCopy(pattern);
    // Upper-casing keeps each character's size in these pages; where it
    // did not, the exact bytes are searched.
    if (StringLength(mUpperText.get()) != text->mLength ||
        StringLength(mUpperPattern.get()) != mPatternLength) {
      mUpperText = StringHolder(text);
      mUpperPattern = StringHolder(pattern);
    }
  } else {
    mMode = Mode::kSingleByte;
    mRow = CaseRowFor(e, true);
  }
}

int64_t PatternSearch::Next(int64_t from) const {
  const unsigned char* t = StringBytes(mText);
  const unsigned char* p = StringBytes(mPattern);
  const int64_t n = mText->mLength;
  const int64_t m = mPatternLength;
  if (m == 0 || from < 0) return -1;
  switch (mMode) {
    case Mode::kExact:
      return SearchBytes(t, n, p, m, from);
    case Mode::kUtf8: {
      int64_t firstEnd = 0;
      const uint32_t first = SimpleUpperCase(DecodeUtf8(p, m, firstEnd));
      int64_t i = CharStartAt({CharForm::kUtf8, nullptr}, t, n, from);
      if (i < from) i = StepChars({CharForm::kUtf8, nullptr}, t, n, i, 1);
      while (i < n) {
        const int64_t at = i;
        if (SimpleUpperCase(DecodeUtf8(t, n, i)) == first && RestMatchesUtf8(t, n, i, p, m, firstEnd))
          return at;
      }
      return -1;
    }
    case Mode::kUtf16: {
      const bool big = mText->mEncoding == kEncodingUTF16BE;
      for (int64_t i = (from + 1) & ~int64_t(1); i + m <= n; i += 2) {
        int64_t k = 0;
        while (k < m && SimpleUpperCase(ReadUnit16(t + i + k, big)) ==
                            SimpleUpperCase(ReadUnit16(p + k, big)))
          k += 2;
        if (k >= m) return i;
      }
      return -1;
    }
    case Mode::kLeadByte: {
      const LeadByteSet& leads = *LeadByteSetFor(mText->mEncoding);
      const unsigned char* ut = StringBytes(mUpperText.get());
      const unsigned char* up = StringBytes(mUpperPattern.get());
      for (int64_t i = 0; i + m <= n; i += (leads.Has(ut[i]) && i + 1 < n) ? 2 : 1)
        if (i >= from && std::memcmp(ut + i, up, size_t(m)) == 0) return i;
      return -1;
    }
    case Mode::kSingleByte:
      for (int64_t i = from; i + m <= n; ++i) {
        int64_t k = 0;
        while (k < m && mRow[t[i + k]] == mRow[p[k]]) ++k;
        if (k == m) return i;
      }
      return -1;
  }
  return -1;
}

bool HasNoCase(TESSstring separator) {
  const uint32_t e = separator->mEncoding;
  const unsigned char* p = StringBytes(separator);
  const int64_t m = StringLength(separator);
  if (e == kEncodingUTF8 || e == kEncodingASCII) {
    for (int64_t i = 0; i < m;) {
      const uint32_t c = DecodeUtf8(p, m, i);
      if (SimpleUpperCase(c) != c || SimpleLowerCase(c) != c) return false;
    }
    return true;
  }
  if (IsUtf16Encoding(e) || LeadByteSetFor(e)) return false;
  const unsigned char* upper = CaseRowFor(e, true);
  const unsigned char* lower = CaseRowFor(e, false);
  for (int64_t i = 0; i < m; ++i)
    if (upper[p[i]] != p[i] || lower[p[i]] != p[i]) return false;
  return true;
}

int32_t StringOpsClassic::FindBytes(TESSstring s, TESSstring find, int32_t start) {
  if (StringLength(s) == 0) return 0;
  if (StringLength(find) == 0) return start;
  const int64_t from = std::max<int64_t>(start, 1) - 1;
  const int64_t hit = SearchBytes(StringBytes(s), s->mLength, StringBytes(find), find->mLength, from);
  return hit < 0 ? 0 : int32_t(hit + 1);
}

int32_t StringOpsClassic::FindChars(TESSstring s, TESSstring find, int32_t start) {
  if (StringLength(s) == 0) return 0;
  if (StringLength(find) == 0) return start;
  const int64_t first = std::max<int32_t>(start, 1);
  const uint32_t encoding = s->mEncoding;
  if (encoding == kEncodingASCII || encoding == kEncodingUTF8) return FindUtf8(s, find, first);
  if (IsUtf16Encoding(encoding)) return FindUtf16(s, find, first);
  StringHolder converted;
  if (encoding != kEncodingUnknown && find->mEncoding != kEncodingUnknown &&
      find->mEncoding != encoding) {
    converted = StringHolder::Adopt(ConvertString(find, encoding));
    if (!converted || converted.get()->mEncoding != encoding) return 0;
    find = converted.get();
  }
  if (LeadByteSetFor(encoding)) return FindLeadByte(s, find, first);
  return FindSingleByte(s, find, first);
}

}  // namespace vela

using vela::StringOpsClassic;

VELA_EXPORT int32_t StringInStr(int32_t start, TESSstring source, TESSstring find) {
  return StringOpsClassic::Get().FindChars(source, find, start);
}
VELA_EXPORT int32_t StringDBCSInStr(int32_t start, TESSstring source, TESSstring find) {
  return StringOpsClassic::Get().FindChars(source, find, start);
}
VELA_EXPORT int32_t StringExtendsInStr(TESSstring source, int32_t start, TESSstring find) {
  return StringOpsClassic::Get().FindChars(source, find, start);
}
VELA_EXPORT int32_t StringInStrB(int32_t start, TESSstring source, TESSstring find) {
  return StringOpsClassic::Get().FindBytes(source, find, start);
}
VELA_EXPORT int32_t StringExtendsInStrB(TESSstring source, int32_t start, TESSstring find) {
  return StringOpsClassic::Get().FindBytes(source, find, start);
}
// 0-based: the start moves up by one and the result down by one, so that
// "not found" is -1.
VELA_EXPORT int32_t StringIndexOfBytes(TESSstring s, int32_t start, TESSstring find) {
  const int32_t oneBased = start == INT32_MAX ? INT32_MAX : start + 1;
  return StringOpsClassic::Get().FindBytes(s, find, oneBased) - 1;
}
