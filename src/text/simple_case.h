// Simple (one-to-one) upper- and lower-case mapping of a code point, as the classic
// string comparison and searches fold case. Only the Basic Multilingual
// Plane has partners; code points above U+FFFF map to themselves.
#pragma once

#include <cstdint>

#include <unicode/uchar.h>

namespace vela {

inline uint32_t SimpleUpperCase(uint32_t codePoint) {
  if (codePoint < 0x80) return (codePoint >= 'a' && codePoint <= 'z') ? codePoint - 0x20 : codePoint;
  if (codePoint > 0xFFFF) return codePoint;
  return static_cast<uint32_t>(u_toupper(static_cast<UChar32>(codePoint)));
}

// The lower-case partner, by the same rule.
inline uint32_t SimpleLowerCase(uint32_t codePoint) {
  if (codePoint < 0x80) return (codePoint >= 'A' && codePoint <= 'Z') ? codePoint + 0x20 : codePoint;
  if (codePoint > 0xFFFF) return codePoint;
  return static_cast<uint32_t>(u_tolower(static_cast<UChar32>(codePoint)));
}

}  // namespace vela
