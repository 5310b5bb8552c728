// Names of classes, members and events are compared without regard to case
// in ASCII only, whatever the C locale says.
#pragma once

#include <cstddef>

namespace vela {

constexpr char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? char(c + ('a' - 'A')) : c; }
constexpr char AsciiUpper(char c) { return (c >= 'a' && c <= 'z') ? char(c - ('a' - 'A')) : c; }

// Both nil compare equal; nil never equals a name.
constexpr bool AsciiEqualNoCase(const char* a, const char* b) {
  if (a == b) return true;
  if (!a || !b) return false;
  for (;; ++a, ++b) {
    if (AsciiLower(*a) != AsciiLower(*b)) return false;
    if (*a == '\0') return true;
  }
}

constexpr bool AsciiEqualNoCase(const char* a, size_t aLength, const char* b) {
  if (!a || !b) return false;
  for (size_t i = 0; i < aLength; ++i, ++b)
    if (*b == '\0' || AsciiLower(a[i]) != AsciiLower(*b)) return false;
  return *b == '\0';
}

}  // namespace vela
