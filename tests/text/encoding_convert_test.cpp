// Conversions between the encodings the converter supports.
#include <gtest/gtest.h>

#include "kit/recording_reporter.h"
#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/encoding_convert.h"

namespace {

using vela::ConvertString;
using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::strtest::Units;
using vela::testkit::RecordingReporter;
using vela::testkit::StringLeakCheck;

StringHolder Convert(const StringHolder& s, uint32_t target) {
  return StringHolder::Adopt(ConvertString(s.get(), target));
}

// "é€😀" in each Unicode form.
const std::string kUtf8 = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
const std::string kUtf16LE("\xE9\x00\xAC\x20\x3D\xD8\x00\xDE", 8);
const std::string kUtf16BE("\x00\xE9\x20\xAC\xD8\x3D\xDE\x00", 8);
const std::string kUtf32LE("\xE9\0\0\0\xAC\x20\0\0\x00\xF6\x01\x00", 12);
const std::string kUtf32BE("\0\0\0\xE9\0\0\x20\xAC\x00\x01\xF6\x00", 12);

TEST(ConvertString, UnicodeFormsRoundTrip) {
  StringLeakCheck check;
  {
    const std::pair<uint32_t, std::string> forms[] = {
        {kEncodingUTF8, kUtf8},       {kEncodingUTF16, kUtf16LE},   {kEncodingUTF16LE, kUtf16LE},
        {kEncodingUTF16BE, kUtf16BE}, {kEncodingUTF32, kUtf32LE},   {kEncodingUTF32LE, kUtf32LE},
        {kEncodingUTF32BE, kUtf32BE},
    };
    for (const auto& [from, fromBytes] : forms) {
      StringHolder source = Make(fromBytes, from);
      for (const auto& [to, toBytes] : forms) {
        StringHolder converted = Convert(source, to);
        ASSERT_TRUE(converted) << std::hex << from << " -> " << to;
        EXPECT_EQ(converted.get()->mEncoding, to);
        EXPECT_EQ(Bytes(converted.get()), toBytes) << std::hex << from << " -> " << to;
      }
    }
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(ConvertString, SameOrRawTargetGivesTheStringItself) {
  StringHolder s = Make("abc", kEncodingWindowsLatin1);
  StringHolder same = Convert(s, kEncodingWindowsLatin1);
  EXPECT_EQ(same.get(), s.get());
  StringHolder raw = Convert(s, kEncodingUnknown);
  EXPECT_EQ(raw.get(), s.get());
  EXPECT_EQ(s.get()->mRefCount, 3);
  EXPECT_EQ(ConvertString(nullptr, kEncodingUTF8), nullptr);
}

TEST(ConvertString, AsciiKeepsSevenBitsAndMarksTheRest) {
  StringHolder ascii = Make("a\xE9z", kEncodingASCII);
  EXPECT_EQ(Bytes(Convert(ascii, kEncodingUTF8).get()), "a?z");
  EXPECT_EQ(Units(Convert(ascii, kEncodingUTF16).get()), u"a?z");
  StringHolder utf8 = Make("a" + kUtf8 + "z", kEncodingUTF8);
  EXPECT_EQ(Bytes(Convert(utf8, kEncodingASCII).get()), "a???z");  // one mark per code point
}

TEST(ConvertString, SingleByteTablesMapBothWays) {
  StringHolder roman = Make("\x8E\xA5", kEncodingMacRoman);  // é •
  StringHolder fromRoman = Convert(roman, kEncodingUTF8);
  EXPECT_EQ(Bytes(fromRoman.get()), "\xC3\xA9\xE2\x80\xA2");
  EXPECT_EQ(Bytes(Convert(fromRoman, kEncodingMacRoman).get()), "\x8E\xA5");

  StringHolder latin = Make("\x80\xE9", kEncodingWindowsLatin1);  // € é
  StringHolder fromLatin = Convert(latin, kEncodingUTF16);
  EXPECT_EQ(Units(fromLatin.get()), u"\u20AC\u00E9");
  EXPECT_EQ(Bytes(Convert(fromLatin, kEncodingWindowsLatin1).get()), "\x80\xE9");
  // Characters the target lacks become '?'.
  StringHolder grin = Make("x\xF0\x9F\x98\x80", kEncodingUTF8);
  EXPECT_EQ(Bytes(Convert(grin, kEncodingMacRoman).get()), "x?");
  StringHolder brokenBar = Make("\xA6\xE9", kEncodingWindowsLatin1);
  EXPECT_EQ(Bytes(Convert(brokenBar, kEncodingMacRoman).get()), "?\x8E");
}

TEST(ConvertString, MalformedInputBecomesReplacementCharacters) {
  StringHolder badUtf8 = Make("a\xFF", kEncodingUTF8);
  EXPECT_EQ(Units(Convert(badUtf8, kEncodingUTF16).get()), u"a\uFFFD");
  StringHolder loneSurrogate = MakeUtf16(u"\xD800" u"b");
  EXPECT_EQ(Bytes(Convert(loneSurrogate, kEncodingUTF8).get()), "\xEF\xBF\xBD" "b");
  StringHolder oddUtf16 = Make(std::string_view("a\0b", 3), kEncodingUTF16);  // half a unit left
  EXPECT_EQ(Bytes(Convert(oddUtf16, kEncodingUTF8).get()), "a\xEF\xBF\xBD");
  StringHolder badUtf32 = Make(std::string("\0\0\x11\0", 4), kEncodingUTF32LE);  // > U+10FFFF
  EXPECT_EQ(Bytes(Convert(badUtf32, kEncodingUTF8).get()), "\xEF\xBF\xBD");
}

TEST(ConvertString, RawBytesAreReadInTheSystemEncoding) {
  StringHolder raw = Make("\xC3\xA9", kEncodingUnknown);
  StringHolder wide = Convert(raw, kEncodingUTF16);
  EXPECT_EQ(Units(wide.get()), u"\u00E9");
  EXPECT_EQ(vela::kSystemEncoding, kEncodingUTF8);
}

TEST(ConvertString, UnsupportedEncodingsReportBothCodes) {
  RecordingReporter reporter;
  StringHolder japanese = Make("\x82\xA0", 0xA01);
  EXPECT_EQ(ConvertString(japanese.get(), kEncodingUTF8), nullptr);
  ASSERT_EQ(reporter.count(), 1u);
  EXPECT_EQ(reporter.reports()[0].condition, "not built yet");
  EXPECT_EQ(reporter.reports()[0].message, "ConvertString from 0xA01 to 0x8000100");
  StringHolder utf8 = Make("a", kEncodingUTF8);
  EXPECT_EQ(ConvertString(utf8.get(), 0x202), nullptr);
  EXPECT_TRUE(reporter.SawMessage("to 0x202"));
  EXPECT_FALSE(vela::CanConvertEncoding(0x202));
  EXPECT_TRUE(vela::CanConvertEncoding(kEncodingUnknown));
}

}  // namespace
