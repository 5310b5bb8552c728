// Creation and release of string records, and the three exports that count
// references for compiled code.
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "support/assert.h"
#include "support/export.h"
#include "text/string_blocks.h"
#include "text/string_record.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/TESSstring";

// The longest text a record can hold: the block size must fit the 32-bit
// length and leave room for the bytes around the text.
constexpr int64_t kMaxStringLength = INT32_MAX - int64_t(kStringOverhead);

std::atomic<StringFreeHookFn> sFreeHook{nullptr};
std::atomic<bool> sTracking{false};
std::atomic<int64_t> sLiveStrings{0};

// Read by the guarded accessors when they meet Nil: a valid empty C, UTF-16
// and UTF-32 string.
const char kEmptyText[4] = {0, 0, 0, 0};

}  // namespace

StringFreeHookFn SetStringFreeHook(StringFreeHookFn hook) {
  return sFreeHook.exchange(hook, std::memory_order_acq_rel);
}

void SetStringTracking(bool on) { sTracking.store(on, std::memory_order_relaxed); }

int64_t LiveStringCount() { return sLiveStrings.load(std::memory_order_relaxed); }

TESSstring NewString(const void* bytes, int32_t length, uint32_t encoding) {
  int64_t size = length;
  if (size < 0) {
    if (!bytes) return nullptr;
    size = int64_t(std::strlen(static_cast<const char*>(bytes)));
  }
  if (size == 0 || size > kMaxStringLength) return nullptr;

  auto* s = static_cast<TESSstring>(AllocateStringBlock(kStringOverhead + size_t(size)));
  if (!s) return nullptr;
  s->mRefCount = 1;
  s->mPad = 0;
  s->mReserved = 0;
  s->mLength = int32_t(size);
  s->mEncoding = encoding;
  s->mCharCount = 0;

  // The text follows the length byte and must lie on an even address so that
  // UTF-16 text can be read in place; one alignment byte moves it there.
  unsigned char* lengthByte = s->mText;
  if ((reinterpret_cast<uintptr_t>(lengthByte + 1) & 1) != 0) *lengthByte++ = 0;
  s->mBuffer = lengthByte;
  *lengthByte = size > 255 ? 255 : static_cast<unsigned char>(size);
  unsigned char* text = lengthByte + 1;
  if (bytes) std::memcpy(text, bytes, size_t(size));
  std::memset(text + size, 0, kStringTerminatorSize);

  if (sTracking.load(std::memory_order_relaxed)) [[unlikely]]
    sLiveStrings.fetch_add(1, std::memory_order_relaxed);
  return s;
}

void FreeStringRecord(TESSstring s) {
  if (StringFreeHookFn hook = sFreeHook.load(std::memory_order_acquire)) hook(s);
  if (sTracking.load(std::memory_order_relaxed)) [[unlikely]]
    sLiveStrings.fetch_sub(1, std::memory_order_relaxed);
  ReleaseStringBlock(s, kStringOverhead + size_t(s->mLength));
}

const char* CheckedStringContents(TESSstring s) {
  if (s) return StringText(s);
  VELA_ASSERT_TEXT(false, "Cannot access contents of a Nil string.");
  return kEmptyText;
}

int32_t CheckedStringLength(TESSstring s) {
  if (s) return s->mLength;
  VELA_ASSERT_TEXT(false, "Cannot access length of a Nil string.");
  return 0;
}

unsigned char CheckedStringByte(TESSstring s, int32_t pos) {
  int32_t length = StringLength(s);
  if (pos < 0 || pos >= length) {
    VELA_ASSERT_TEXT(false, "not (pos < 0 || pos >= Length())");
    return 0;
  }
  return StringBytes(s)[pos];
}

}  // namespace vela

VELA_EXPORT void RuntimeLockString(TESSstring s) { vela::LockString(s); }

VELA_EXPORT void RuntimeUnlockString(TESSstring s) { vela::UnlockString(s); }

// The assignment primitive: the new value is locked before the old one is
// dropped, so assigning a variable to itself through another path is safe.
VELA_EXPORT void RuntimeLockUnlockStrings(TESSstring newValue, TESSstring oldValue) {
  if (newValue == oldValue) return;
  vela::LockString(newValue);
  vela::UnlockString(oldValue);
}
