// The language's mathematical functions. Most are the C library's own;
// Abs keeps -0.0, Sign gives 0 for NaN, and Max and Min fold their
// arguments left to right, a tie leaving the later value.
#include <cmath>

#include "numeric/array_fold.h"
#include "support/export.h"
#include "vela/numbers.h"

namespace {

// The later value stands unless the earlier one is strictly beyond it.
double Larger(double earlier, double later) { return earlier > later ? earlier : later; }
double Smaller(double earlier, double later) { return earlier < later ? earlier : later; }

}  // namespace

#define VELA_LIBM_1(Name, Function) \
  VELA_EXPORT double Name(double value) { return Function(value); }
VELA_LIBM_1(RuntimeACos, std::acos)
VELA_LIBM_1(RuntimeASin, std::asin)
VELA_LIBM_1(RuntimeATan, std::atan)
VELA_LIBM_1(RuntimeCos, std::cos)
VELA_LIBM_1(RuntimeSin, std::sin)
VELA_LIBM_1(RuntimeTan, std::tan)
VELA_LIBM_1(RuntimeExp, std::exp)
VELA_LIBM_1(RuntimeLog, std::log)
VELA_LIBM_1(RuntimeSqrt, std::sqrt)
VELA_LIBM_1(RuntimeCeil, std::ceil)
VELA_LIBM_1(RuntimeFloor, std::floor)
VELA_LIBM_1(RuntimeRound, std::round)
#undef VELA_LIBM_1

VELA_EXPORT double RuntimeATan2(double y, double x) { return std::atan2(y, x); }
VELA_EXPORT double RuntimePow(double base, double exponent) { return std::pow(base, exponent); }
VELA_EXPORT double RuntimeAbs(double value) { return value < 0 ? -value : value; }

VELA_EXPORT int32_t RuntimeSign(double value) {
  if (value < 0) return -1;
  if (value > 0) return 1;
  return 0;
}

VELA_EXPORT double RuntimeMax(double value1, double value2, RuntimeArray* more) {
  return vela::FoldWithArray(value1, value2, more, Larger);
}

VELA_EXPORT double RuntimeMin(double value1, double value2, RuntimeArray* more) {
  return vela::FoldWithArray(value1, value2, more, Smaller);
}
