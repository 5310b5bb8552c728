// ErrorOr: the result of an operation of the newer API, either a value or
// the exception that the exported caller raises. Library internals return
// it instead of raising, so that the same core serves exports that raise
// different classes, or none.
#pragma once

#include <string>
#include <utility>

#include "object/raise.h"

namespace vela {

template <typename T>
class ErrorOr {
 public:
  static ErrorOr Value(T value) {
    ErrorOr result;
    result.mValue = std::move(value);
    return result;
  }
  static ErrorOr Error(const char* exceptionClass, std::string message) {
    ErrorOr result;
    result.mOk = false;
    result.mClass = exceptionClass;
    result.mMessage = std::move(message);
    return result;
  }

  bool ok() const { return mOk; }
  const T& value() const { return mValue; }
  const char* exceptionClass() const { return mClass; }
  const std::string& message() const { return mMessage; }

  // The value; a failed result raises its exception and gives `fallback`.
  T ValueOrRaise(T fallback = T{}) const {
    if (mOk) return mValue;
    RaiseNamedException(mClass, 0, mMessage.c_str());
    return fallback;
  }

 private:
  ErrorOr() = default;
  bool mOk = true;
  T mValue{};
  const char* mClass = nullptr;
  std::string mMessage;
};

}  // namespace vela
