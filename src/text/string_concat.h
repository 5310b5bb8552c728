// How two strings of different encodings are brought to one: the pure rule
// on two codes, the step that converts held strings, and concatenation.
#pragma once

#include <cstdint>

#include "text/string_holder.h"

namespace vela {

// The common encoding of two codes. Equal codes stay; ASCII and UTF-8 join
// as UTF-8; ASCII joins any code below 0x100 or from 0x200 up as that code.
// Anything else is kEncodingUnknown, or with `promote` a Unicode form: UTF-16
// when one side is UTF-16 and neither is UTF-8, else UTF-8.
uint32_t CombineEncodings(uint32_t a, uint32_t b, bool promote);

// Brings two held strings to one encoding and returns it. Raw bytes
// (kEncodingUnknown) on either side give kEncodingUnknown and nothing is
// converted; codes that combine are used as they are. Otherwise both go to
// UTF-16 (when one side is UTF-16 and the other not UTF-8) or UTF-8: each
// side of another encoding is converted, `first` before `second`, and its
// holder replaced. A conversion that yields nothing stops there and gives
// kEncodingUnknown.
uint32_t ReconcileStrings(StringHolder& first, StringHolder& second);

// a followed by b, as an owned reference; an empty side gives the other one.
TESSstring ConcatStrings(TESSstring a, TESSstring b);

}  // namespace vela
