// Conversions between the encodings the converter supports.
#include <gtest/gtest.h>

#include "kit/recording_reporter.h"
#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/code_page.h"
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

TEST(ConvertString, AsciiIsRetaggedForByteEncodingsAndFoldedForUnicode) {
  StringHolder ascii = Make("a\xE9z", kEncodingASCII);
  StringHolder asUtf8 = Convert(ascii, kEncodingUTF8);
  EXPECT_EQ(Bytes(asUtf8.get()), "a\xE9z");  // re-tagged, bytes untouched
  EXPECT_EQ(asUtf8.get()->mEncoding, kEncodingUTF8);
  EXPECT_EQ(Bytes(Convert(ascii, 0x202).get()), "a\xE9z");
  EXPECT_EQ(Units(Convert(ascii, kEncodingUTF16).get()), u"aiz");  // the eighth bit drops
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

TEST(ConvertString, CodePagesGiveTheirExactBytes) {
  struct Case {
    uint32_t encoding;
    std::string bytes;
    std::u16string units;
  } cases[] = {
      {0x500, "\x80", u"\u20AC"},                    // windows-1252
      {kEncodingMacRoman, "\x8E", u"\u00E9"},
      {0xA01, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},  // Shift-JIS
      {kEncodingUTF16BE, std::string("\0A", 2), u"A"},
      {0x400, "\x1A\x7F\x80", u"\u001A\u007F\u00C7"},  // cp437 keeps its controls
      {0x41D, "\x80\xA1", u"\u20AC\u0E01"},            // cp874
      {0x422, "\xB0\xA1", u"\uAC00"},                   // cp949
      {0x423, "\xA4\x40", u"\u4E00"},                   // cp950
      {0x421, "\xD6\xD0", u"\u4E2D"},                   // GBK
      {0x920, "\xC6\xFC\xCB\xDC\x8E\xB1", u"\u65E5\u672C\uFF71"},  // EUC-JP
      {0x820, "\x1B$BF|K\\\x1B(B!", u"\u65E5\u672C!"},                // ISO-2022-JP
      {0x510, "\x88\x61", u"\uAC00"},                   // Johab
      {0xC01, "\xC1", u"A"},                              // EBCDIC 37
  };
  for (const Case& c : cases) {
    StringHolder source = Make(c.bytes, c.encoding);
    EXPECT_EQ(Units(Convert(source, kEncodingUTF16).get()), c.units) << std::hex << c.encoding;
    StringHolder wide = MakeUtf16(c.units);
    StringHolder back = Convert(wide, c.encoding);
    ASSERT_TRUE(back) << std::hex << c.encoding;
    EXPECT_EQ(Bytes(back.get()), c.bytes) << std::hex << c.encoding;
    EXPECT_EQ(back.get()->mEncoding, c.encoding);
  }
}

TEST(ConvertString, EveryMappedByteOfASingleBytePageComesBack) {
  for (uint32_t page : vela::SupportedCodePages()) {
    if (!vela::IsSingleByteCodePage(page)) continue;
    const uint32_t encoding = vela::EncodingFromCodePage(page);
    for (int b = 1; b < 256; ++b) {
      if (page == 20127 && b >= 0x80) continue;  // US-ASCII folds these onto 0x00..0x7F
      StringHolder one = Make(std::string(1, char(b)), encoding);
      StringHolder wide = Convert(one, kEncodingUTF16);
      ASSERT_TRUE(wide) << page << " " << b;
      if (Units(wide.get()) == u"\uFFFD") continue;  // the byte maps to nothing
      EXPECT_EQ(Bytes(Convert(wide, encoding).get()), std::string(1, char(b)))
          << "code page " << page << " byte " << b;
    }
  }
}

TEST(ConvertString, NeverRaisesOnWhatCannotBeConverted) {
  RecordingReporter reporter;
  StringHolder utf8 = Make("a\xE2\x82\xAC", kEncodingUTF8);
  EXPECT_EQ(Bytes(Convert(utf8, 0x201).get()), "a?");        // ISO-8859-1 lacks the euro
  EXPECT_EQ(Bytes(Convert(utf8, 0xA01).get()), "a?");        // and so does Shift-JIS
  EXPECT_EQ(Convert(utf8, 0x1).get(), nullptr);              // Mac Japanese: no converter
  EXPECT_EQ(Convert(utf8, 0xFFFF1234).get(), nullptr);       // an unknown code page
  StringHolder truncated = Make("\x93", 0xA01);               // half a double-byte character
  EXPECT_NE(Convert(truncated, kEncodingUTF8).get(), nullptr);
  EXPECT_EQ(reporter.count(), 0u);
  EXPECT_FALSE(vela::CanConvertEncoding(0x1));
  EXPECT_TRUE(vela::CanConvertEncoding(kEncodingUnknown));
}

TEST(CodePageMap, PagesAndCodesMapBothWays) {
  EXPECT_EQ(vela::EncodingFromCodePage(874), 0x41Du);
  EXPECT_EQ(vela::EncodingFromCodePage(1200), kEncodingUTF16LE);
  EXPECT_EQ(vela::EncodingFromCodePage(1149), 0xFFFF047Du);  // no row: the direct range
  EXPECT_EQ(vela::CodePageFromEncoding(0xFFFF047D), 1149u);
  EXPECT_EQ(vela::CodePageFromEncoding(kEncodingUTF16), 1200u);
  EXPECT_EQ(vela::CodePageFromEncoding(0x920), 900000u);
  EXPECT_EQ(vela::CodePageFromEncoding(0x1F), 0u);
  EXPECT_FALSE(vela::IsValidCodePage(1149));
}

}  // namespace
