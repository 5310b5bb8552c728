// Text values: records and counting, characters as grapheme clusters,
// substrings, collation order, search, split/join/replace, case, trimming,
// code points and the hash.
#include <gtest/gtest.h>

#include <vector>

#include "text/text_ops.h"
#include "text_test_support.h"
#include "vela/text.h"

namespace vela {
namespace {

using texttest::Own;
using texttest::RaiseLog;
using texttest::T;
using texttest::Units;

constexpr const char* kInvalidArgument = "Vela.Core.InvalidArgumentException: ";

// The elements of a Text array, which the caller releases with the array.
std::vector<std::u16string> Elements(RuntimeArray* array, std::vector<bool>* nil = nullptr) {
  std::vector<std::u16string> out;
  for (int32_t i = 0; i <= RuntimeUBound(array); ++i) {
    TextValue element = static_cast<TextValue*>(array->data)[i];
    out.push_back(Units(element));
    if (nil) nil->push_back(element == nullptr);
  }
  return out;
}

TEST(TextRecord, NilIsTheOnlyEmptyTextAndConcatenationShares) {
  EXPECT_EQ(NewText(u"x", 0), nullptr);
  EXPECT_EQ(RuntimeConcatText(nullptr, nullptr), nullptr);
  EXPECT_EQ(RuntimeTextLen(nullptr), 0);
  EXPECT_TRUE(RuntimeTextEmpty(nullptr));
  TextHolder a = T(u"ab");
  TextValue shared = RuntimeConcatText(nullptr, a.get());
  EXPECT_EQ(shared, a.get());
  EXPECT_EQ(a.get()->mRefCount, 2);
  RuntimeUnlockText(shared);
  TextHolder sum = Own(RuntimeConcatText(a.get(), T(u"c").get()));
  EXPECT_EQ(Units(sum.get()), u"abc");
  EXPECT_EQ(sum.get()->mChars[3], 0);
  EXPECT_EQ(sum.get()->mCharCount, 0);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(sum.get()) % 8, 0u);
}

TEST(TextRecord, StaticRecordsStayUncountedAndTheHookSeesEachFree) {
  uint16_t units[] = {'k', 0};
  TextRecord constant = {0, 0, units, 1, 0, nullptr};
  RuntimeLockText(&constant);
  RuntimeUnlockText(&constant);
  RuntimeUnlockText(&constant);
  EXPECT_EQ(constant.mRefCount, 0);
  static std::vector<TextValue> freed;
  TextFreeHookFn previous = SetTextFreeHook([](TextValue t) { freed.push_back(t); });
  TextValue t = NewText(u"gone", 4);
  RuntimeLockUnlockText(t, t);  // same handle: nothing
  RuntimeUnlockText(t);
  SetTextFreeHook(previous);
  ASSERT_EQ(freed.size(), 1u);
  EXPECT_EQ(freed[0], t);
}

TEST(TextCharacters, AreGraphemeClusters) {
  TextHolder accented = T(u"e\u0301");
  EXPECT_EQ(RuntimeTextLen(accented.get()), 1);
  EXPECT_EQ(accented.get()->mCharCount, 1);  // cached
  TextHolder left = Own(RuntimeTextLeft(accented.get(), 1));
  EXPECT_EQ(Units(left.get()), u"e\u0301");
  TextHolder flag = T(u"\U0001F1EB\U0001F1F7");
  EXPECT_EQ(RuntimeTextLen(flag.get()), 1);
  EXPECT_EQ(RuntimeGetUnicodePoint(flag.get()), 0x1F1EBu);
  RuntimeArray* chars = RuntimeTextSplitChars(T(u"ae\u0301\r\n").get());
  EXPECT_EQ(Elements(chars), (std::vector<std::u16string>{u"a", u"e\u0301", u"\r\n"}));
  RuntimeUnlockObject(&chars->header);
}

TEST(TextSubstrings, CheckTheirBoundsAndShareWholeTexts) {
  RaiseLog log;
  TextHolder abc = T(u"abc");
  EXPECT_EQ(RuntimeTextLeft(abc.get(), 4), nullptr);
  EXPECT_EQ(log.Take(), "OutOfBoundsException: ");
  EXPECT_EQ(RuntimeTextRight(abc.get(), -1), nullptr);
  EXPECT_EQ(RuntimeTextMid2(abc.get(), 4), nullptr);
  EXPECT_EQ(RuntimeTextMid3(abc.get(), 2, 2), nullptr);
  EXPECT_EQ(RuntimeTextMid3(abc.get(), -1, 1), nullptr);
  EXPECT_EQ(log.raised().size(), 4u);
  log.Take();
  TextValue right = RuntimeTextRight(abc.get(), 3);
  EXPECT_EQ(right, abc.get());
  RuntimeUnlockText(right);
  EXPECT_EQ(Units(Own(RuntimeTextRight(abc.get(), 1)).get()), u"c");
  EXPECT_EQ(RuntimeTextRight(abc.get(), 0), nullptr);
  EXPECT_EQ(RuntimeTextMid2(abc.get(), 3), nullptr);
  TextHolder mixed = T(u"ae\u0301bc");
  TextHolder mid = Own(RuntimeTextMid3(mixed.get(), 1, 2));
  EXPECT_EQ(Units(mid.get()), u"e\u0301b");
  EXPECT_EQ(mid.get()->mCharCount, 2);
  EXPECT_EQ(Units(Own(RuntimeTextMid2(mixed.get(), 2)).get()), u"bc");
  EXPECT_EQ(log.Take(), "");
}

TEST(TextCompare, IgnoresCaseAndAccentsUnlessCaseSensitive) {
  RaiseLog log;
  EXPECT_EQ(RuntimeCompareText(T(u"a").get(), T(u"A").get()), 0);
  EXPECT_EQ(RuntimeCompareText(T(u"r\u00e9sum\u00e9").get(), T(u"resume").get()), 0);
  EXPECT_TRUE(RuntimeTextEquals(T(u"\u00c1").get(), T(u"a").get()));
  EXPECT_EQ(RuntimeCompareText(T(u"a").get(), T(u"b").get()), -1);
  EXPECT_EQ(RuntimeCompareText(nullptr, T(u"a").get()), -1);
  EXPECT_EQ(RuntimeCompareText(T(u"a").get(), nullptr), 1);
  EXPECT_EQ(RuntimeCompareTextWithOptions(T(u"A").get(), T(u"a").get(), 1, nullptr), -1);
  EXPECT_EQ(RuntimeCompareTextWithOptions(T(u"a").get(), T(u"\u00e1").get(), 1, nullptr), -1);
  // Canonically equivalent forms are equal even case-sensitively.
  EXPECT_EQ(RuntimeCompareTextWithOptions(T(u"\u00e9").get(), T(u"e\u0301").get(), 1, nullptr), 0);
  EXPECT_EQ(log.Take(), "");
  EXPECT_EQ(RuntimeCompareTextWithOptions(T(u"a").get(), T(u"b").get(), 2, nullptr), 0);
  EXPECT_EQ(log.Take(), std::string(kInvalidArgument) + "Options specified are invalid");
  RuntimeTextBeginsWith(T(u"a").get(), T(u"a").get(), -1, nullptr);
  EXPECT_EQ(log.Take(), std::string(kInvalidArgument) + "Options specified are invalid");
}

TEST(TextSearch, IndexOfChecksItsArgumentsInOrder) {
  RaiseLog log;
  TextHolder abc = T(u"abc"), b = T(u"b");
  EXPECT_EQ(RuntimeTextIndexOf(abc.get(), -1, nullptr, 0, nullptr), -1);
  EXPECT_EQ(log.Take(), "OutOfBoundsException: startPosition cannot be < 0");
  EXPECT_EQ(RuntimeTextIndexOf(abc.get(), 4, b.get(), 0, nullptr), -1);
  EXPECT_EQ(log.Take(),
            "OutOfBoundsException: startPosition cannot be greater than the text length");
  EXPECT_EQ(RuntimeTextIndexOf(abc.get(), 0, nullptr, 0, nullptr), -1);
  EXPECT_EQ(log.Take(),
            std::string(kInvalidArgument) +
                "The IndexOf function's 'other' argument cannot be an empty text value");
  EXPECT_EQ(RuntimeTextIndexOf(abc.get(), 3, T(u"a").get(), 0, nullptr), -1);
  EXPECT_EQ(RuntimeTextFind(abc.get(), nullptr, 2), 2);
  EXPECT_EQ(log.Take(), "");
  EXPECT_EQ(RuntimeTextFind(abc.get(), b.get(), 4), -1);
  EXPECT_EQ(log.Take(), "OutOfBoundsException: ");
  RuntimeTextBeginsWith(abc.get(), nullptr, 0, nullptr);
  EXPECT_EQ(log.Take(),
            std::string(kInvalidArgument) +
                "The BeginsWith function's 'other' argument cannot be an empty text value");
  RuntimeTextEndsWith(abc.get(), nullptr, 0, nullptr);
  EXPECT_EQ(log.Take(),
            std::string(kInvalidArgument) +
                "The EndsWith function's 'other' argument cannot be an empty text value");
}

TEST(TextSearch, AnswersCharacterIndexesByCollation) {
  TextHolder text = T(u"e\u0301xe\u0301x");
  TextHolder x = T(u"x");
  EXPECT_EQ(RuntimeTextIndexOf(text.get(), 0, x.get(), 0, nullptr), 1);
  EXPECT_EQ(RuntimeTextIndexOf(text.get(), 2, x.get(), 0, nullptr), 3);
  EXPECT_EQ(RuntimeTextFind(text.get(), T(u"X").get(), 0), 1);
  TextHolder resume = T(u"R\u00e9sum\u00e9 r\u00e9sum\u00e9");
  EXPECT_EQ(RuntimeTextIndexOf(resume.get(), 0, T(u"SUM").get(), 0, nullptr), 2);
  EXPECT_EQ(RuntimeTextIndexOf(resume.get(), 0, T(u"SUM").get(), 1, nullptr), -1);
  EXPECT_EQ(RuntimeTextIndexOf(resume.get(), 3, T(u"r\u00e9").get(), 1, nullptr), 7);
  EXPECT_TRUE(RuntimeTextBeginsWith(resume.get(), T(u"re").get(), 0, nullptr));
  EXPECT_FALSE(RuntimeTextBeginsWith(resume.get(), T(u"re").get(), 1, nullptr));
  EXPECT_TRUE(RuntimeTextEndsWith(resume.get(), T(u"ME").get(), 0, nullptr));
  EXPECT_TRUE(RuntimeTextEndsWith(T(u"ab").get(), T(u"xab").get(), 0, nullptr) == false);
}

TEST(TextSplitJoinReplace, KeepEmptyPiecesAndNeverRescan) {
  RaiseLog log;
  std::vector<bool> nil;
  RuntimeArray* pieces = RuntimeTextSplit(T(u"a,,b").get(), T(u",").get(), 0, nullptr);
  EXPECT_EQ(Elements(pieces, &nil), (std::vector<std::u16string>{u"a", u"", u"b"}));
  EXPECT_EQ(nil, (std::vector<bool>{false, true, false}));
  TextHolder joined = Own(RuntimeTextJoin(pieces, T(u"--").get()));
  EXPECT_EQ(Units(joined.get()), u"a----b");
  EXPECT_EQ(Units(Own(RuntimeTextJoin(pieces, nullptr)).get()), u"ab");
  RuntimeUnlockObject(&pieces->header);
  RuntimeArray* lead = RuntimeTextSplit(T(u",a").get(), T(u",").get(), 0, nullptr);
  EXPECT_EQ(RuntimeUBound(lead), 1);
  RuntimeUnlockObject(&lead->header);
  RuntimeArray* none = RuntimeTextSplit(nullptr, T(u",").get(), 0, nullptr);
  EXPECT_EQ(RuntimeUBound(none), -1);
  RuntimeUnlockObject(&none->header);
  EXPECT_EQ(log.Take(), "");
  EXPECT_EQ(RuntimeTextSplit(T(u"a").get(), nullptr, 0, nullptr), nullptr);
  EXPECT_EQ(log.Take(),
            std::string(kInvalidArgument) +
                "The Split function's 'separator' argument cannot be an empty text value");
  EXPECT_EQ(RuntimeTextJoin(nullptr, nullptr), nullptr);
  EXPECT_EQ(log.Take(), std::string(kInvalidArgument) + "Array cannot be Nil");

  TextHolder text = T(u"aXbxc");
  EXPECT_EQ(
      Units(Own(RuntimeTextReplace(text.get(), T(u"x").get(), T(u"-").get(), 0, nullptr)).get()),
      u"a-bxc");
  EXPECT_EQ(
      Units(Own(RuntimeTextReplaceAll(text.get(), T(u"x").get(), T(u"-").get(), 0, nullptr)).get()),
      u"a-b-c");
  EXPECT_EQ(Units(Own(RuntimeTextReplaceAll(text.get(), T(u"x").get(), nullptr, 1, nullptr)).get()),
            u"aXbc");
  EXPECT_EQ(
      Units(Own(RuntimeTextReplaceAll(T(u"aaa").get(), T(u"a").get(), T(u"aa").get(), 1, nullptr))
                .get()),
      u"aaaaaa");
  TextValue same = RuntimeTextReplace(text.get(), T(u"q").get(), T(u"-").get(), 0, nullptr);
  EXPECT_EQ(same, text.get());
  RuntimeUnlockText(same);
  RuntimeTextReplaceAll(text.get(), nullptr, nullptr, 0, nullptr);
  EXPECT_EQ(log.Take(),
            std::string(kInvalidArgument) +
                "The ReplaceAll function's 'find' argument cannot be an empty text value");
}

TEST(TextCaseAndTrim, UseFullMappingsAndUnicodeWhiteSpace) {
  EXPECT_EQ(Units(Own(RuntimeTextUCase(T(u"stra\u00dfe").get(), nullptr)).get()), u"STRASSE");
  EXPECT_EQ(Units(Own(RuntimeTextLCase(T(u"\u00c0B").get(), nullptr)).get()), u"\u00e0b");
  EXPECT_EQ(Units(Own(RuntimeTextTitleCase(T(u"hello wORLD").get(), nullptr)).get()),
            u"Hello World");
  TextHolder padded = T(u"\u3000 a b\t\u2029");
  EXPECT_EQ(Units(Own(RuntimeTextTrim(padded.get())).get()), u"a b");
  EXPECT_EQ(Units(Own(RuntimeTextLTrim(padded.get())).get()), u"a b\t\u2029");
  EXPECT_EQ(Units(Own(RuntimeTextRTrim(padded.get())).get()), u"\u3000 a b");
  EXPECT_EQ(RuntimeTextTrim(T(u"   ").get()), nullptr);
  TextHolder bare = T(u"ab");
  TextValue same = RuntimeTextTrim(bare.get());
  EXPECT_EQ(same, bare.get());
  RuntimeUnlockText(same);
}

TEST(TextCodePoints, RefuseWhatIsNoScalarValue) {
  RaiseLog log;
  TextHolder smile = Own(RuntimeTextFromUnicodePoint(0x1F600));
  EXPECT_EQ(Units(smile.get()), u"\U0001F600");
  EXPECT_EQ(smile.get()->mCharCount, 1);
  EXPECT_EQ(RuntimeTextFromUnicodePoint(0x110000), nullptr);
  EXPECT_EQ(log.Take(), std::string(kInvalidArgument) + "Invalid codepoint");
  EXPECT_EQ(RuntimeTextFromUnicodePoint(0xD800), nullptr);
  EXPECT_EQ(log.Take(), std::string(kInvalidArgument) + "Invalid codepoint");
  EXPECT_EQ(RuntimeGetUnicodePoint(nullptr), 0u);
  EXPECT_EQ(RuntimeGetUnicodePoint(T(u"\U0001F600x").get()), 0x1F600u);
  EXPECT_EQ(RuntimeGetUnicodePoint(T(u"\xD800x").get()), 0xFFFDu);
}

TEST(TextHash, FoldsCaseAndNormalForm) {
  EXPECT_EQ(TextObjectHash(nullptr), 0u);
  EXPECT_EQ(TextObjectHash(T(u"stra\u00dfe").get()), TextObjectHash(T(u"STRASSE").get()));
  EXPECT_EQ(TextObjectHash(T(u"\u00e9").get()), TextObjectHash(T(u"E\u0301").get()));
  EXPECT_NE(TextObjectHash(T(u"a").get()), TextObjectHash(T(u"b").get()));
}

}  // namespace
}  // namespace vela
