// Text and the rest of the library: Strings both ways, raw wide and C
// strings, Text arrays, the String functions over Text and the classic
// extension forms, the iterator objects and Vela.Core.TextEncoding.
#include <gtest/gtest.h>

#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "string_test_support.h"
#include "text/string_bridges.h"
#include "text/text_iterators.h"
#include "text/text_ops.h"
#include "text_test_support.h"
#include "vela/application.h"
#include "vela/encodings.h"
#include "vela/text.h"

namespace vela {
namespace {

using strtest::Bytes;
using strtest::Make;
using strtest::MakeUtf16;
using texttest::Own;
using texttest::RaiseLog;
using texttest::T;
using texttest::Units;

TEST(TextFromString, DecodesUtf8AndRefusesMalformedText) {
  EXPECT_EQ(Units(Own(RuntimeTextFromOldString(Make("h\xC3\xA9", kEncodingUTF8).get())).get()),
            u"h\u00e9");
  EXPECT_EQ(Units(Own(TextFromString(Make("h\xC3\xA9", kEncodingUnknown).get())).get()),
            u"h\u00e9");
  EXPECT_EQ(Units(Own(TextFromString(Make("\x8E", kEncodingMacRoman).get())).get()), u"\u00e9");
  EXPECT_EQ(TextFromString(Make("a\xC3(", kEncodingUTF8).get()), nullptr);
  EXPECT_EQ(TextFromString(Make("\xED\xA0\x80", kEncodingUTF8).get()), nullptr);  // a surrogate
  EXPECT_EQ(TextFromString(nullptr), nullptr);
  EXPECT_EQ(Units(Own(TextFromString(MakeUtf16(u"a\xD800").get())).get()), u"a\uFFFD");
}

TEST(StringFromText, IsAlwaysUtf8) {
  StringHolder s = StringHolder::Adopt(RuntimeStringFromText(T(u"a\xD800\u00e9").get()));
  ASSERT_TRUE(s);
  EXPECT_EQ(s.get()->mEncoding, kEncodingUTF8);
  EXPECT_EQ(Bytes(s.get()), "a\xEF\xBF\xBD\xC3\xA9");
  EXPECT_EQ(RuntimeStringFromText(nullptr), nullptr);
}

TEST(TextRawStrings, AreRegisteredCopies) {
  RaiseLog log;
  uint16_t* wide = RuntimeTextToWString(T(u"hi").get());
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(wide)), u"hi");
  EXPECT_EQ(RawTextLockCount(RawTextKind::kWide, wide), 1);
  EXPECT_EQ(Units(Own(RuntimeTextFromWString(wide)).get()), u"hi");
  UnlockWString(wide);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kWide, wide), 0);
  uint16_t* empty = RuntimeTextToWString(nullptr);
  EXPECT_EQ(empty[0], 0);
  UnlockWString(empty);
  EXPECT_EQ(RuntimeTextFromWString(nullptr), nullptr);
  EXPECT_EQ(log.Take(), "");
  EXPECT_EQ(RuntimeTextFromCString(nullptr, nullptr), nullptr);
  EXPECT_EQ(log.Take(), "NilObjectException: The 'str' parameter cannot be Nil.");
  EXPECT_EQ(RuntimeTextFromCString("a", nullptr), nullptr);
  EXPECT_EQ(log.Take(), "NilObjectException: The 'encoding' parameter cannot be Nil.");
  EXPECT_EQ(RuntimeTextToCString(T(u"a").get(), nullptr), nullptr);
  EXPECT_EQ(log.Take(), "NilObjectException: The 'encoding' parameter cannot be Nil.");
}

TEST(TextArrays, SortByTextOrderAndBecomeStringArrays) {
  RuntimeArray* array = CreateArray(1, kArrayText, 2);
  auto* slots = static_cast<TextValue*>(array->data);
  slots[0] = NewText(u"b", 1);
  slots[1] = NewText(u"\u00c1", 1);
  slots[2] = nullptr;
  array->ops->sort(array);
  EXPECT_EQ(slots[0], nullptr);
  EXPECT_EQ(Units(slots[1]), u"\u00c1");
  RuntimeArray* strings = RuntimeStringArrayFromTextArray(array);
  ASSERT_NE(strings, nullptr);
  EXPECT_EQ(RuntimeUBound(strings), 2);
  EXPECT_EQ(Bytes(static_cast<TESSstring*>(strings->data)[1]), "\xC3\x81");
  RuntimeUnlockObject(&strings->header);
  RuntimeUnlockObject(&array->header);
}

TEST(StringForms, WorkThroughTextWithStringMessages) {
  RaiseLog log;
  StringHolder s = Make("R\xC3\xA9sume\xCC\x81", kEncodingUTF8);  // the last é decomposed
  EXPECT_TRUE(StringBeginsWith(s.get(), Make("re", kEncodingASCII).get(), 0, nullptr));
  EXPECT_TRUE(StringEndsWith(s.get(), Make("ME", kEncodingASCII).get(), 0, nullptr));
  EXPECT_EQ(StringIndexOf(s.get(), Make("m", kEncodingASCII).get(), 1, nullptr), 4);
  EXPECT_EQ(StringIndexOfWithStartPosition(s.get(), 5, Make("m", kEncodingASCII).get(), 0, nullptr),
            -1);
  EXPECT_TRUE(StringContainsNoLocale(s.get(), Make("SUM", kEncodingASCII).get(), 0));
  EXPECT_EQ(StringCompare(s.get(), Make("resume", kEncodingASCII).get(), 0, nullptr), 0);
  EXPECT_EQ(StringCompare(s.get(), s.get(), 7, nullptr), 0);
  EXPECT_EQ(log.Take(), "Vela.Core.InvalidArgumentException: Options specified are invalid");
  StringBeginsWith(s.get(), nullptr, 0, nullptr);
  EXPECT_EQ(log.Take(),
            "Vela.Core.InvalidArgumentException: The BeginsWith function's 'other' "
            "argument cannot be an empty string value");
  // The start is measured in the String's own characters (7 code points).
  EXPECT_EQ(StringIndexOfWithStartPosition(s.get(), 7, Make("x", kEncodingASCII).get(), 0, nullptr),
            -1);
  EXPECT_EQ(log.Take(), "");
  StringIndexOfWithStartPosition(s.get(), 8, Make("x", kEncodingASCII).get(), 0, nullptr);
  EXPECT_EQ(log.Take(),
            "OutOfBoundsException: startPosition cannot be greater than the text length");
}

TEST(StringExtends, UseClassicRulesWithoutLocale) {
  RaiseLog log;
  StringHolder s = Make("abcABC", kEncodingASCII);
  StringHolder find = Make("Bc", kEncodingASCII);
  EXPECT_EQ(StringExtends_IndexOf(s.get(), 0, find.get(), 0, nullptr), 1);
  EXPECT_EQ(StringExtends_IndexOf(s.get(), 2, find.get(), 0, nullptr), 4);
  EXPECT_EQ(StringExtends_IndexOf(s.get(), 0, find.get(), 1, nullptr), -1);
  EXPECT_EQ(StringExtends_IndexOf(s.get(), 0, Make("BC", kEncodingASCII).get(), 1, nullptr), 4);
  EXPECT_EQ(log.Take(), "");
  EXPECT_EQ(StringExtends_IndexOf(s.get(), -1, find.get(), 0, nullptr), -1);
  EXPECT_EQ(log.Take(), "OutOfBoundsException: startPosition cannot be < 0");
  EXPECT_TRUE(StringExtends_BeginsWith(s.get(), Make("ABC", kEncodingASCII).get(), 0, nullptr));
  EXPECT_FALSE(StringExtends_BeginsWith(s.get(), Make("ABC", kEncodingASCII).get(), 1, nullptr));
  EXPECT_TRUE(StringExtends_EndsWith(s.get(), Make("ABC", kEncodingASCII).get(), 1, nullptr));
  EXPECT_EQ(StringExtends_Compare(s.get(), Make("ABCabc", kEncodingASCII).get(), 0, nullptr), 0);
  EXPECT_EQ(StringExtends_Compare(s.get(), Make("ABCabc", kEncodingASCII).get(), 1, nullptr), 1);
}

// Scenarios that need the framework classes bound, once per process.
void BindTextClasses() {
  for (const char* name : {"Vela.Core.TextEncoding", "Text._CharacterIterator",
                           "String._CharacterIterator", "Text._CodepointIterator"})
    testkit::ClassBuilder(name).Backwards().Build();
  RuntimeInitExternalClasses();
}

void ExpectChildOk(const testkit::ChildResult& result) {
  EXPECT_TRUE(result.ok()) << result.Describe();
}

TEST(TextWithClasses, StrictConversionsRaiseThroughTheEncoding) {
  ExpectChildOk(testkit::RunInChild([]() -> int {
    BindTextClasses();
    RaiseLog log;
    EXPECT_EQ(Units(Own(String_ToText(Make("\xE9", 0x500).get())).get()), u"\u00e9");
    // Host-order UTF-16 and UTF-32 carry no byte-order mark: little-endian here.
    EXPECT_EQ(Units(Own(String_ToText(Make(std::string("\xE9\0", 2), kEncodingUTF16).get())).get()),
              u"\u00e9");
    EXPECT_EQ(Units(Own(String_ToText(Make(std::string("\xE9\0\0\0", 4), kEncodingUTF32).get()))
                        .get()),
              u"\u00e9");
    EXPECT_EQ(String_ToText(Make("a\xC3(", kEncodingUTF8).get()), nullptr);
    EXPECT_EQ(log.Take(), "RuntimeException: Encountered invalid character.");
    EXPECT_EQ(String_ToText(Make("a", 0x7F00).get()), nullptr);
    EXPECT_EQ(log.Take(),
              "UnsupportedFormatException: The string's encoding is not supported "
              "in this conversion");
    RuntimeObject* utf8 = TextEncoding_FromIANAName(T(u"UTF-8").get());
    if (!utf8) return 1;
    EXPECT_EQ(Units(Own(TextEncoding_IANAName(utf8)).get()), u"UTF-8");
    EXPECT_EQ(Units(Own(RuntimeTextFromCString("h\xC3\xA9", utf8)).get()), u"h\u00e9");
    char* c = RuntimeTextToCString(T(u"\u00e9").get(), utf8);
    EXPECT_STREQ(c, "\xC3\xA9");
    EXPECT_EQ(RawTextLockCount(RawTextKind::kC, c), 1);
    RuntimeUnlockCString(c);
    RuntimeUnlockObject(utf8);
    EXPECT_EQ(log.Take(), "");
    return 0;
  }));
}

TEST(TextWithClasses, IteratorsWalkCharactersAndCodePoints) {
  ExpectChildOk(testkit::RunInChild([]() -> int {
    BindTextClasses();
    TextHolder text = T(u"ae\u0301\U0001F1EB\U0001F1F7");
    RuntimeObject* chars = TextCharacterGetIterator(text.get());
    std::vector<std::u16string> seen;
    while (TextCharacterIteratorMoveNext(chars))
      seen.push_back(Units(Own(TextCharacterIteratorCurrent(chars)).get()));
    EXPECT_EQ(seen, (std::vector<std::u16string>{u"a", u"e\u0301", u"\U0001F1EB\U0001F1F7"}));
    EXPECT_FALSE(TextCharacterIteratorMoveNext(chars));
    RuntimeUnlockObject(chars);

    RuntimeObject* points = TextCodepointGetIterator(text.get());
    std::vector<uint32_t> codes;
    while (TextCodepointIteratorMoveNext(points))
      codes.push_back(TextCodepointIteratorCurrent(points));
    EXPECT_EQ(codes, (std::vector<uint32_t>{'a', 'e', 0x301, 0x1F1EB, 0x1F1F7}));
    RuntimeUnlockObject(points);

    RuntimeObject* empty = TextCharacterGetIterator(nullptr);
    EXPECT_FALSE(TextCharacterIteratorMoveNext(empty));
    RuntimeUnlockObject(empty);

    RuntimeObject* strings = StringCharacterGetIterator(Make("e\xCC\x81z", kEncodingUTF8).get());
    std::vector<std::string> pieces;
    while (StringCharacterIteratorMoveNext(strings))
      pieces.push_back(Bytes(StringHolder::Adopt(StringCharacterIteratorCurrent(strings)).get()));
    EXPECT_EQ(pieces, (std::vector<std::string>{"e\xCC\x81", "z"}));
    RuntimeUnlockObject(strings);
    EXPECT_EQ(text.get()->mRefCount, 1);  // the iterators gave their references back

    StringHolder s = Make("e\xCC\x81\xF0\x9F\x98\x80", kEncodingUTF8);
    EXPECT_EQ(String_CharacterCount(s.get()), 2);
    RuntimeArray* characters = String_Characters(s.get());
    EXPECT_EQ(RuntimeUBound(characters), 1);
    EXPECT_EQ(Bytes(static_cast<TESSstring*>(characters->data)[1]), "\xF0\x9F\x98\x80");
    RuntimeUnlockObject(&characters->header);
    RuntimeArray* codepoints = String_Codepoints(s.get());
    EXPECT_EQ(RuntimeUBound(codepoints), 2);
    EXPECT_EQ(static_cast<uint32_t*>(codepoints->data)[2], 0x1F600u);
    RuntimeUnlockObject(&codepoints->header);
    return 0;
  }));
}

}  // namespace
}  // namespace vela
