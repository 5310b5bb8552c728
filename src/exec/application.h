// The application object: its native data, its two declarations (classic
// event names and `Desktop` ones over one structure) and its events.
#pragma once

#include <map>
#include <string>

#include "object/class_decl.h"
#include "vela/object.h"

namespace vela {

using MenuHandlerMap = std::map<std::string, void*>;

struct ApplicationObject {
  RuntimeObject header;
  RuntimeObject* mouseCursor;  // counted
  RuntimeObject* mdiWindow;    // counted
  RuntimeObject* menuBar;      // counted
  MenuHandlerMap* mMenuHandlers;
  RuntimeObject* further;      // counted; dropped by the finalizer
  uint8_t quitInProgress;
  uint8_t autoQuit;
};

extern NativeClassDecl<ApplicationObject> gApplicationDecl;
extern NativeClassDecl<ApplicationObject> gDesktopApplicationDecl;

enum class AppEvent {
  kStart, kEnd, kNewDocument, kDocumentGiven, kMayQuit, kActivate, kDeactivate,
  kUnhandledException, kMenuEnabling, kAppleEvent, kAppearance
};

// The handler of an application event for `app`, under the classic or the
// `Desktop` name as the object's class decides; nil when there is none.
void* AppEventHandler(RuntimeObject* app, AppEvent event);

// Fires an event that takes only the application, holding a reference on it
// during the call.
void FireAppEvent(RuntimeObject* app, AppEvent event);
// Fires an event with a Boolean result; false when there is no handler.
bool FireAppBooleanEvent(RuntimeObject* app, AppEvent event);
// Fires an event that takes one object argument.
void FireAppObjectEvent(RuntimeObject* app, AppEvent event, RuntimeObject* argument);

ApplicationObject* AppData(RuntimeObject* app);

// Runs `function` through the application's "_CallFunctionWithExceptionHandling"
// method, which catches what escapes from compiled code.
using ProtectedFunction = void (*)(void);
void ProtectedCall(ProtectedFunction function);

// The quit request: asks the application and every window whether the
// application may quit, and closes the windows if so.
bool QuitRequest();

}  // namespace vela
