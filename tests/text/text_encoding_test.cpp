// TextEncoding objects, the Encodings table, TextConverter and the newer
// Vela.Core.TextEncoding. The classes are bound once per process, so each
// scenario runs in a child.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "object/raise.h"
#include "string_test_support.h"
#include "text/text_encoding.h"
#include "text/text_encoding_core.h"
#include "vela/application.h"
#include "vela/encodings.h"

namespace {

using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;

void BindEncodingClasses() {
  for (const char* name : {"TextEncoding", "TextConverter", "Vela.Core.TextEncoding"})
    vela::testkit::ClassBuilder(name).Backwards().Build();
  RuntimeInitExternalClasses();
}

void ExpectChildOk(const vela::testkit::ChildResult& result) {
  EXPECT_TRUE(result.ok()) << result.Describe();
}

StringHolder Adopt(TESSstring s) { return StringHolder::Adopt(s); }

TEST(TextEncoding, LookupsAnswerCachedObjects) {
  ExpectChildOk(vela::testkit::RunInChild([]() -> int {
    BindEncodingClasses();
    StringHolder utf8Name = Make("UTF-8", kEncodingASCII);
    RuntimeObject* a = getInternetTextEncoding(utf8Name.get());
    RuntimeObject* b = getInternetTextEncoding(utf8Name.get());
    EXPECT_NE(a, nullptr);
    EXPECT_EQ(a, b);
    EXPECT_EQ(TextEncodingcodeGetter(a, 0), 0x08000100u);
    EXPECT_EQ(textEncodingBaseGetter(a, 0), 0x100u);
    EXPECT_EQ(textEncodingFormatGetter(a, 0), 2u);
    EXPECT_EQ(getInternetTextEncoding(Make("utf-8", kEncodingASCII).get()), nullptr);
    EXPECT_EQ(getInternetTextEncoding(Make("nonsense", kEncodingASCII).get()), nullptr);
    // Duplicate names resolve to their first row.
    EXPECT_EQ(GetEncodingFromTEObject(getInternetTextEncoding(Make("Shift_JIS", 0x600).get())), 1u);
    EXPECT_EQ(GetEncodingFromTEObject(getInternetTextEncoding(Make("ISO-8859-1", 0x600).get())),
              0x201u);
    EXPECT_EQ(EncodingsCount(), 95);
    EXPECT_EQ(GetEncodingFromTEObject(EncodingsGetter(96)), kEncodingUTF8);  // System Default
    EXPECT_EQ(EncodingsGetter(97), nullptr);
    EXPECT_EQ(EncodingsGetFromIndex(0), a);
    EXPECT_EQ(EncodingsGetFromCode(kEncodingUTF8), a);
    EXPECT_EQ(GetEncodingObjectFromCode(kEncodingUnknown), nullptr);
    EXPECT_EQ(GetEncodingFromTEObject(nullptr), kEncodingUnknown);
    // Every row's name finds an object of that row's code or of an earlier row.
    for (int32_t k = 0; k < 95; ++k) {  // row 96 answers the UTF-8 object
      const vela::EncodingRow& row = vela::EncodingTableRow(k);
      RuntimeObject* found = getInternetTextEncoding(Make(row.name, 0x600).get());
      if (!found) { ADD_FAILURE() << row.name; continue; }
      EXPECT_EQ(Bytes(Adopt(textEncodingInternetName(found)).get()), row.name);
    }
    EXPECT_EQ(StringGetEncoding(nullptr), GetEncodingObjectFromCode(kEncodingASCII));
    EXPECT_EQ(StringGetEncoding(Make("\x01", kEncodingUnknown).get()), nullptr);
    return 0;
  }));
}

TEST(TextEncoding, FreshObjectsComposeTheirCodes) {
  ExpectChildOk(vela::testkit::RunInChild([]() -> int {
    BindEncodingClasses();
    RuntimeObject* utf8 = getTextEncoding(0x100, 0, 2);
    EXPECT_EQ(TextEncodingcodeGetter(utf8, 0), kEncodingUTF8);
    EXPECT_EQ(textEncodingBaseGetter(utf8, 0), 0x100u);
    EXPECT_NE(utf8, getTextEncoding(0x100, 0, 2));
    EXPECT_TRUE(TextEncodingEquals(utf8, GetEncodingObjectFromCode(kEncodingUTF8)));
    EXPECT_FALSE(TextEncodingEquals(utf8, nullptr));
    RuntimeObject* latin = getTextEncoding(0x500, 3, 1);  // variant and format stay out of the code
    EXPECT_EQ(TextEncodingcodeGetter(latin, 0), 0x500u);
    EXPECT_EQ(textEncodingVariantGetter(latin, 0), 3u);
    EXPECT_EQ(TextEncodingcodeGetter(getFontTextEncoding(nullptr), 0), kEncodingUTF8);
    EXPECT_EQ(Bytes(Adopt(textEncodingInternetName(getTextEncoding(0x100, 0, 4))).get()),
              "UTF-16BE");

    EXPECT_EQ(Bytes(Adopt(TextEncodingChr(GetEncodingObjectFromCode(0xA01), 0x82A0)).get()),
              "\x82\xA0");
    EXPECT_EQ(Bytes(Adopt(TextEncodingChr(utf8, 0xE9)).get()), "\xC3\xA9");
    EXPECT_EQ(Bytes(Adopt(TextEncodingChr(getTextEncoding(0x100, 0, 4), 0xD83DDE00)).get()),
              std::string("\xD8\x3D\xDE\x00", 4));

    StringHolder word = Make("\x93\xFA", 0xA01);
    EXPECT_TRUE(TextEncodingIsValidData(GetEncodingObjectFromCode(0xA01), word.get()));
    EXPECT_FALSE(TextEncodingIsValidData(utf8, Make("\xFF", kEncodingUnknown).get()));
    StringHolder same = Adopt(StringSetEncoding(word.get(), GetEncodingObjectFromCode(0xA01)));
    EXPECT_EQ(same.get(), word.get());
    StringHolder converted =
        Adopt(StringConvertEncoding(word.get(), GetEncodingObjectFromCode(kEncodingUTF8)));
    EXPECT_EQ(Bytes(converted.get()), "\xE6\x97\xA5");
    return 0;
  }));
}

TEST(TextConverter, ConvertsBetweenItsPairAndGuessesJapanese) {
  ExpectChildOk(vela::testkit::RunInChild([]() -> int {
    BindEncodingClasses();
    RuntimeObject* sjis = GetEncodingObjectFromCode(0xA01);
    RuntimeObject* euc = GetEncodingObjectFromCode(0x920);
    RuntimeObject* converter = getTextConverter(sjis, euc);
    if (!converter) return 1;
    StringHolder tagged = Make("\x93\xFA", kEncodingUnknown);  // the tag plays no part
    EXPECT_EQ(Bytes(Adopt(textConverterConvert(converter, tagged.get())).get()), "\xC6\xFC");
    EXPECT_EQ(getTextConverter(sjis, GetEncodingObjectFromCode(0x1)), nullptr);
    EXPECT_EQ(getTextConverter(nullptr, sjis), nullptr);

    auto guess = [](std::string bytes) {
      return GetEncodingFromTEObject(guessJapaneseEncoding(Make(bytes, kEncodingUnknown).get()));
    };
    EXPECT_EQ(guess("plain ascii"), kEncodingUnknown);
    EXPECT_EQ(guess("\x1B$B" "F|"), 0x820u);
    EXPECT_EQ(guess("a\x93\xFA"), 0xA01u);
    EXPECT_EQ(guess("\xC6\xFC\xCB\xDC"), 0x920u);
    EXPECT_EQ(guess("\xB1\xB2\xE0\x40"), 0xA01u);  // kana, then a pair only Shift-JIS has
    EXPECT_EQ(guess("\xA4\xF3"), 0x920u);
    return 0;
  }));
}

std::vector<std::string> gRaised;
void Record(const char* className, int32_t, const char* message) {
  gRaised.push_back(std::string(className) + ": " + (message ? message : ""));
}

TEST(CoreTextEncoding, RaisesWithItsMessages) {
  ExpectChildOk(vela::testkit::RunInChild([]() -> int {
    BindEncodingClasses();
    vela::SetRaiseObserver(Record);
    EXPECT_EQ(vela::CoreEncodingFromName(u""), nullptr);
    EXPECT_EQ(vela::CoreEncodingFromName(u"\u00E9"), nullptr);
    RuntimeObject* latin = vela::CoreEncodingFromName(u"ISO-8859-1");
    if (!latin) return 1;
    EXPECT_EQ(vela::CoreEncodingIanaName(latin), "ISO_8859-1:1987");  // ICU's IANA name
    std::string bytes;
    EXPECT_FALSE(vela::CoreTextToBytes(latin, u"a\u20AC", false, bytes));
    EXPECT_TRUE(vela::CoreTextToBytes(latin, u"a\u20AC", true, bytes));
    EXPECT_EQ(bytes, "a\x1A");  // the converter's substitution
    RuntimeObject* utf8 = vela::CoreEncodingFromName(u"UTF-8");
    std::u16string text;
    EXPECT_FALSE(vela::CoreBytesToText(utf8, "a\xFF", false, text));
    EXPECT_TRUE(vela::CoreBytesToText(utf8, "a\xC3\xA9", false, text));
    EXPECT_EQ(text, u"a\u00E9");
    RuntimeObject* bogus = vela::CoreEncodingFromName(u"no-such-encoding");
    EXPECT_FALSE(vela::CoreTextToBytes(bogus, u"a", false, bytes));
    const std::vector<std::string> expected = {
        "InvalidArgumentException: Encoding name cannot be empty",
        "InvalidArgumentException: Invalid encoding name",
        "RuntimeException: Encountered invalid character.",
        "RuntimeException: Encountered invalid character.",
        "RuntimeException: Converting to no-such-encoding encoding is not supported.",
    };
    EXPECT_EQ(gRaised, expected);
    return 0;
  }));
}

}  // namespace
