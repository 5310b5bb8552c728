// Floating point to integer conversions with the x86-64 conversion
// instructions' defined results. A C++ cast of NaN or of a value out of
// range is undefined behaviour; cvttsd2si and cvttss2si instead give the
// "integer indefinite" value, the lowest value of the destination width,
// which is what compiled code of the language has always seen.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace vela {

inline int32_t TruncateToInt32(double value) { return _mm_cvttsd_si32(_mm_set_sd(value)); }
inline int32_t TruncateToInt32(float value) { return _mm_cvttss_si32(_mm_set_ss(value)); }
inline int64_t TruncateToInt64(double value) { return _mm_cvttsd_si64(_mm_set_sd(value)); }
inline int64_t TruncateToInt64(float value) { return _mm_cvttss_si64(_mm_set_ss(value)); }

// The whole unsigned range: below 2^63 as signed; from 2^63 on, 2^63 is
// taken off, the rest converted and the top bit set.
inline uint64_t TruncateToUInt64(double value) {
  constexpr double kTwo63 = 9223372036854775808.0;
  if (value < kTwo63) return uint64_t(TruncateToInt64(value));
  return uint64_t(TruncateToInt64(value - kTwo63)) | (uint64_t(1) << 63);
}

}  // namespace vela
