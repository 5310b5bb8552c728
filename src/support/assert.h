// Assertion reports: failures that a correct program cannot cause. A report
// names the source path, the line, the failed condition and a message, and
// then returns: the code behind an assertion goes on.
#pragma once

#include <cstdarg>

namespace vela {

// Receives every report. The logging reporter writes to standard error; tests
// install a recording one.
class AssertReporter {
 public:
  virtual ~AssertReporter() = default;
  virtual void Report(const char* path, int line, const char* condition,
                      const char* message) = 0;
};

// Installs `reporter` (nil restores the logging reporter); returns the one
// that was in place.
AssertReporter* SetAssertReporter(AssertReporter* reporter);

// The logging reporter's text for one report, as written to standard error.
void FormatLoggingReport(char* buffer, unsigned size, const char* path, int line,
                         const char* condition, const char* message);

}  // namespace vela

void RuntimeAssert(const char* path, int line, const char* condition, const char* message);
void RuntimeAssertFormat(const char* path, int line, const char* condition, const char* format,
                         ...) __attribute__((format(printf, 4, 5)));

// Each source file that asserts defines kReportPath, the path its reports
// carry, such as "Common/ObjectModel/RuntimeObjectFoundation".
#define VELA_ASSERT(cond)                                                       \
  ((cond) ? (void)0 : ::RuntimeAssert(kReportPath, __LINE__, #cond, ""))
// The condition text is given where the reported text must differ from the
// C++ expression.
#define VELA_ASSERT_TEXT(cond, text)                                            \
  ((cond) ? (void)0 : ::RuntimeAssert(kReportPath, __LINE__, text, ""))
#define VELA_ASSERT_MSG(cond, text, ...)                                        \
  ((cond) ? (void)0 : ::RuntimeAssertFormat(kReportPath, __LINE__, text, __VA_ARGS__))

// A piece of the runtime that does not exist yet reports itself by name
// instead of doing nothing.
#define VELA_NOT_BUILT(piece)                                                   \
  ::RuntimeAssert(kReportPath, __LINE__, "not built yet", piece)
