// Platform timers: a record that calls a plain function again and again on
// the main thread until it is stopped. Every periodic thing of the library
// runs on one.
#pragma once

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

PlatformTimer* WinTimerStart(PlatformTimerCallback callback, uint32_t milliseconds, void* context);
// Stops the timer; the record must not be used afterwards. Nil is ignored.
void WinTimerStop(PlatformTimer* timer);

// The scheduler's clock in milliseconds.
uint32_t SchedulerNow();

}  // namespace vela
