// Conversion of a string's text from its encoding to another.
#pragma once

#include <cstdint>

#include "vela/string.h"

namespace vela {

// A string with the text of `s` in `targetEncoding`, as an owned reference.
// The same encoding, or the target kEncodingUnknown (raw bytes), gives `s`
// itself with one more reference. Nil, and a conversion that yields no text,
// give Nil. Text of kEncodingUnknown is read in the system encoding.
//
// Converted: among UTF-8, UTF-16, UTF-16BE/LE, UTF-32, UTF-32BE/LE (the forms
// without suffix in the host's little-endian order), ASCII (bytes and code
// points above 0x7F become '?'), Mac Roman and Windows-1252. Malformed input
// becomes U+FFFD, characters the target lacks become '?'. Other encodings
// report that their converter is not built and give Nil.
TESSstring ConvertString(TESSstring s, uint32_t targetEncoding);

// The encoding that kEncodingUnknown text is read in. Without code pages the
// platform's system encoding is UTF-8.
inline constexpr uint32_t kSystemEncoding = kEncodingUTF8;

// True when ConvertString can convert from or to `encoding` here.
bool CanConvertEncoding(uint32_t encoding);

}  // namespace vela
