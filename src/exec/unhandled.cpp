#include "exec/unhandled.h"

#include <cstdio>

#include "exec/application.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "object/exception.h"
#include "platform/window_system.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"
#include "ui/window_list.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeExceptionFoundation";

bool IsA(ExceptionKind kind, RuntimeObject* exception) {
  return ExceptionDeclFor(kind).IsInstance(exception);
}

// A detached thread, or a language thread that is not the main thread.
bool OffTheMainThread() {
  const ThreadLocalState& local = CurrentThreadState();
  return local.detached || !local.isLanguageThread || sCurrentThread != sMainThread;
}

// The exception travels to the main thread as a posted message pair, with
// one reference, and wakes the main loop's wait.
void PostToMainThread(RuntimeObject* exception) {
  RuntimeLockObject(exception);
  platform::GetWindowSystem().Queue().Post(0, kForwardedExceptionMessage,
                                           reinterpret_cast<uintptr_t>(exception),
                                           intptr_t(kForwardedExceptionMessage));
}

void HandleUnhandledException(RuntimeObject* exception) {
  if (!exception) return;
  if (!IsA(ExceptionKind::kThreadEnd, exception) && OffTheMainThread()) {
    PostToMainThread(exception);
    return;  // the raising thread goes on
  }
  if (!TryApplicationUnhandledException(exception) && !State().quitRequested)
    UnhandledException(exception);
}

// Headless, the report's dialog is its text on standard error; the message
// dialog of the window layer replaces this.
void ShowUnhandledReport(const UnhandledReport& report) {
  std::fprintf(stderr, "%s\n", report.message.c_str());
  if (!report.explanation.empty()) std::fprintf(stderr, "%s\n", report.explanation.c_str());
  std::fflush(stderr);
}

}  // namespace

void InstallUnhandledExceptionHelper() { SetUnhandledExceptionHelper(HandleUnhandledException); }

bool HandleForwardedException(uint32_t message, uintptr_t wordParameter, intptr_t longParameter) {
  if (message != kForwardedExceptionMessage || longParameter != intptr_t(kForwardedExceptionMessage))
    return false;
  auto* exception = reinterpret_cast<RuntimeObject*>(wordParameter);
  RuntimeUnhandledException(exception);
  RuntimeUnlockObject(exception);
  return true;
}

size_t DeliverForwardedExceptions() {
  platform::EventQueue& queue = platform::GetWindowSystem().Queue();
  const platform::MessageFilter pairs{0, kForwardedExceptionMessage, kForwardedExceptionMessage};
  size_t delivered = 0;
  platform::Message message;
  while (queue.Peek(&message, pairs, true))
    delivered += HandleForwardedException(message.message, message.wordParameter,
                                          message.longParameter);
  return delivered;
}

UnhandledReport UnhandledReportFor(RuntimeObject* exception) {
  UnhandledReport report;
  report.message = "An exception of class %1 was not handled.  The application must shut down.";
  const char* className = exception && exception->classPtr && exception->classPtr->name
                              ? exception->classPtr->name
                              : "";
  report.message.replace(report.message.find("%1"), 2, className);
  TESSstring message = RuntimeExceptionMessageGetter(exception);
  if (StringLength(message) > 0) {
    report.explanation += "Exception Message: ";
    report.explanation.append(StringText(message), size_t(StringLength(message)));
    report.explanation += "\r";
  }
  RuntimeUnlockString(message);
  if (int32_t number = RuntimeExceptionErrorNumberGetter(exception))
    report.explanation += "Exception Error Number: " + std::to_string(number);
  return report;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT VelaBoolean TryApplicationUnhandledException(RuntimeObject* exception) {
  if (IsA(ExceptionKind::kThreadEnd, exception)) return true;
  if (IsA(ExceptionKind::kEnd, exception)) return false;
  RuntimeState& state = State();
  if (state.deliveringUnhandledException) return false;
  state.deliveringUnhandledException = true;
  RuntimeObject* app = state.application;
  RuntimeLockObject(app);
  bool handled = false;
  if (app) {
    using Handler = VelaBoolean (*)(RuntimeObject*, RuntimeObject*);
    if (auto handler = reinterpret_cast<Handler>(AppEventHandler(app, AppEvent::kUnhandledException)))
      handled = handler(app, exception) != 0;
  }
  RuntimeUnlockObject(app);
  state.deliveringUnhandledException = false;
  return handled;
}

VELA_EXPORT void UnhandledException(RuntimeObject* exception) {
  if (!exception) return;
  if (IsA(ExceptionKind::kEnd, exception)) {
    CloseAllWindows();
    State().quitRequested = true;
    return;
  }
  ShowUnhandledReport(UnhandledReportFor(exception));
  State().quitRequested = true;
}

VELA_EXPORT void RuntimeStackCheck(void) {
  const ThreadLocalState& local = CurrentThreadState();
  if (!local.isLanguageThread || local.detached) return;  // detached threads run unchecked
  RuntimeThread* thread = sCurrentThread;
  if (!thread || !thread->stackCheck || !thread->stackHigh || thread->stackSize > thread->stackHigh)
    return;
  const uintptr_t low = thread->stackHigh - thread->stackSize;
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  // A tenth of the stack stays free for the raise and what handles it.
  if (here < low + thread->stackSize / 10) RaiseException(ExceptionKind::kStackOverflow);
}
