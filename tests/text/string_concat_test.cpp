// Common encodings of two strings and concatenation.
#include <gtest/gtest.h>

#include "kit/recording_reporter.h"
#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/string_concat.h"

namespace {

using vela::CombineEncodings;
using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::strtest::Units;
using vela::testkit::RecordingReporter;
using vela::testkit::StringLeakCheck;

constexpr uint32_t kShiftJIS = 0xA01;
constexpr uint32_t kLatin1 = 0x201;

StringHolder Add(TESSstring a, TESSstring b) { return StringHolder::Adopt(RuntimeAddString(a, b)); }

TEST(CombineEncodings, EqualAsciiAndUtf8Pairs) {
  EXPECT_EQ(CombineEncodings(kLatin1, kLatin1, false), kLatin1);
  EXPECT_EQ(CombineEncodings(kEncodingASCII, kEncodingUTF8, false), kEncodingUTF8);
  EXPECT_EQ(CombineEncodings(kEncodingUTF8, kEncodingASCII, false), kEncodingUTF8);
}

TEST(CombineEncodings, AsciiJoinsCodesOutsideTheUnicodeBase) {
  EXPECT_EQ(CombineEncodings(kEncodingASCII, kEncodingMacRoman, false), kEncodingMacRoman);
  EXPECT_EQ(CombineEncodings(kEncodingMacRoman, kEncodingASCII, false), kEncodingMacRoman);
  EXPECT_EQ(CombineEncodings(kEncodingASCII, kEncodingWindowsLatin1, false), kEncodingWindowsLatin1);
  EXPECT_EQ(CombineEncodings(kLatin1, kEncodingASCII, false), kLatin1);
  // UTF-16 lies in the Unicode base range; UTF-8 is not ASCII.
  EXPECT_EQ(CombineEncodings(kEncodingASCII, kEncodingUTF16, false), kEncodingUnknown);
  EXPECT_EQ(CombineEncodings(kEncodingUTF16, kEncodingASCII, false), kEncodingUnknown);
  EXPECT_EQ(CombineEncodings(kEncodingUTF8, kEncodingMacRoman, false), kEncodingUnknown);
  // The byte-order forms keep their variant in the high bits: still Unicode.
  EXPECT_EQ(CombineEncodings(kEncodingASCII, kEncodingUTF16BE, false), kEncodingUnknown);
  EXPECT_EQ(CombineEncodings(kEncodingUTF32LE, kEncodingASCII, false), kEncodingUnknown);
}

TEST(CombineEncodings, PromotionChoosesAUnicodeForm) {
  EXPECT_EQ(CombineEncodings(kEncodingMacRoman, kShiftJIS, false), kEncodingUnknown);
  EXPECT_EQ(CombineEncodings(kEncodingMacRoman, kShiftJIS, true), kEncodingUTF8);
  EXPECT_EQ(CombineEncodings(kEncodingUTF16, kEncodingMacRoman, true), kEncodingUTF16);
  EXPECT_EQ(CombineEncodings(kEncodingMacRoman, kEncodingUTF16, true), kEncodingUTF16);
  EXPECT_EQ(CombineEncodings(kEncodingUTF16, kEncodingUTF8, true), kEncodingUTF8);
  EXPECT_EQ(CombineEncodings(kEncodingUTF8, kEncodingUTF16, true), kEncodingUTF8);
}

TEST(Reconcile, NilSidesTakeTheOtherEncodingOrAscii) {
  StringHolder nil1, nil2;
  EXPECT_EQ(vela::ReconcileStrings(nil1, nil2), kEncodingASCII);
  StringHolder s = Make("x", kLatin1);
  EXPECT_EQ(vela::ReconcileStrings(nil1, s), kLatin1);
  EXPECT_EQ(vela::ReconcileStrings(s, nil2), kLatin1);
}

TEST(AddString, EmptySidesGiveTheOtherWithoutCopy) {
  StringLeakCheck check;
  EXPECT_EQ(RuntimeAddString(nullptr, nullptr), nullptr);
  {
    StringHolder s = Make("abc", kEncodingUTF8);
    StringHolder left = Add(nullptr, s.get());
    EXPECT_EQ(left.get(), s.get());
    EXPECT_EQ(s.get()->mRefCount, 2);
    StringHolder right = Add(s.get(), nullptr);
    EXPECT_EQ(right.get(), s.get());
    EXPECT_EQ(s.get()->mRefCount, 3);
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(AddString, SameEncodingAppendsBytes) {
  StringLeakCheck check;
  {
    StringHolder a = Make("Hello, ", kLatin1);
    StringHolder b = Make("w\xF6rld", kLatin1);
    StringHolder sum = Add(a.get(), b.get());
    EXPECT_EQ(Bytes(sum.get()), "Hello, w\xF6rld");
    EXPECT_EQ(sum.get()->mEncoding, kLatin1);
    EXPECT_EQ(sum.get()->mRefCount, 1);
    std::string big(400, 'z');
    StringHolder longer = Add(sum.get(), Make(big, kLatin1).get());
    EXPECT_EQ(longer.get()->mLength, 412);
    EXPECT_EQ(longer.get()->mBuffer[0], 255);
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(AddString, Utf8AndUtf16GiveUtf8) {
  StringLeakCheck check;
  {
    StringHolder a = Make("caf\xC3\xA9 ", kEncodingUTF8);
    StringHolder b = MakeUtf16(u"\u00FCber");
    StringHolder sum = Add(a.get(), b.get());
    EXPECT_EQ(sum.get()->mEncoding, kEncodingUTF8);
    EXPECT_EQ(Bytes(sum.get()), "caf\xC3\xA9 \xC3\xBC" "ber");
    StringHolder reversed = Add(b.get(), a.get());
    EXPECT_EQ(reversed.get()->mEncoding, kEncodingUTF8);
    EXPECT_EQ(Bytes(reversed.get()), "\xC3\xBC" "bercaf\xC3\xA9 ");
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(AddString, Utf16AndWindowsLatinGiveUtf16) {
  StringLeakCheck check;
  {
    StringHolder a = MakeUtf16(u"price ");
    StringHolder b = Make("5\x80", kEncodingWindowsLatin1);  // 0x80 is the euro sign
    StringHolder sum = Add(a.get(), b.get());
    EXPECT_EQ(sum.get()->mEncoding, kEncodingUTF16);
    EXPECT_EQ(Units(sum.get()), u"price 5\u20AC");
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(AddString, RawBytesOnEitherSideAreAppendedAsTheyAre) {
  StringHolder raw = Make(std::string_view("\xFF\0\x01", 3), kEncodingUnknown);
  StringHolder utf16 = MakeUtf16(u"ab");
  StringHolder sum = Add(utf16.get(), raw.get());
  EXPECT_EQ(sum.get()->mEncoding, kEncodingUnknown);
  EXPECT_EQ(Bytes(sum.get()), std::string("a\0b\0\xFF\0\x01", 7));
  StringHolder other = Add(raw.get(), Make("\xC3\xA9", kEncodingUTF8).get());
  EXPECT_EQ(other.get()->mEncoding, kEncodingUnknown);
  EXPECT_EQ(Bytes(other.get()), std::string("\xFF\0\x01\xC3\xA9", 5));
}

TEST(AddString, AsciiJoinsMacRomanWithoutConversion) {
  StringHolder a = Make("abc", kEncodingASCII);
  StringHolder b = Make("\x8E", kEncodingMacRoman);  // é
  StringHolder sum = Add(a.get(), b.get());
  EXPECT_EQ(sum.get()->mEncoding, kEncodingMacRoman);
  EXPECT_EQ(Bytes(sum.get()), "abc\x8E");
  StringHolder utf8 = Add(a.get(), Make("\xC3\xA9", kEncodingUTF8).get());
  EXPECT_EQ(utf8.get()->mEncoding, kEncodingUTF8);
  EXPECT_EQ(Bytes(utf8.get()), "abc\xC3\xA9");
}

TEST(AddString, DifferentScriptsMeetInUtf8) {
  StringHolder roman = Make("\x8E", kEncodingMacRoman);
  StringHolder latin = Make("\xE9", kEncodingWindowsLatin1);
  StringHolder sum = Add(roman.get(), latin.get());
  EXPECT_EQ(sum.get()->mEncoding, kEncodingUTF8);
  EXPECT_EQ(Bytes(sum.get()), "\xC3\xA9\xC3\xA9");
}

// A side that cannot be converted stops the reconciliation: the side already
// converted stays converted, the other keeps its bytes, and the result is raw.
TEST(AddString, FailedConversionGivesRawBytes) {
  StringLeakCheck check;
  {
    RecordingReporter reporter;
    StringHolder roman = Make("\x8E", kEncodingMacRoman);
    StringHolder japanese = Make("\x82\xA0", kShiftJIS);
    StringHolder both = Add(roman.get(), japanese.get());
    EXPECT_EQ(both.get()->mEncoding, kEncodingUTF8);
    EXPECT_EQ(Bytes(both.get()), "\xC3\xA9\xE3\x81\x82");
    StringHolder macJapanese = Make("\x82\xA0", 0x1);  // no converter serves it
    StringHolder sum = Add(roman.get(), macJapanese.get());
    EXPECT_EQ(sum.get()->mEncoding, kEncodingUnknown);
    EXPECT_EQ(Bytes(sum.get()), "\xC3\xA9\x82\xA0");
    EXPECT_EQ(reporter.count(), 0u);
  }
  EXPECT_TRUE(check.NoLeaks());
}

}  // namespace
