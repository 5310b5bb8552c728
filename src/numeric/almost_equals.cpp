// Comparison of floating-point values by units in the last place (ULPs).
//
// The bit patterns, read as signed integers, order the positive values;
// negative patterns are reflected below zero (0x80000000 - p), so that all
// values lie on one line, adjacent values differ by one, and -0.0 meets
// +0.0. The distance is taken in a wider type, so no signed overflow.
#include <cstring>
#include <type_traits>

#include "support/assert.h"
#include "support/export.h"
#include "vela/numbers.h"

namespace {

constexpr const char* kReportPath = "Common/RuntimeNumericFoundation";

void CheckUlps(int32_t maxUlps) {
  VELA_ASSERT(maxUlps > 0 && maxUlps < 4 * 1024 * 1024);
}

template <typename Float, typename Bits>
__int128 OrderedBits(Float value) {
  Bits bits;
  std::memcpy(&bits, &value, sizeof bits);
  using Unsigned = std::make_unsigned_t<Bits>;
  const Unsigned signBit = Unsigned(1) << (sizeof(Bits) * 8 - 1);
  // The reflection as the 32- or 64-bit machine computes it: wrapping.
  if (bits < 0) bits = Bits(signBit - Unsigned(bits));
  return bits;
}

template <typename Float, typename Bits>
VelaBoolean AlmostEquals(Float a, Float b, int32_t maxUlps) {
  CheckUlps(maxUlps);
  __int128 distance = OrderedBits<Float, Bits>(a) - OrderedBits<Float, Bits>(b);
  if (distance < 0) distance = -distance;
  return distance <= maxUlps;
}

}  // namespace

VELA_EXPORT VelaBoolean RuntimeSingleAlmostEquals(float a, float b, int32_t maxUlps) {
  return AlmostEquals<float, int32_t>(a, b, maxUlps);
}

VELA_EXPORT VelaBoolean RuntimeDoubleAlmostEquals(double a, double b, int32_t maxUlps) {
  return AlmostEquals<double, int64_t>(a, b, maxUlps);
}
