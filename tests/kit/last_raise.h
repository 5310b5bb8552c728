// Watches the exceptions raised while it is in scope and keeps the last one
// as "Class: message" ("Class" alone when it has no message), for tests
// that check which exception a call raised and with which text.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "object/raise.h"

namespace vela::testkit {

class LastRaise {
 public:
  LastRaise() : mPrevious(SetRaiseObserver(Observe)) {
    sLast.clear();
    sCount = 0;
  }
  ~LastRaise() { SetRaiseObserver(mPrevious); }
  LastRaise(const LastRaise&) = delete;
  LastRaise& operator=(const LastRaise&) = delete;

  // The last raise since the previous call; "" when there was none.
  std::string Take() { return std::exchange(sLast, std::string()); }
  // Raises seen in scope.
  int count() const { return sCount; }

 private:
  static void Observe(const char* cls, int32_t, const char* message) {
    ++sCount;
    sLast = std::string(cls) + (message ? std::string(": ") + message : "");
  }
  static inline std::string sLast;
  static inline int sCount = 0;
  RaiseObserver mPrevious;
};

}  // namespace vela::testkit
