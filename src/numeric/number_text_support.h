// Shared pieces of the text forms of numbers: reading a string's or a
// Text's characters as UTF-8, making results, and the two flavours of
// failure (the classic String forms and the newer Text forms raise
// different classes with different wording).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vela/string.h"

struct TextRecord;

namespace vela {

// How one family of readers reports bad input.
struct NumberTextFlavour {
  const char* invalidArgument;  // class for empty input and out-of-range values
  const char* badData;          // class for characters that are not a number
  const char* noun;             // "string" or "text", as in "Empty text values ..."
  const char* emptyIntegers;    // the wording of empty input to an integer reader
  bool text;                    // the Text forms
};
extern const NumberTextFlavour kStringFlavour;
extern const NumberTextFlavour kTextFlavour;

// "Empty <noun> values are not valid <what>."
std::string EmptyMessage(const NumberTextFlavour& flavour, const char* what);

// The string's text in UTF-8. Raw bytes (kEncodingUnknown) count as ASCII.
std::string NumberTextOf(TESSstring s);
// The Text's characters in UTF-8 (a lone surrogate becomes U+FFFD).
std::string NumberTextOf(TextRecord* text);

// A new string of the text, tagged with `encoding`.
TESSstring NewNumberString(std::string_view text, uint32_t encoding);
// A new Text of ASCII or UTF-8 text.
TextRecord* NewNumberText(std::string_view utf8);

// Raises InvalidArgumentException with the message.
void RaiseInvalidArgument(const std::string& message);

// The UTF-8 bytes of the code point at `offset` and the offset after it.
std::string_view CodePointAt(std::string_view text, size_t offset, size_t* next);

bool IsBlankByte(char c);  // space, tab, line feed, carriage return

// The lenient integer reading of the text (blanks, "&h"/"&o"/"&b" digits or
// a signed decimal, as far as they go) in 64 bits, unchecked; the callers
// cut it to their type or take it as a Double.
uint64_t LenientIntegerBits(std::string_view text);

}  // namespace vela
