#include "object/raise.h"

#include <atomic>

#include "object/class_list.h"
#include "object/exception.h"
#include "support/assert.h"
#include "text/string_create.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeExceptionFoundation";
std::atomic<RaiseObserver> gObserver{nullptr};
}  // namespace

RaiseObserver SetRaiseObserver(RaiseObserver observer) { return gObserver.exchange(observer); }

bool NotifyRaiseObserver(const char* className, int32_t errorNumber, const char* message) {
  RaiseObserver observer = gObserver.load();
  if (!observer) return false;
  observer(className, errorNumber, message && *message ? message : nullptr);
  return true;
}

void RaiseNamedException(const char* className, int32_t errorNumber, const char* message) {
  RuntimeClass* cls = nullptr;
  if (const ClassDecl* decl = FindExceptionDecl(className)) cls = decl->classPtr();
  if (!cls) cls = FindClassByName(className);
  if (!cls) {
    if (!NotifyRaiseObserver(className, errorNumber, message))
      VELA_ASSERT_MSG(false, "defn", "%s%s%s", className ? className : "",
                      message && *message ? ": " : "", message ? message : "");
    return;
  }
  RuntimeObject* exception = RuntimeNewObject(cls);
  if (!exception) return;
  if (ExceptionData* data = ExceptionDataOf(exception)) {
    data->errorNumber = errorNumber;
    if (message && *message) data->message = NewString(message, -1, kEncodingUTF8);
  }
  RuntimeRaiseException(exception);
  RuntimeUnlockObject(exception);
}

}  // namespace vela
