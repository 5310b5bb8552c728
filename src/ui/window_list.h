// The list of open framework windows, front window first, as start-up, the
// main loop and the quit request see it. The window layer adds and removes
// its windows here.
#pragma once

#include <cstddef>

#include "vela/object.h"

namespace vela {

class FrameworkWindow {
 public:
  virtual ~FrameworkWindow() = default;
  // Fires the window's "CancelClose"/"CancelClosing"; true refuses to close.
  virtual bool AsksToStayOpen() = 0;
  // Closes the window; with forceQuit the application is quitting. False
  // when the window stayed open.
  virtual bool Close(bool forceQuit) = 0;
};

size_t OpenWindowCount();
FrameworkWindow* FrontWindow();
void AddOpenWindow(FrameworkWindow* window);
void RemoveOpenWindow(FrameworkWindow* window);

// Closes windows from the front until none is left or the front window
// refuses to go.
void CloseAllWindows();

// The two passes of a quit: every window may refuse; then each is closed
// with forceQuit. False when a window refused or stayed open.
bool AskAndCloseWindowsForQuit();

}  // namespace vela
