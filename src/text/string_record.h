// The life of a string record: reference counting, the free hook, and the
// guarded accessors that library code uses on handles that may be Nil.
//
// Counting rules. A record starts at 1. A record whose count is 0 was laid
// out statically (string constants of compiled code) and is never counted or
// freed: locking it leaves 0 and unlocking it never frees. Counts are atomic
// at all times because strings cross preemptive threads (timers, plug-ins,
// the debugger's thread).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "text/string_create.h"
#include "vela/string.h"

namespace vela {

// Bytes of a record in front of the text: the fields, one possible alignment
// byte and the length byte. Behind the text come four zero bytes.
inline constexpr size_t kStringHeaderSize = offsetof(TESSstringRecord, mText);
inline constexpr size_t kStringTerminatorSize = 4;
inline constexpr size_t kStringOverhead = kStringHeaderSize + 2 + kStringTerminatorSize;

// Called with a record right before its block goes back to the heap; the
// debugger installs one to forget strings it was watching.
using StringFreeHookFn = void (*)(TESSstring record);
// Installs `hook` (null removes it) and returns the one in place before.
StringFreeHookFn SetStringFreeHook(StringFreeHookFn hook);

// Out-of-line end of a record: the hook, the tracking count, the free.
void FreeStringRecord(TESSstring s);

inline std::atomic_ref<int32_t> StringCount(TESSstring s) {
  return std::atomic_ref<int32_t>(s->mRefCount);
}

// Adds one reference. A record at count 0 is uncounted and stays at 0. The
// caller holds a reference or the record is static, so a count seen above 0
// cannot fall to 0 meanwhile, and the increment needs no ordering.
inline void LockStringRecord(TESSstring s) {
  auto count = StringCount(s);
  if (count.load(std::memory_order_relaxed) <= 0) return;
  count.fetch_add(1, std::memory_order_relaxed);
}

// Drops one reference; the last one frees the block. A count of 1 seen with
// acquire ordering means the caller is the sole owner: nobody else can add a
// reference to a record they do not hold, and the release decrements of all
// former owners happen before this point, so the block can go without a
// read-modify-write. Counts of 0 or below belong to static records.
inline void UnlockStringRecord(TESSstring s) {
  auto count = StringCount(s);
  int32_t seen = count.load(std::memory_order_acquire);
  if (seen == 1) {
    FreeStringRecord(s);
    return;
  }
  if (seen <= 0) return;
  if (count.fetch_sub(1, std::memory_order_acq_rel) == 1) FreeStringRecord(s);
}

// Nil-safe forms for library code.
inline void LockString(TESSstring s) {
  if (s) LockStringRecord(s);
}
inline void UnlockString(TESSstring s) {
  if (s) UnlockStringRecord(s);
}

// Accessors for code that must not meet Nil: each reports an assertion and
// goes on with an empty text, a length of 0 or a zero byte.
const char* CheckedStringContents(TESSstring s);
int32_t CheckedStringLength(TESSstring s);
unsigned char CheckedStringByte(TESSstring s, int32_t pos);

// The text of a string as unsigned bytes; Nil gives null.
inline const unsigned char* StringBytes(TESSstring s) {
  return s ? s->mBuffer + 1 : nullptr;
}

}  // namespace vela
