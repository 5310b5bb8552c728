// Text built from a printf format, for messages of raised exceptions and of
// assertion reports. It never throws: exports must not let a C++ exception
// through. Two passes: the first measures, the second fills.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace vela {

class MessageText {
 public:
  __attribute__((format(printf, 2, 3))) explicit MessageText(const char* format, ...) {
    va_list args;
    va_start(args, format);
    Format(format, args);
    va_end(args);
  }
  MessageText(const char* format, va_list args) { Format(format, args); }
  ~MessageText() { std::free(mText); }
  MessageText(const MessageText&) = delete;
  MessageText& operator=(const MessageText&) = delete;

  // The text, or "" when memory ran out.
  const char* c_str() const { return mText ? mText : ""; }

 private:
  void Format(const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    int needed = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (needed < 0) return;
    mText = static_cast<char*>(std::malloc(size_t(needed) + 1));
    if (mText) std::vsnprintf(mText, size_t(needed) + 1, format, args);
  }

  char* mText = nullptr;
};

// A class name for a message; nil names print as nothing.
inline const char* NameForMessage(const char* name) { return name ? name : ""; }

}  // namespace vela
