#include "text/text_graphemes.h"

#include <cstring>

namespace vela {
namespace {

// Idle iterators of one thread. The locale name is copied because callers
// pass names that live only for their call.
class BreakIteratorCache {
 public:
  ~BreakIteratorCache() {
    for (int32_t i = 0; i < mCount; ++i) ubrk_close(mEntries[i].iterator);
  }
  UBreakIterator* Take(const char* locale) {
    for (int32_t i = mCount - 1; i >= 0; --i) {
      if (std::strcmp(mEntries[i].locale, locale) != 0) continue;
      UBreakIterator* found = mEntries[i].iterator;
      mEntries[i] = mEntries[--mCount];
      return found;
    }
    return nullptr;
  }
  bool Put(UBreakIterator* iterator, const char* locale) {
    const size_t n = std::strlen(locale);
    if (mCount == kCapacity || n >= sizeof mEntries[0].locale) return false;
    Entry& entry = mEntries[mCount++];
    entry.iterator = iterator;
    std::memcpy(entry.locale, locale, n + 1);
    return true;
  }

 private:
  static constexpr int32_t kCapacity = 6;
  struct Entry {
    UBreakIterator* iterator;
    char locale[48];
  };
  Entry mEntries[kCapacity];
  int32_t mCount = 0;
};

thread_local BreakIteratorCache tCache;

}  // namespace

UBreakIterator* AcquireBreakIterator(const char16_t* units, int32_t length, const char* locale) {
  const auto* text = reinterpret_cast<const UChar*>(units);
  UErrorCode status = U_ZERO_ERROR;
  if (UBreakIterator* idle = tCache.Take(locale)) {
    ubrk_setText(idle, text, length, &status);
    if (U_SUCCESS(status)) return idle;
    ubrk_close(idle);
    status = U_ZERO_ERROR;
  }
  UBreakIterator* opened = ubrk_open(UBRK_CHARACTER, locale, text, length, &status);
  if (U_FAILURE(status)) {
    if (opened) ubrk_close(opened);
    return nullptr;
  }
  return opened;
}

void ReleaseBreakIterator(UBreakIterator* iterator, const char* locale) {
  if (iterator && !tCache.Put(iterator, locale)) ubrk_close(iterator);
}

GraphemeCursor::GraphemeCursor(const char16_t* units, int32_t length, const char* locale)
    : mIterator(AcquireBreakIterator(units, length, locale)), mLocale(locale), mLength(length) {}

GraphemeCursor::~GraphemeCursor() { ReleaseBreakIterator(mIterator, mLocale); }

int32_t GraphemeCursor::Next() {
  if (mCurrent >= mLength) return -1;
  // The iterator always stands on mCurrent, so stepping is ubrk_next.
  int32_t next = mIterator ? ubrk_next(mIterator) : mLength;
  if (next == UBRK_DONE) next = mLength;
  mCurrent = next;
  return next;
}

int32_t GraphemeCursor::Advance(int32_t count) {
  for (int32_t i = 0; i < count; ++i)
    if (Next() < 0) return -1;
  return mCurrent;
}

int32_t GraphemeCursor::Snap(int32_t offset) {
  if (offset <= 0) return mCurrent = 0;
  if (offset >= mLength) return mCurrent = mLength;
  if (!mIterator) return mCurrent = mLength;
  mCurrent = ubrk_isBoundary(mIterator, offset) ? offset : ubrk_current(mIterator);
  if (mCurrent == UBRK_DONE) mCurrent = mLength;
  return mCurrent;
}

int32_t CountGraphemes(const char16_t* units, int32_t length, const char* locale) {
  if (length <= 0) return 0;
  UBreakIterator* iterator = AcquireBreakIterator(units, length, locale);
  if (!iterator) return 1;
  int32_t count = 0;
  ubrk_first(iterator);
  while (ubrk_next(iterator) != UBRK_DONE) ++count;
  ReleaseBreakIterator(iterator, locale);
  return count;
}

}  // namespace vela
