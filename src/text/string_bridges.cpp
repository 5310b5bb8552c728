// Bridges between strings and raw C, Pascal and wide (16-bit) text.
#include "text/string_bridges.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <new>

#include "support/assert.h"
#include "support/export.h"
#include "text/string_copy.h"
#include "text/string_record.h"

namespace {
constexpr const char* kReportPath = "Universal/TESSstring";
}  // namespace

namespace vela {
namespace {

// What Nil gives: constants that are never registered, so that locking and
// unlocking them does nothing.
const char kEmptyCString[1] = {0};
const unsigned char kEmptyPString[1] = {0};
// Given only when a wide copy cannot be made.
const uint16_t kEmptyWString[1] = {0};

using LockMap = std::map<const void*, int32_t>;

// Built in static storage on first use (an empty map allocates nothing, so
// this cannot throw out of an export) and never destroyed, so that blocks
// released during process exit still find their map.
template <RawTextKind kKind>
LockMap& MapFor() {
  alignas(LockMap) static unsigned char sStorage[sizeof(LockMap)];
  static LockMap* const sMap = ::new (sStorage) LockMap();
  return *sMap;
}

LockMap& MapOf(RawTextKind kind) {
  switch (kind) {
    case RawTextKind::kC: return MapFor<RawTextKind::kC>();
    case RawTextKind::kPascal: return MapFor<RawTextKind::kPascal>();
    case RawTextKind::kWide: break;
  }
  return MapFor<RawTextKind::kWide>();
}

// Registers a fresh block with the count 1; on failure the block is freed
// and false returned.
bool Register(RawTextKind kind, void* block) {
  try {
    MapOf(kind)[block] = 1;
    return true;
  } catch (const std::bad_alloc&) {
    std::free(block);
    return false;
  }
}

void LockRaw(RawTextKind kind, const void* text) {
  if (!text) return;
  LockMap& map = MapOf(kind);
  auto entry = map.find(text);
  if (entry != map.end()) ++entry->second;
}

void UnlockRaw(RawTextKind kind, const void* text) {
  if (!text) return;
  LockMap& map = MapOf(kind);
  auto entry = map.find(text);
  if (entry == map.end()) return;
  if (--entry->second < 1) {
    map.erase(entry);
    std::free(const_cast<void*>(text));
  }
}

void SwapRaw(RawTextKind kind, const void* newText, const void* oldText) {
  LockRaw(kind, newText);
  UnlockRaw(kind, oldText);
}

// The length of terminated 16-bit text, in units.
size_t WideLength(const uint16_t* text) {
  size_t n = 0;
  while (text[n] != 0) ++n;
  return n;
}

}  // namespace

bool RegisterRawText(RawTextKind kind, void* block) { return Register(kind, block); }

int32_t RawTextLockCount(RawTextKind kind, const void* text) {
  const LockMap& map = MapOf(kind);
  auto entry = map.find(text);
  return entry == map.end() ? 0 : entry->second;
}

}  // namespace vela

using vela::RawTextKind;

VELA_EXPORT TESSstring StringFromCString(const char* text) {
  return text ? vela::NewString(text, -1, kEncodingASCII) : nullptr;
}

VELA_EXPORT TESSstring StringFromPString(const unsigned char* text) {
  return text ? vela::NewString(text + 1, text[0], kEncodingASCII) : nullptr;
}

VELA_EXPORT TESSstring StringFromWString(const uint16_t* text) {
  if (!text) return nullptr;
  const size_t units = vela::WideLength(text);
  if (units > size_t(INT32_MAX / 2)) return nullptr;
  return vela::NewString(text, int32_t(units * 2), kEncodingUTF16);
}

// The bytes as they are, whatever the encoding, and the first terminator.
VELA_EXPORT char* StringToCString(TESSstring s) {
  if (!s) return const_cast<char*>(vela::kEmptyCString);
  const size_t length = size_t(s->mLength);
  auto* result = static_cast<char*>(std::malloc(length + 1));
  if (result) {
    std::memcpy(result, vela::StringBytes(s), length + 1);
    if (!vela::Register(RawTextKind::kC, result)) result = nullptr;
  }
  VELA_ASSERT(result);
  return result ? result : const_cast<char*>(vela::kEmptyCString);
}

// A length byte and at most 255 bytes; longer text is cut in silence.
VELA_EXPORT unsigned char* StringToPString(TESSstring s) {
  if (!s) return const_cast<unsigned char*>(vela::kEmptyPString);
  const size_t length = s->mLength > 255 ? 255 : size_t(s->mLength);
  auto* result = static_cast<unsigned char*>(std::malloc(length + 1));
  if (result) {
    result[0] = static_cast<unsigned char>(length);
    std::memcpy(result + 1, vela::StringBytes(s), length);
    if (!vela::Register(RawTextKind::kPascal, result)) result = nullptr;
  }
  VELA_ASSERT(result);
  return result ? result : const_cast<unsigned char*>(vela::kEmptyPString);
}

// The text converted to UTF-16 and terminated; Nil gives an empty block.
VELA_EXPORT uint16_t* StringToWString(TESSstring s) {
  const int32_t bytes = vela::CopyStringOut(s, nullptr, 0, kEncodingUTF16);
  const size_t units = (size_t(bytes) + 1) / 2;
  auto* result = static_cast<uint16_t*>(std::malloc((units + 1) * 2));
  if (result) {
    vela::CopyStringOut(s, result, int32_t(units * 2), kEncodingUTF16);
    result[units] = 0;
    if (!vela::Register(RawTextKind::kWide, result)) result = nullptr;
  }
  VELA_ASSERT(result);
  return result ? result : const_cast<uint16_t*>(vela::kEmptyWString);
}

VELA_EXPORT void RuntimeLockCString(char* text) { vela::LockRaw(RawTextKind::kC, text); }

VELA_EXPORT void RuntimeUnlockCString(char* text) { vela::UnlockRaw(RawTextKind::kC, text); }

VELA_EXPORT void RuntimeSwapCStringLocks(char* newText, char* oldText) {
  vela::SwapRaw(RawTextKind::kC, newText, oldText);
}

VELA_EXPORT void RuntimeLockPString(unsigned char* text) {
  vela::LockRaw(RawTextKind::kPascal, text);
}

VELA_EXPORT void RuntimeUnlockPString(unsigned char* text) {
  vela::UnlockRaw(RawTextKind::kPascal, text);
}

VELA_EXPORT void RuntimeSwapPStringLocks(unsigned char* newText, unsigned char* oldText) {
  vela::SwapRaw(RawTextKind::kPascal, newText, oldText);
}

VELA_EXPORT void LockWString(uint16_t* text) { vela::LockRaw(RawTextKind::kWide, text); }

VELA_EXPORT void UnlockWString(uint16_t* text) { vela::UnlockRaw(RawTextKind::kWide, text); }

VELA_EXPORT void SwapWStringLocks(uint16_t* newText, uint16_t* oldText) {
  vela::SwapRaw(RawTextKind::kWide, newText, oldText);
}
