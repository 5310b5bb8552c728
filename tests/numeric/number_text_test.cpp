// Text forms of numbers without a locale: digit strings, the strict and
// lenient readers, Double, Currency and Boolean text.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "kit/string_counts.h"
#include "object/raise.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "vela/number_text.h"

namespace {

using vela::StringHolder;

StringHolder Make(std::string_view text, uint32_t encoding = kEncodingUTF8) {
  return StringHolder::Adopt(vela::NewString(text.data(), int32_t(text.size()), encoding));
}

std::string Text(TESSstring owned) {
  StringHolder s = StringHolder::Adopt(owned);
  return s ? std::string(vela::StringText(s.get()), size_t(vela::StringLength(s.get()))) : "";
}

// Counts raises and keeps the last message for one test.
class Raises {
 public:
  Raises() : mPrevious(vela::SetRaiseObserver(Observe)) { sCount = 0; }
  ~Raises() { vela::SetRaiseObserver(mPrevious); }
  int count() const { return sCount; }
  const std::string& message() const { return sMessage; }
  const std::string& className() const { return sClass; }

 private:
  static void Observe(const char* cls, int32_t, const char* message) {
    ++sCount;
    sClass = cls;
    sMessage = message ? message : "";
  }
  static inline int sCount = 0;
  static inline std::string sMessage, sClass;
  vela::RaiseObserver mPrevious;
};

TEST(NumberText, DigitStringsUseTheTypesWidth) {
  vela::testkit::StringLeakCheck leaks;
  EXPECT_EQ(Text(Int8ToHex(-1, 0)), "FF");
  EXPECT_EQ(Text(Int32ToHex(255, 4)), "00FF");
  EXPECT_EQ(Text(Int16ToBinary(5, 8)), "00000101");
  EXPECT_EQ(Text(UInt64ToOctal(~uint64_t(0), 0)), "1777777777777777777777");
  EXPECT_EQ(Text(Int64ToHexString(std::numeric_limits<int64_t>::min(), 0)), "8000000000000000");
  EXPECT_EQ(Text(RuntimeHexInt32(0)), "0");
  EXPECT_EQ(Text(RuntimeBinUInt8(6)), "110");
  EXPECT_EQ(Text(RuntimeHexDouble(-1.9)), "FFFFFFFF");  // truncated to Int32 first
  EXPECT_EQ(Text(RuntimeOctSingle(8.5f)), "10");
  StringHolder tagged = StringHolder::Adopt(Int32ToHex(10, -3));
  EXPECT_EQ(tagged.get()->mEncoding, kEncodingUTF8);
  EXPECT_EQ(Text(Int32ToHex(1, 1 << 30)).size(), size_t(1) << 20);  // padding is bounded
}

TEST(NumberText, DigitReadersAcceptOnlyTheirDigits) {
  Raises raises;
  EXPECT_EQ(Int32FromHexString(Make("ff").get()), 255);
  EXPECT_EQ(Int8FromHexString(Make("1FF").get()), -1);  // wraps at the width
  EXPECT_EQ(UInt64FromBinaryString(Make("101").get()), 5u);
  EXPECT_EQ(IntegerFromOctalString(Make("777").get()), 511);
  EXPECT_EQ(raises.count(), 0);
  EXPECT_EQ(Int32FromHexString(Make("g").get()), 0);
  EXPECT_EQ(raises.message(), "Character 'g' is not valid hex data");
  EXPECT_EQ(raises.className(), "InvalidArgumentException");
  Int32FromOctalString(Make("78").get());
  EXPECT_EQ(raises.message(), "Character '8' is not valid octal data");
  Int32FromBinaryString(Make("1\xC3\xA9").get());
  EXPECT_EQ(raises.message(), "Character '\xC3\xA9' is not valid binary data");
  Int32FromBinaryString(nullptr);
  EXPECT_EQ(raises.message(), "Empty string values are not valid input.");
}

TEST(NumberText, StrictDecimalReader) {
  Raises raises;
  EXPECT_EQ(IntegerFromStringNoLocale(Make("-42").get()), -42);
  EXPECT_EQ(UInt64FromStringNoLocale(Make("18446744073709551615").get()), ~uint64_t(0));
  EXPECT_EQ(IntegerFromStringNoLocale(Make("4294967297").get()), 1);  // wraps
  EXPECT_EQ(UIntegerFromStringNoLocale(Make("-5").get()), 5u);        // no negation unsigned
  EXPECT_EQ(raises.count(), 0);
  IntegerFromStringNoLocale(Make("12a").get());
  EXPECT_EQ(raises.message(), "Character 'a' is not a valid number");
  IntegerFromStringNoLocale(Make(" 1").get());
  EXPECT_EQ(raises.message(), "Character ' ' is not a valid number");
  IntegerFromStringNoLocale(Make("-").get());
  EXPECT_EQ(raises.message(), "- must be followed by one or more digits.");
  Int64FromStringNoLocale(Make("").get());
  EXPECT_EQ(raises.message(), "Empty strings values are not valid integers.");
  EXPECT_EQ(raises.count(), 4);
}

TEST(NumberText, LenientReaderNeverRaises) {
  Raises raises;
  EXPECT_EQ(IntegerFromStringParse(Make("12a").get()), 12);
  EXPECT_EQ(IntegerFromStringParse(Make("  &hFF").get()), 255);
  EXPECT_EQ(IntegerFromStringParse(Make("&hFFFFFFFFF").get()), -1);  // 64 bits, then cut
  EXPECT_EQ(Int64FromStringParse(Make("&hFFFFFFFFF").get()), 0xFFFFFFFFF);
  EXPECT_EQ(Int64FromStringParse(Make("&b102").get()), 2);
  EXPECT_EQ(Int64FromStringParse(Make("&x1").get()), 0);
  EXPECT_EQ(Int64FromStringParse(Make("\t-17.9").get()), -17);
  EXPECT_EQ(UIntegerFromStringParse(Make("x").get()), 0u);
  EXPECT_EQ(UInt64FromStringParse(nullptr), 0u);
  EXPECT_EQ(raises.count(), 0);
}

TEST(NumberText, DoubleReaders) {
  Raises raises;
  EXPECT_EQ(Double_FromStringNoLocale(Make(" 2.5e3xyz").get()), 2500);
  EXPECT_EQ(Double_FromStringNoLocale(Make("abc").get()), 0);
  EXPECT_EQ(Double_FromStringNoLocale(Make("&h10").get()), 16);
  EXPECT_EQ(Single_FromStringNoLocale(Make("0.1").get()), 0.1f);
  EXPECT_EQ(raises.count(), 0);
  EXPECT_EQ(Double_FromStringNoLocale(Make("").get()), 0);
  EXPECT_EQ(raises.message(), "Empty string values are not valid doubles.");
  EXPECT_EQ(Double_StringParse(nullptr), 0);
  EXPECT_EQ(Double_StringParse(Make("  &b11").get()), 3);
  EXPECT_EQ(Single_StringParse(Make("-1.5").get()), -1.5f);
  EXPECT_EQ(raises.count(), 1);
}

TEST(NumberText, CurrencyTextIsExact) {
  Raises raises;
  EXPECT_EQ(Text(Currency_ToStringNoLocale(12500)), "1.25");
  EXPECT_EQ(Text(Currency_ToStringNoLocale(-5000)), "-0.5");
  EXPECT_EQ(Currency_FromStringNoLocale(Make(".5").get()), 5000);
  EXPECT_EQ(Currency_FromStringNoLocale(Make(" -12.3456").get()), -123456);
  EXPECT_EQ(Currency_FromStringNoLocale(Make("922337203685477.5807").get()),
            std::numeric_limits<int64_t>::max());
  EXPECT_EQ(raises.count(), 0);
  for (const char* bad : {"1.23456", "1.", "-", "1.5 ", "1e3", "922337203685477.5808",
                          "99999999999999999999"}) {
    EXPECT_EQ(Currency_FromStringNoLocale(Make(bad).get()), 0) << bad;
    EXPECT_EQ(raises.message(), std::string(bad) + " is not a valid currency.");
  }
  Currency_FromStringNoLocale(nullptr);
  EXPECT_EQ(raises.message(), "Empty string values are not valid currency.");
}

TEST(NumberText, Booleans) {
  EXPECT_EQ(Text(BooleanToString(1)), "True");
  EXPECT_EQ(Text(BooleanToString(0)), "False");
  EXPECT_TRUE(BooleanFromString(Make(" \ttRuE \t").get()));
  EXPECT_FALSE(BooleanFromString(Make("yes").get()));
  EXPECT_FALSE(BooleanFromString(Make("true1").get()));
  EXPECT_FALSE(BooleanFromString(nullptr));
}

}  // namespace
