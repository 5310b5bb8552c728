// RuntimeRun: the main loop until the quit flag, then the ordered shutdown;
// the quit request that the language's Quit and the auto-quit test share.
#include <time.h>

#include "exec/application.h"
#include "exec/periodic_task.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "object/raise.h"
#include "platform/window_system.h"
#include "support/assert.h"
#include "support/export.h"
#include "ui/window_list.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/application";

void RaiseEndUnlessDelivering() {
  if (!State().deliveringUnhandledException) RaiseNamedException("EndException", 0, nullptr);
}

// One iteration of the main loop. The platform's messages, the poll list,
// sockets and periodic tasks join it with the event loop of the execution
// layer; what stands here is the idle wait and the auto-quit test that end an
// application without windows.
void MainLoopIteration() {
  RuntimeState& state = State();
  // Tasks without a platform timer (the scheduler's among them) run here,
  // and the other language threads get their turn.
  RunPeriodicTasks(true);
  VELA_ASSERT(sCurrentThread);
  Yield(false);
  bool windowsOpen = OpenWindowCount() != 0;
  ApplicationObject* data = AppData(state.application);
  if (!windowsOpen && !state.quitRequested && state.inRun && data && data->autoQuit &&
      QuitRequest()) {
    RaiseEndUnlessDelivering();
    state.quitRequested = true;
  }
  if (!state.quitRequested) {
    // The polling path's wait for input, which nothing sends yet. While a
    // task must be polled it lasts 5 ms and is a sleep of the main thread in
    // the scheduler, so that the other language threads run meanwhile.
    if (AnyTaskWithoutTimer()) {
      SleepCurrentThread(5);
    } else {
      timespec idle{0, 20 * 1000000L};
      nanosleep(&idle, nullptr);
    }
  }
}
}  // namespace

bool QuitRequest() {
  RuntimeObject* app = State().application;
  if (!app) return true;
  ApplicationObject* data = AppData(app);
  if (!data) return true;
  if (data->quitInProgress) return false;
  data->quitInProgress = 1;
  if (FireAppBooleanEvent(app, AppEvent::kMayQuit) || !AskAndCloseWindowsForQuit()) {
    data->quitInProgress = 0;
    return false;
  }
  // Tray items are removed here, last added first, once they exist.
  data->quitInProgress = 0;
  return true;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void RuntimeRun(void) {
  RuntimeState& state = State();
  if (state.runStarted) return;
  state.runStarted = true;
  state.inRun = true;
  while (!state.quitRequested) ProtectedCall(MainLoopIteration);
  CloseAllWindows();
  state.inRun = false;
  if (RuntimeObject* app = state.application) {
    FireAppEvent(app, AppEvent::kEnd);
    StopAllThreads();
    state.application = nullptr;
    RuntimeUnlockObject(app);
  }
}

VELA_EXPORT void TS_ApplicationQuit(void) {
  if (!QuitRequest()) return;
  RaiseEndUnlessDelivering();
  State().quitRequested = true;
}

VELA_EXPORT void AppSleepCurrentThread(RuntimeObject*, int32_t milliseconds) {
  SleepCurrentThread(milliseconds);
}

VELA_EXPORT int32_t AppGetCurrentEventTime(RuntimeObject*) {
  uint32_t time = platform::GetWindowSystem().LastMessageTime();
  return int32_t(time / 1000.0 * 60.0);
}
