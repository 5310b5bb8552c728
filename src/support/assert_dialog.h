// The dialog reporter: shows an assertion report in a dialog with OK (go on)
// and Cancel (end the process with status 0).
//
// Headless there is no dialog: the dialog's text goes to standard error and
// the environment variable VELA_ASSERT_DIALOG_ANSWER gives the button.
// "cancel" (any case) presses Cancel; anything else, or no variable, presses
// OK, so that an unattended run goes on as the logging reporter's would.
#pragma once

#include "support/assert.h"

namespace vela {

// The process-wide dialog reporter, made on first use. Install it with
// SetAssertReporter.
AssertReporter& DialogAssertReporter();

// The dialog's text for one report (at most size - 1 bytes).
void FormatDialogReport(char* buffer, unsigned size, const char* path, int line,
                        const char* condition, const char* message);

}  // namespace vela
