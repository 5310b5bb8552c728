// The classic conversion engine: every conversion goes from the source's
// code page to UTF-16 and from there to the target's, through the code-page
// layer. EUC-JP and ISO-2022-JP are transcoded to and from Shift-JIS first.
// The common pairs (a single-byte page to or from UTF-8, single-byte to
// UTF-16, UTF-8 to or from UTF-16) skip the pivot and write the result
// record directly; they give the same text as the pivot would.
// The engine never raises and reports nothing: it answers text, text with
// '?' or U+FFFD where characters could not be carried, or Nil.
#include "text/encoding_convert.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "text/code_page.h"
#include "text/encoding_japanese.h"
#include "text/string_record.h"

namespace vela {
namespace {

bool IsJapaneseMarker(uint32_t codePage) {
  return codePage == kCodePageEucJp || codePage == kCodePageIso2022Jp;
}

std::string FromShiftJis(uint32_t codePage, const unsigned char* bytes, size_t length) {
  return codePage == kCodePageEucJp ? ShiftJisToEucJp(bytes, length)
                                    : ShiftJisToIso2022Jp(bytes, length);
}

TESSstring MakeResult(const void* bytes, size_t length, uint32_t encoding) {
  if (length == 0 || length > size_t(INT32_MAX)) return nullptr;
  return NewString(bytes, int32_t(length), encoding);
}

unsigned char* RecordText(TESSstring s) { return s->mBuffer + 1; }

// A record of `guess` bytes that `fill(out, capacity)` writes; `fill` never
// writes more than `capacity` and answers the bytes the whole result needs.
// When the guess was off, the result moves to a record of the right size.
template <class Fill>
TESSstring FillResult(size_t guess, uint32_t encoding, Fill fill) {
  TESSstring s = guess > 0 && guess <= size_t(INT32_MAX)
                     ? NewString(nullptr, int32_t(guess), encoding)
                     : nullptr;
  const size_t capacity = s ? guess : 0;
  const size_t needed = fill(s ? RecordText(s) : nullptr, capacity);
  if (s && needed == capacity) return s;
  TESSstring exact = nullptr;
  if (needed < capacity) {
    exact = MakeResult(RecordText(s), needed, encoding);
  } else if (needed > 0 && needed <= size_t(INT32_MAX)) {
    exact = NewString(nullptr, int32_t(needed), encoding);
    if (exact && fill(RecordText(exact), needed) != needed) {
      UnlockStringRecord(exact);
      exact = nullptr;
    }
  }
  if (s) UnlockStringRecord(s);
  return exact;
}

// Counts, eight bytes at a time, the bytes that are not UTF-8 continuation
// bytes (10xxxxxx) and, when `fourByteLeads` is set, adds the leads of four-
// byte sequences (11110xxx and above) once more.
size_t CountUtf8(const unsigned char* bytes, size_t length, bool fourByteLeads) {
  constexpr uint64_t kHigh = 0x8080808080808080u;
  constexpr uint64_t kOnes = 0x0101010101010101u;
  // Adds up eight bytes of 0 or 1 that sit in the top bit of each byte.
  auto sum = [](uint64_t flags) { return size_t((((flags >> 7) * kOnes) >> 56)); };
  size_t count = 0;
  size_t i = 0;
  for (; i + 8 <= length; i += 8) {
    uint64_t w;
    std::memcpy(&w, bytes + i, 8);
    // Shifting left by k moves bit 7-k of every byte into its bit 7.
    count += 8 - sum(w & ~(w << 1) & kHigh);
    if (fourByteLeads) count += sum(w & (w << 1) & (w << 2) & (w << 3) & kHigh);
  }
  for (; i < length; ++i)
    count += ((bytes[i] & 0xC0) != 0x80) + (fourByteLeads && bytes[i] >= 0xF0);
  return count;
}

// Characters of well-formed UTF-8; malformed text may need more or fewer.
size_t Utf8CharacterGuess(const unsigned char* bytes, size_t length) {
  return CountUtf8(bytes, length, false);
}

// UTF-16 units of well-formed UTF-8: two for a character of four bytes.
size_t Utf16UnitGuess(const unsigned char* bytes, size_t length) {
  return CountUtf8(bytes, length, true);
}

// The common pairs without the pivot: false when the pair has none, and the
// caller goes through UTF-16.
bool ConvertDirect(const unsigned char* bytes, size_t length, uint32_t fromPage, uint32_t toPage,
                   uint32_t to, TESSstring& result) {
  if (!IsConvertibleLength(length)) return false;
  if (const SingleByteTable* table = SingleByteTableFor(fromPage)) {
    if (toPage == kCodePageUtf8) {
      const size_t size = SingleByteToUtf8Length(*table, bytes, length);
      result = MakeResult(nullptr, size, to);
      if (result)
        SingleByteToUtf8(*table, bytes, length, reinterpret_cast<char*>(RecordText(result)));
      return true;
    }
    if (toPage == kCodePageUtf16LE) {
      result = MakeResult(nullptr, length * 2, to);
      if (result)
        SingleByteToUtf16(*table, bytes, length, reinterpret_cast<char16_t*>(RecordText(result)));
      return true;
    }
    return false;
  }
  if (fromPage == kCodePageUtf8) {
    if (const SingleByteTable* table = SingleByteTableFor(toPage)) {
      result = FillResult(Utf8CharacterGuess(bytes, length), to,
                          [&](unsigned char* out, size_t capacity) {
                            return Utf8ToSingleByte(*table, bytes, length,
                                                    reinterpret_cast<char*>(out), capacity);
                          });
      return true;
    }
    if (toPage == kCodePageUtf16LE) {
      // Records keep their text on an even address: UTF-16 is written in place.
      result = FillResult(Utf16UnitGuess(bytes, length) * 2, to,
                          [&](unsigned char* out, size_t capacity) {
                            return 2 * Utf8ToUtf16(bytes, length,
                                                   reinterpret_cast<char16_t*>(out), capacity / 2);
                          });
      return true;
    }
    return false;
  }
  // UTF-16 is read in place when it is whole units on an even address; a
  // dangling half unit goes through the pivot.
  if (fromPage == kCodePageUtf16LE && toPage == kCodePageUtf8 && length % 2 == 0 &&
      reinterpret_cast<uintptr_t>(bytes) % alignof(char16_t) == 0) {
    const auto* units = reinterpret_cast<const char16_t*>(bytes);
    const size_t count = length / 2;
    result = FillResult(Utf16ToUtf8Length(units, count), to,
                        [&](unsigned char* out, size_t capacity) {
                          return Utf16ToUtf8(units, count, reinterpret_cast<char*>(out), capacity);
                        });
    return true;
  }
  return false;
}

TESSstring RunEngine(const unsigned char* bytes, size_t length, uint32_t from, uint32_t to) {
  uint32_t fromPage = CodePageFromEncoding(from == kEncodingUnknown ? kSystemEncoding : from);
  const uint32_t toPage = CodePageFromEncoding(to);
  if (!fromPage || !toPage || !IsValidCodePage(fromPage) || !IsValidCodePage(toPage))
    return nullptr;

  std::string transcoded;
  if (IsJapaneseMarker(fromPage)) {
    transcoded = fromPage == kCodePageEucJp ? EucJpToShiftJis(bytes, length)
                                            : Iso2022JpToShiftJis(bytes, length);
    bytes = reinterpret_cast<const unsigned char*>(transcoded.data());
    length = transcoded.size();
    fromPage = kCodePageShiftJis;
  }
  if (IsJapaneseMarker(toPage) && fromPage == kCodePageShiftJis) {
    const std::string out = FromShiftJis(toPage, bytes, length);
    return MakeResult(out.data(), out.size(), to);
  }

  if (!IsJapaneseMarker(toPage)) {
    TESSstring direct = nullptr;
    if (ConvertDirect(bytes, length, fromPage, toPage, to, direct)) return direct;
  }

  std::u16string pivot;
  if (!MultiByteToWide(fromPage, bytes, length, pivot) || pivot.empty()) return nullptr;
  if (toPage == kCodePageUtf16LE)  // the pivot is already the result
    return MakeResult(pivot.data(), pivot.size() * 2, to);

  const uint32_t encodePage = IsJapaneseMarker(toPage) ? kCodePageShiftJis : toPage;
  std::string out;
  if (!WideToMultiByte(encodePage, pivot.data(), pivot.size(), out)) return nullptr;
  if (IsJapaneseMarker(toPage)) {
    const std::string japanese =
        FromShiftJis(toPage, reinterpret_cast<const unsigned char*>(out.data()), out.size());
    return MakeResult(japanese.data(), japanese.size(), to);
  }
  return MakeResult(out.data(), out.size(), to);
}

}  // namespace

bool CanConvertEncoding(uint32_t encoding) {
  const uint32_t page = CodePageFromEncoding(encoding == kEncodingUnknown ? kSystemEncoding
                                                                          : encoding);
  return page && IsValidCodePage(page);
}

TESSstring ConvertBytes(const unsigned char* bytes, int32_t length, uint32_t from, uint32_t to) {
  if (!bytes || length <= 0) return nullptr;
  try {
    return RunEngine(bytes, size_t(length), from, to);
  } catch (const std::bad_alloc&) {
    return nullptr;
  } catch (const std::length_error&) {
    return nullptr;
  }
}

TESSstring ConvertString(TESSstring s, uint32_t targetEncoding) {
  if (!s) return nullptr;
  if (s->mEncoding == targetEncoding || targetEncoding == kEncodingUnknown) {
    LockStringRecord(s);
    return s;
  }
  // ASCII bytes mean the same in UTF-8 and in every byte-oriented encoding:
  // the text is re-tagged, not converted.
  if (s->mEncoding == kEncodingASCII &&
      (targetEncoding == kEncodingUTF8 ||
       (targetEncoding < 0x10000 && (targetEncoding < 0x100 || targetEncoding > 0x200))))
    return NewString(StringBytes(s), s->mLength, targetEncoding);
  return ConvertBytes(StringBytes(s), s->mLength, s->mEncoding, targetEncoding);
}

}  // namespace vela
