// The command line as start-up reads it: one string, split into document
// tokens the way the desktop quotes paths.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vela {

// Splits a command line tail: blanks between tokens are skipped; a token in
// double quotes runs to the next double quote (or to the end when there is
// none); any other token runs to the next blank.
std::vector<std::string> TokenizeCommandLine(std::string_view tail);

// Joins arguments into a tail that TokenizeCommandLine splits back, quoting
// those that hold a blank or are empty.
std::string JoinCommandLine(const std::vector<std::string>& arguments);

// The arguments behind the program name: those the stub passed to
// MainExport, else the process's own.
std::vector<std::string> ProcessArguments();

}  // namespace vela
