#include "exec/app_fixture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vela::testkit {
namespace {

const char* const kClassicEvents[] = {
    "Open", "Close", "EnableMenuItems", "NewDocument", "OpenDocument", "HandleAppleEvent",
    "Activate", "Deactivate", "UnhandledException", "CancelClose", "AppearanceChanged"};
const char* const kDesktopEvents[] = {
    "Activated", "AppearanceChanged", "AppleEventReceived", "CancelClosing", "Closing",
    "Deactivated", "DocumentCreated", "DocumentOpened", "MenuBarSelected", "Opening",
    "UnhandledException"};

void CallWithHandling(RuntimeObject*, void (*function)()) {
  ++ProtectedCalls();
  function();
}

}  // namespace

std::vector<std::string>& AppTrace() {
  static std::vector<std::string> trace;
  return trace;
}

int& ProtectedCalls() {
  static int calls = 0;
  return calls;
}

void SetEventHandler(RuntimeClass* cls, const char* event, void* function) {
  for (uint32_t i = 0; i < cls->eventCount; ++i)
    if (std::strcmp(cls->events[i].head.name, event) == 0) {
      cls->events[i].function = function;
      return;
    }
  ADD_FAILURE() << "no event " << event << " in " << cls->name;
}

AppClasses MakeAppClasses(AppFlavour flavour, bool withCallMethod) {
  bool desktop = flavour == AppFlavour::kDesktop;
  ClassBuilder framework(desktop ? "DesktopApplication" : "Application");
  framework.Backwards().Initializer(ApplicationInitializer).Finalizer(ApplicationFinalizer);
  for (const char* name : desktop ? kDesktopEvents : kClassicEvents) framework.Event(name);
  AppClasses classes;
  classes.framework = framework.Build();

  ClassBuilder mdi(desktop ? "DesktopMDIWindow" : "MDIWindow");
  mdi.InstanceSize(sizeof(RuntimeObject)).Build();

  ClassBuilder app("App");
  app.Base(classes.framework).Backwards();
  if (withCallMethod)
    app.Method("_CallFunctionWithExceptionHandling", "%%p",
               reinterpret_cast<void*>(&CallWithHandling), nullptr);
  classes.app = app.Build();
  RuntimeInitExternalClasses();
  return classes;
}

}  // namespace vela::testkit
