// Simple (one-to-one) upper- and lower-case mapping of a code point, as the
// classic string functions fold case: through the library's own table of
// Unicode case pairs (char_tables.h), so that an ICU upgrade cannot change
// it. Only the Basic Multilingual Plane has partners; code points above
// U+FFFF map to themselves.
#pragma once

#include <cstdint>

#include "text/char_tables.h"

namespace vela {

inline uint32_t SimpleUpperCase(uint32_t codePoint) {
  if (codePoint < 0x80) return (codePoint >= 'a' && codePoint <= 'z') ? codePoint - 0x20 : codePoint;
  return TableUpperCase(codePoint);
}

// The lower-case partner, by the same rule.
inline uint32_t SimpleLowerCase(uint32_t codePoint) {
  if (codePoint < 0x80) return (codePoint >= 'A' && codePoint <= 'Z') ? codePoint + 0x20 : codePoint;
  return TableLowerCase(codePoint);
}

}  // namespace vela
