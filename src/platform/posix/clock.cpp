#include "platform/clock.h"

#include <time.h>

#include <atomic>

namespace vela::platform {
namespace {

std::atomic<ClockFunction> gVirtualClock{nullptr};

uint64_t ReadMilliseconds(clockid_t clock) {
  timespec now;
  clock_gettime(clock, &now);
  return uint64_t(now.tv_sec) * 1000u + uint64_t(now.tv_nsec) / 1000000u;
}

// Each clock counts from its own first reading, taken on first use (in
// practice while the library loads, below): the coarse clock may lag the
// fine one by a kernel tick, and a shared origin could put its first
// readings below zero.
struct Origins {
  uint64_t fine = ReadMilliseconds(CLOCK_MONOTONIC);
  uint64_t coarse = ReadMilliseconds(CLOCK_MONOTONIC_COARSE);
};
const Origins& TheOrigins() {
  static const Origins origins;
  return origins;
}
[[maybe_unused]] const Origins& gTakenAtLoad = TheOrigins();

}  // namespace

uint32_t ClockMilliseconds() {
  if (ClockFunction clock = gVirtualClock.load(std::memory_order_relaxed)) return clock();
  return uint32_t(ReadMilliseconds(CLOCK_MONOTONIC) - TheOrigins().fine);
}

uint32_t CoarseClockMilliseconds() {
  if (ClockFunction clock = gVirtualClock.load(std::memory_order_relaxed)) return clock();
  return uint32_t(ReadMilliseconds(CLOCK_MONOTONIC_COARSE) - TheOrigins().coarse);
}

ClockFunction SetVirtualClock(ClockFunction clock) { return gVirtualClock.exchange(clock); }

uint64_t ClockMicroseconds() {
  if (ClockFunction clock = gVirtualClock.load(std::memory_order_relaxed))
    return uint64_t(clock()) * 1000u;
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return uint64_t(now.tv_sec) * 1000000u + uint64_t(now.tv_nsec) / 1000u -
         TheOrigins().fine * 1000u;
}

namespace {
std::atomic<uint32_t> gManualTime{0};
uint32_t ReadManualClock() { return gManualTime.load(std::memory_order_relaxed); }
}  // namespace

void StartManualClock(uint32_t startMilliseconds) {
  gManualTime.store(startMilliseconds);
  SetVirtualClock(ReadManualClock);
}

void AdvanceManualClock(uint32_t milliseconds) { gManualTime.fetch_add(milliseconds); }

void StopManualClock() {
  ClockFunction expected = ReadManualClock;
  gVirtualClock.compare_exchange_strong(expected, nullptr);
}

bool ManualClockActive() { return gVirtualClock.load() == ReadManualClock; }

}  // namespace vela::platform
