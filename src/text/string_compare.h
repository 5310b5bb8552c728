// Ordering of strings: by bytes, and by text with or without case folding.
// Results are -1, 0 or 1; Nil sorts before every other string and equals
// only itself (the empty string is Nil).
#pragma once

#include <cstdint>
#include <cstring>

#include "text/char_tables.h"
#include "text/string_record.h"

namespace vela {

// Unsigned bytes over the common length, then the shorter is less. The
// encodings play no part.
inline int32_t CompareStringBytes(TESSstring a, TESSstring b) {
  if (a == b) return 0;
  if (!a) return -1;
  if (!b) return 1;
  const int32_t lengthA = a->mLength;
  const int32_t lengthB = b->mLength;
  const int order = std::memcmp(StringBytes(a), StringBytes(b),
                                size_t(lengthA < lengthB ? lengthA : lengthB));
  if (order != 0) return order < 0 ? -1 : 1;
  return lengthA == lengthB ? 0 : (lengthA < lengthB ? -1 : 1);
}

// Text order after the two strings are reconciled to one encoding: code
// points for UTF-8 and ASCII, 16-bit units for UTF-16, the script's sort
// weights where a table exists, and otherwise the root collation of the
// UTF-16 forms. `fold` ignores case (accents always count, except where the
// collation decides).
int32_t CompareStringText(TESSstring a, TESSstring b, bool fold);

// Byte-by-byte order through a table's weights (through its upper-case row
// first when folding); then the shorter is less.
int32_t CompareThroughTable(const unsigned char* a, int32_t lengthA, const unsigned char* b,
                            int32_t lengthB, const ScriptTable& table, bool fold);

}  // namespace vela
