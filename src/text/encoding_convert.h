// Conversion of a string's text from its encoding to another.
#pragma once

#include <cstdint>

#include "vela/string.h"

namespace vela {

// A string with the text of `s` in `targetEncoding`, as an owned reference.
// The same encoding, or the target kEncodingUnknown (raw bytes), gives `s`
// itself with one more reference. ASCII text bound for UTF-8 or a
// byte-oriented encoding is re-tagged, not converted. Nil, an encoding
// without a code page here, and a conversion that yields no text, give Nil.
// Text of kEncodingUnknown is read in the system encoding. Never raises:
// malformed input becomes U+FFFD, characters the target lacks become '?'.
TESSstring ConvertString(TESSstring s, uint32_t targetEncoding);

// The encoding that kEncodingUnknown text is read in. Without code pages the
// platform's system encoding is UTF-8.
inline constexpr uint32_t kSystemEncoding = kEncodingUTF8;

// The engine itself on raw bytes, read as `from` whatever they are tagged:
// an owned string tagged `to`, or Nil. Converting from a code to the same
// code runs the bytes through the engine, which is how data is validated.
TESSstring ConvertBytes(const unsigned char* bytes, int32_t length, uint32_t from, uint32_t to);

// True when ConvertString can convert from or to `encoding` here.
bool CanConvertEncoding(uint32_t encoding);

}  // namespace vela
