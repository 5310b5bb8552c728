// Numbers in classic strings: the scanner behind Val and IsNumeric, and the
// automatic number printer behind Str and Format.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vela {

// The value Val gives for UTF-8 text (at most the first 128 bytes count).
double ParseValText(std::string_view text);

// The decimal number (sign, digits, one point, exponent with digits) that
// the text starts with, read in the C locale; 0 if none. No blanks are
// skipped and no radix forms read: the shared core of Val and the readers
// of Double text.
double ParseDecimalPrefix(std::string_view text);

// The whole number that UTF-8 text starts with, for CLong: leading blanks,
// an optional sign and decimal digits (saturating at the Int64 limits), or
// a "&h", "&o" or "&b" form accumulated in 64 bits. Anything else gives 0.
int64_t ParseInt64Text(std::string_view text);

// True when the whole text is one number as Val reads it: leading and
// trailing whitespace, an optional sign, digits with commas among them, one
// point, an exponent after at least one digit (e, E, d or D), or a complete
// "&h", "&o" or "&b" form.
bool IsNumericText(std::string_view text);

// `value` in fixed notation when its integer part fits `digits` significant
// digits and it is not below 1e-05, else in scientific notation with
// `digits` significant digits and no leading zeros in the exponent.
std::string FormatNumberAuto(double value, int digits);

// A Currency value (the amount times 10,000) in plain decimal: the whole
// digits, and a point with the fraction only if it is not zero, trailing
// zeros dropped ("1.25", "1", "0.0001", "-0.5").
std::string CurrencyPlainText(int64_t scaled);

// `value` laid out by a Format pattern, with the group and decimal separators
// of the locale when `localised`, else "," and ".".
std::string FormatNumber(double value, std::string_view format, bool localised);

}  // namespace vela
