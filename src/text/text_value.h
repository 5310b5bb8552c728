// The library's own side of Text values: making records, counting them, and
// the scoped holder that operations keep a Text in.
//
// Counting rules. A record starts at 1; a record at 0 is static and never
// counted or freed. The count is a plain integer: while threads run beside
// the cooperative turn (gDetachedThreadCount above 0) every change happens
// under the Text mutex, otherwise the turn alone excludes everyone else.
// mCharCount is a cache that several threads may fill with the same value,
// so it is read and written with relaxed atomics.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>
#include <utility>

#include "support/counted_holder.h"
#include "vela/text.h"

namespace vela {

// A record holding a copy of `length` units; Nil for length 0 or when
// memory is exhausted. `charCount` is stored as the cached character count
// (0: not counted). A single ASCII unit gives a shared static record.
TextValue NewText(const char16_t* units, int32_t length, int32_t charCount = 0);
// A new record of `length` units left for the caller to fill (the
// terminator is set); Nil for length 0.
TextValue NewTextForFill(int32_t length, char16_t** units);
// A record that takes over a malloc'd buffer of `length` units plus a
// terminator; the buffer is freed if no record can be made. Nil for 0.
TextValue AdoptTextUnits(char16_t* buffer, int32_t length, int32_t charCount = 0);

// For cursors that hand out one short text after another: takes the
// caller's reference to `text` and gives a record of the new units. When
// the caller held the only reference and the units fit, that is `text`
// itself, rewritten in place; otherwise the reference is dropped and a new
// record made.
TextValue RefillText(TextValue text, const char16_t* units, int32_t length, int32_t charCount);

void LockText(TextValue text);
void UnlockText(TextValue text);

// Called with a record right before it is freed, inside the Text mutex
// when that is in force. The debugger installs one.
using TextFreeHookFn = void (*)(TextValue record);
TextFreeHookFn SetTextFreeHook(TextFreeHookFn hook);

inline const char16_t* TextUnits(TextValue t) {
  return t && t->mChars ? reinterpret_cast<const char16_t*>(t->mChars) : u"";
}
inline int32_t TextLength(TextValue t) { return t && t->mChars ? t->mLength : 0; }
inline std::u16string_view TextView(TextValue t) {
  return std::u16string_view(TextUnits(t), size_t(TextLength(t)));
}

inline int32_t CachedCharCount(TextValue t) {
  return std::atomic_ref<int32_t>(t->mCharCount).load(std::memory_order_relaxed);
}
inline void StoreCharCount(TextValue t, int32_t count) {
  std::atomic_ref<int32_t>(t->mCharCount).store(count, std::memory_order_relaxed);
}
// The number of characters (grapheme clusters), counted once per record.
int32_t TextCharCount(TextValue t);

// The scoped reference to a Text for the span of an operation.
class TextHolder : public CountedHolder<TextHolder, TextValue, &LockText, &UnlockText> {
 public:
  using CountedHolder::CountedHolder;
};

// A borrowed Text handed back as the caller's own reference.
inline TextValue Share(TextValue t) {
  LockText(t);
  return t;
}

}  // namespace vela
