// Raising: the central raise and re-raise, the raise helpers that compiled
// code calls, and the cells they consult (hook, unhandled helper, exception
// helper).
#include <atomic>

#include "object/dispatch.h"
#include "object/exception.h"
#include "object/raise.h"
#include "object/stack_crawl.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/message_text.h"
#include "support/object_lock.h"
#include "text/string_create.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeExceptionFoundation";

std::atomic<ExceptionHook> gHook{nullptr};
std::atomic<UnhandledExceptionHelper> gUnhandledHelper{nullptr};
std::atomic<RuntimeExceptionHelper> gExceptionHelper{nullptr};

bool AppendReturnAddress(const MachineFrame& frame, void* list) {
  static_cast<ReturnAddressList*>(list)->Append(frame.returnAddress);
  return false;
}

void ShowRaise(RuntimeObject* exception, const ExceptionData* data) {
  NotifyRaiseObserver(exception->classPtr ? exception->classPtr->name : nullptr,
                      data ? data->errorNumber : 0, data ? StringText(data->message) : nullptr);
  if (ExceptionHook hook = gHook.load()) hook(exception);
}

}  // namespace

ExceptionHook SetExceptionHook(ExceptionHook hook) { return gHook.exchange(hook); }

UnhandledExceptionHelper SetUnhandledExceptionHelper(UnhandledExceptionHelper helper) {
  return gUnhandledHelper.exchange(helper);
}

void CallWithExceptionHelper(RuntimeProtectedCallback callback, void* context) {
  RuntimeExceptionHelper helper = gExceptionHelper.load();
  if (!helper) {
    callback(context);
    return;
  }
  if (RuntimeObject* escaped = helper(callback, context)) {
    RuntimeUnhandledException(escaped);
    RuntimeUnlockObject(escaped);
  }
}

}  // namespace vela

using namespace vela;

// The frame of each raise export is where the walks begin: its return slot
// holds the address in the function that raised, the first frame of the
// stack list and the first candidate for a handler.
#define RAISE_START_SLOT() \
  (reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) + sizeof(uintptr_t))

VELA_EXPORT __attribute__((noinline)) void RuntimeRaiseException(RuntimeObject* exception) {
  ObjectLockGuard lock;
  if (!exception) return;
  const uintptr_t start = RAISE_START_SLOT();
  ExceptionData* data = ExceptionDataOf(exception);
  if (data) {
    data->stack.Clear();
    WalkStack(start, AppendReturnAddress, &data->stack);
  }
  ShowRaise(exception, data);
  if (!DispatchException(exception, start)) RuntimeUnhandledException(exception);
}

VELA_EXPORT __attribute__((noinline)) void RuntimeReraiseException(RuntimeObject* exception) {
  ObjectLockGuard lock;
  if (!exception) return;
  if (!DispatchException(exception, RAISE_START_SLOT())) RuntimeUnhandledException(exception);
}

VELA_EXPORT void RaiseExceptionClass(RuntimeClass* cls) {
  VELA_ASSERT_TEXT(cls, "exclass");
  if (!cls) return;
  RuntimeObject* exception = RuntimeNewObject(cls);
  RuntimeRaiseException(exception);
  RuntimeUnlockObject(exception);
}

VELA_EXPORT void RaiseNilObjectException(void) { RaiseException(ExceptionKind::kNilObject); }

VELA_EXPORT void RaiseIllegalCastException(void) { RaiseException(ExceptionKind::kIllegalCast); }

VELA_EXPORT void RaiseOutOfBoundsException(void) { RaiseException(ExceptionKind::kOutOfBounds); }

VELA_EXPORT void RuntimeRaiseFunctionNotFoundException(const char* name, const char* library) {
  // The message goes in as a String: both readers give the same statement,
  // and the reason is made from it on request.
  MessageText text("Could not load %s from %s.", name ? name : "", library ? library : "");
  TESSstring message = NewString(text.c_str(), -1, kEncodingUTF8);
  RaiseDeclWithMessage(ExceptionDeclFor(ExceptionKind::kFunctionNotFound), 0, message);
  RuntimeUnlockString(message);
}

VELA_EXPORT void RaiseObjCException(void) {
  VELA_ASSERT_MSG(false, "false", "%s", "RaiseObjCException: there is no Objective-C runtime");
}

VELA_EXPORT void RuntimeUnhandledException(RuntimeObject* exception) {
  UnhandledExceptionHelper helper = gUnhandledHelper.load();
  VELA_ASSERT_TEXT(helper, "sUnhandledExceptionHelper");
  if (helper) helper(exception);
}

VELA_EXPORT void RuntimeSetExceptionHelper(RuntimeExceptionHelper helper) {
  gExceptionHelper.store(helper);
}
