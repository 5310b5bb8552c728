#include "ui/window_list.h"

#include <algorithm>
#include <vector>

namespace vela {
namespace {
std::vector<FrameworkWindow*>& Windows() {
  static std::vector<FrameworkWindow*>* windows = new std::vector<FrameworkWindow*>;
  return *windows;
}
}  // namespace

size_t OpenWindowCount() { return Windows().size(); }

FrameworkWindow* FrontWindow() { return Windows().empty() ? nullptr : Windows().front(); }

void AddOpenWindow(FrameworkWindow* window) { Windows().insert(Windows().begin(), window); }

void RemoveOpenWindow(FrameworkWindow* window) {
  auto& list = Windows();
  list.erase(std::remove(list.begin(), list.end(), window), list.end());
}

void CloseAllWindows() {
  while (FrameworkWindow* front = FrontWindow()) {
    front->Close(false);
    if (FrontWindow() == front) break;  // it refused to go
  }
}

bool AskAndCloseWindowsForQuit() {
  std::vector<FrameworkWindow*> snapshot = Windows();
  for (FrameworkWindow* window : snapshot)
    if (window->AsksToStayOpen()) return false;
  for (FrameworkWindow* window : snapshot)
    if (!window->Close(true)) return false;
  return true;
}

}  // namespace vela
