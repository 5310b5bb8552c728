// The numeric conversions that compiled code calls for each conversion in
// a program; each body is the one operation.
#include <cmath>

#include "numeric/machine_convert.h"
#include "support/export.h"
#include "vela/numbers.h"

using namespace vela;

namespace {
constexpr int64_t kCurrencyScale = 10000;

// Integer times the scale, wrapping in 64 bits as the machine's multiply does.
inline VelaCurrency ScaleWrapping(uint64_t value) {
  return VelaCurrency(value * uint64_t(kCurrencyScale));
}
}  // namespace

VELA_EXPORT int32_t RuntimeCvtReal64ToSInt32(double v) { return TruncateToInt32(v); }
VELA_EXPORT int32_t RuntimeCvtReal32ToSInt32(float v) { return TruncateToInt32(v); }
VELA_EXPORT int64_t RuntimeCvtReal64ToSInt64(double v) { return TruncateToInt64(v); }
VELA_EXPORT uint32_t RuntimeCvtReal64ToUInt32(double v) { return uint32_t(TruncateToInt64(v)); }
VELA_EXPORT int64_t RuntimeCvtReal32ToSInt64(float v) { return TruncateToInt64(v); }
VELA_EXPORT uint32_t RuntimeCvtReal32ToUInt32(float v) { return uint32_t(TruncateToInt64(v)); }
VELA_EXPORT uint64_t RuntimeCvtReal32ToUInt64(float v) { return uint64_t(TruncateToInt64(v)); }
VELA_EXPORT uint64_t RuntimeCvtReal64ToUInt64(double v) { return TruncateToUInt64(v); }

VELA_EXPORT double RuntimeCvtSInt32ToReal64(int32_t v) { return double(v); }
VELA_EXPORT double RuntimeCvtUInt32ToReal64(uint32_t v) { return double(v); }
VELA_EXPORT float RuntimeCvtUInt32ToReal32(uint32_t v) { return float(v); }
VELA_EXPORT double RuntimeCvtSInt64ToReal64(int64_t v) { return double(v); }
VELA_EXPORT double RuntimeCvtUInt64ToReal64(uint64_t v) { return double(v); }
VELA_EXPORT float RuntimeCvtInt64ToReal32(int64_t v) { return float(v); }
VELA_EXPORT float RuntimeCvtUInt64ToReal32(uint64_t v) { return float(v); }

VELA_EXPORT VelaCurrency RuntimeCvtSInt32ToCurrency(int32_t v) { return int64_t(v) * kCurrencyScale; }
VELA_EXPORT VelaCurrency RuntimeCvtUInt32ToCurrency(uint32_t v) { return int64_t(v) * kCurrencyScale; }
VELA_EXPORT VelaCurrency RuntimeCvtSInt64ToCurrency(int64_t v) { return ScaleWrapping(uint64_t(v)); }
VELA_EXPORT VelaCurrency RuntimeCvtUInt64ToCurrency(uint64_t v) { return ScaleWrapping(v); }
VELA_EXPORT VelaCurrency RuntimeCvtReal64ToCurrency(double v) {
  return TruncateToInt64(std::round(v * 10000.0));
}
VELA_EXPORT VelaCurrency RuntimeCvtReal32ToCurrency(float v) {
  return TruncateToInt64(std::round(double(v) * 10000.0));
}
VELA_EXPORT int32_t RuntimeCvtCurrencyToSInt32(VelaCurrency v) { return int32_t(v / kCurrencyScale); }
VELA_EXPORT int64_t RuntimeCvtCurrencyToSInt64(VelaCurrency v) { return v / kCurrencyScale; }
VELA_EXPORT uint32_t RuntimeCvtCurrencyToUInt32(VelaCurrency v) { return uint32_t(v / kCurrencyScale); }
VELA_EXPORT uint64_t RuntimeCvtCurrencyToUInt64(VelaCurrency v) { return uint64_t(v / kCurrencyScale); }
VELA_EXPORT double RuntimeCvtCurrencyToReal64(VelaCurrency v) { return double(v) / 10000.0; }
