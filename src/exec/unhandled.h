// What becomes of an exception that no compiled handler took: the helper
// that start-up installs behind RuntimeUnhandledException, the application's
// "UnhandledException" event, the last-resort report, and the forwarding of
// exceptions raised on other threads to the main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "vela/object.h"

namespace vela {

// Installs the helper; RuntimeInit calls this.
void InstallUnhandledExceptionHelper();

// The message pair that carries an exception from another thread to the
// main thread: message and long parameter 0xBD0, the exception (one
// reference) as word parameter.
inline constexpr uint32_t kForwardedExceptionMessage = 0xBD0;

// The main loop's side of the pair: recognises it, hands the exception to
// the helper on the main thread and drops the reference. False for any
// other message.
bool HandleForwardedException(uint32_t message, uintptr_t wordParameter, intptr_t longParameter);

// Takes every forwarded exception that waits in the main thread's queue, in
// the order posted, and delivers it through HandleForwardedException;
// returns how many. The main loop delivers them one per iteration as it
// fetches them; this is for code that must not wait for the loop.
size_t DeliverForwardedExceptions();

// The texts of the last-resort report for `exception`: the message with the
// class name, and the explanation (message and error number when present).
struct UnhandledReport {
  std::string message;
  std::string explanation;
};
UnhandledReport UnhandledReportFor(RuntimeObject* exception);

}  // namespace vela
