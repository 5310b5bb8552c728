// Uppercase, Lowercase, Titlecase and Trim in each kind of encoding: what
// maps, what stays, and that unchanged text comes back as the same record.
#include <gtest/gtest.h>

#include <string>

#include "kit/string_counts.h"
#include "string_test_support.h"
#include "vela/classic_strings.h"

namespace {

using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::strtest::Units;
using vela::testkit::StringLeakCheck;

constexpr uint32_t kLatin1 = 0x201;
constexpr uint32_t kWindowsCyrillic = 0x502;
constexpr uint32_t kShiftJIS = 0xA01;

std::string Apply(TESSstring (*f)(TESSstring), std::string_view s, uint32_t e = kEncodingUTF8) {
  StringHolder r = StringHolder::Adopt(f(Make(s, e).get()));
  return r ? Bytes(r.get()) : "<nil>";
}

TEST(ClassicCase, UnicodeText) {
  EXPECT_EQ(Apply(StringUCase, "abc \xC3\xA9\xCF\x83\xD0\xB6"), "ABC \xC3\x89\xCE\xA3\xD0\x96");
  EXPECT_EQ(Apply(StringLCase, "ABC \xC3\x89\xCE\xA3\xD0\x96"), "abc \xC3\xA9\xCF\x83\xD0\xB6");
  // The case pairs are those of simple case folding over the Latin, Greek,
  // Cyrillic, Armenian, letterlike, enclosed and fullwidth blocks.
  EXPECT_EQ(Apply(StringUCase, "stra\xC3\x9F" "e"), "STRA\xE1\xBA\x9E" "E");  // ß pairs with ẞ
  EXPECT_EQ(Apply(StringLCase, "\xE2\x84\xAA"), "k");              // Kelvin sign
  EXPECT_EQ(Apply(StringUCase, "k"), "K");                          // the first pair of k
  EXPECT_EQ(Apply(StringLCase, "\xC2\xB5"), "\xCE\xBC");            // micro sign to mu
  EXPECT_EQ(Apply(StringUCase, "\xCE\xBC"), "\xCE\x9C");            // mu to capital mu
  EXPECT_EQ(Apply(StringUCase, "\xE1\x83\x90"), "\xE1\x83\x90");    // Georgian: no pairs
  EXPECT_EQ(Apply(StringUCase, "\xF0\x90\x90\xA8"), "\xF0\x90\x90\xA8");  // beyond U+FFFF: unchanged
  EXPECT_EQ(Apply(StringUCase, "a\xFF" "b"), "A\xFF" "B");                  // malformed bytes pass
  EXPECT_EQ(StringUCase(nullptr), nullptr);
  StringHolder wide = StringHolder::Adopt(StringUCase(MakeUtf16(u"x\u00E9\u0444").get()));
  EXPECT_EQ(Units(wide.get()), u"X\u00C9\u0424");
  StringHolder big = StringHolder::Adopt(
      StringLCase(Make(std::string("\0A\x01\x10", 4), kEncodingUTF16BE).get()));
  EXPECT_EQ(Bytes(big.get()), std::string("\0a\x01\x11", 4));
  EXPECT_EQ(big.get()->mEncoding, kEncodingUTF16BE);
}

TEST(ClassicCase, PagesAndUnchangedText) {
  EXPECT_EQ(Apply(StringUCase, "caf\xE9", kLatin1), "CAF\xC9");
  EXPECT_EQ(Apply(StringLCase, "\xDF" "A", kWindowsCyrillic), "\xFF" "a");  // Я to я
  EXPECT_EQ(Apply(StringUCase, "ab", kEncodingUnknown), "AB");
  // Shift-JIS goes through UTF-8 and back: fullwidth ａ (0x8281) to Ａ (0x8260).
  StringHolder sj = StringHolder::Adopt(StringUCase(Make("a\x82\x81", kShiftJIS).get()));
  EXPECT_EQ(Bytes(sj.get()), "A\x82\x60");
  EXPECT_EQ(sj.get()->mEncoding, kShiftJIS);
  for (auto f : {StringUCase, StringLCase, StringTitleCase}) {
    StringHolder s = Make("1 2 -", kLatin1);
    StringHolder same = StringHolder::Adopt(f(s.get()));
    EXPECT_EQ(same.get(), s.get());
  }
}

TEST(ClassicCase, TitleCase) {
  EXPECT_EQ(Apply(StringTitleCase, "hello wORLD"), "Hello World");
  EXPECT_EQ(Apply(StringTitleCase, "a\tb\xE3\x80\x80" "c-d"), "A\tB\xE3\x80\x80" "C-d");
  EXPECT_EQ(Apply(StringTitleCase, "\xC3\xA9T\xC3\x89"), "\xC3\x89t\xC3\xA9");
  EXPECT_EQ(Apply(StringTitleCase, "\xE9t\xC9 x", kLatin1), "\xC9t\xE9 X");
  StringHolder wide = StringHolder::Adopt(StringTitleCase(MakeUtf16(u"ab\u00A0cD").get()));
  EXPECT_EQ(Units(wide.get()), u"Ab\u00A0Cd");
}

TEST(ClassicTrim, EndsAndEncodings) {
  EXPECT_EQ(Apply(runTrim, " \t a b \r\n"), "a b");
  EXPECT_EQ(Apply(runLTrim, "  a "), "a ");
  EXPECT_EQ(Apply(runRTrim, "  a "), "  a");
  EXPECT_EQ(Apply(runTrim, "   "), "<nil>");
  EXPECT_EQ(Apply(runTrim, "\xC2\xA0\xE2\x80\x83x\xE3\x80\x80"), "x");  // no-break, em and ideographic spaces
  // ASCII text and raw bytes know only the ASCII blanks.
  EXPECT_EQ(Apply(runTrim, "\xA0x ", kEncodingUnknown), "\xA0x");
  // Latin-1 is scanned as UTF-8: its 0xA0 is a no-break space.
  EXPECT_EQ(Apply(runTrim, "\xA0\xE9 ", kLatin1), "\xE9");
  StringHolder wide = StringHolder::Adopt(runTrim(MakeUtf16(u"\u3000 ab\u2028").get()));
  EXPECT_EQ(Units(wide.get()), u"ab");
  EXPECT_EQ(runTrim(nullptr), nullptr);
  StringHolder s = Make("a b", kEncodingUTF8);
  StringHolder same = StringHolder::Adopt(runTrim(s.get()));
  EXPECT_EQ(same.get(), s.get());
}

TEST(ClassicCase, LeaksNothing) {
  StringLeakCheck leaks;
  EXPECT_EQ(Apply(StringUCase, "a\x82\x81", kShiftJIS), "A\x82\x60");
  EXPECT_EQ(Apply(StringTitleCase, "x y", kLatin1), "X Y");
  EXPECT_EQ(Apply(runTrim, " \xE9 ", kLatin1), "\xE9");
  EXPECT_EQ(Apply(StringLCase, "AB", kLatin1), "ab");
  EXPECT_TRUE(leaks.NoLeaks());
}

}  // namespace
