// How the object and string layers raise language exceptions. The raise
// returns to its caller: the library function finishes normally and the
// exception takes effect when control gets back to compiled code.
#pragma once

#include <cstdint>

namespace vela {

// Raises a new instance of the exception class named `className` (such as
// "NilObjectException"), with an error number and a UTF-8 message (nil for
// none), and returns.
void RaiseNamedException(const char* className, int32_t errorNumber, const char* message);

// Sees every raise before it is dispatched. Tests use it to check which
// exception a function raised and with which message.
using RaiseObserver = void (*)(const char* className, int32_t errorNumber, const char* message);
RaiseObserver SetRaiseObserver(RaiseObserver observer);

}  // namespace vela
