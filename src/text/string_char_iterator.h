// StringCharIterator: a walk over a classic string's characters by the
// stepping rule of its encoding, for library code that reads a string one
// code at a time. The operations keep their order (destructor first): the
// iterator is reached through StringOpsClassic's NewCharIterator.
#pragma once

#include <cstdint>

#include "text/string_holder.h"

namespace vela {

class StringCharIterator {
 public:
  StringCharIterator() = default;
  virtual ~StringCharIterator() = default;

  // Positions the walk at character `start` (1-based; below 1 counts as 1)
  // for at most `count` characters (negative: to the end). Holds a
  // reference to `s` until re-initialised or destroyed.
  virtual void Initialise(TESSstring s, int32_t start, int32_t count);
  virtual bool AtEnd() const;
  // Bytes of the character that Next or Peek read last; 0 before any.
  virtual int32_t LastCharSize() const;
  // The code of the next character by the rule of Asc, and steps over it.
  // At the end it answers 0 and stays.
  virtual uint32_t Next();
  // The code Next would answer, without moving.
  virtual uint32_t Peek();

  StringCharIterator(const StringCharIterator&) = delete;
  StringCharIterator& operator=(const StringCharIterator&) = delete;

 private:
  StringHolder mString;
  int64_t mOffset = 0;     // byte offset of the next character
  int64_t mRemaining = 0;  // characters left to read; negative: no limit
  int32_t mLastSize = 0;
};

}  // namespace vela
