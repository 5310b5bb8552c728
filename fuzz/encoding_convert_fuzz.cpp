// Converts random bytes between random pairs of encodings: the first two
// bytes pick the source and target, the rest is the text.
#include <cstddef>
#include <cstdint>

#include "text/code_page.h"
#include "text/encoding_convert.h"
#include "text/string_record.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<uint32_t> pages = [] {
    std::vector<uint32_t> all = vela::SupportedCodePages();
    all.push_back(vela::kCodePageEucJp);
    all.push_back(vela::kCodePageIso2022Jp);
    return all;
  }();
  if (size < 2) return 0;
  const uint32_t from = vela::EncodingFromCodePage(pages[data[0] % pages.size()]);
  const uint32_t to = vela::EncodingFromCodePage(pages[data[1] % pages.size()]);
  TESSstring source = vela::NewString(data + 2, int32_t(size - 2), from);
  TESSstring converted = vela::ConvertString(source, to);
  if (converted) vela::UnlockString(converted);
  vela::UnlockString(source);
  return 0;
}
