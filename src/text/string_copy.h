// Copying a string's text out of the record: into a caller's buffer, in a
// chosen encoding, or as a direct view when the encoding already fits.
#pragma once

#include <cstdint>

#include "vela/string.h"

namespace vela {

// Writes the text of `s` in `encoding` (kEncodingUnknown: as it is) to
// `destination`, at most `size` bytes, zero-filling the rest; returns the
// bytes written. A null destination only measures: the result is then the
// length of the converted text. Nil, empty, and text that cannot be
// converted write zeros and give 0.
int32_t CopyStringOut(TESSstring s, void* destination, int32_t size, uint32_t encoding);

// The text address of `s` if it is tagged `encoding`, with its length in
// `outLength` (may be null); otherwise null and 0. Nil gives null and 0.
const char* StringContentsIfEncoded(TESSstring s, uint32_t encoding, int32_t* outLength);

}  // namespace vela
