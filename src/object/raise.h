// How the object and string layers raise language exceptions by class name.
// The raise returns to its caller: the library function finishes normally
// and the exception takes effect when control gets back to compiled code.
#pragma once

#include <cstdint>

namespace vela {

// Raises a new instance of the exception class named `className` (such as
// "NilObjectException"), with an error number and a UTF-8 message (nil for
// none), and returns. The class is the one bound to the library's
// declaration of that name, else the newest class record of that name. An
// image without such a class has nothing to raise: the raise is shown to the
// observer, or reported as the assertion "defn" when there is none.
void RaiseNamedException(const char* className, int32_t errorNumber, const char* message);

// Sees every raise before it is dispatched: its class name, error number
// and message (nil when empty). Tests use it to check which exception a
// function raised and with which message.
using RaiseObserver = void (*)(const char* className, int32_t errorNumber, const char* message);
RaiseObserver SetRaiseObserver(RaiseObserver observer);

// Shows a raise to the observer; false when none is installed.
bool NotifyRaiseObserver(const char* className, int32_t errorNumber, const char* message);

}  // namespace vela
