// The cores of the Text operations, shared by the Text exports, the String
// forms of the newer API and the rest of the library. None checks its
// arguments or raises; the exports do that.
#pragma once

#include <cstdint>

#include "text/text_collation.h"
#include "text/text_value.h"
#include "vela/string.h"

namespace vela {

// `count` characters from character `start` (count -1: to the end); the
// copy caches its character count. Nil when nothing is left.
TextValue TextSubstring(TextValue text, int32_t start, int32_t count);

bool BeginsWithCore(TextValue text, TextValue other, const TextOptions& options);
bool EndsWithCore(TextValue text, TextValue other, const TextOptions& options);

// A String's text as Text: the string brought to UTF-8 and decoded.
// Malformed UTF-8 gives Nil, as does Nil.
TextValue TextFromString(TESSstring s);
// A Text as a UTF-8 String; a lone surrogate becomes U+FFFD.
TESSstring StringFromText(TextValue text);
TESSstring StringFromUnits(const char16_t* units, int32_t length);
// UTF-8 bytes as Text; malformed input gives Nil.
TextValue TextFromUtf8(const char* bytes, int32_t length);

// Dictionary keys and Auto hashing: equal for texts that differ only in
// case or normal form, within one process.
uint32_t TextObjectHash(TextValue text);

}  // namespace vela
