// Str of whole numbers and Currency, and the locale-aware CDbl and CLong.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "kit/string_counts.h"
#include "platform/locale.h"
#include "string_test_support.h"
#include "vela/classic_strings.h"

namespace {

using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::testkit::StringLeakCheck;

std::string Text(TESSstring owned) { return Bytes(StringHolder::Adopt(owned).get()); }

// Puts the given separators in place of the system's for one test.
class SeparatorsScope {
 public:
  SeparatorsScope(const char* group, const char* decimal) : mSeparators{group, decimal} {
    vela::platform::OverrideSystemNumberSeparators(&mSeparators);
  }
  ~SeparatorsScope() { vela::platform::OverrideSystemNumberSeparators(nullptr); }

 private:
  vela::platform::NumberSeparators mSeparators;
};

TEST(ClassicStrWhole, EveryWidthPrintsItsFullRange) {
  StringLeakCheck leaks;
  EXPECT_EQ(Text(StringStrInt8(-128)), "-128");
  EXPECT_EQ(Text(StringStrUInt8(255)), "255");
  EXPECT_EQ(Text(StringStrInt16(-32768)), "-32768");
  EXPECT_EQ(Text(StringStrUInt16(65535)), "65535");
  EXPECT_EQ(Text(StringStrInt32(std::numeric_limits<int32_t>::min())), "-2147483648");
  EXPECT_EQ(Text(StringStrUInt32(4294967295u)), "4294967295");
  EXPECT_EQ(Text(StringStrInt64(std::numeric_limits<int64_t>::min())), "-9223372036854775808");
  EXPECT_EQ(Text(StringStrUInt64(std::numeric_limits<uint64_t>::max())), "18446744073709551615");
  EXPECT_EQ(Text(StringStrInt32(0)), "0");
}

TEST(ClassicStrCurrency, FourDecimalsWithoutTrailingZeros) {
  StringLeakCheck leaks;
  EXPECT_EQ(Text(StringStrCurrency(12500)), "1.25");
  EXPECT_EQ(Text(StringStrCurrency(10000)), "1");
  EXPECT_EQ(Text(StringStrCurrency(1)), "0.0001");
  EXPECT_EQ(Text(StringStrCurrency(12)), "0.0012");
  EXPECT_EQ(Text(StringStrCurrency(-5000)), "-0.5");
  EXPECT_EQ(Text(StringStrCurrency(0)), "0");
  EXPECT_EQ(Text(StringStrCurrency(std::numeric_limits<int64_t>::min())), "-922337203685477.5808");
  EXPECT_EQ(Text(StringStrCurrency(std::numeric_limits<int64_t>::max())), "922337203685477.5807");
}

TEST(ClassicLocaleNumbers, SeparatorsOfTheSystemLocales) {
  auto c = vela::platform::NumberSeparatorsOf("C");
  ASSERT_TRUE(c.has_value());
  EXPECT_EQ(c->decimal, ".");
  EXPECT_EQ(c->group, ",");  // C names no group separator: the usual one stands in
  EXPECT_FALSE(vela::platform::NumberSeparatorsOf("xx_NOWHERE.none").has_value());
}

TEST(ClassicLocaleNumbers, CDblReadsTheLocalesSeparators) {
  StringLeakCheck leaks;
  EXPECT_EQ(runCDbl(nullptr), 0);
  {
    SeparatorsScope english(",", ".");
    EXPECT_EQ(runCDbl(Make("1,234.5", kEncodingUTF8).get()), 1234.5);
    EXPECT_EQ(runCDbl(Make(" -1,000,000", kEncodingASCII).get()), -1000000);
    EXPECT_EQ(runCDbl(Make("&hFF", kEncodingUTF8).get()), 255);
  }
  {
    SeparatorsScope german(".", ",");
    EXPECT_EQ(runCDbl(Make("1.234,5", kEncodingUTF8).get()), 1234.5);
    EXPECT_EQ(runCDbl(Make("0,25", kEncodingUTF8).get()), 0.25);
    EXPECT_EQ(runCDbl(vela::strtest::MakeUtf16(u"2,5").get()), 2.5);
  }
  {
    SeparatorsScope swiss("\u2019", ".");  // a separator of more than one byte
    EXPECT_EQ(runCDbl(Make("1\u2019234.75", kEncodingUTF8).get()), 1234.75);
  }
}

TEST(ClassicLocaleNumbers, CLongReadsWholeNumbers) {
  StringLeakCheck leaks;
  SeparatorsScope english(",", ".");
  EXPECT_EQ(runCLong(nullptr), 0);
  EXPECT_EQ(runCLong(Make("  -42abc", kEncodingUTF8).get()), -42);
  EXPECT_EQ(runCLong(Make("1,234,567,890,123", kEncodingUTF8).get()), 1234567890123);
  EXPECT_EQ(runCLong(Make("3.9", kEncodingUTF8).get()), 3);
  EXPECT_EQ(runCLong(Make("&hFFFFFFFF", kEncodingUTF8).get()), 4294967295);  // 64 bits wide
  EXPECT_EQ(runCLong(Make("&b11", kEncodingUTF8).get()), 3);
  EXPECT_EQ(runCLong(Make("99999999999999999999", kEncodingUTF8).get()),
            std::numeric_limits<int64_t>::max());
  EXPECT_EQ(runCLong(Make("-9223372036854775808", kEncodingUTF8).get()),
            std::numeric_limits<int64_t>::min());
  EXPECT_EQ(runCLong(Make("-99999999999999999999", kEncodingUTF8).get()),
            std::numeric_limits<int64_t>::min());
  EXPECT_EQ(runCLong(Make("x1", kEncodingUTF8).get()), 0);
}

TEST(ClassicLocaleNumbers, LocalisedFormatUsesTheSameSeparators) {
  StringLeakCheck leaks;
  SeparatorsScope german(".", ",");
  StringHolder pattern = Make("#,##0.00", kEncodingUTF8);
  EXPECT_EQ(Text(StringFormat(1234.5, pattern.get(), 1)), "1.234,50");
  EXPECT_EQ(Text(StringFormat(1234.5, pattern.get(), 0)), "1,234.50");
}

}  // namespace
