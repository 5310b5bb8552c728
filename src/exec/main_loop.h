// One iteration of the main loop, and what the other layers plug into it:
// the window layer (re-showing windows, capture, pointer tracking, key
// pre-translation, the focus pane's idle work), the socket layer and serial
// ports. A layer that does not exist yet leaves its hook nil, and the
// iteration skips that step.
#pragma once

#include <cstdint>

#include "vela/main_loop.h"

namespace vela {

// The calling thread is the main thread and holds the turn.
bool OnCooperativeMainThread();

// Whether the iteration may wait for input at all. With kMayWait it blocks
// in the fetch when the may-block flag is set and nothing needs polling,
// and otherwise waits at most 5 or 20 ms; with kNoWait (RuntimeDoEvents) it
// takes what is there and goes on.
enum class LoopWait { kMayWait, kNoWait };

// One iteration on the main thread. RuntimeRun repeats it through the
// protected call; the modal pump and RuntimeDoEvents run it once.
void MainLoopIteration(LoopWait wait = LoopWait::kMayWait);

// The language's Quit after a granted quit request: EndException, unless an
// unhandled exception is being delivered.
void RaiseEndUnlessDelivering();

// The may-block flag: 1 at load; RuntimeDoEvents clears it for its
// iteration, the modal pump sets it.
bool& MayBlockFlag();

// The flag that IsCMMClick reports (a context-menu click is in progress);
// RuntimeDoEvents and the modal pump save, clear and restore it.
bool& ContextMenuClickFlag();

// The modal pump of modal windows: on the cooperative main thread one
// blocking-capable iteration, elsewhere a yield.
void RunModalPumpIteration();

struct WindowLayerHooks {
  // Step 1: shows the windows whose visible flag is set but whose native
  // window is hidden.
  void (*showPendingWindows)() = nullptr;
  // A capture pane exists: pointer tracking must see the release, so the
  // loop polls.
  bool (*hasCapturePane)() = nullptr;
  // Pointer tracking at a screen position (enter, leave, move, drag, the
  // release of a capture).
  void (*trackPointer)(int32_t x, int32_t y) = nullptr;
  // Key pre-translation and MDI accelerators: true when the message was
  // taken and must not be dispatched.
  bool (*preTranslate)(VelaMessage* message) = nullptr;
  // The focus pane's per-iteration operation.
  void (*focusIdle)() = nullptr;
  // Any framework window is open (the auto-quit test does not run then).
  // Nil: the window list of ui/window_list.h decides.
};
void SetWindowLayerHooks(const WindowLayerHooks& hooks);

struct IoPollHooks {
  // Polls every socket, last first; answers whether any socket wants
  // immediate attention (the socket-busy flag). Called only while the
  // socket layer is started.
  bool (*pollSockets)() = nullptr;
  // Fires the pending events of every serial port.
  void (*fireSerialPorts)() = nullptr;
  // Serial ports that exist (their presence shortens the wait to 5 ms).
  int (*serialPortCount)() = nullptr;
};
// The socket and serial layers install their polls here when they exist.
void SetIoPollHooks(const IoPollHooks& hooks);

// The poll task's second half: sockets (when the layer is started), then
// serial ports.
void PollSocketsAndSerialPorts();

// Pre-translation and dispatch of one fetched message.
void TranslateAndDispatch(VelaMessage* message);

}  // namespace vela
