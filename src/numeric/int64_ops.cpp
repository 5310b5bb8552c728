// 64-bit multiplication, division, remainder and shifts for compiled code.
//
// The machine's idiv traps on a zero divisor and on INT64_MIN / -1; the
// language wants neither. INT64_MIN / -1 wraps to INT64_MIN with remainder
// 0, and a zero divisor gives a random value scaled to the type's range.
#include <cstdlib>

#include "numeric/int64_ops.h"
#include "numeric/machine_convert.h"
#include "support/export.h"
#include "vela/numbers.h"

namespace vela {

int32_t DivisionNoise() { return std::rand() & 0x7FFF; }

}  // namespace vela

using namespace vela;

namespace {

int64_t SignedNoise() { return TruncateToInt64(DivisionNoise() / 32767.0 * 9223372036854775807.0); }
uint64_t UnsignedNoise() {
  return TruncateToUInt64(DivisionNoise() / 32767.0 * 18446744073709551616.0);
}

}  // namespace

VELA_EXPORT int64_t RuntimeMulSInt64(int64_t a, int64_t b) {
  return int64_t(uint64_t(a) * uint64_t(b));
}

VELA_EXPORT uint64_t RuntimeMulUInt64(uint64_t a, uint64_t b) { return a * b; }

VELA_EXPORT int64_t RuntimeDivSInt64(int64_t a, int64_t b) {
  if (b == 0) return SignedNoise();
  if (b == -1) return int64_t(0 - uint64_t(a));
  return a / b;
}

VELA_EXPORT uint64_t RuntimeDivUInt64(uint64_t a, uint64_t b) {
  return b == 0 ? UnsignedNoise() : a / b;
}

VELA_EXPORT int64_t RuntimeModSInt64(int64_t a, int64_t b) {
  if (b == 0) return SignedNoise();
  if (b == -1) return 0;
  return a % b;
}

VELA_EXPORT uint64_t RuntimeModUInt64(uint64_t a, uint64_t b) {
  return b == 0 ? UnsignedNoise() : a % b;
}

// Counts are taken as unsigned: a negative count is a very large one.
VELA_EXPORT int64_t RuntimeShiftLeftInt64(int64_t value, int32_t count) {
  return uint32_t(count) >= 64 ? 0 : int64_t(uint64_t(value) << count);
}

VELA_EXPORT int64_t RuntimeShiftRightInt64(int64_t value, int32_t count) {
  return value >> (uint32_t(count) >= 64 ? 63 : count);
}
