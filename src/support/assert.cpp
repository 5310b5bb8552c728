#include "support/assert.h"

#include "support/message_text.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <cstdlib>

namespace vela {
namespace {

// Reports from files of this project carry paths relative to its root: the
// build prefix, everything in front of "src/" in this file's own path, is cut
// off when a caller passes a full path.
size_t BuildPrefixLength() {
  static const size_t length = [] {
    const char* self = __FILE__;
    const char* tail = std::strstr(self, "src/support/assert.cpp");
    return tail ? size_t(tail - self) : size_t(0);
  }();
  return length;
}

const char* StripBuildPrefix(const char* path) {
  if (!path) return "";
  size_t prefix = BuildPrefixLength();
  if (prefix && std::strlen(path) > prefix && std::strncmp(path, __FILE__, prefix) == 0)
    return path + prefix;
  return path;
}

class LoggingReporter final : public AssertReporter {
 public:
  void Report(const char* path, int line, const char* condition, const char* message) override {
    char buffer[1024];
    FormatLoggingReport(buffer, sizeof buffer, path, line, condition, message);
    std::fprintf(stderr, "%s\n", buffer);
    std::fflush(stderr);
  }
};

LoggingReporter& Logging() {
  static LoggingReporter* reporter = new LoggingReporter;  // lives to process end
  return *reporter;
}

std::atomic<AssertReporter*> gReporter{nullptr};

}  // namespace

AssertReporter* SetAssertReporter(AssertReporter* reporter) {
  return gReporter.exchange(reporter);
}

void FormatLoggingReport(char* buffer, unsigned size, const char* path, int line,
                         const char* condition, const char* message) {
  std::snprintf(buffer, size,
                "Runtime Error\nPlease report what caused this error along with the information "
                "below.\n%s: %d\nFailure Condition: %s\n%s",
                path, line, condition ? condition : "", message ? message : "");
}

}  // namespace vela

void RuntimeAssert(const char* path, int line, const char* condition, const char* message) {
  vela::AssertReporter* reporter = vela::gReporter.load();
  if (!reporter) reporter = &vela::Logging();
  reporter->Report(vela::StripBuildPrefix(path), line, condition ? condition : "",
                   message ? message : "");
}

void RuntimeAssertFormat(const char* path, int line, const char* condition, const char* format,
                         ...) {
  va_list args;
  va_start(args, format);
  vela::MessageText message(format, args);
  va_end(args);
  RuntimeAssert(path, line, condition, message.c_str());
}
