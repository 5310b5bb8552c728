// Conversions, 64-bit and Currency arithmetic: exact results at the edges,
// and no trap where the machine's instructions would trap.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "kit/recording_reporter.h"
#include "object/raise.h"
#include "vela/numbers.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int64_t kMin64 = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max();

// Records the raises of one test.
struct RaiseLog {
  static inline std::string lastClass, lastMessage;
  static inline int count = 0;
  static void Observe(const char* cls, int32_t, const char* message) {
    ++count;
    lastClass = cls;
    lastMessage = message ? message : "";
  }
  vela::RaiseObserver previous;
  RaiseLog() : previous(vela::SetRaiseObserver(Observe)) { count = 0; }
  ~RaiseLog() { vela::SetRaiseObserver(previous); }
};

TEST(NumericConversions, FloatingToIntegerTruncatesLikeTheMachine) {
  EXPECT_EQ(RuntimeCvtReal64ToSInt32(-2.9), -2);
  EXPECT_EQ(RuntimeCvtReal32ToSInt32(2.9f), 2);
  // NaN and out-of-range values give the integer indefinite value.
  EXPECT_EQ(RuntimeCvtReal64ToSInt32(kNaN), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(RuntimeCvtReal64ToSInt32(3e9), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(RuntimeCvtReal64ToSInt64(kInf), kMin64);
  EXPECT_EQ(RuntimeCvtReal64ToUInt32(4294967295.0), 4294967295u);  // through 64 bits
  EXPECT_EQ(RuntimeCvtReal64ToUInt32(-1.0), 4294967295u);          // the low half of -1
  EXPECT_EQ(RuntimeCvtReal32ToUInt64(1e19f), uint64_t(kMin64));   // signed path: out of range
  EXPECT_EQ(RuntimeCvtReal64ToUInt64(1e19), 10000000000000000000u);
  EXPECT_EQ(RuntimeCvtReal64ToUInt64(9223372036854775808.0), uint64_t(1) << 63);
  EXPECT_EQ(RuntimeCvtReal64ToUInt64(12.7), 12u);
  EXPECT_EQ(RuntimeCvtUInt64ToReal64(~uint64_t(0)), 18446744073709551616.0);
  EXPECT_EQ(RuntimeCvtUInt32ToReal32(16777217u), 16777216.0f);  // nearest representable
}

TEST(NumericConversions, CurrencyScalesAndRounds) {
  EXPECT_EQ(RuntimeCvtSInt32ToCurrency(-3), -30000);
  EXPECT_EQ(RuntimeCvtUInt32ToCurrency(4294967295u), 42949672950000);
  EXPECT_EQ(RuntimeCvtSInt64ToCurrency(kMax64), int64_t(uint64_t(kMax64) * 10000u));  // wraps
  EXPECT_EQ(RuntimeCvtReal64ToCurrency(1.00005), 10001);   // half away from zero
  EXPECT_EQ(RuntimeCvtReal64ToCurrency(-1.00005), -10001);
  EXPECT_EQ(RuntimeCvtReal32ToCurrency(0.5f), 5000);
  EXPECT_EQ(RuntimeCvtReal64ToCurrency(kNaN), kMin64);
  EXPECT_EQ(RuntimeCvtCurrencyToSInt32(-29999), -2);     // truncates
  EXPECT_EQ(RuntimeCvtCurrencyToSInt64(kMin64), kMin64 / 10000);
  EXPECT_EQ(RuntimeCvtCurrencyToReal64(12500), 1.25);
}

TEST(NumericInt64, DivisionNeverTraps) {
  EXPECT_EQ(RuntimeDivSInt64(-7, 2), -3);
  EXPECT_EQ(RuntimeModSInt64(-7, 2), -1);  // the dividend's sign
  EXPECT_EQ(RuntimeModSInt64(7, -2), 1);
  EXPECT_EQ(RuntimeDivSInt64(kMin64, -1), kMin64);  // wraps instead of SIGFPE
  EXPECT_EQ(RuntimeModSInt64(kMin64, -1), 0);
  EXPECT_EQ(RuntimeDivUInt64(~uint64_t(0), 3), 6148914691236517205u);
  EXPECT_EQ(RuntimeMulSInt64(kMax64, 2), -2);
  // A zero divisor gives some value and returns.
  (void)RuntimeDivSInt64(7, 0);
  (void)RuntimeModSInt64(kMin64, 0);
  (void)RuntimeDivUInt64(7, 0);
  (void)RuntimeModUInt64(7, 0);
  bool varies = false;
  const int64_t first = RuntimeDivSInt64(1, 0);
  for (int i = 0; i < 64 && !varies; ++i) varies = RuntimeDivSInt64(1, 0) != first;
  EXPECT_TRUE(varies) << "division by zero should not give a fixed value";
}

TEST(NumericInt64, ShiftsSaturateFrom64On) {
  EXPECT_EQ(RuntimeShiftLeftInt64(1, 63), kMin64);
  EXPECT_EQ(RuntimeShiftLeftInt64(1, 64), 0);
  EXPECT_EQ(RuntimeShiftLeftInt64(1, -1), 0);
  EXPECT_EQ(RuntimeShiftRightInt64(-8, 1), -4);  // arithmetic
  EXPECT_EQ(RuntimeShiftRightInt64(-8, 64), -1);
  EXPECT_EQ(RuntimeShiftRightInt64(8, 200), 0);
}

TEST(NumericCurrency, ProductsAndQuotientsRoundAsTheLanguageDoes) {
  RaiseLog log;
  EXPECT_EQ(RuntimeMulCurrency(15000, 25000), 37500);
  EXPECT_EQ(RuntimeMulCurrency(12345, 12345), 15240);    // remainder 9025 rounds up
  EXPECT_EQ(RuntimeMulCurrency(-12345, 12345), -15239);  // negative products truncate
  EXPECT_EQ(RuntimeMulCurrency(0, kMax64), 0);
  EXPECT_EQ(RuntimeDivCurrency(10000, 30000), 3333);
  EXPECT_EQ(RuntimeDivCurrency(20000, 30000), 6667);
  EXPECT_EQ(RuntimeDivCurrency(-20000, 30000), -6666);
  EXPECT_EQ(RuntimeDivCurrency(kMin64, -10000), kMin64);  // large dividend: plain quotient
  EXPECT_EQ(log.count, 0);
  (void)RuntimeDivCurrency(5, 0);
  EXPECT_EQ(log.count, 0);

  EXPECT_EQ(RuntimeMulCurrency(kMax64, 3), 0);
  EXPECT_EQ(log.count, 1);
  EXPECT_EQ(RaiseLog::lastClass, "RuntimeException");
  EXPECT_EQ(RaiseLog::lastMessage, "Currency result is too large, would cause an overflow");
  EXPECT_EQ(RuntimeDivCurrency(kMax64 / 100, 3), 0);
  EXPECT_EQ(RaiseLog::lastMessage, "Currency dividend is too large, would cause an overflow");
}

TEST(NumericAlmostEquals, CountsUnitsInTheLastPlace) {
  vela::testkit::RecordingReporter reporter;
  EXPECT_TRUE(RuntimeDoubleAlmostEquals(0.0, -0.0, 1));
  EXPECT_TRUE(RuntimeDoubleAlmostEquals(1.0, std::nextafter(1.0, 2.0), 1));
  EXPECT_FALSE(RuntimeDoubleAlmostEquals(1.0, std::nextafter(std::nextafter(1.0, 2.0), 2.0), 1));
  EXPECT_TRUE(RuntimeDoubleAlmostEquals(-1e-320, 1e-320, 4096));  // across zero
  EXPECT_FALSE(RuntimeDoubleAlmostEquals(-1.0, 1.0, 4194303));     // no overflow in the distance
  EXPECT_FALSE(RuntimeDoubleAlmostEquals(-kInf, kInf, 1));
  EXPECT_TRUE(RuntimeSingleAlmostEquals(-0.0f, 0.0f, 1));
  EXPECT_FALSE(RuntimeSingleAlmostEquals(-1.0f, 1.0f, 4194303));
  EXPECT_EQ(reporter.count(), 0u);
  EXPECT_TRUE(RuntimeDoubleAlmostEquals(2.0, 2.0, 0));  // reported, and compared anyway
  EXPECT_TRUE(RuntimeSingleAlmostEquals(2.0f, 2.0f, 4 * 1024 * 1024));
  EXPECT_EQ(reporter.count(), 2u);
  EXPECT_TRUE(reporter.Saw("maxUlps > 0 && maxUlps < 4 * 1024 * 1024"));
  EXPECT_EQ(reporter.reports()[0].path, "Common/RuntimeNumericFoundation");
}

}  // namespace
