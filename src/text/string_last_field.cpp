// IsEmpty and LastField of the classic string functions.
#include "support/export.h"
#include "text/classic_search.h"
#include "text/encoding_convert.h"
#include "text/string_holder.h"
#include "text/string_ops_classic.h"
#include "text/string_record.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

// `s` as UTF-8 text: ASCII and UTF-8 as they are, other encodings converted.
// Nil when there is no text or no UTF-8 form.
StringHolder AsUtf8(TESSstring s) {
  if (!s) return {};
  if (s->mEncoding == kEncodingUTF8) return StringHolder(s);
  StringHolder converted = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  if (converted && converted.get()->mEncoding != kEncodingUTF8 &&
      converted.get()->mEncoding != kEncodingASCII)
    converted.Reset();
  return converted;
}

// The text behind the last case-insensitive occurrence of the separator,
// both taken in UTF-8. The last occurrence is the rightmost place where the
// separator begins, so occurrences may overlap ("aaa" by "aa" gives Nil).
TESSstring LastFieldUtf8(TESSstring s, TESSstring separator) {
  StringHolder text = AsUtf8(s);
  StringHolder sep = AsUtf8(separator);
  if (!text || !sep) return nullptr;
  const int64_t n = text.get()->mLength;
  const int64_t m = sep.get()->mLength;
  if (m == 0 || m > n) return nullptr;
  const PatternSearch search(text.get(), sep.get(), /*exact=*/false);
  int64_t last = -1;
  for (int64_t hit = search.Next(0); hit >= 0; hit = search.Next(hit + 1)) last = hit;
  if (last < 0) return nullptr;
  const int64_t behind = last + search.PatternLength();
  return StringOpsClassic::Get().MidBytes(text.get(), static_cast<int32_t>(behind + 1),
                                          static_cast<int32_t>(n - behind));
}

}  // namespace

}  // namespace vela

VELA_EXPORT VelaBoolean StringIsEmpty(TESSstring s) { return vela::StringOpsClassic::Get().IsEmpty(s); }

VELA_EXPORT TESSstring StringLastField(TESSstring s, TESSstring separator) {
  return vela::LastFieldUtf8(s, separator);
}
