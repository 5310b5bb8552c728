// The process clock shared by the scheduler, the main loop and timers:
// milliseconds since the process started, as an unsigned 32-bit count. It
// starts near 0, so unsigned comparisons of two readings hold for the first
// 24 days of a process when they are taken on the scheduler's scale (the
// tick less 2^31). Tests replace it with a virtual clock.
#pragma once

#include <cstdint>

namespace vela::platform {

// Milliseconds since the process started, at full resolution.
uint32_t ClockMilliseconds();

// The same count from the kernel's coarse clock: a few nanoseconds to read,
// but it advances only at the kernel's tick (1 to 4 ms). For gates that look
// at 1/60 second steps and need no finer grain.
uint32_t CoarseClockMilliseconds();

// Sixtieths of a second since the process started, from the coarse clock.
inline uint32_t ClockTicks60() { return uint32_t(uint64_t(CoarseClockMilliseconds()) * 6 / 100); }

// The scheduler's clock: the tick less 2147483648. Kept unsigned, because
// every comparison of two values of it is an unsigned one.
inline uint32_t SchedulerClock() { return ClockMilliseconds() - 0x80000000u; }

// Replaces both readings with `clock` (nil restores the system clock) and
// returns the one in place. For tests that need time to stand still or jump.
using ClockFunction = uint32_t (*)();
ClockFunction SetVirtualClock(ClockFunction clock);

// Microseconds since the process started, for deadlines that need a finer
// grain than the millisecond (the timer service). Under a virtual clock,
// its milliseconds times 1000.
uint64_t ClockMicroseconds();

// A manual virtual clock for tests: installed by StartManualClock, it stands
// still at `startMilliseconds` until AdvanceManualClock moves it. The event
// queue's timed waits advance it instead of sleeping, so that timers run in
// virtual time, deterministically and at once. StopManualClock restores the
// system clock.
void StartManualClock(uint32_t startMilliseconds);
void AdvanceManualClock(uint32_t milliseconds);
void StopManualClock();
bool ManualClockActive();

}  // namespace vela::platform
