// Strings in fixed-size structure fields, and four-character codes.
#include <cstring>

#include "support/assert.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_copy.h"
#include "text/string_holder.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/TESSstring";

// Four question marks: the code of a string that has none.
constexpr uint32_t kUnknownCode = 0x3F3F3F3F;

void SetStructureField(void* base, intptr_t offset, int32_t size, TESSstring s,
                       uint32_t encoding) {
  if (size == 0) return;
  VELA_ASSERT(offset >= 0);
  VELA_ASSERT(base);
  if (offset < 0 || !base) return;
  CopyStringOut(s, static_cast<unsigned char*>(base) + offset, size, encoding);
}

}  // namespace
}  // namespace vela

// The field's bytes without its trailing zero bytes, as raw bytes.
VELA_EXPORT TESSstring RuntimeGetStructureString(const void* base, intptr_t offset, int32_t size) {
  if (!base || size <= 0) return nullptr;
  const auto* field = static_cast<const unsigned char*>(base) + offset;
  int32_t length = size;
  while (length > 0 && field[length - 1] == 0) --length;
  return vela::NewString(field, length, kEncodingUnknown);
}

VELA_EXPORT void RuntimeSetStructureString(void* base, intptr_t offset, int32_t size,
                                           TESSstring s) {
  vela::SetStructureField(base, offset, size, s, kEncodingUnknown);
}

VELA_EXPORT void RuntimeSetStructureWString(void* base, intptr_t offset, int32_t size,
                                            TESSstring s) {
  vela::SetStructureField(base, offset, size, s, kEncodingUTF16);
}

VELA_EXPORT TESSstring RuntimeGetStructureContents(const void* data, int32_t length) {
  if (!data || length <= 0) return nullptr;
  return vela::NewString(data, length, kEncodingUnknown);
}

// The four bytes, most significant first, as Mac Roman text.
VELA_EXPORT TESSstring StringFromOSType(uint32_t code) {
  const unsigned char bytes[4] = {static_cast<unsigned char>(code >> 24),
                                  static_cast<unsigned char>(code >> 16),
                                  static_cast<unsigned char>(code >> 8),
                                  static_cast<unsigned char>(code)};
  return vela::NewString(bytes, 4, kEncodingMacRoman);
}

// The first four bytes of the Mac Roman form, most significant first; short
// text is padded with zero bytes at the low end. Raw bytes and ASCII are
// taken as they are.
VELA_EXPORT uint32_t StringToOSType(TESSstring s) {
  if (!s) return vela::kUnknownCode;
  vela::StringHolder text(s);
  const uint32_t encoding = s->mEncoding;
  if (encoding != kEncodingUnknown && encoding != kEncodingMacRoman &&
      encoding != kEncodingASCII) {
    text.Reset(vela::ConvertString(s, kEncodingMacRoman));
    if (!text) return vela::kUnknownCode;
  }
  const unsigned char* bytes = vela::StringBytes(text.get());
  const int32_t length = text.get()->mLength;
  uint32_t code = 0;
  for (int32_t k = 0; k < 4; ++k) code = (code << 8) | (k < length ? bytes[k] : 0u);
  return code;
}
