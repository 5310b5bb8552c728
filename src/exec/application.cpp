// The application object: declarations, events, initializer and finalizer,
// and the properties that live in its native data.
#include "exec/application.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "exec/pollable.h"
#include "exec/runtime_state.h"
#include "io/folder_item_bridge.h"
#include "object/class_ref.h"
#include "platform/window_system.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/application";

DeclEvent gApplicationEvents[] = {
    {"Open", 0, 0},          {"Close", 0, 0},        {"EnableMenuItems", 0, 0},
    {"NewDocument", 0, 0},   {"OpenDocument", 0, 0}, {"HandleAppleEvent", 0, 0},
    {"Activate", 0, 0},      {"Deactivate", 0, 0},   {"UnhandledException", 0, 0},
    {"CancelClose", 0, 0},   {"AppearanceChanged", 0, 0},
};
DeclEvent gDesktopApplicationEvents[] = {
    {"Activated", 0, 0},       {"AppearanceChanged", 0, 0}, {"AppleEventReceived", 0, 0},
    {"CancelClosing", 0, 0},   {"Closing", 0, 0},           {"Deactivated", 0, 0},
    {"DocumentCreated", 0, 0}, {"DocumentOpened", 0, 0},    {"MenuBarSelected", 0, 0},
    {"Opening", 0, 0},         {"UnhandledException", 0, 0},
};

struct EventNames {
  const char* classic;
  const char* desktop;
};
// Indexed by AppEvent.
constexpr EventNames kEventNames[] = {
    {"Open", "Opening"},
    {"Close", "Closing"},
    {"NewDocument", "DocumentCreated"},
    {"OpenDocument", "DocumentOpened"},
    {"CancelClose", "CancelClosing"},
    {"Activate", "Activated"},
    {"Deactivate", "Deactivated"},
    {"UnhandledException", "UnhandledException"},
    {"EnableMenuItems", "MenuBarSelected"},
    {"HandleAppleEvent", "AppleEventReceived"},
    {"AppearanceChanged", "AppearanceChanged"},
};

ClassRef gMDIWindowClass("MDIWindow");
ClassRef gDesktopMDIWindowClass("DesktopMDIWindow");

// Holds a reference on the application while one of its events runs.
class HeldObject {
 public:
  explicit HeldObject(RuntimeObject* object) : mObject(object) { RuntimeLockObject(object); }
  ~HeldObject() { RuntimeUnlockObject(mObject); }
  HeldObject(const HeldObject&) = delete;
  HeldObject& operator=(const HeldObject&) = delete;

 private:
  RuntimeObject* mObject;
};

void SetCountedField(RuntimeObject*& field, RuntimeObject* value) {
  RuntimeLockObject(value);
  RuntimeObject* old = field;
  field = value;
  RuntimeUnlockObject(old);
}

bool EnvironmentSwitchSet(const char* name) {
  const char* value = std::getenv(name);
  if (!value || std::strlen(value) > 1024) return false;
  return AsciiEqualNoCase(value, "true") || std::strcmp(value, "1") == 0;
}
}  // namespace

NativeClassDecl<ApplicationObject> gApplicationDecl(nullptr, "Application", gApplicationEvents);
NativeClassDecl<ApplicationObject> gDesktopApplicationDecl(nullptr, "DesktopApplication",
                                                           gDesktopApplicationEvents);

ApplicationObject* AppData(RuntimeObject* app) {
  if (!app) return nullptr;
  if (gDesktopApplicationDecl.IsInstance(app)) return gDesktopApplicationDecl.Data(app);
  return gApplicationDecl.Data(app);
}

void* AppEventHandler(RuntimeObject* app, AppEvent event) {
  const EventNames& names = kEventNames[static_cast<int>(event)];
  return DualEvent(app, gDesktopApplicationDecl, names.desktop, gApplicationDecl, names.classic);
}

void FireAppEvent(RuntimeObject* app, AppEvent event) {
  auto handler = reinterpret_cast<void (*)(RuntimeObject*)>(AppEventHandler(app, event));
  if (!handler) return;
  HeldObject hold(app);
  handler(app);
}

bool FireAppBooleanEvent(RuntimeObject* app, AppEvent event) {
  auto handler = reinterpret_cast<VelaBoolean (*)(RuntimeObject*)>(AppEventHandler(app, event));
  if (!handler) return false;
  HeldObject hold(app);
  return handler(app) != 0;
}

void FireAppObjectEvent(RuntimeObject* app, AppEvent event, RuntimeObject* argument) {
  auto handler =
      reinterpret_cast<void (*)(RuntimeObject*, RuntimeObject*)>(AppEventHandler(app, event));
  if (!handler) return;
  HeldObject hold(app);
  handler(app, argument);
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void ApplicationInitializer(RuntimeObject* object) {
  RuntimeState& state = State();
  if (!state.application) {
    state.application = object;
    RuntimeLockObject(object);
  }
  ApplicationObject* data = AppData(object);
  if (!data) return;
  bool desktop = gDesktopApplicationDecl.IsInstance(object);
  data->mdiWindow = desktop ? gDesktopMDIWindowClass.New() : gMDIWindowClass.New();
  data->mMenuHandlers = nullptr;
  data->further = nullptr;
  data->autoQuit = 1;
  if (EnvironmentSwitchSet("VELA_WIN32_DARKMODE_DISABLED")) {
    state.userDarkModeSupport = false;
    platform::GetWindowSystem().SetAppDarkModeAllowed(false);
  }
  if (state.mdiMode) data->autoQuit = 0;
}

VELA_EXPORT void ApplicationFinalizer(RuntimeObject* object) {
  ApplicationObject* data = AppData(object);
  RemoveAllPollableObjects();
  if (data) {
    SetCountedField(data->mdiWindow, nullptr);
    SetCountedField(data->further, nullptr);
    delete data->mMenuHandlers;
    data->mMenuHandlers = nullptr;
    SetCountedField(data->menuBar, nullptr);
    SetCountedField(data->mouseCursor, nullptr);
  }
  if (State().application == object) State().application = nullptr;
}

VELA_EXPORT void ApplicationNewDocument(RuntimeObject* app) {
  if (!app) return;
  FireAppEvent(app, AppEvent::kNewDocument);
}

VELA_EXPORT void ApplicationOpenDocument(RuntimeObject* app, RuntimeObject* item) {
  if (!app) return;
  FireAppObjectEvent(app, AppEvent::kDocumentGiven, item);
  if (!item) return;
  TESSstring path = FolderItemNativePath(item);
  if (path)
    platform::GetWindowSystem().AddRecentDocument(
        std::string(StringText(path), size_t(StringLength(path))));
  RuntimeUnlockString(path);
}

VELA_EXPORT void ApplicationAddMenuHandler(RuntimeObject* self, TESSstring name, void* handler) {
  VELA_ASSERT(self);
  VELA_ASSERT(name);
  if (!handler || !self || !name) return;
  ApplicationObject* data = AppData(self);
  if (!data) return;
  if (!data->mMenuHandlers) data->mMenuHandlers = new MenuHandlerMap;
  VELA_ASSERT_TEXT(data->mMenuHandlers, "self->mMenuHandlers");
  (*data->mMenuHandlers)[std::string(StringText(name), size_t(StringLength(name)))] = handler;
}

VELA_EXPORT VelaBoolean AppAutoCloseGetter(RuntimeObject* self, intptr_t) {
  ApplicationObject* data = AppData(self);
  return data ? data->autoQuit : 0;
}

VELA_EXPORT void AppAutoCloseSetter(RuntimeObject* self, intptr_t, VelaBoolean value) {
  if (ApplicationObject* data = AppData(self)) data->autoQuit = value ? 1 : 0;
}

VELA_EXPORT void appMouseCursorSetter(RuntimeObject* self, intptr_t, RuntimeObject* cursor) {
  if (ApplicationObject* data = AppData(self)) SetCountedField(data->mouseCursor, cursor);
}

VELA_EXPORT void AppMenuBarSetter(RuntimeObject* self, intptr_t, RuntimeObject* menuBar) {
  if (ApplicationObject* data = AppData(self)) SetCountedField(data->menuBar, menuBar);
}

VELA_EXPORT VelaBoolean ApplicationUseGDIPlusGetter(RuntimeObject*) {
  return State().useGDIPlus;
}

VELA_EXPORT void ApplicationUseGDIPlusSetter(RuntimeObject*, VelaBoolean value) {
  State().useGDIPlus = value != 0;
}

VELA_EXPORT VelaBoolean ApplicationSupportsHiDPI(void) { return State().supportsHiDPI; }

VELA_EXPORT void ApplicationSetSupportsHiDPI(VelaBoolean value) {
  State().supportsHiDPI = value != 0;
  platform::GetWindowSystem().SetDpiAwareness(value ? 2 : 0);
}

VELA_EXPORT void DesktopApplication_SetUserDarkModeSupport(VelaBoolean value) {
  State().userDarkModeSupport = value != 0;
  // The theme service of the window system decides what dark mode means;
  // the application only says whether it allows it.
  platform::GetWindowSystem().SetAppDarkModeAllowed(value != 0);
}

static_assert(offsetof(vela::ApplicationObject, mouseCursor) == 48);
static_assert(offsetof(vela::ApplicationObject, further) == 80);
static_assert(offsetof(vela::ApplicationObject, autoQuit) == 89);
