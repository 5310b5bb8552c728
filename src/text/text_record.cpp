// Text records: creation, counting under the Text mutex, the free hook, and
// the exports of a Text's life, concatenation and length.
#include <pthread.h>

#include <cstdlib>
#include <cstring>

#include "support/export.h"
#include "support/object_lock.h"
#include "text/text_graphemes.h"
#include "text/text_value.h"

namespace vela {
namespace {

static_assert(sizeof(TextRecord) == 32 && alignof(TextRecord) == 8);
static_assert(offsetof(TextRecord, mChars) == 8 && offsetof(TextRecord, mLength) == 16 &&
              offsetof(TextRecord, mCharCount) == 20 && offsetof(TextRecord, mReserved) == 24);

pthread_mutex_t gTextMutex = PTHREAD_MUTEX_INITIALIZER;
std::atomic<TextFreeHookFn> gTextFreeHook{nullptr};

// Units made with the record live in the same block, right behind it. A
// short text gets room for kSmallUnits units, so that RefillText can reuse
// its record for another short text.
constexpr int32_t kSmallUnits = 7;
uint16_t* InlineUnits(TextValue t) { return reinterpret_cast<uint16_t*>(t + 1); }

TextValue AllocateWithUnits(int32_t length) {
  const int32_t room = length < kSmallUnits ? kSmallUnits : length;
  const size_t bytes = sizeof(TextRecord) + (size_t(room) + 1) * sizeof(uint16_t);
  auto* t = static_cast<TextValue>(std::malloc(bytes));
  if (!t) return nullptr;
  std::memset(t, 0, sizeof(TextRecord));
  t->mRefCount = 1;
  t->mChars = InlineUnits(t);
  t->mLength = length;
  t->mChars[length] = 0;
  return t;
}

void FreeTextRecord(TextValue t) {
  if (TextFreeHookFn hook = gTextFreeHook.load(std::memory_order_acquire)) hook(t);
  if (t->mChars != InlineUnits(t)) std::free(t->mChars);
  std::free(t->mReserved);
  std::free(t);
}

// Decides once whether the mutex is in force, so that the release matches
// the acquisition even if the detached-thread count changes meanwhile.
class TextMutexGuard {
 public:
  TextMutexGuard() noexcept : mHeld(LocksInForce()) {
    if (mHeld) pthread_mutex_lock(&gTextMutex);
  }
  ~TextMutexGuard() {
    if (mHeld) pthread_mutex_unlock(&gTextMutex);
  }
  TextMutexGuard(const TextMutexGuard&) = delete;
  TextMutexGuard& operator=(const TextMutexGuard&) = delete;

 private:
  bool mHeld;
};

// One-character Texts of the ASCII characters as static records (count 0):
// walking a text by character, splitting it into characters and making a
// character from its code point then allocate nothing for them.
struct StaticUnitText {
  TextRecord record;
  uint16_t units[2];
};

TextValue AsciiText(char16_t c) {
  static StaticUnitText* const table = [] {
    static StaticUnitText texts[128];
    for (uint16_t i = 0; i < 128; ++i) {
      texts[i].units[0] = i;
      texts[i].record = {0, 0, texts[i].units, 1, 1, nullptr};
    }
    return texts;
  }();
  return &table[c].record;
}

}  // namespace

TextValue NewTextForFill(int32_t length, char16_t** units) {
  *units = nullptr;
  if (length <= 0) return nullptr;
  TextValue t = AllocateWithUnits(length);
  if (t) *units = reinterpret_cast<char16_t*>(t->mChars);
  return t;
}

TextValue NewText(const char16_t* units, int32_t length, int32_t charCount) {
  if (length == 1 && units[0] < 0x80) return AsciiText(units[0]);
  char16_t* target;
  TextValue t = NewTextForFill(length, &target);
  if (!t) return nullptr;
  std::memcpy(target, units, size_t(length) * sizeof(char16_t));
  t->mCharCount = charCount;
  return t;
}

TextValue AdoptTextUnits(char16_t* buffer, int32_t length, int32_t charCount) {
  if (length <= 0) {
    std::free(buffer);
    return nullptr;
  }
  auto* t = static_cast<TextValue>(std::calloc(1, sizeof(TextRecord)));
  if (!t) {
    std::free(buffer);
    return nullptr;
  }
  t->mRefCount = 1;
  t->mChars = reinterpret_cast<uint16_t*>(buffer);
  t->mLength = length;
  t->mCharCount = charCount;
  return t;
}

TextValue RefillText(TextValue t, const char16_t* units, int32_t length, int32_t charCount) {
  if (t && length > 0 && length <= kSmallUnits && t->mChars == InlineUnits(t)) {
    bool alone;
    {
      TextMutexGuard guard;
      alone = t->mRefCount == 1;
    }
    if (alone) {
      std::memcpy(t->mChars, units, size_t(length) * sizeof(char16_t));
      t->mChars[length] = 0;
      t->mLength = length;
      StoreCharCount(t, charCount);
      return t;
    }
  }
  UnlockText(t);
  return NewText(units, length, charCount);
}

void LockText(TextValue t) {
  if (!t) return;
  TextMutexGuard guard;
  if (t->mRefCount > 0) ++t->mRefCount;
}

void UnlockText(TextValue t) {
  if (!t) return;
  TextMutexGuard guard;
  if (t->mRefCount > 0 && --t->mRefCount == 0) FreeTextRecord(t);
}

TextFreeHookFn SetTextFreeHook(TextFreeHookFn hook) {
  return gTextFreeHook.exchange(hook, std::memory_order_acq_rel);
}

int32_t TextCharCount(TextValue t) {
  if (!t || !t->mChars || t->mLength <= 0) return 0;
  int32_t count = CachedCharCount(t);
  if (count > 0) return count;
  count = CountGraphemes(TextUnits(t), t->mLength);
  StoreCharCount(t, count);
  return count;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void RuntimeLockText(TextValue text) { LockText(text); }

VELA_EXPORT void RuntimeUnlockText(TextValue text) { UnlockText(text); }

VELA_EXPORT void RuntimeLockUnlockText(TextValue newText, TextValue oldText) {
  if (newText == oldText) return;
  LockText(newText);
  UnlockText(oldText);
}

VELA_EXPORT TextValue RuntimeConcatText(TextValue a, TextValue b) {
  if (TextLength(a) == 0) return Share(b);
  if (TextLength(b) == 0) return Share(a);
  const int64_t total = int64_t(a->mLength) + b->mLength;
  if (total > INT32_MAX) return nullptr;
  char16_t* units;
  TextValue sum = NewTextForFill(int32_t(total), &units);
  if (!sum) return nullptr;
  std::memcpy(units, TextUnits(a), size_t(a->mLength) * 2);
  std::memcpy(units + a->mLength, TextUnits(b), size_t(b->mLength) * 2);
  return sum;
}

VELA_EXPORT VelaBoolean RuntimeTextEmpty(TextValue text) { return TextCharCount(text) == 0; }

VELA_EXPORT int32_t RuntimeTextLen(TextValue text) { return TextCharCount(text); }
