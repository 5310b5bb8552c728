/* Exceptions: raising, the frame tables that compiled code registers, the
 * current exception that a landing pad takes, the exception's data and its
 * captured stack, and the last-resort handling of an exception that nobody
 * catches.
 *
 * A raise does not unwind. It finds the nearest compiled frame with a
 * handler for the call in progress, writes the handler's address over that
 * frame's return address and returns to its caller, which finishes normally;
 * the return into compiled code then lands in the handler. docs/ABI.md gives
 * the records. */
#ifndef VELA_EXCEPTIONS_H
#define VELA_EXCEPTIONS_H

#include "vela/accessors.h"
#include "vela/arrays.h"
#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* Raising. Each returns to its caller. Nil raises nothing. */
VELA_API void RuntimeRaiseException(RuntimeObject *exception);
/* Looks for the next handler without capturing a new stack: the end of a
 * cleanup landing pad. */
VELA_API void RuntimeReraiseException(RuntimeObject *exception);
VELA_API void RaiseExceptionClass(RuntimeClass *cls);
VELA_API void RaiseNilObjectException(void);
VELA_API void RaiseIllegalCastException(void);
VELA_API void RaiseOutOfBoundsException(void);
VELA_API void RuntimeRaiseFunctionNotFoundException(const char *name, const char *library);
VELA_API void RaiseObjCException(void);

/* The exception that a frame-table handler was chosen for; the caller owns
 * the reference. A landing pad calls this first. */
VELA_API RuntimeObject *TakeCurrentException(void);

/* Frame tables: `entry` is one frame description entry in the exception
 * frame form (length, CIE pointer, start, length, augmentation). */
VELA_API void RegisterFDE(const void *entry);
VELA_API void UnregisterFDE(const void *entry);

/* What happens to an exception that no handler took. */
VELA_API void RuntimeUnhandledException(RuntimeObject *exception);
VELA_API VelaBoolean TryApplicationUnhandledException(RuntimeObject *exception);
VELA_API void UnhandledException(RuntimeObject *exception);

/* Compiled protection for calls the library makes without a compiled
 * caller: helper(callback, context) runs callback(context) and returns the
 * exception that escaped it (owned), or nil. */
typedef void (*RuntimeProtectedCallback)(void *context);
typedef RuntimeObject *(*RuntimeExceptionHelper)(RuntimeProtectedCallback callback, void *context);
VELA_API void RuntimeSetExceptionHelper(RuntimeExceptionHelper helper);

/* The stack guard compiled code calls on entry to functions. */
VELA_API void RuntimeStackCheck(void);

/* The exception's data. Getters return values with a reference for the
 * caller; setters keep their own reference. */
VELA_API int32_t RuntimeExceptionErrorNumberGetter(RuntimeObject *exception);
VELA_API void RuntimeExceptionErrorNumberSetter(RuntimeObject *exception, int32_t value);
VELA_API TESSstring RuntimeExceptionMessageGetter(RuntimeObject *exception);
VELA_API void RuntimeExceptionMessageSetter(RuntimeObject *exception, TESSstring message);
VELA_API TextValue RuntimeExceptionReasonGetter(RuntimeObject *exception);
VELA_API void RuntimeExceptionReasonSetter(RuntimeObject *exception, TextValue reason);

/* The captured stack, innermost first. */
VELA_API RuntimeArray *RuntimeExceptionStack(RuntimeObject *exception);
VELA_API RuntimeArray *RuntimeException_StackFrames(RuntimeObject *exception);
VELA_API RuntimeArray *VelaCoreRuntimeException_CallStack(RuntimeObject *exception);
VELA_API uintptr_t StackFrame_Address(RuntimeObject *frame);
VELA_API TESSstring StackFrame_Name(RuntimeObject *frame);
VELA_API uintptr_t VelaCoreStackFrame_Address(RuntimeObject *frame);
VELA_API TextValue VelaCoreStackFrame_Name(RuntimeObject *frame);

/* The ErrorException family (vela.Core.ErrorException, Vela.IO.IOException,
 * Vela.Net.NetException). */
VELA_API TextValue ErrorException_ErrorDomain(RuntimeObject *exception);
VELA_API TextValue ErrorException_LocalizedReason(RuntimeObject *exception);
VELA_API intptr_t ErrorException_Handle(RuntimeObject *exception);
VELA_API RuntimeObject *ErrorException_UnderlyingError(RuntimeObject *exception);

VELA_END_DECLS

#endif
