// The headless backend: windows and classes live in memory only, time stands
// still unless the test drives it, and nothing depends on a display.
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

class HeadlessWindowSystem final : public WindowSystem {
 public:
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

  uint32_t LastMessageTime() const override { return mLastMessageTime; }
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
  uint32_t mLastMessageTime = 0;
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
