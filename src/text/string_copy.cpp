// Copy-out of string text into fixed-size buffers.
#include "text/string_copy.h"

#include <cstring>

#include "text/encoding_convert.h"
#include "text/string_holder.h"

namespace vela {
namespace {

void ZeroFill(void* destination, int32_t size) {
  if (destination && size > 0) std::memset(destination, 0, size_t(size));
}

}  // namespace

int32_t CopyStringOut(TESSstring s, void* destination, int32_t size, uint32_t encoding) {
  if (StringLength(s) == 0) {
    ZeroFill(destination, size);
    return 0;
  }
  StringHolder text(s);
  if (encoding != kEncodingUnknown && encoding != s->mEncoding) {
    text.Reset(ConvertString(s, encoding));
    if (!text) {
      ZeroFill(destination, size);
      return 0;
    }
  }
  const int32_t length = text.get()->mLength;
  if (!destination) return length;
  if (size <= 0) return 0;
  if (length >= size) {
    std::memcpy(destination, StringBytes(text.get()), size_t(size));
    return size;
  }
  std::memcpy(destination, StringBytes(text.get()), size_t(length));
  std::memset(static_cast<unsigned char*>(destination) + length, 0, size_t(size - length));
  return length;
}

const char* StringContentsIfEncoded(TESSstring s, uint32_t encoding, int32_t* outLength) {
  const bool fits = s && s->mEncoding == encoding;
  if (outLength) *outLength = fits ? s->mLength : 0;
  return fits ? StringText(s) : nullptr;
}

}  // namespace vela
