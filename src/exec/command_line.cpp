#include "exec/command_line.h"

#include <fstream>
#include <iterator>

#include "exec/runtime_state.h"

namespace vela {
namespace {
bool IsBlank(char c) { return c == ' ' || c == '\t'; }
}  // namespace

std::vector<std::string> TokenizeCommandLine(std::string_view tail) {
  std::vector<std::string> tokens;
  size_t i = 0;
  while (i < tail.size()) {
    if (IsBlank(tail[i])) {
      ++i;
      continue;
    }
    if (tail[i] == '"') {
      size_t close = tail.find('"', i + 1);
      if (close == std::string_view::npos) close = tail.size();
      tokens.emplace_back(tail.substr(i + 1, close - i - 1));
      i = close + 1;
    } else {
      size_t end = i;
      while (end < tail.size() && !IsBlank(tail[end])) ++end;
      tokens.emplace_back(tail.substr(i, end - i));
      i = end;
    }
  }
  return tokens;
}

std::string JoinCommandLine(const std::vector<std::string>& arguments) {
  std::string tail;
  for (const std::string& argument : arguments) {
    if (!tail.empty()) tail += ' ';
    bool quote = argument.empty() || argument.find_first_of(" \t") != std::string::npos;
    if (quote) tail += '"';
    tail += argument;
    if (quote) tail += '"';
  }
  return tail;
}

std::vector<std::string> ProcessArguments() {
  if (State().argumentsKnown) return State().arguments;
  std::ifstream in("/proc/self/cmdline", std::ios::binary);
  std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<std::string> arguments;
  size_t start = 0;
  while (start < all.size()) {
    size_t end = all.find('\0', start);
    if (end == std::string::npos) end = all.size();
    arguments.push_back(all.substr(start, end - start));
    start = end + 1;
  }
  if (!arguments.empty()) arguments.erase(arguments.begin());  // the program itself
  return arguments;
}

}  // namespace vela
