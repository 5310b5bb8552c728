// The window system as the rest of the runtime sees it. Nothing outside
// src/platform includes a header of a real window system: start-up, windows,
// panes, timers and the main loop reach it through this interface. Two
// backends implement it: `headless` (deterministic, in memory, the default
// for tests and machines without a display) and `x11`.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/event_queue.h"

namespace vela::platform {

// Which of the runtime's message procedures serves windows of a class.
enum class WindowProcedure { kFrameWindow, kPane, kTimer, kMdiFrame, kMdiChild };

enum class WindowBackground { kNone, kButtonFace, kNullBrush, kInherited };

// Class styles that the runtime uses.
constexpr uint32_t kClassRedrawOnHorizontalResize = 0x2;  // CS_HREDRAW
constexpr uint32_t kClassRedrawOnVerticalResize = 0x1;    // CS_VREDRAW

struct WindowClassDesc {
  std::string name;
  uint32_t style = 0;
  WindowProcedure procedure = WindowProcedure::kFrameWindow;
  int extraBytes = 0;
  int iconResource = 0;  // 0: none
  WindowBackground background = WindowBackground::kNone;
  std::string copiedFrom;  // a system class this one copies, or empty
};

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;
  virtual const char* BackendName() const = 0;

  // Window classes. Registering a name twice keeps the first registration.
  virtual bool RegisterWindowClass(const WindowClassDesc& desc) = 0;
  virtual const WindowClassDesc* FindWindowClass(std::string_view name) const = 0;

  // A window of a registered class that is never shown (the timer window).
  virtual NativeWindow CreateHiddenWindow(std::string_view className, int width,
                                          int height) = 0;
  virtual bool IsWindow(NativeWindow window) const = 0;
  // The message procedure that serves `window`, by its class; none for a
  // window that does not exist.
  virtual std::optional<WindowProcedure> ProcedureOf(NativeWindow window) const = 0;

  // The main thread's message queue, fed by this backend.
  virtual EventQueue& Queue() = 0;

  // Time of the last message taken from the queue, in milliseconds of the
  // platform's message clock; 0 before the first message.
  virtual uint32_t LastMessageTime() const = 0;

  // Whether the desktop composes windows (false means a plain background).
  virtual bool CompositionEnabled() const = 0;

  // Process-wide scaling awareness: 0 unaware, 2 per monitor.
  virtual void SetDpiAwareness(int awareness) = 0;
  virtual int DpiAwareness() const = 0;

  // The theme service: counted by its users, released when the count falls
  // to zero. Dark mode of the application follows the user's choice.
  virtual void AcquireThemeService() = 0;
  virtual void ReleaseThemeService() = 0;
  virtual int ThemeServiceUsers() const = 0;
  virtual void SetAppDarkModeAllowed(bool allowed) = 0;
  virtual bool AppDarkModeAllowed() const = 0;

  // The desktop's list of recently used documents.
  virtual void AddRecentDocument(const std::string& path) = 0;
  virtual std::vector<std::string> RecentDocuments() const = 0;
};

// The backend in use; chosen on first use (headless unless a display is
// configured and an x11 backend exists).
WindowSystem& GetWindowSystem();

std::unique_ptr<WindowSystem> MakeHeadlessWindowSystem();

// Message procedures: the window layers install theirs by kind, and the
// dispatch of a message calls the one that serves the message's window.
using WindowProc = intptr_t (*)(NativeWindow window, uint32_t message, uintptr_t wordParameter,
                                intptr_t longParameter);
void SetWindowProcedure(WindowProcedure kind, WindowProc procedure);

// Dispatches a fetched message: a timer message to its timer procedure,
// a window's message to the procedure of its class. A message to the thread
// (window 0), or to a window without an installed procedure, goes nowhere
// and answers 0.
intptr_t DispatchMessage(const Message& message);

}  // namespace vela::platform
