// Shorthands for the Text tests: held Texts from UTF-16 literals, their
// units back, and a log of the exceptions raised meanwhile.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "object/raise.h"
#include "text/text_value.h"

namespace vela::texttest {

inline TextHolder T(std::u16string_view units) {
  return TextHolder::Adopt(NewText(units.data(), int32_t(units.size())));
}
inline TextHolder Own(TextValue owned) { return TextHolder::Adopt(owned); }

inline std::u16string Units(TextValue t) { return std::u16string(TextView(t)); }

struct Raised {
  std::string className;
  std::string message;
};

// Installs a raise observer for its scope; each raise is recorded.
class RaiseLog {
 public:
  RaiseLog() { sLog = this; mPrevious = SetRaiseObserver(&Observe); }
  ~RaiseLog() {
    SetRaiseObserver(mPrevious);
    sLog = nullptr;
  }
  const std::vector<Raised>& raised() const { return mRaised; }
  // The one raise since the last call, as "Class: message"; "" for none.
  std::string Take() {
    std::string last;
    if (mRaised.size() == 1) last = mRaised[0].className + ": " + mRaised[0].message;
    else if (mRaised.size() > 1) last = std::to_string(mRaised.size()) + " raises";
    mRaised.clear();
    return last;
  }

 private:
  static void Observe(const char* className, int32_t, const char* message) {
    sLog->mRaised.push_back({className ? className : "", message ? message : ""});
  }
  static inline RaiseLog* sLog = nullptr;
  RaiseObserver mPrevious;
  std::vector<Raised> mRaised;
};

}  // namespace vela::texttest
