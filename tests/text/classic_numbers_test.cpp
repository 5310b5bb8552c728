// Val and the IsNumeric check, Str of Double and Single, and Format.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/string_numbers.h"
#include "vela/classic_strings.h"

namespace {

using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::testkit::StringLeakCheck;

double Val(std::string_view text, uint32_t encoding = kEncodingUTF8) {
  return StringVal(Make(text, encoding).get());
}

std::string Str(double v) { return Bytes(StringHolder::Adopt(StringStrDouble(v)).get()); }

std::string Format(double v, std::string_view pattern, bool localised = false) {
  StringHolder p = Make(pattern, kEncodingUTF8);
  return Bytes(StringHolder::Adopt(StringFormat(v, p.get(), localised)).get());
}

TEST(ClassicVal, DecimalText) {
  StringLeakCheck leaks;
  EXPECT_EQ(Val("12abc"), 12);
  EXPECT_EQ(Val("1,000"), 1);
  EXPECT_EQ(Val("  3.5e2"), 350);
  EXPECT_EQ(Val("\t\r\n-.25"), -0.25);
  EXPECT_EQ(Val("+7e"), 7);        // an exponent without digits is not read
  EXPECT_EQ(Val("2e-1x"), 0.2);
  EXPECT_EQ(Val("1d2"), 1);        // d is an exponent only for the check
  EXPECT_EQ(Val("0x1A"), 0);       // C's radix and special forms are not numbers
  EXPECT_EQ(Val("inf"), 0);
  EXPECT_EQ(Val("nan"), 0);
  EXPECT_EQ(Val("."), 0);
  EXPECT_EQ(StringVal(nullptr), 0);
  EXPECT_EQ(StringVal(vela::strtest::MakeUtf16(u" 4.5").get()), 4.5);  // read in UTF-8
}

TEST(ClassicVal, RadixForms) {
  EXPECT_EQ(Val("&hFF"), 255);
  EXPECT_EQ(Val("&HffFFffFF"), -1);
  EXPECT_EQ(Val("&h1_0"), 16);     // invalid hexadecimal digits are skipped
  EXPECT_EQ(Val("&h123456789"), double(int32_t(0x23456789)));
  EXPECT_EQ(Val("&o17"), 15);
  EXPECT_EQ(Val("&O178"), 15);
  EXPECT_EQ(Val("&b101"), 5);
  EXPECT_EQ(Val("&B1021"), 2);
  EXPECT_EQ(Val("&x12"), 0);
  EXPECT_EQ(Val("&h"), 0);
}

TEST(ClassicVal, OnlyTheFirst128BytesCount) {
  std::string text(127, ' ');
  EXPECT_EQ(Val(text + "9"), 9);
  EXPECT_EQ(Val(text + " 9"), 0);
  EXPECT_EQ(Val(std::string(126, '1') + "234"), std::stod(std::string(126, '1') + "23"));
}

TEST(ClassicVal, NumericCheck) {
  for (const char* yes : {"1", " -1.5 ", "+.5", "1,234,567.8", "1e5", "2.5D-3", "1E+2 \t",
                          "&hFF", "&b101 ", "5."}) {
    EXPECT_TRUE(vela::IsNumericText(yes)) << yes;
  }
  for (const char* no : {"", " ", "abc", "12abc", ",1", "1.2.3", "e5", ".e5", "1e", "1e+",
                         "&h1G", "&o9", "&b", "&x1", "0x1A", "1 2", "--1"}) {
    EXPECT_FALSE(vela::IsNumericText(no)) << no;
  }
}

TEST(ClassicStr, AutomaticNotation) {
  StringLeakCheck leaks;
  EXPECT_EQ(Str(1234567.0), "1234567");
  EXPECT_EQ(Str(1000000.0), "1000000");
  EXPECT_EQ(Str(100.0), "100");
  EXPECT_EQ(Str(1e7), "1.000000e+7");
  EXPECT_EQ(Str(-1.5e-7), "-1.500000e-7");
  EXPECT_EQ(Str(1e100), "1.000000e+100");
  EXPECT_EQ(Str(0.1), "0.1");
  EXPECT_EQ(Str(0.00001), "0.00001");
  EXPECT_EQ(Str(3.14159265), "3.141593");
  EXPECT_EQ(Str(-2.5), "-2.5");
  EXPECT_EQ(Str(-0.0), "0");
  EXPECT_EQ(Str(0.0), "0");
  EXPECT_EQ(Str(9999999.6), "1.000000e+7");
  EXPECT_EQ(Str(std::numeric_limits<double>::infinity()), "INF");
  EXPECT_EQ(Str(-std::numeric_limits<double>::infinity()), "-INF");
  EXPECT_EQ(Str(-std::numeric_limits<double>::quiet_NaN()), "NaN");
  EXPECT_EQ(Bytes(StringHolder::Adopt(StringStrSingle(0.1f)).get()), "0.1");
  EXPECT_EQ(vela::FormatNumberAuto(-1e-20, 15), "-1.00000000000000e-20");
  EXPECT_EQ(vela::FormatNumberAuto(123456789012.5, 15), "123456789012.5");
}

TEST(ClassicFormat, DigitPlacesAndGrouping) {
  StringLeakCheck leaks;
  EXPECT_EQ(Format(1234.5, "#,##0.00"), "1,234.50");
  EXPECT_EQ(Format(1234567, "#,###"), "1,234,567");
  EXPECT_EQ(Format(5, "0,000"), "0,005");
  EXPECT_EQ(Format(5, "000"), "005");
  EXPECT_EQ(Format(12345, "0"), "12345");
  EXPECT_EQ(Format(0, "#"), "0");
  EXPECT_EQ(Format(0.5, "#.##"), "0.5");
  EXPECT_EQ(Format(2.456, "0.0#"), "2.46");
  EXPECT_EQ(Format(2.4, "0.0#"), "2.4");
  EXPECT_EQ(Format(0.5, "0%"), "50%");
  EXPECT_EQ(Format(1.5, "0.0.0"), "1.50");  // later points emit nothing
  EXPECT_EQ(Format(7, "$0 x\\$"), "7$");    // unknown characters drop, escapes stay
}

TEST(ClassicFormat, SectionsAndSigns) {
  EXPECT_EQ(Format(-1, "0;(0)"), "(1)");
  EXPECT_EQ(Format(1, "0;(0)"), "1");
  EXPECT_EQ(Format(0, "0;(0)"), "0");
  EXPECT_EQ(Format(0, "0;(0);\\z\\e\\r\\o"), "zero");
  EXPECT_EQ(Format(-3, "-0"), "-3");
  EXPECT_EQ(Format(3, "-0"), "3");
  EXPECT_EQ(Format(3, "+0"), "+3");
  EXPECT_EQ(Format(-3, "+0"), "-3");
  EXPECT_EQ(Format(0, "+0"), "0");
  EXPECT_EQ(Format(-3, "0\\;0;x0"), "3");  // an escaped ";" does not split
}

TEST(ClassicFormat, Exponents) {
  EXPECT_EQ(Format(12345, "0.00e+"), "1.23e+4");
  EXPECT_EQ(Format(12345, "0.00E-"), "1.23E4");
  EXPECT_EQ(Format(0.00012, "0.0e-00"), "1.2e-4");
  EXPECT_EQ(Format(1, "0.##e+"), "1.e+0");
  EXPECT_EQ(Format(1, "0.00e"), "1.00e+0");
  EXPECT_EQ(Format(-1234.5, "Scientific"), "-1.234500E+3");
  EXPECT_EQ(Format(12345, "0.00"), "12345.00");
}

TEST(ClassicFormat, ExtremeValues) {
  EXPECT_EQ(Format(1e300, "0.#").size(), 302u);  // 301 digits and the point
  EXPECT_EQ(Format(1e300, "0." + std::string(500, '0')).size(), 802u);
  EXPECT_EQ(Format(-std::numeric_limits<double>::infinity(), "#,##0.00"), "-INF");
  EXPECT_EQ(Format(std::nan(""), "0"), "NaN");
  EXPECT_EQ(Format(-1e307, "#0%e#"), "-INF");  // the percentage overflows
  EXPECT_EQ(Format(3, ""), "");
  EXPECT_EQ(StringFormat(3, nullptr, false), nullptr);
}

TEST(ClassicHex, EncodeAndDecode) {
  StringLeakCheck leaks;
  StringHolder raw = Make(std::string("\x00\x7F\xAB", 3), kEncodingUnknown);
  StringHolder plain = StringHolder::Adopt(RuntimeEncodeHex(raw.get(), false));
  EXPECT_EQ(Bytes(plain.get()), "007FAB");
  EXPECT_EQ(plain.get()->mEncoding, kEncodingUTF8);
  EXPECT_EQ(Bytes(StringHolder::Adopt(RuntimeEncodeHex(raw.get(), true)).get()), "00 7F AB");
  EXPECT_EQ(RuntimeEncodeHex(nullptr, true), nullptr);
  auto decode = [](std::string_view t) {
    return Bytes(StringHolder::Adopt(RuntimeDecodeHex(Make(t, kEncodingUTF8).get())).get());
  };
  EXPECT_EQ(decode("00 7f\nAB"), std::string("\x00\x7F\xAB", 3));
  EXPECT_EQ(decode("zz41-42 4"), "AB");
  EXPECT_EQ(decode("4x1"), "");
  EXPECT_EQ(RuntimeDecodeHex(nullptr), nullptr);
}

TEST(ClassicBase64, Decode) {
  StringLeakCheck leaks;
  auto decode = [](std::string_view t) {
    return StringHolder::Adopt(StringExtends_DecodeBase64(Make(t, kEncodingUTF8).get()));
  };
  StringHolder hello = decode("SGVsbG8=");
  EXPECT_EQ(Bytes(hello.get()), "Hello");
  EXPECT_EQ(hello.get()->mEncoding, kEncodingUnknown);
  EXPECT_EQ(Bytes(decode("+/8=").get()), "\xFB\xFF");
  EXPECT_EQ(Bytes(decode("TWFu TWFu").get()), "Man");  // stops at the blank
  EXPECT_EQ(Bytes(decode("TQ").get()), "M");
  EXPECT_EQ(decode("=AAA").get(), nullptr);
}

}  // namespace
