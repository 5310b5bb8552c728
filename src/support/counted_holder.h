// CountedHolder: the scoped reference that library code keeps to a counted
// record (a string, a Text) for the span of an operation. Copying locks,
// destruction unlocks, and a move hands the reference over and leaves the
// source empty. Each record type derives its holder from it.
#pragma once

#include <utility>

namespace vela {

template <typename Derived, typename T, void (*kLock)(T), void (*kUnlock)(T)>
class CountedHolder {
 public:
  CountedHolder() noexcept = default;
  // Adds a reference to a borrowed record.
  explicit CountedHolder(T borrowed) noexcept : mValue(borrowed) { kLock(mValue); }
  // Takes over a reference that the caller owns, such as a function result.
  static Derived Adopt(T owned) noexcept {
    Derived holder;
    holder.mValue = owned;
    return holder;
  }

  CountedHolder(const CountedHolder& other) noexcept : mValue(other.mValue) { kLock(mValue); }
  CountedHolder(CountedHolder&& other) noexcept : mValue(std::exchange(other.mValue, nullptr)) {}
  CountedHolder& operator=(CountedHolder other) noexcept {
    std::swap(mValue, other.mValue);
    return *this;
  }
  ~CountedHolder() { kUnlock(mValue); }

  T get() const noexcept { return mValue; }
  explicit operator bool() const noexcept { return mValue != nullptr; }
  // Gives the reference to the caller, typically as a function's result.
  T Release() noexcept { return std::exchange(mValue, nullptr); }
  // Replaces the held record by one whose reference the caller owned.
  void Reset(T owned = nullptr) noexcept {
    T old = std::exchange(mValue, owned);
    kUnlock(old);
  }
  void Swap(CountedHolder& other) noexcept { std::swap(mValue, other.mValue); }

 private:
  T mValue = nullptr;
};

}  // namespace vela
