// InStr and InStrB: exact byte search in both of its strategies, checked
// against a naive search, and the case-insensitive character search in each
// kind of encoding.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "kit/string_counts.h"
#include "string_test_support.h"
#include "vela/classic_strings.h"

namespace {

using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::testkit::StringLeakCheck;

constexpr uint32_t kLatin1 = 0x201;
constexpr uint32_t kWindowsCyrillic = 0x502;
constexpr uint32_t kShiftJIS = 0xA01;

int32_t InStr(int32_t start, std::string_view s, std::string_view find,
              uint32_t encoding = kEncodingUTF8, uint32_t findEncoding = kEncodingUTF8) {
  return StringInStr(start, Make(s, encoding).get(), Make(find, findEncoding).get());
}
int32_t InStrB(int32_t start, std::string_view s, std::string_view find) {
  return StringInStrB(start, Make(s, kEncodingUTF8).get(), Make(find, kEncodingUTF8).get());
}

TEST(ClassicSearch, EmptyOperandsAndStartRules) {
  EXPECT_EQ(InStr(5, "abc", ""), 5);
  EXPECT_EQ(InStrB(-3, "abc", ""), -3);
  EXPECT_EQ(InStr(1, "", "a"), 0);
  EXPECT_EQ(InStrB(1, "", ""), 0);
  EXPECT_EQ(InStr(0, "abc", "a"), 1);
  EXPECT_EQ(InStr(-7, "abc", "c"), 3);
  EXPECT_EQ(InStrB(2, "abab", "ab"), 3);
  EXPECT_EQ(InStrB(4, "abc", "c"), 0);
  EXPECT_EQ(InStrB(3, "abc", "cd"), 0);
  EXPECT_EQ(StringExtendsInStr(Make("xyz", kEncodingUTF8).get(), 2, Make("Z", kEncodingASCII).get()), 3);
  EXPECT_EQ(StringExtendsInStrB(Make("xyz", kEncodingUTF8).get(), 1, Make("z", kEncodingUTF8).get()), 3);
  EXPECT_EQ(StringIndexOfBytes(Make("xyz", kEncodingUTF8).get(), 0, Make("y", kEncodingUTF8).get()), 1);
  EXPECT_EQ(StringIndexOfBytes(Make("xyz", kEncodingUTF8).get(), 2, Make("y", kEncodingUTF8).get()), -1);
}

TEST(ClassicSearch, ByteSearchIsExact) {
  EXPECT_EQ(InStrB(1, "Abc", "a"), 0);
  EXPECT_EQ(InStrB(1, "Abca", "a"), 4);
  // Bytes, not characters: "é" is two bytes.
  EXPECT_EQ(InStrB(1, "\xC3\xA9x", "x"), 3);
}

TEST(ClassicSearch, CharacterSearchFoldsCaseInUtf8) {
  EXPECT_EQ(InStr(1, "Stra\xC3\x9F" "e", "SS"), 0);           // no multi-character folding
  EXPECT_EQ(InStr(1, "\xC3\x84" "B", "\xC3\xA4" "b"), 1);      // ÄB contains äb
  EXPECT_EQ(InStr(1, "x\xC3\xA9y\xCE\xA3", "\xCF\x83"), 4);   // σ finds Σ, position in characters
  EXPECT_EQ(InStr(3, "abcABC", "a"), 4);
  EXPECT_EQ(InStr(1, "aaab", "AAB"), 2);
  EXPECT_EQ(InStr(1, "ab", "abc"), 0);
  // A find of another encoding is taken to UTF-8 first.
  EXPECT_EQ(InStr(1, "caf\xC3\xA9", "\xC9", kEncodingUTF8, kLatin1), 4);
}

TEST(ClassicSearch, CharacterSearchInUtf16AndSingleBytePages) {
  EXPECT_EQ(StringInStr(1, MakeUtf16(u"x\u00E9Y").get(), Make("\xC3\x89y", kEncodingUTF8).get()), 2);
  EXPECT_EQ(StringInStr(1, Make(std::string("\0a\0B", 4), kEncodingUTF16BE).get(),
                        Make("b", kEncodingASCII).get()), 2);
  // Latin-1 é (0xE9) and É (0xC9) fold together; so do Cyrillic я (0xFF) and Я (0xDF).
  EXPECT_EQ(InStr(1, "caf\xE9", "\xC9", kLatin1, kLatin1), 4);
  EXPECT_EQ(InStr(1, "x\xFF", "\xDF", kWindowsCyrillic, kWindowsCyrillic), 2);
  // A UTF-8 find is converted to the page; raw bytes are compared as they are.
  EXPECT_EQ(InStr(1, "caf\xE9", "\xC3\x89", kLatin1, kEncodingUTF8), 4);
  EXPECT_EQ(InStr(1, "AbC", "bc", kEncodingUnknown, kEncodingUnknown), 2);
}

TEST(ClassicSearch, DoubleByteTextFoldsAndNeverMatchesAtATrailByte) {
  // Shift-JIS: fullwidth ａ (0x8281) folds to Ａ (0x8260).
  EXPECT_EQ(InStr(1, "x\x82\x81", "\x82\x60", kShiftJIS, kShiftJIS), 2);
  // 本 (0x967B) appears in the bytes of 0x9396 followed by "{", from a trail byte.
  EXPECT_EQ(InStrB(1, "\x93\x96{", "\x96{"), 2);
  EXPECT_EQ(InStr(1, "\x93\x96{", "\x96{", kShiftJIS, kShiftJIS), 0);
  EXPECT_EQ(InStr(1, "\x93\x96\x96{", "\x96{", kShiftJIS, kShiftJIS), 3);
  EXPECT_EQ(InStr(1, "\x93\xFA" "ab", "B", kShiftJIS, kEncodingASCII), 4);
  EXPECT_EQ(InStr(4, "ab" "\x93\xFA" "ab", "A", kShiftJIS, kShiftJIS), 5);
  // A UTF-8 find is converted to the page: 日 is 0x93FA in Shift-JIS.
  EXPECT_EQ(InStr(1, "a\x93\xFA", "\xE6\x97\xA5", kShiftJIS, kEncodingUTF8), 2);
}

TEST(ClassicSearch, SearchesLeakNothing) {
  StringLeakCheck leaks;
  EXPECT_EQ(InStr(1, "caf\xE9", "\xC3\x89", kLatin1, kEncodingUTF8), 4);
  EXPECT_EQ(InStr(1, "caf\xC3\xA9", "\xC9", kEncodingUTF8, kLatin1), 4);
  EXPECT_EQ(StringInStr(1, MakeUtf16(u"ab").get(), Make("B", kEncodingASCII).get()), 2);
  EXPECT_TRUE(leaks.NoLeaks());
}

// Random texts over a small alphabet make many near-matches; the lengths
// reach past the point where the skip-table search takes over.
TEST(ClassicSearch, ByteAndCaseFoldedSearchAgreeWithANaiveSearch) {
  std::mt19937 rng(20261122);
  const std::string alphabet = "abAB";
  auto randomText = [&](size_t length) {
    std::string t(length, ' ');
    for (char& c : t) c = alphabet[rng() % alphabet.size()];
    return t;
  };
  auto fold = [](std::string t) {
    for (char& c : t) c = char(std::toupper(static_cast<unsigned char>(c)));
    return t;
  };
  for (int round = 0; round < 3000; ++round) {
    const std::string text = randomText(rng() % 400);
    const std::string find = randomText(1 + rng() % 12);
    const int32_t start = int32_t(rng() % 450) - 20;
    const size_t from = size_t(std::max(start, 1) - 1);
    const size_t exact = from > text.size() ? std::string::npos : text.find(find, from);
    const size_t folded = from > text.size() ? std::string::npos : fold(text).find(fold(find), from);
    const int32_t expectExact = exact == std::string::npos ? 0 : int32_t(exact + 1);
    const int32_t expectFolded = folded == std::string::npos ? 0 : int32_t(folded + 1);
    ASSERT_EQ(InStrB(start, text, find), text.empty() ? 0 : expectExact)
        << "text " << text << " find " << find << " start " << start;
    ASSERT_EQ(InStr(start, text, find), text.empty() ? 0 : expectFolded)
        << "text " << text << " find " << find << " start " << start;
  }
}

}  // namespace
