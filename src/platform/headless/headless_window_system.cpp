// The headless backend: windows and classes live in memory only, nothing
// depends on a display, and input comes only from what tests push into the
// queue. With the manual clock (platform/clock.h) time stands still except
// in the queue's waits, so timers run deterministically.
#include <algorithm>
#include <map>

#include "platform/window_system.h"

namespace vela::platform {
namespace {

struct HeadlessWindow {
  std::string className;
  int width = 0;
  int height = 0;
  bool visible = false;
};

// No native events: the queue's descriptor is its own eventfd alone.
class HeadlessEventSource final : public EventSource {
 public:
  int Descriptor() const override { return -1; }
  void Drain(EventQueue&) override {}
};

class HeadlessWindowSystem final : public WindowSystem {
 public:
  HeadlessWindowSystem() : mQueue(&mSource) {}

  const char* BackendName() const override { return "headless"; }

  bool RegisterWindowClass(const WindowClassDesc& desc) override {
    return mClasses.emplace(desc.name, desc).second;
  }
  const WindowClassDesc* FindWindowClass(std::string_view name) const override {
    auto it = mClasses.find(std::string(name));
    return it == mClasses.end() ? nullptr : &it->second;
  }

  NativeWindow CreateHiddenWindow(std::string_view className, int width, int height) override {
    if (!FindWindowClass(className)) return 0;
    NativeWindow handle = mNextHandle++;
    mWindows[handle] = HeadlessWindow{std::string(className), width, height, false};
    return handle;
  }
  bool IsWindow(NativeWindow window) const override { return mWindows.count(window) != 0; }
  std::optional<WindowProcedure> ProcedureOf(NativeWindow window) const override {
    auto it = mWindows.find(window);
    if (it == mWindows.end()) return std::nullopt;
    const WindowClassDesc* desc = FindWindowClass(it->second.className);
    if (!desc) return std::nullopt;
    return desc->procedure;
  }

  EventQueue& Queue() override { return mQueue; }
  uint32_t LastMessageTime() const override { return mQueue.LastMessageTime(); }
  bool CompositionEnabled() const override { return true; }

  void SetDpiAwareness(int awareness) override { mDpiAwareness = awareness; }
  int DpiAwareness() const override { return mDpiAwareness; }

  void AcquireThemeService() override { ++mThemeUsers; }
  void ReleaseThemeService() override { mThemeUsers = std::max(0, mThemeUsers - 1); }
  int ThemeServiceUsers() const override { return mThemeUsers; }
  void SetAppDarkModeAllowed(bool allowed) override { mDarkModeAllowed = allowed; }
  bool AppDarkModeAllowed() const override { return mDarkModeAllowed; }

  void AddRecentDocument(const std::string& path) override { mRecent.push_back(path); }
  std::vector<std::string> RecentDocuments() const override { return mRecent; }

 private:
  std::map<std::string, WindowClassDesc> mClasses;
  std::map<NativeWindow, HeadlessWindow> mWindows;
  NativeWindow mNextHandle = 0x1000;
  HeadlessEventSource mSource;
  EventQueue mQueue;
  int mDpiAwareness = 0;
  int mThemeUsers = 0;
  bool mDarkModeAllowed = true;
  std::vector<std::string> mRecent;
};

}  // namespace

std::unique_ptr<WindowSystem> MakeHeadlessWindowSystem() {
  return std::make_unique<HeadlessWindowSystem>();
}

WindowSystem& GetWindowSystem() {
  // Only the headless backend exists so far; the x11 backend joins the choice
  // when it is built.
  static WindowSystem* system = MakeHeadlessWindowSystem().release();  // never freed
  return *system;
}

}  // namespace vela::platform
