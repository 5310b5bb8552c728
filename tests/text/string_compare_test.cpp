// Byte and text order of strings.
#include <vector>

#include <gtest/gtest.h>

#include <cstring>

#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/string_compare.h"

namespace {

using vela::StringHolder;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::testkit::StringLeakCheck;

int32_t Text(const StringHolder& a, const StringHolder& b, bool fold) {
  return vela::CompareStringText(a.get(), b.get(), fold);
}

TEST(CompareBytes, UnsignedBytesThenLength) {
  StringHolder abc = Make("abc", kEncodingASCII);
  StringHolder abcd = Make("abcd", kEncodingUTF8);
  StringHolder high = Make("\x80", kEncodingUnknown);
  StringHolder low = Make("\x7F", kEncodingUnknown);
  StringHolder upper = Make("ABC", kEncodingUTF8);
  StringHolder abcAgain = Make("abc", kEncodingMacRoman);  // encodings play no part
  EXPECT_EQ(vela::CompareStringBytes(abc.get(), abc.get()), 0);
  EXPECT_EQ(vela::CompareStringBytes(abc.get(), abcAgain.get()), 0);
  EXPECT_EQ(vela::CompareStringBytes(abc.get(), abcd.get()), -1);
  EXPECT_EQ(vela::CompareStringBytes(abcd.get(), abc.get()), 1);
  EXPECT_EQ(vela::CompareStringBytes(high.get(), low.get()), 1);
  EXPECT_EQ(StringStrCompare(abc.get(), upper.get(), 0), 1);
  EXPECT_EQ(vela::CompareStringBytes(nullptr, abc.get()), -1);
  EXPECT_EQ(vela::CompareStringBytes(abc.get(), nullptr), 1);
  EXPECT_EQ(vela::CompareStringBytes(nullptr, nullptr), 0);
}

TEST(StringCompareExports, CaseAndNilRules) {
  StringHolder abc = Make("abc", kEncodingASCII);
  StringHolder upper = Make("ABC", kEncodingASCII);
  StringHolder abd = Make("abd", kEncodingUTF8);
  StringHolder empty = Make("", kEncodingUTF8);  // the empty string is Nil
  EXPECT_EQ(RuntimeStringCompare(abc.get(), upper.get()), 0);
  EXPECT_EQ(RuntimeStringCompare(abc.get(), abd.get()), -1);
  EXPECT_EQ(RuntimeStringCompare(abd.get(), upper.get()), 1);
  EXPECT_EQ(RuntimeStringCompare(nullptr, empty.get()), 0);
  EXPECT_EQ(RuntimeStringCompare(nullptr, abc.get()), -1);
  EXPECT_EQ(RuntimeStringCompare(abc.get(), nullptr), 1);
  EXPECT_EQ(StringStrCompare(abc.get(), upper.get(), 1), 1);
  EXPECT_EQ(StringStrCompare(upper.get(), abc.get(), 7), -1);
  EXPECT_EQ(StringStrCompare(nullptr, abc.get(), 1), -1);
}

TEST(CompareText, Utf8FoldsNonAsciiCaseButNotAccents) {
  StringHolder lower = Make("\xC3\xA9t\xC3\xA9", kEncodingUTF8);  // été
  StringHolder upper = Make("\xC3\x89T\xC3\x89", kEncodingUTF8);  // ÉTÉ
  EXPECT_EQ(Text(lower, upper, true), 0);
  EXPECT_EQ(Text(lower, upper, false), 1);  // U+00E9 after U+00C9
  StringHolder plain = Make("ete", kEncodingUTF8);
  EXPECT_NE(Text(plain, lower, true), 0);
  StringHolder greek = Make("\xCE\xB1\xCE\xB2", kEncodingUTF8);  // αβ
  StringHolder greekUpper = Make("\xCE\x91\xCE\x92", kEncodingUTF8);
  EXPECT_EQ(Text(greek, greekUpper, true), 0);
}

TEST(CompareText, Utf8OrdersByCodePointThenByteLength) {
  StringHolder z = Make("z", kEncodingUTF8);
  StringHolder eAcute = Make("\xC3\xA9", kEncodingUTF8);
  StringHolder astral = Make("\xF0\x9F\x98\x80", kEncodingUTF8);  // U+1F600
  StringHolder ab = Make("ab", kEncodingASCII);
  StringHolder abc = Make("ABC", kEncodingUTF8);
  EXPECT_EQ(Text(z, eAcute, true), -1);
  EXPECT_EQ(Text(eAcute, astral, true), -1);
  EXPECT_EQ(Text(ab, abc, true), -1);  // ASCII + UTF-8 meet as UTF-8
  EXPECT_EQ(Text(abc, ab, true), 1);
}

TEST(CompareText, MalformedUtf8BytesStayDistinct) {
  StringHolder a = Make("x\x80", kEncodingUTF8);
  StringHolder b = Make("x\x81", kEncodingUTF8);
  StringHolder c = Make("x\xC3", kEncodingUTF8);  // truncated sequence
  EXPECT_EQ(Text(a, b, true), -1);
  EXPECT_EQ(Text(b, a, true), 1);
  EXPECT_EQ(Text(b, c, false), -1);
  EXPECT_EQ(Text(c, c, false), 0);
}

TEST(CompareText, Utf16ComparesUnitsWithoutJoiningSurrogates) {
  StringHolder fullwidthA = MakeUtf16(u"\uFF21");
  StringHolder grin = MakeUtf16(u"\U0001F600");  // D83D DE00
  // In code points U+1F600 is greater; unit by unit 0xD83D is less.
  EXPECT_EQ(Text(grin, fullwidthA, false), -1);
  StringHolder lower = MakeUtf16(u"stra\u00DFe \u00E9");
  StringHolder upper = MakeUtf16(u"STRA\u00DFE \u00C9");
  EXPECT_EQ(Text(lower, upper, true), 0);
  EXPECT_EQ(Text(lower, upper, false), 1);
  StringHolder shorter = MakeUtf16(u"STRA");
  EXPECT_EQ(Text(shorter, lower, true), -1);
}

TEST(CompareText, MixedEncodingsAreReconciledFirst) {
  StringLeakCheck check;
  {
    StringHolder utf16 = MakeUtf16(u"\u00C9t\u00C9");
    StringHolder latin = Make("\xE9t\xE9", kEncodingWindowsLatin1);
    StringHolder utf8 = Make("\xC3\xA9t\xC3\xA9", kEncodingUTF8);
    StringHolder roman = Make("\x8Et\x8E", kEncodingMacRoman);
    EXPECT_EQ(Text(utf16, latin, true), 0);  // both as UTF-16
    EXPECT_EQ(Text(utf8, utf16, true), 0);   // both as UTF-8
    EXPECT_EQ(Text(roman, latin, true), 0);  // both as UTF-8
    EXPECT_EQ(Text(roman, utf16, false), 1);
  }
  EXPECT_TRUE(check.NoLeaks());
}

// Encodings without a script table (ISO-8859-14 here) are ordered by the
// root collation of their UTF-16 forms.
TEST(CompareText, OtherEncodingsCollateAtRootStrength) {
  constexpr uint32_t kLatin8 = 0x20E;
  StringHolder a = Make("a", kLatin8);
  StringHolder capitalB = Make("B", kLatin8);
  EXPECT_EQ(Text(a, capitalB, false), -1);  // bytes would say 'a' > 'B'
  StringHolder lower = Make("abc", kLatin8);
  StringHolder upper = Make("ABC", kLatin8);
  EXPECT_EQ(Text(lower, upper, true), 0);
  EXPECT_EQ(Text(lower, upper, false), -1);  // lower case first at tertiary strength
  EXPECT_EQ(Text(upper, lower, false), 1);
  StringHolder accent = Make("\xE1", kLatin8);  // á
  StringHolder plain = Make("a", kLatin8);
  EXPECT_EQ(Text(plain, accent, true), -1);  // secondary strength keeps accents
  // Equal by collation: fewer units is less (U+0000 is ignorable).
  StringHolder withNul = Make(std::string_view("a\0", 2), kLatin8);
  EXPECT_EQ(Text(plain, withNul, true), -1);
  EXPECT_EQ(Text(withNul, plain, true), 1);
}

TEST(CompareText, ScriptTableUsesWeightsAndTheUpperRow) {
  vela::ScriptTable table;
  for (int i = 0; i < 256; ++i) {
    table.upper[i] = static_cast<unsigned char>(i >= 'a' && i <= 'z' ? i - 32 : i);
    table.lower[i] = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i + 32 : i);
    table.weight[i] = static_cast<unsigned char>(255 - i);  // reversed byte order
  }
  const auto* ab = reinterpret_cast<const unsigned char*>("ab");
  const auto* abUpper = reinterpret_cast<const unsigned char*>("AB");
  const auto* abc = reinterpret_cast<const unsigned char*>("abc");
  EXPECT_EQ(vela::CompareThroughTable(ab, 2, abUpper, 2, table, true), 0);
  EXPECT_EQ(vela::CompareThroughTable(ab, 2, abUpper, 2, table, false), -1);
  EXPECT_EQ(vela::CompareThroughTable(ab, 2, abc, 3, table, false), -1);
  EXPECT_EQ(vela::CompareThroughTable(abc, 3, ab, 2, table, false), 1);
}

// The generated tables order a page's letters by base letter, then upper
// case before lower case, then accent.
TEST(CompareText, PagesWithATableCompareByItsWeights) {
  auto order = [](std::string_view a, std::string_view b, uint32_t encoding, bool fold) {
    return Text(Make(a, encoding), Make(b, encoding), fold);
  };
  EXPECT_EQ(order("A", "a", kEncodingMacRoman, false), -1);
  EXPECT_EQ(order("a", "B", kEncodingMacRoman, false), -1);
  EXPECT_EQ(order("\x83", "\x8E", kEncodingMacRoman, false), -1);  // É before é
  EXPECT_EQ(order("\x8E", "f", kEncodingMacRoman, false), -1);      // é among the e's
  EXPECT_EQ(order("\x83", "\x8E", kEncodingMacRoman, true), 0);    // folded through row 0
  EXPECT_EQ(order("9", "A", kEncodingWindowsLatin1, false), -1);
  EXPECT_EQ(order(" ", "0", kEncodingWindowsLatin1, false), -1);
  EXPECT_EQ(order("\xC9", "\xE9", kEncodingWindowsLatin1, true), 0);  // É and é in 1252
  // ASCII text has MacRoman's table; pages outside the list have none.
  const vela::ScriptTable* ascii = vela::FindScriptTable(kEncodingASCII);
  const vela::ScriptTable* roman = vela::FindScriptTable(kEncodingMacRoman);
  ASSERT_NE(ascii, nullptr);
  ASSERT_NE(roman, nullptr);
  EXPECT_EQ(0, std::memcmp(ascii, roman, sizeof *ascii));
  EXPECT_EQ(vela::FindScriptTable(0x20E), nullptr);
  EXPECT_EQ(vela::FindScriptTable(kEncodingUTF8), nullptr);
}

// Whatever the branch, swapping the arguments negates the order.
TEST(CompareText, OrderIsAntisymmetricAcrossEncodings) {
  std::vector<StringHolder> samples;
  samples.push_back(Make("abc", kEncodingASCII));
  samples.push_back(Make("ABD", kEncodingUTF8));
  samples.push_back(Make("\xC3\xA9", kEncodingUTF8));
  samples.push_back(Make("\x8E", kEncodingMacRoman));
  samples.push_back(Make("\xC9z", kEncodingWindowsLatin1));
  samples.push_back(MakeUtf16(u"\u00E9a"));
  samples.push_back(MakeUtf16(u"Ab", kEncodingUTF16BE));
  samples.push_back(Make("\xFF\xFE", kEncodingUnknown));
  samples.push_back(StringHolder());
  for (const auto& a : samples)
    for (const auto& b : samples)
      for (bool fold : {false, true})
        EXPECT_EQ(Text(a, b, fold), -Text(b, a, fold))
            << vela::strtest::Bytes(a.get()) << " / " << vela::strtest::Bytes(b.get());
}

}  // namespace
