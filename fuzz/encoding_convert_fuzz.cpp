// Converts random bytes between random pairs of encodings: the first two
// bytes pick the source and target, the rest is the text.
//
// Besides crashes and sanitizer reports, a run fails when the engine's
// answer differs from the plain route through a UTF-16 pivot, which the
// engine's direct paths for the common pairs must reproduce byte for byte.
// The text is converted once from inside its record (on an even address)
// and once from a copy on an odd address.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "text/code_page.h"
#include "text/encoding_convert.h"
#include "text/string_record.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

bool IsJapaneseMarker(uint32_t page) {
  return page == vela::kCodePageEucJp || page == vela::kCodePageIso2022Jp;
}

// The pivot route, for pairs without the Japanese transcoders: false when it
// gives no text.
bool ThroughPivot(const unsigned char* bytes, size_t length, uint32_t fromPage, uint32_t toPage,
                  std::string& out) {
  std::u16string pivot;
  if (!vela::MultiByteToWide(fromPage, bytes, length, pivot) || pivot.empty()) return false;
  if (toPage == vela::kCodePageUtf16LE) {
    out.assign(reinterpret_cast<const char*>(pivot.data()), pivot.size() * 2);
    return true;
  }
  return vela::WideToMultiByte(toPage, pivot.data(), pivot.size(), out) && !out.empty();
}

void CheckAgainstPivot(const unsigned char* bytes, size_t length, uint32_t fromPage,
                       uint32_t toPage) {
  const uint32_t from = vela::EncodingFromCodePage(fromPage);
  const uint32_t to = vela::EncodingFromCodePage(toPage);
  TESSstring converted = vela::ConvertBytes(bytes, int32_t(length), from, to);
  std::string expected;
  if (!ThroughPivot(bytes, length, fromPage, toPage, expected)) {
    Check(converted == nullptr);
    return;
  }
  Check(converted != nullptr);
  Check(converted->mEncoding == to);
  Check(size_t(converted->mLength) == expected.size());
  Check(std::memcmp(vela::StringBytes(converted), expected.data(), expected.size()) == 0);
  vela::UnlockString(converted);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<uint32_t> pages = [] {
    std::vector<uint32_t> all = vela::SupportedCodePages();
    all.push_back(vela::kCodePageEucJp);
    all.push_back(vela::kCodePageIso2022Jp);
    return all;
  }();
  if (size < 2) return 0;
  const uint32_t fromPage = pages[data[0] % pages.size()];
  const uint32_t toPage = pages[data[1] % pages.size()];
  const uint32_t from = vela::EncodingFromCodePage(fromPage);
  const uint32_t to = vela::EncodingFromCodePage(toPage);
  TESSstring source = vela::NewString(data + 2, int32_t(size - 2), from);
  TESSstring converted = vela::ConvertString(source, to);
  if (converted) vela::UnlockString(converted);
  if (source && !IsJapaneseMarker(fromPage) && !IsJapaneseMarker(toPage)) {
    CheckAgainstPivot(vela::StringBytes(source), size - 2, fromPage, toPage);
    std::vector<unsigned char> shifted(size - 1);
    std::memcpy(shifted.data() + 1, data + 2, size - 2);
    CheckAgainstPivot(shifted.data() + 1, size - 2, fromPage, toPage);
  }
  vela::UnlockString(source);
  return 0;
}
