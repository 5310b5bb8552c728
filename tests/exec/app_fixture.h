// Builds what an application image builds at start-up: the framework's
// application class (classic or `Desktop` event names), the MDI window class
// the initializer needs, and the user's application subclass with its event
// handlers and the exception-handling method. Scenarios that use it run in a
// child process, because start-up and binding happen once per process.
#pragma once

#include <string>
#include <vector>

#include "kit/class_builder.h"
#include "vela/application.h"

namespace vela::testkit {

enum class AppFlavour { kClassic, kDesktop };

// Everything the handlers saw, in order: "Open", "NewDocument", ...
std::vector<std::string>& AppTrace();

// Calls counted by the exception-handling method.
int& ProtectedCalls();

struct AppClasses {
  RuntimeClass* framework = nullptr;  // "Application" or "DesktopApplication"
  RuntimeClass* app = nullptr;        // the user's subclass "App"
};

// Makes the classes, binds the declarations and returns the records. Call
// RuntimeInit first when the scenario needs it.
AppClasses MakeAppClasses(AppFlavour flavour, bool withCallMethod = true);

// Sets the handler of an inherited event in a class's own event table.
void SetEventHandler(RuntimeClass* cls, const char* event, void* function);

}  // namespace vela::testkit
