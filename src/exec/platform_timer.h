// Platform timers: a record that calls a plain function again and again on
// the main thread until it is stopped. Every periodic thing of the library
// runs on one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vela {

struct PlatformTimer;
using PlatformTimerCallback = void (*)(PlatformTimer* timer);

struct PlatformTimer {
  PlatformTimerCallback callback;
  uint32_t period;  // milliseconds
  void* context;    // free for the creator
  uint8_t stopping;
};

// Starts a repeating timer from any thread; it is armed by the main thread
// (at once when that is the caller) and fires there, from the dispatch of
// the main loop. Asserts "sTimerWND" before RuntimeInit.
PlatformTimer* WinTimerStart(PlatformTimerCallback callback, uint32_t milliseconds, void* context);
// Stops the timer from any thread; the record must not be used afterwards.
// The main thread frees it: at once when it is the caller, else within a
// millisecond, from its loop. Nil is ignored.
void WinTimerStop(PlatformTimer* timer);

// The message that asks the timer window to arm timer `id`.
inline constexpr uint32_t kArmTimerMessage = 0x464;

// The timer window's message procedure; RuntimeInit installs it.
intptr_t TimerWindowProcedure(uintptr_t window, uint32_t message, uintptr_t id, intptr_t);

// Records alive (started and not yet freed), for tests.
size_t LivePlatformTimerCount();

// The scheduler's clock in milliseconds.
uint32_t SchedulerNow();

}  // namespace vela
