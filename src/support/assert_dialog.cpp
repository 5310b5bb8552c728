#include "support/assert_dialog.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "support/ascii.h"

namespace vela {
namespace {

bool AnswerIsCancel() {
  const char* answer = std::getenv("VELA_ASSERT_DIALOG_ANSWER");
  return answer && AsciiEqualNoCase(answer, "cancel");
}

class DialogReporter final : public AssertReporter {
 public:
  void Report(const char* path, int line, const char* condition, const char* message) override {
    char text[1024];
    FormatDialogReport(text, sizeof text, path, line, condition, message);
    std::fprintf(stderr, "%s\n", text);
    std::fflush(stderr);
    if (AnswerIsCancel()) {
      std::fflush(stdout);
      _exit(0);
    }
  }
};

}  // namespace

AssertReporter& DialogAssertReporter() {
  static DialogReporter* reporter = new DialogReporter;  // lives to process end
  return *reporter;
}

void FormatDialogReport(char* buffer, unsigned size, const char* path, int line,
                        const char* condition, const char* message) {
  std::snprintf(buffer, size,
                "Runtime Error\nPress OK to Continue\nPress Cancel to Quit.\n\nPlease report what "
                "caused this error\nalong with the information below.\n\n%s: %d\nFailure "
                "Condition: %s\n%s",
                path ? path : "", line, condition ? condition : "", message ? message : "");
}

}  // namespace vela
