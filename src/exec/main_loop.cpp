// One iteration of the main loop and the calls that run it from user code.
// The iteration blocks in the queue's fetch only while nothing needs polling;
// otherwise it waits at most 5 or 20 ms, and while language threads exist it
// spends that wait asleep in the scheduler so that they run meanwhile.
#include "exec/main_loop.h"

#include <algorithm>
#include <cstddef>

#include "exec/application.h"
#include "exec/periodic_task.h"
#include "exec/pollable.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "exec/unhandled.h"
#include "platform/clock.h"
#include "platform/window_system.h"
#include "support/assert.h"
#include "support/export.h"
#include "ui/window_list.h"
#include "vela/threads.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/runctl";

bool gMayBlock = true;
bool gContextMenuClick = false;
bool gSocketBusy = false;
VelaMainLoopHook gHook = nullptr;
WindowLayerHooks gWindowHooks;
IoPollHooks gIoHooks;

platform::EventQueue& Queue() { return platform::GetWindowSystem().Queue(); }

void TrackPointer() {
  if (!gWindowHooks.trackPointer) return;
  int32_t x, y;
  Queue().PointerPosition(&x, &y);
  gWindowHooks.trackPointer(x, y);
}

// The auto-quit test would end the application after this iteration: no
// window is open, the loop runs and the application asks for it. Such an
// iteration must not block, or a windowless application waits for a first
// message before it ends.
bool AutoQuitDue() {
  const RuntimeState& state = State();
  if (!state.inRun || state.quitRequested || OpenWindowCount() != 0) return false;
  ApplicationObject* data = AppData(state.application);
  return data && data->autoQuit;
}

// The polling path's wait: until a message arrives or a timer is due, at
// most 5 ms while anything is polled and 20 ms otherwise.
void PollingWait() {
  if (gSocketBusy) return;
  const bool polled = (gIoHooks.serialPortCount && gIoHooks.serialPortCount() > 0) ||
                      PeriodicTaskCount() > 0 || PollListCount() > 0;
  const uint32_t timeout = polled ? 5 : 20;
  platform::EventQueue& queue = Queue();
  if (AnyTaskWithoutTimer() && !platform::ManualClockActive()) {
    // Language threads exist: the main thread sleeps in the scheduler, which
    // runs them meanwhile (or idles when they all sleep). A post arriving
    // now is seen at the end of the sleep, within 5 ms.
    if (queue.HasWork()) return;
    SleepCurrentThread(int32_t(std::min(timeout, queue.MillisecondsToNextTimer())));
    return;
  }
  queue.Wait(timeout);
}

// Steps 5 to 12 of an iteration, after the fetch.
void AfterFetch(VelaMessage* message) {
  RuntimeState& state = State();
  if (gHook) gHook(message);
  if (gWindowHooks.focusIdle) gWindowHooks.focusIdle();
  PollPollList();
  if (gIoHooks.fireSerialPorts) gIoHooks.fireSerialPorts();
  if (state.socketLayerStarted && gIoHooks.pollSockets) gSocketBusy = gIoHooks.pollSockets();
  RunPeriodicTasks(true);
  VELA_ASSERT(sCurrentThread);
  Yield(false);  // the other language threads get their turn
  if (OpenWindowCount() != 0 || state.quitRequested) return;
  ApplicationObject* data = AppData(state.application);
  if (state.inRun && data && data->autoQuit && QuitRequest()) {
    RaiseEndUnlessDelivering();
    state.quitRequested = true;
  }
}

// A fetched message: the quit message ends the loop, a forwarded exception
// is delivered and ends the iteration, anything else is dispatched. False
// when the iteration ends here.
bool HandleFetched(VelaMessage* message) {
  if (message->message == platform::kQuitMessage) {
    State().quitRequested = true;
    return false;
  }
  if (HandleForwardedException(message->message, message->wordParameter,
                               message->longParameter))
    return false;
  return true;
}

}  // namespace

bool OnCooperativeMainThread() {
  const ThreadLocalState& local = CurrentThreadState();
  return local.isLanguageThread && !local.detached && sMainThread && sCurrentThread == sMainThread;
}

bool& MayBlockFlag() { return gMayBlock; }
bool& ContextMenuClickFlag() { return gContextMenuClick; }
void SetWindowLayerHooks(const WindowLayerHooks& hooks) { gWindowHooks = hooks; }
void SetIoPollHooks(const IoPollHooks& hooks) { gIoHooks = hooks; }

void PollSocketsAndSerialPorts() {
  if (State().socketLayerStarted && gIoHooks.pollSockets) gSocketBusy = gIoHooks.pollSockets();
  if (gIoHooks.fireSerialPorts) gIoHooks.fireSerialPorts();
}

void TranslateAndDispatch(VelaMessage* message) {
  if (gWindowHooks.preTranslate && gWindowHooks.preTranslate(message)) return;
  platform::DispatchMessage(*message);
}

void MainLoopIteration(LoopWait wait) {
  if (gWindowHooks.showPendingWindows) gWindowHooks.showPendingWindows();
  const bool capture = gWindowHooks.hasCapturePane && gWindowHooks.hasCapturePane();
  VelaMessage message{};
  if (wait == LoopWait::kMayWait && gMayBlock && !capture && !AnyTaskWithoutTimer() &&
      !AutoQuitDue()) {
    Queue().Get(&message);  // the blocking path
    if (!HandleFetched(&message)) return;
    TrackPointer();
    TranslateAndDispatch(&message);
  } else {
    TrackPointer();
    if (wait == LoopWait::kMayWait) PollingWait();
    if (Queue().Peek(&message, platform::MessageFilter{}, true)) {
      if (!HandleFetched(&message)) return;
      TranslateAndDispatch(&message);
    }
  }
  AfterFetch(&message);
}

void RunModalPumpIteration() {
  const bool click = gContextMenuClick;
  gContextMenuClick = false;
  if (OnCooperativeMainThread()) {
    gMayBlock = true;
    MainLoopIteration(LoopWait::kMayWait);
  } else {
    Yield(true);
  }
  gContextMenuClick = click;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void AddMainLoopHook(VelaMainLoopHook hook) { gHook = hook; }

VELA_EXPORT void ApplicationDoSingleEvent(void) {}

VELA_EXPORT void RuntimeDoEvents(RuntimeObject*, int32_t milliseconds) {
  const bool click = gContextMenuClick;
  gContextMenuClick = false;
  if (OnCooperativeMainThread()) {
    gMayBlock = false;
    MainLoopIteration(LoopWait::kNoWait);
    gMayBlock = true;
  } else {
    Yield(true);
  }
  gContextMenuClick = click;
  if (milliseconds >= 0 && !CurrentThreadState().detached) SleepCurrentThread(milliseconds);
}

VELA_EXPORT void TESSYieldToTS(void) {
  if (OnCooperativeMainThread()) RunPeriodicTasks(false);
  RuntimeBackgroundTask();
}

// The record that hooks read by position.
static_assert(sizeof(VelaMessage) == 48);
static_assert(offsetof(VelaMessage, message) == 8 && offsetof(VelaMessage, wordParameter) == 16 &&
              offsetof(VelaMessage, longParameter) == 24 && offsetof(VelaMessage, time) == 32 &&
              offsetof(VelaMessage, x) == 36 && offsetof(VelaMessage, y) == 40);
