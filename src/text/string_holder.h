// StringHolder: the scoped reference that library code keeps to a string for
// the span of an operation (see CountedHolder), with guarded access to its
// text.
#pragma once

#include "support/counted_holder.h"
#include "text/string_record.h"

namespace vela {

class StringHolder : public CountedHolder<StringHolder, TESSstring, &LockString, &UnlockString> {
 public:
  using CountedHolder::CountedHolder;

  // Guarded access: Nil reports an assertion and reads as empty.
  const char* Contents() const { return CheckedStringContents(get()); }
  int32_t Length() const { return CheckedStringLength(get()); }
  unsigned char operator[](int32_t pos) const { return CheckedStringByte(get(), pos); }
};

}  // namespace vela
