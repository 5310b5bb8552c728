// Vela.Core.TextEncoding: an encoding named by its IANA name, converting
// through ICU. Unlike the classic engine it raises on every failure. The
// exports that take or give Text and MemoryBlock values wait for those
// types; these functions are their cores, on UTF-16 and bytes.
#pragma once

#include <string>
#include <string_view>

#include "vela/object.h"

namespace vela {

// The new object for `name` (owned), or nil after raising
// InvalidArgumentException ("Encoding name cannot be empty", "Invalid
// encoding name").
RuntimeObject* CoreEncodingFromName(std::u16string_view name);
// The name the object was made with.
std::string CoreEncodingName(RuntimeObject* encoding);
// The IANA name, or empty after raising.
std::string CoreEncodingIanaName(RuntimeObject* encoding);
// Converts; false after raising ("Encountered invalid character." and the
// others). Without allowLossy a character the target lacks is an error.
bool CoreTextToBytes(RuntimeObject* encoding, std::u16string_view text, bool allowLossy,
                     std::string& out);
bool CoreBytesToText(RuntimeObject* encoding, std::string_view bytes, bool allowLossy,
                     std::u16string& out);

}  // namespace vela
