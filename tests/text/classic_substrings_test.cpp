// Lengths, substrings and character codes of the classic string functions,
// in each way an encoding steps its characters.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/string_char_iterator.h"
#include "text/string_chars.h"
#include "text/string_ops_classic.h"
#include "vela/classic_strings.h"

namespace {

using vela::StringHolder;
using vela::StringOpsClassic;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::testkit::StringLeakCheck;

constexpr uint32_t kShiftJIS = 0xA01;
constexpr uint32_t kGBK = 0x421;
constexpr uint32_t kLatin1 = 0x201;

StringHolder Own(TESSstring s) { return StringHolder::Adopt(s); }
StringOpsClassic& Ops() { return StringOpsClassic::Get(); }

TEST(ClassicLength, CountsCharactersByEncodingAndCachesTheCount) {
  StringLeakCheck leaks;
  StringHolder mixed = Make("a\xC3\xA9\xE6\x97\xA5", kEncodingUTF8);  // a é 日
  EXPECT_EQ(StringDBCSLen(mixed.get()), 3);
  EXPECT_EQ(StringLen(mixed.get()), 6);
  EXPECT_EQ(mixed.get()->mCharCount, 3);
  // Raw bytes are counted as bytes, not read as the system encoding.
  EXPECT_EQ(StringDBCSLen(Make("\xC3\xA9", kEncodingUnknown).get()), 2);
  // A surrogate pair is two units; UTF-32 is four bytes a character.
  EXPECT_EQ(StringDBCSLen(MakeUtf16(u"x\U0001F600").get()), 3);
  EXPECT_EQ(StringDBCSLen(Make(std::string("a\0\0\0b\0\0\0", 8), kEncodingUTF32LE).get()), 2);
  // Shift-JIS: 0x93 0xFA is one character; a lead byte at the end is one.
  EXPECT_EQ(StringDBCSLen(Make("\x93\xFA" "a\x93", kShiftJIS).get()), 3);
  // 0xA0 leads in GBK but is a single-width katakana in Shift-JIS.
  EXPECT_EQ(StringDBCSLen(Make("\xA0\xA0", kGBK).get()), 1);
  EXPECT_EQ(StringDBCSLen(Make("\xA0\xA0", kShiftJIS).get()), 2);
  EXPECT_EQ(StringDBCSLen(Make("\xE9\xE9", kLatin1).get()), 2);
  EXPECT_EQ(StringDBCSLen(nullptr), 0);
  EXPECT_EQ(StringLen(nullptr), 0);
  EXPECT_EQ(leaks.Live(), 1);  // only the held strings
}

TEST(ClassicMid, WindowRulesOfTheByteForms) {
  StringLeakCheck leaks;
  StringHolder s = Make("abcdef", kEncodingASCII);
  EXPECT_EQ(Bytes(Own(StringMid3(s.get(), 0, 3)).get()), "ab");
  EXPECT_EQ(Bytes(Own(StringMid3(s.get(), -1, 3)).get()), "a");
  EXPECT_EQ(Own(StringMid3(s.get(), -5, 3)).get(), nullptr);
  EXPECT_EQ(Own(StringMid3(s.get(), 7, 1)).get(), nullptr);
  EXPECT_EQ(Own(StringMid3(s.get(), 2, 0)).get(), nullptr);
  EXPECT_EQ(Bytes(Own(StringMid3(s.get(), 5, 99)).get()), "ef");
  EXPECT_EQ(Bytes(Own(StringMid2(s.get(), 4)).get()), "def");
  EXPECT_EQ(Bytes(Own(StringLeft(s.get(), 2)).get()), "ab");
  EXPECT_EQ(Bytes(Own(StringRight(s.get(), 2)).get()), "ef");
  EXPECT_EQ(Own(StringRight(s.get(), 0)).get(), nullptr);
  EXPECT_EQ(Bytes(Own(StringMiddleBytes(s.get(), 4)).get()), "ef");
  EXPECT_EQ(Bytes(Own(StringMiddleBytesWithLength(s.get(), 0, 2)).get()), "ab");
  // Extremes of the 32-bit arguments neither overflow nor cut wrongly.
  EXPECT_EQ(Own(StringMid3(s.get(), INT32_MIN, INT32_MAX)).get(), nullptr);
  EXPECT_EQ(Own(StringRight(s.get(), INT32_MIN)).get(), nullptr);
  EXPECT_EQ(Own(StringMid3(s.get(), INT32_MAX, INT32_MAX)).get(), nullptr);
  // The cut keeps the encoding.
  EXPECT_EQ(Own(StringMid3(Make("\xE9t\xE9", kLatin1).get(), 2, 1)).get()->mEncoding, kLatin1);
  EXPECT_EQ(leaks.Live(), 1);  // only the held strings
}

TEST(ClassicMid, WholeWindowReturnsTheSameRecordWithAReference) {
  StringLeakCheck leaks;
  StringHolder s = Make("abc", kEncodingUTF8);
  const int32_t before = s.get()->mRefCount;
  auto expectSame = [&](TESSstring same, const char* what) {
    EXPECT_EQ(same, s.get()) << what;
    EXPECT_EQ(s.get()->mRefCount, before + 1) << what;
    RuntimeUnlockString(same);
  };
  expectSame(StringDBCSLeft(s.get(), 99), "Left 99");
  expectSame(StringLeft(s.get(), 3), "LeftB 3");
  expectSame(StringDBCSRight(s.get(), 3), "Right 3");
  expectSame(StringRight(s.get(), 50), "RightB 50");
  expectSame(StringDBCSMid2(s.get(), 0), "Mid 0");
  expectSame(StringDBCSMid2(s.get(), -4), "Mid -4");
  expectSame(StringMid2(s.get(), 1), "MidB 1");
  expectSame(StringDBCSMid3(s.get(), 1, 3), "Mid 1 3");
  expectSame(StringMiddle(s.get(), 0), "Middle 0");
  EXPECT_EQ(leaks.Live(), 1);  // only the held strings
}

TEST(ClassicMid, NilAndImpossibleRequestsGiveNil) {
  StringHolder s = Make("abc", kEncodingUTF8);
  EXPECT_EQ(StringDBCSLeft(s.get(), 0), nullptr);
  EXPECT_EQ(StringDBCSLeft(s.get(), -1), nullptr);
  EXPECT_EQ(StringDBCSMid2(s.get(), 10), nullptr);
  EXPECT_EQ(StringDBCSMid3(s.get(), 4, 1), nullptr);
  EXPECT_EQ(StringDBCSRight(s.get(), -2), nullptr);
  EXPECT_EQ(StringDBCSLeft(nullptr, 3), nullptr);
  EXPECT_EQ(StringDBCSMid2(nullptr, 0), nullptr);
  EXPECT_EQ(StringMid2(nullptr, 1), nullptr);
}

TEST(ClassicMid, CharacterFormsStepUtf8CodePoints) {
  StringLeakCheck leaks;
  StringHolder s = Make("a\xC3\xA9\xE6\x97\xA5z", kEncodingUTF8);  // a é 日 z
  EXPECT_EQ(Bytes(Own(StringDBCSLeft(s.get(), 2)).get()), "a\xC3\xA9");
  EXPECT_EQ(Bytes(Own(StringDBCSRight(s.get(), 2)).get()), "\xE6\x97\xA5z");
  EXPECT_EQ(Bytes(Own(StringDBCSMid3(s.get(), 2, 2)).get()), "\xC3\xA9\xE6\x97\xA5");
  EXPECT_EQ(Bytes(Own(StringDBCSMid3(s.get(), 0, 2)).get()), "a");
  EXPECT_EQ(Bytes(Own(StringDBCSMid2(s.get(), 3)).get()), "\xE6\x97\xA5z");
  EXPECT_EQ(Bytes(Own(StringMiddleWithLength(s.get(), 1, 1)).get()), "\xC3\xA9");
  EXPECT_EQ(Bytes(Own(StringMiddle(s.get(), 3)).get()), "z");
  // Raw text is cut by the system encoding's rule (UTF-8) but counted in bytes.
  StringHolder raw = Make("\xC3\xA9x", kEncodingUnknown);
  EXPECT_EQ(Bytes(Own(StringDBCSLeft(raw.get(), 1)).get()), "\xC3\xA9");
  EXPECT_EQ(leaks.Live(), 2);  // only the held strings
}

TEST(ClassicMid, CharacterFormsOfFixedWidthAndDoubleBytePages) {
  StringLeakCheck leaks;
  StringHolder wide = MakeUtf16(u"abcd");
  EXPECT_EQ(vela::strtest::Units(Own(StringDBCSMid3(wide.get(), 2, 2)).get()), u"bc");
  EXPECT_EQ(vela::strtest::Units(Own(StringDBCSRight(wide.get(), 1)).get()), u"d");
  StringHolder wide32 = Make(std::string("a\0\0\0b\0\0\0c\0\0\0", 12), kEncodingUTF32LE);
  EXPECT_EQ(Bytes(Own(StringDBCSMid2(wide32.get(), 3)).get()), std::string("c\0\0\0", 4));
  // Shift-JIS "日a本": 0x93FA, 'a', 0x967B. The trail byte 0xFA is never a start.
  StringHolder sjis = Make("\x93\xFA" "a\x96\x7B", kShiftJIS);
  EXPECT_EQ(Bytes(Own(StringDBCSLeft(sjis.get(), 1)).get()), "\x93\xFA");
  EXPECT_EQ(Bytes(Own(StringDBCSMid3(sjis.get(), 2, 1)).get()), "a");
  EXPECT_EQ(Bytes(Own(StringDBCSRight(sjis.get(), 2)).get()), "a\x96\x7B");
  EXPECT_EQ(Bytes(Own(StringDBCSMid2(sjis.get(), 3)).get()), "\x96\x7B");
  EXPECT_EQ(leaks.Live(), 3);  // only the held strings
}

TEST(ClassicChars, SnapToCharFindsTheCharacterStart) {
  StringHolder utf8 = Make("a\xE6\x97\xA5z", kEncodingUTF8);
  EXPECT_EQ(Ops().SnapToChar(utf8.get(), 3), 1);
  EXPECT_EQ(Ops().SnapToChar(utf8.get(), 4), 4);
  EXPECT_EQ(Ops().SnapToChar(utf8.get(), 99), 5);
  StringHolder sjis = Make("\x93\xFA\x93\xFA", kShiftJIS);
  EXPECT_EQ(Ops().SnapToChar(sjis.get(), 3), 2);
  EXPECT_EQ(Ops().SnapToChar(sjis.get(), 1), 0);
  EXPECT_EQ(Ops().SnapToChar(MakeUtf16(u"ab").get(), 3), 2);
}

TEST(ClassicChars, AscReadsTheFirstCharacterInItsEncoding) {
  EXPECT_EQ(StringDBCSAsc(Make("\xE6\x97\xA5", kEncodingUTF8).get()), 0x65E5u);
  EXPECT_EQ(StringDBCSAsc(MakeUtf16(u"\U0001F600").get()), 0xD83Du);
  EXPECT_EQ(StringDBCSAsc(Make(std::string("\0\xE9", 2), kEncodingUTF16BE).get()), 0xE9u);
  EXPECT_EQ(StringDBCSAsc(Make(std::string("\0\x01\xF6\x00", 4), kEncodingUTF32BE).get()),
            0x1F600u);
  EXPECT_EQ(StringDBCSAsc(Make("\x93\xFA", kShiftJIS).get()), 0x93FAu);
  EXPECT_EQ(StringDBCSAsc(Make("\x93", kShiftJIS).get()), 0x93u);
  EXPECT_EQ(StringDBCSAsc(nullptr), 0u);
  EXPECT_EQ(StringAsc(Make("\xE6\x97\xA5", kEncodingUTF8).get()), 0xE6);
  EXPECT_EQ(StringAsc(nullptr), 0);
  StringHolder s = Make("a\xC3\xA9z", kEncodingUTF8);
  EXPECT_EQ(Ops().CodePointAt(s.get(), 2), 0xE9u);
  EXPECT_EQ(Ops().CodePointAt(s.get(), 4), 0u);
}

TEST(ClassicChars, ChrMakesAsciiOrUtf8AndChrBMakesARawByte) {
  StringLeakCheck leaks;
  StringHolder e = Own(StringDBCSChr(233));
  EXPECT_EQ(Bytes(e.get()), "\xC3\xA9");
  EXPECT_EQ(e.get()->mEncoding, kEncodingUTF8);
  StringHolder a = Own(StringDBCSChr('A'));
  EXPECT_EQ(a.get()->mEncoding, kEncodingASCII);
  EXPECT_EQ(Bytes(Own(StringDBCSChr(0x1F600)).get()), "\xF0\x9F\x98\x80");
  EXPECT_EQ(StringDBCSChr(-1), nullptr);
  StringHolder b = Own(StringChr(0x1E9));
  EXPECT_EQ(Bytes(b.get()), "\xE9");
  EXPECT_EQ(b.get()->mEncoding, kEncodingUnknown);
  EXPECT_EQ(Bytes(Own(StringChr(0)).get()), std::string(1, '\0'));
  // A requested encoding converts the character.
  StringHolder latin = Own(Ops().FromCodePoint(0xE9, kLatin1));
  EXPECT_EQ(Bytes(latin.get()), "\xE9");
  EXPECT_EQ(latin.get()->mEncoding, kLatin1);
  EXPECT_EQ(vela::strtest::Units(Own(Ops().FromCodePoint(0x41, kEncodingUTF16)).get()), u"A");
  EXPECT_EQ(leaks.Live(), 4);  // only the held strings
}

}  // namespace

namespace {

struct Walked {
  std::vector<uint32_t> codes;
  std::vector<int32_t> sizes;
};

// Reads what an iterator gives, peeking before each step to check that a
// peek neither moves the walk nor disagrees with the next read.
Walked Walk(TESSstring s, int32_t start, int32_t count) {
  std::unique_ptr<vela::StringCharIterator> it(Ops().NewCharIterator(s, start, count));
  Walked out;
  while (!it->AtEnd()) {
    const uint32_t peeked = it->Peek();
    const uint32_t code = it->Next();
    EXPECT_EQ(peeked, code);
    out.codes.push_back(code);
    out.sizes.push_back(it->LastCharSize());
  }
  EXPECT_EQ(it->Next(), 0u);  // past the end it stays put
  return out;
}

TEST(ClassicChars, CharIteratorStepsByTheEncodingsRule) {
  StringLeakCheck leaks;
  StringHolder utf8 = Make("a\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80", kEncodingUTF8);
  Walked all = Walk(utf8.get(), 1, -1);
  EXPECT_EQ(all.codes, (std::vector<uint32_t>{'a', 0xE9, 0x65E5, 0x1F600}));
  EXPECT_EQ(all.sizes, (std::vector<int32_t>{1, 2, 3, 4}));
  EXPECT_EQ(Walk(utf8.get(), 2, 2).codes, (std::vector<uint32_t>{0xE9, 0x65E5}));
  EXPECT_EQ(Walk(utf8.get(), 0, 1).codes, (std::vector<uint32_t>{'a'}));
  EXPECT_TRUE(Walk(utf8.get(), 9, -1).codes.empty());
  EXPECT_TRUE(Walk(utf8.get(), 1, 0).codes.empty());

  Walked sjis = Walk(Make("\x93\xFA" "A\x93", kShiftJIS).get(), 1, -1);
  EXPECT_EQ(sjis.codes, (std::vector<uint32_t>{0x93FA, 'A', 0x93}));  // a lone last lead
  EXPECT_EQ(sjis.sizes, (std::vector<int32_t>{2, 1, 1}));

  Walked utf16 = Walk(Make(std::string("\0A\xD8\x3D\xDE\x00", 6), kEncodingUTF16BE).get(), 1, -1);
  EXPECT_EQ(utf16.codes, (std::vector<uint32_t>{'A', 0xD83D, 0xDE00}));  // units, not pairs
  EXPECT_TRUE(Walk(nullptr, 1, -1).codes.empty());
}

}  // namespace
