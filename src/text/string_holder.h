// StringHolder: the scoped reference that library code keeps to a string for
// the span of an operation. Copying locks, destruction unlocks, and a move
// hands the reference over and leaves the source Nil.
#pragma once

#include <utility>

#include "text/string_record.h"

namespace vela {

class StringHolder {
 public:
  StringHolder() noexcept = default;
  // Adds a reference to a borrowed string.
  explicit StringHolder(TESSstring borrowed) noexcept : mString(borrowed) { LockString(mString); }
  // Takes over a reference that the caller owns, such as a function result.
  static StringHolder Adopt(TESSstring owned) noexcept {
    StringHolder holder;
    holder.mString = owned;
    return holder;
  }

  StringHolder(const StringHolder& other) noexcept : mString(other.mString) { LockString(mString); }
  StringHolder(StringHolder&& other) noexcept : mString(std::exchange(other.mString, nullptr)) {}
  StringHolder& operator=(StringHolder other) noexcept {
    std::swap(mString, other.mString);
    return *this;
  }
  ~StringHolder() { UnlockString(mString); }

  TESSstring get() const noexcept { return mString; }
  explicit operator bool() const noexcept { return mString != nullptr; }
  // Gives the reference to the caller, typically as a function's result.
  TESSstring Release() noexcept { return std::exchange(mString, nullptr); }
  // Replaces the held string by one whose reference the caller owned.
  void Reset(TESSstring owned = nullptr) noexcept { StringHolder::Adopt(owned).Swap(*this); }
  void Swap(StringHolder& other) noexcept { std::swap(mString, other.mString); }

  // Guarded access: Nil reports an assertion and reads as empty.
  const char* Contents() const { return CheckedStringContents(mString); }
  int32_t Length() const { return CheckedStringLength(mString); }
  unsigned char operator[](int32_t pos) const { return CheckedStringByte(mString, pos); }

 private:
  TESSstring mString = nullptr;
};

}  // namespace vela
