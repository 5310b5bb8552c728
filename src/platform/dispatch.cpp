// The dispatch of fetched messages to the procedures that the window layers
// install, one per kind of window class.
#include <array>

#include "platform/window_system.h"

namespace vela::platform {
namespace {

constexpr size_t kProcedureKinds = size_t(WindowProcedure::kMdiChild) + 1;
std::array<WindowProc, kProcedureKinds> gProcedures{};  // main thread only

}  // namespace

void SetWindowProcedure(WindowProcedure kind, WindowProc procedure) {
  gProcedures[size_t(kind)] = procedure;
}

intptr_t DispatchMessage(const Message& message) {
  if (message.message == kTimerMessage && message.longParameter) {
    auto proc = reinterpret_cast<TimerProc>(message.longParameter);
    proc(message.window, message.message, message.wordParameter, message.time);
    return 0;
  }
  if (!message.window) return 0;
  std::optional<WindowProcedure> kind = GetWindowSystem().ProcedureOf(message.window);
  if (!kind) return 0;
  WindowProc procedure = gProcedures[size_t(*kind)];
  if (!procedure) return 0;
  return procedure(message.window, message.message, message.wordParameter,
                   message.longParameter);
}

}  // namespace vela::platform
