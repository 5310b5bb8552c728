// Characters of Text: grapheme cluster boundaries found by ICU's character
// break iterator.
//
// Opening a break iterator costs far more than walking a short text, so
// each thread keeps a few idle iterators per locale and a cursor borrows one
// for its life. Boundaries do not depend on which iterator finds them, so
// the cache changes no result.
#pragma once

#include <cstdint>

#include <unicode/ubrk.h>

namespace vela {

inline constexpr const char* kDefaultTextLocale = "en_US";

class GraphemeCursor {
 public:
  // Positioned at offset 0. A failed open leaves the cursor treating the
  // whole text as one character.
  GraphemeCursor(const char16_t* units, int32_t length, const char* locale = kDefaultTextLocale);
  ~GraphemeCursor();
  GraphemeCursor(const GraphemeCursor&) = delete;
  GraphemeCursor& operator=(const GraphemeCursor&) = delete;

  // The boundary behind the current one, or -1 at the end.
  int32_t Next();
  // The boundary reached by stepping `count` characters from the current
  // one (which it becomes); -1 when the text ends first.
  int32_t Advance(int32_t count);
  // The first boundary at or after `offset`, made current.
  int32_t Snap(int32_t offset);
  int32_t Current() const { return mCurrent; }

 private:
  UBreakIterator* mIterator = nullptr;
  const char* mLocale;
  int32_t mLength;
  int32_t mCurrent = 0;
};

// The number of characters in `length` units.
int32_t CountGraphemes(const char16_t* units, int32_t length,
                       const char* locale = kDefaultTextLocale);

// An iterator of the thread's cache (or a new one) set to the text; give it
// back with ReleaseBreakIterator. Null when ICU cannot open one.
UBreakIterator* AcquireBreakIterator(const char16_t* units, int32_t length, const char* locale);
void ReleaseBreakIterator(UBreakIterator* iterator, const char* locale);

}  // namespace vela
