// Making Auto words: the small kinds inline, Strings and Texts as tagged
// pointers when their records are 8-byte aligned, objects as themselves,
// everything else in a box.
#include <cstdlib>
#include <cstring>

#include "dynamic/auto_word.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_bridges.h"
#include "text/text_value.h"
#include "vela/auto.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "RuntimeCore/RuntimeAuto";

template <typename Fill>
VelaAutoWord Box(int32_t type, Fill fill) {
  AutoBox* box = NewAutoBox(type);
  if (!box) return 0;
  fill(*box);
  return reinterpret_cast<VelaAutoWord>(box);
}

VelaAutoWord BoxSigned(int32_t type, int64_t value) {
  return Box(type, [&](AutoBox& b) { b.u.i = value; });
}
VelaAutoWord BoxUnsigned(int32_t type, uint64_t value) {
  return Box(type, [&](AutoBox& b) { b.u.u = value; });
}
VelaAutoWord BoxPointer(int32_t type, void* value) {
  return Box(type, [&](AutoBox& b) { b.u.p = value; });
}

bool Aligned(const void* record) { return (reinterpret_cast<uintptr_t>(record) & 7) == 0; }

// A registered heap copy of raw text of `bytes` bytes; when the copy fails,
// a copy of the empty text of that family stands in.
void* RegisteredCopy(RawTextKind kind, const void* text, size_t bytes, size_t emptyBytes) {
  void* copy = std::malloc(bytes);
  if (copy) std::memcpy(copy, text, bytes);
  if (!copy) copy = std::calloc(1, emptyBytes);
  if (copy && !RegisterRawText(kind, copy)) copy = nullptr;
  return copy;
}

size_t WideLength(const uint16_t* text) {
  size_t n = 0;
  while (text[n]) ++n;
  return n;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromInt8(int8_t v) { return TagSmall(uint32_t(uint8_t(v)) << 24, kTagInt8); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromInt16(int16_t v) { return TagSmall(uint32_t(uint16_t(v)) << 16, kTagInt16); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromUInt8(uint8_t v) { return TagSmall(uint32_t(v) << 24, kTagUInt8); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromUInt16(uint16_t v) { return TagSmall(uint32_t(v) << 16, kTagUInt16); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromBoolean(VelaBoolean v) { return TagSmall(v ? 0x01000000u : 0u, kTagBoolean); }

// Inline from -2^29 to 2^29 - 1: the word is the 32-bit value × 4 + 1.
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromInt32(int32_t v) {
  if (uint32_t(v) + 0x20000000u < 0x40000000u) return AutoWordValue(uint32_t(v) * 4u + 1u);
  return BoxSigned(kAutoInt32, v);
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromUInt32(uint32_t v) {
  return v == 0 ? AutoWordValue(2) : BoxUnsigned(kAutoUInt32, v);
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromColor(uint32_t v) {
  if ((v >> 24) == 0) return TagSmall(v << 8, kTagColor);
  return BoxUnsigned(kAutoColor, v);
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromInt64(int64_t v) { return BoxSigned(kAutoInt64, v); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromUInt64(uint64_t v) { return BoxUnsigned(kAutoUInt64, v); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromCurrency(VelaCurrency v) { return BoxSigned(kAutoCurrency, v); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromOSType(uint32_t v) { return BoxUnsigned(kAutoOSType, v); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromPtr(void* v) { return BoxPointer(kAutoPtr, v); }
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromWindowPtr(void* v) { return BoxPointer(kAutoWindowPtr, v); }

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromSingle(float v) {
  return Box(kAutoSingle, [&](AutoBox& b) { b.u.f = v; });
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromDouble(double v) {
  return Box(kAutoDouble, [&](AutoBox& b) { b.u.d = v; });
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromString(TESSstring s) {
  RuntimeLockString(s);
  if (Aligned(s)) return reinterpret_cast<AutoWordValue>(s) + kAutoStringTag;
  return Box(kAutoString, [&](AutoBox& b) { b.u.string = s; });
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromText(TextValue t) {
  LockText(t);
  if (Aligned(t)) return reinterpret_cast<AutoWordValue>(t) + kAutoTextTag;
  return Box(kAutoText, [&](AutoBox& b) { b.u.text = t; });
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromObject(RuntimeObject* object) {
  VELA_ASSERT_TEXT((reinterpret_cast<uintptr_t>(object) % 8) == 0,
                   "(reinterpret_cast<uintptr_t>(value) % 8) == 0");
  RuntimeLockObject(object);
  return reinterpret_cast<AutoWordValue>(object);
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromCString(const char* text) {
  void* copy = text ? RegisteredCopy(RawTextKind::kC, text, std::strlen(text) + 1, 1) : nullptr;
  return BoxPointer(kAutoCString, copy);
}

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromWString(const uint16_t* text) {
  void* copy = text ? RegisteredCopy(RawTextKind::kWide, text, (WideLength(text) + 1) * 2, 2)
                    : nullptr;
  return BoxPointer(kAutoWString, copy);
}

// A Pascal string: a length byte and that many bytes.
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromPString(const unsigned char* text) {
  void* copy = text ? RegisteredCopy(RawTextKind::kPascal, text, size_t(text[0]) + 1, 1) : nullptr;
  return BoxPointer(kAutoPString, copy);
}

// No CFString exists on this platform: no Auto of that type comes to be.
VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromCFString(void*) { return 0; }

VELA_EXPORT VelaAutoWord RuntimeCreateAutoFromStruct(int32_t size, const void* data, const char* name) {
  return Box(kAutoStructure, [&](AutoBox& b) {
    b.u.structValue.name = strdup(name ? name : "");
    b.u.structValue.size = size > 0 ? size : 0;
    if (size > 0 && data) {
      b.u.structValue.data = std::malloc(size_t(size));
      if (b.u.structValue.data) std::memcpy(b.u.structValue.data, data, size_t(size));
    }
  });
}
