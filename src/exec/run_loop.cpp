// RuntimeRun: the main loop until the quit flag, then the ordered shutdown;
// the quit request that the language's Quit and the auto-quit test share.
#include "exec/application.h"
#include "exec/main_loop.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "object/raise.h"
#include "platform/window_system.h"
#include "support/export.h"
#include "ui/window_list.h"

namespace vela {
namespace {
void RunOneIteration() { MainLoopIteration(LoopWait::kMayWait); }
}  // namespace

void RaiseEndUnlessDelivering() {
  if (!State().deliveringUnhandledException) RaiseNamedException("EndException", 0, nullptr);
}

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
  while (!state.quitRequested) ProtectedCall(RunOneIteration);
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
