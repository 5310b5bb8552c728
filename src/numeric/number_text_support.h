// Shared pieces of the text forms of numbers: reading a string's text as
// UTF-8, making result strings, and raising the readers' exceptions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vela/string.h"

namespace vela {

// The string's text in UTF-8. Raw bytes (kEncodingUnknown) count as ASCII.
std::string NumberTextOf(TESSstring s);

// A new string of the text, tagged with `encoding`.
TESSstring NewNumberString(std::string_view text, uint32_t encoding);

// Raises InvalidArgumentException with the message.
void RaiseInvalidArgument(const std::string& message);

// The UTF-8 bytes of the code point at `offset` and the offset after it.
std::string_view CodePointAt(std::string_view text, size_t offset, size_t* next);

bool IsBlankByte(char c);  // space, tab, line feed, carriage return

}  // namespace vela

namespace vela {

// The lenient integer reading of the text (blanks, "&h"/"&o"/"&b" digits or
// a signed decimal, as far as they go) as a Double; for the Double readers,
// which take the radix forms as integers.
double LenientNumberAsDouble(std::string_view text);

}  // namespace vela
