// Number separators of the user's locale, for the functions that read and
// write numbers the way the user writes them (CDbl, CLong, Format).
#pragma once

#include <optional>
#include <string>

namespace vela::platform {

struct NumberSeparators {
  std::string group = ",";
  std::string decimal = ".";
};

// The separators of the named locale ("" is the environment's choice), or
// nothing if the system does not know that locale. A locale that defines
// no group separator (C, POSIX) keeps "," unless its decimal separator is
// ",", in which case the group is ".": the two never coincide, so removing
// the group separator can never destroy the decimal point.
std::optional<NumberSeparators> NumberSeparatorsOf(const char* localeName);

// The separators of the process's locale, read once from the environment.
const NumberSeparators& SystemNumberSeparators();

// Tests replace the system's separators; nullptr restores them.
void OverrideSystemNumberSeparators(const NumberSeparators* separators);

}  // namespace vela::platform
