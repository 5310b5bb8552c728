// The library's side of the exception classes: their native data, their
// declarations, the raise operations of a declaration, and the process-wide
// cells of the raise path (current exception, hook, unhandled helper).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "object/class_decl.h"
#include "vela/exceptions.h"

namespace vela {

// Return addresses, innermost first: three pointers over a malloc'd block,
// all nil while empty.
struct ReturnAddressList {
  uintptr_t* begin;
  uintptr_t* end;
  uintptr_t* capacity;

  size_t Count() const { return size_t(end - begin); }
  void Clear() { end = begin; }
  void Append(uintptr_t address);
  void Free();
};

// RuntimeException's native data: six words behind the object's properties.
struct ExceptionData {
  int32_t errorNumber;
  int32_t errorNumberPad;
  TESSstring message;       // counted
  TextValue reason;         // counted; the message in Text form
  ReturnAddressList stack;  // the stack of the last raise

  static void Destruct(ExceptionData* data);
};

// The JSON exceptions' data: the parser's character offset behind the rest.
struct JSONExceptionData {
  ExceptionData base;
  int32_t offset;
  int32_t offsetPad;

  static void Destruct(JSONExceptionData* data) { ExceptionData::Destruct(&data->base); }
};

// The ErrorException family's data.
struct ErrorExceptionData {
  ExceptionData base;
  TextValue errorDomain;            // counted
  TextValue localizedReason;        // counted
  intptr_t handle;                  // the platform's code of the failure
  RuntimeObject* underlyingError;   // counted

  static void Destruct(ErrorExceptionData* data);
};

// Raising through a declaration: a new instance of its class, raised, and
// the creator's reference dropped. An unbound declaration reports
// "mClassPtr" and raises nothing.
void RaiseDecl(const ClassDecl& decl);
void RaiseDeclWithMessage(const ClassDecl& decl, int32_t errorNumber, TESSstring message);
void RaiseDeclWithMessage(const ClassDecl& decl, int32_t errorNumber, TextValue message);

template <class T>
class ExceptionDecl : public TrailingDataDecl<T> {
 public:
  using TrailingDataDecl<T>::TrailingDataDecl;
  void Raise() const { RaiseDecl(*this); }
  void RaiseWithMessage(int32_t errorNumber, TESSstring message) const {
    RaiseDeclWithMessage(*this, errorNumber, message);
  }
  void RaiseWithMessage(int32_t errorNumber, TextValue message) const {
    RaiseDeclWithMessage(*this, errorNumber, message);
  }
};

// The exception classes the library raises or tests by name.
enum class ExceptionKind {
  kRuntime, kNilObject, kIllegalCast, kOutOfBounds, kFunctionNotFound, kObjC,
  kStackOverflow, kKeyNotFound, kEnd, kThreadEnd, kUnsupportedOperation, kInvalidArgument,
  kCount
};
const ClassDecl& ExceptionDeclFor(ExceptionKind kind);
inline void RaiseException(ExceptionKind kind) { RaiseDecl(ExceptionDeclFor(kind)); }

// Every exception declaration, each after the declaration of its super.
std::span<const ClassDecl* const> AllExceptionDecls();
// The exception declaration named `name` (without regard to case), or nil.
const ClassDecl* FindExceptionDecl(const char* name);

// The RuntimeException part of `exception`'s native data, or nil (with the
// declaration's report) when it is not an exception of a bound class.
ExceptionData* ExceptionDataOf(RuntimeObject* exception);
// The error-family data, or nil when `exception` is not of that family.
ErrorExceptionData* ErrorExceptionDataOf(RuntimeObject* exception);

// Stores the message (a reference of its own) and clears the reason.
void SetExceptionMessage(RuntimeObject* exception, TESSstring message);
// Fills the error family's extra fields; each counted value gets a reference.
void SetErrorExceptionDetails(RuntimeObject* exception, TextValue errorDomain,
                              TextValue localizedReason, intptr_t handle,
                              RuntimeObject* underlyingError);

// Called with each raised exception before dispatch; the debugger sets it.
using ExceptionHook = void (*)(RuntimeObject* exception);
ExceptionHook SetExceptionHook(ExceptionHook hook);

// The function behind RuntimeUnhandledException; start-up installs it.
using UnhandledExceptionHelper = void (*)(RuntimeObject* exception);
UnhandledExceptionHelper SetUnhandledExceptionHelper(UnhandledExceptionHelper helper);

// Runs `callback(context)` for a library function that calls into compiled
// code without a compiled caller: through the exception helper that compiled
// code set, so that an exception escaping the callback comes back here; it
// goes to RuntimeUnhandledException and its reference is dropped. Without a
// helper the callback runs directly.
void CallWithExceptionHelper(RuntimeProtectedCallback callback, void* context);

}  // namespace vela
