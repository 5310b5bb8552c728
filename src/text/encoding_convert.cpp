// The classic conversion engine: every conversion goes from the source's
// code page to UTF-16 and from there to the target's, through the code-page
// layer. EUC-JP and ISO-2022-JP are transcoded to and from Shift-JIS first.
// The engine never raises and reports nothing: it answers text, text with
// '?' or U+FFFD where characters could not be carried, or Nil.
#include "text/encoding_convert.h"

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
