// The classic string character walk; see string_char_iterator.h.
#include "text/string_char_iterator.h"

#include "text/string_chars.h"
#include "text/string_create.h"
#include "text/string_ops_classic.h"

namespace vela {

void StringCharIterator::Initialise(TESSstring s, int32_t start, int32_t count) {
  mString = StringHolder(s);
  mLastSize = 0;
  mRemaining = count < 0 ? -1 : count;
  const int64_t length = StringLength(s);
  const int64_t skip = start > 1 ? int64_t(start) - 1 : 0;
  mOffset = s ? StepChars(CharRuleFor(s->mEncoding), StringBytes(s), length, 0, skip) : 0;
}

bool StringCharIterator::AtEnd() const {
  return mRemaining == 0 || mOffset >= StringLength(mString.get());
}

int32_t StringCharIterator::LastCharSize() const { return mLastSize; }

uint32_t StringCharIterator::Next() {
  if (AtEnd()) return 0;
  TESSstring s = mString.get();
  const CharCode c = CharCodeAt(s->mEncoding, StringBytes(s), s->mLength, mOffset);
  mLastSize = int32_t(c.next - mOffset);
  mOffset = c.next;
  if (mRemaining > 0) --mRemaining;
  return c.code;
}

uint32_t StringCharIterator::Peek() {
  const int64_t offset = mOffset;
  const int64_t remaining = mRemaining;
  const uint32_t code = Next();
  mOffset = offset;
  mRemaining = remaining;
  return code;
}

StringCharIterator* StringOpsClassic::NewCharIterator(TESSstring s, int32_t start, int32_t count) {
  auto* iterator = new StringCharIterator;
  iterator->Initialise(s, start, count);
  return iterator;
}

}  // namespace vela
