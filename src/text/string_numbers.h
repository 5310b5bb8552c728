// Numbers in classic strings: the scanner behind Val and IsNumeric, and the
// automatic number printer behind Str and Format.
#pragma once

#include <string>
#include <string_view>

namespace vela {

// The value Val gives for UTF-8 text (at most the first 128 bytes count).
double ParseValText(std::string_view text);

// True when the whole text is one number as Val reads it: leading and
// trailing whitespace, an optional sign, digits with commas among them, one
// point, an exponent after at least one digit (e, E, d or D), or a complete
// "&h", "&o" or "&b" form.
bool IsNumericText(std::string_view text);

// `value` in fixed notation when its integer part fits `digits` significant
// digits and it is not below 1e-05, else in scientific notation with
// `digits` significant digits and no leading zeros in the exponent.
std::string FormatNumberAuto(double value, int digits);

// `value` laid out by a Format pattern, with the group and decimal separators
// of the locale when `localised`, else "," and ".".
std::string FormatNumber(double value, std::string_view format, bool localised);

}  // namespace vela
