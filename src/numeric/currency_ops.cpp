// Currency multiplication and division. Both operands carry the scale of
// 10,000, so a product must lose it once and a quotient gain it once; the
// scale is moved through factors of ten that the operands can spare, so
// that the intermediate values stay within 64 bits as long as possible.
#include "numeric/int64_ops.h"
#include "object/raise.h"
#include "support/export.h"
#include "vela/numbers.h"

using namespace vela;

namespace {

// The largest value that can still be multiplied by 10.
constexpr int64_t kTimesTenLimit = 922337203685477579;

uint64_t Magnitude(int64_t v) { return v < 0 ? 0 - uint64_t(v) : uint64_t(v); }

// Takes factors of ten out of `v` while the scale `d` has some left.
void SpareTens(int64_t& v, int64_t& d) {
  while (v % 10 == 0 && d > 1) {
    v /= 10;
    d /= 10;
  }
}

}  // namespace

VELA_EXPORT VelaCurrency RuntimeMulCurrency(VelaCurrency a, VelaCurrency b) {
  int64_t d = 10000;
  SpareTens(a, d);
  if (d > 1) SpareTens(b, d);
  const unsigned __int128 magnitude = (unsigned __int128)Magnitude(a) * Magnitude(b);
  if (magnitude > (unsigned __int128)INT64_MAX) {
    RaiseNamedException("RuntimeException", 0,
                        "Currency result is too large, would cause an overflow");
    return 0;
  }
  const int64_t p = a * b;
  const int64_t q = p / d;
  const int64_t r = p % d;
  // Only a positive remainder can exceed half the divisor: negative
  // products truncate toward zero.
  return r > d / 2 ? q + 1 : q;
}

VELA_EXPORT VelaCurrency RuntimeDivCurrency(VelaCurrency a, VelaCurrency b) {
  if (b == 0) return VelaCurrency(DivisionNoise()) * 10000;
  int64_t m = 10000;
  while (b % 10 == 0 && m > 1) {
    b /= 10;
    m /= 10;
  }
  int64_t p = 0;
  if (__builtin_mul_overflow(a, m, &p)) {
    RaiseNamedException("RuntimeException", 0,
                        "Currency dividend is too large, would cause an overflow");
    return 0;
  }
  if (Magnitude(p) > uint64_t(kTimesTenLimit)) return b == -1 ? int64_t(0 - uint64_t(p)) : p / b;
  const int64_t t = (p * 10) / b;
  const int64_t q = t / 10;
  return t % 10 > 4 ? q + 1 : q;
}
