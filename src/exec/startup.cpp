// The first events of an application, and the protected call through which
// framework-started work reaches compiled code.
#include "exec/application.h"
#include "exec/command_line.h"
#include "exec/runtime_state.h"
#include "io/folder_item_bridge.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/application";

using CallWithHandling = void (*)(RuntimeObject* application, ProtectedFunction function);

// The compiled application class carries the method that runs a function
// inside the language's exception protection.
CallWithHandling FindCallWithHandling(RuntimeObject* whichObject) {
  VELA_ASSERT(whichObject);
  if (!whichObject) return nullptr;
  RuntimeClass* cls = whichObject->classPtr;
  for (uint32_t i = 0; i < cls->methodCount; ++i)
    if (AsciiEqualNoCase(cls->methods[i].head.name, "_CallFunctionWithExceptionHandling"))
      return reinterpret_cast<CallWithHandling>(cls->methods[i].function);
  return nullptr;
}

void FireStartEvent() { FireAppEvent(State().application, AppEvent::kStart); }

// Delivers each document named on the command line; true if there was one.
bool DeliverCommandLineDocuments(RuntimeObject* app) {
  auto handler = reinterpret_cast<void (*)(RuntimeObject*, RuntimeObject*)>(
      AppEventHandler(app, AppEvent::kDocumentGiven));
  if (!handler) return false;
  bool delivered = false;
  // The command line of this platform is UTF-8.
  for (const std::string& token : TokenizeCommandLine(JoinCommandLine(ProcessArguments()))) {
    TESSstring path = NewString(token.data(), int32_t(token.size()), kEncodingUTF8);
    RuntimeObject* item = NewFolderItemFromPath(path);
    RuntimeUnlockString(path);
    RuntimeLockObject(app);
    handler(app, item);
    RuntimeUnlockObject(app);
    RuntimeUnlockObject(item);
    delivered = true;
  }
  return delivered;
}
}  // namespace

void ProtectedCall(ProtectedFunction function) {
  static CallWithHandling sCallWithHandling = nullptr;
  RuntimeObject* whichObject = State().application;
  if (!sCallWithHandling) {
    sCallWithHandling = FindCallWithHandling(whichObject);
    VELA_ASSERT_MSG(sCallWithHandling || !whichObject, "sCallFunctionWithExceptionHandling",
                    "%s has no method _CallFunctionWithExceptionHandling",
                    whichObject ? whichObject->classPtr->name : "");
  }
  VELA_ASSERT(function);
  if (!sCallWithHandling || !whichObject || !function) return;
  sCallWithHandling(whichObject, function);
}

}  // namespace vela

using namespace vela;

VELA_EXPORT intptr_t RunFrameworkInitialization(RuntimeStartupCallback fpCallback) {
  VELA_ASSERT(fpCallback);
  ProtectedCall(FireStartEvent);
  // An MDI frame is shown here once the window layer can make one.
  RuntimeObject* app = State().application;
  bool delivered = app && DeliverCommandLineDocuments(app);
  if (app && !delivered) FireAppEvent(app, AppEvent::kNewDocument);
  return fpCallback ? fpCallback() : 0;
}
