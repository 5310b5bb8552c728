// CountFields, NthField, Replace, ReplaceAll, Split and Join: the case rules
// of the character and byte forms, empty fields, encodings of the pieces,
// and references.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/string_counts.h"
#include "string_test_support.h"
#include "vela/classic_strings.h"
#include "vela/object.h"

namespace {

using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::strtest::Units;
using vela::testkit::StringLeakCheck;

constexpr uint32_t kLatin1 = 0x201;
constexpr uint32_t kShiftJIS = 0xA01;

StringHolder U(std::string_view s) { return Make(s, kEncodingUTF8); }

std::string Nth(std::string_view s, std::string_view sep, int32_t i) {
  StringHolder r = StringHolder::Adopt(StringNthField(U(s).get(), U(sep).get(), i));
  return r ? Bytes(r.get()) : "<nil>";
}

// The elements of a String array, Nil as "<nil>", with their encodings.
struct Elements {
  std::vector<std::string> texts;
  std::vector<uint32_t> encodings;
};
Elements Read(RuntimeArray* a) {
  Elements out;
  auto get = reinterpret_cast<TESSstring (*)(RuntimeArray*, int32_t)>(a->ops->get);
  for (int32_t i = 0; i <= RuntimeUBound(a); ++i) {
    StringHolder e = StringHolder::Adopt(get(a, i));
    out.texts.push_back(e ? Bytes(e.get()) : "<nil>");
    out.encodings.push_back(e ? e.get()->mEncoding : kEncodingUnknown);
  }
  return out;
}
std::vector<std::string> SplitTexts(TESSstring s, TESSstring d, bool bytes = false) {
  RuntimeArray* a = bytes ? StringSplitB(s, d) : StringSplit(s, d);
  std::vector<std::string> texts = Read(a).texts;
  RuntimeUnlockObject(&a->header);
  return texts;
}
using Texts = std::vector<std::string>;

TEST(ClassicFields, CountFields) {
  EXPECT_EQ(StringCountFields(U("aXbxc").get(), U("x").get()), 3);
  EXPECT_EQ(StringCountFieldsB(U("aXbxc").get(), U("x").get()), 2);
  EXPECT_EQ(StringCountFields(U("").get(), U(",").get()), 0);
  EXPECT_EQ(StringCountFields(nullptr, U(",").get()), 0);
  EXPECT_EQ(StringCountFields(U("abc").get(), U("").get()), 1);
  EXPECT_EQ(StringCountFieldsB(U("abc").get(), nullptr), 1);
  EXPECT_EQ(StringCountFields(U(",,").get(), U(",").get()), 3);
  EXPECT_EQ(StringCountFields(U("aaaa").get(), U("aa").get()), 3);  // hits do not overlap
  // Folding per encoding: Σ in UTF-8 against σ, É in Latin-1 against é.
  EXPECT_EQ(StringCountFields(U("a\xCF\x83" "b").get(), U("\xCE\xA3").get()), 2);
  EXPECT_EQ(StringCountFields(Make("a\xE9" "b\xC9" "c", kLatin1).get(), U("\xC3\xA9").get()), 3);
  EXPECT_EQ(StringCountFields(MakeUtf16(u"aXbx").get(), U("x").get()), 3);
  // Shift-JIS: the separator 0x96 0x7B ("\x96{") sits across a character boundary.
  EXPECT_EQ(StringCountFields(Make("\x93\x96{", kShiftJIS).get(), Make("\x96{", kShiftJIS).get()), 1);
}

TEST(ClassicFields, NthField) {
  EXPECT_EQ(Nth("a,b", ",", 1), "a");
  EXPECT_EQ(Nth("a,b", ",", 2), "b");
  EXPECT_EQ(Nth("a,b", ",", 3), "<nil>");
  EXPECT_EQ(Nth("a,b", ",", 0), "<nil>");
  EXPECT_EQ(Nth("a,,b", ",", 2), "<nil>");
  EXPECT_EQ(Nth("oneANDtwoandthree", "and", 3), "three");
  EXPECT_EQ(Nth("x\xC3\xA9Zy", "z", 2), "y");
  EXPECT_EQ(StringNthField(nullptr, U(",").get(), 1), nullptr);
  EXPECT_EQ(StringNthField(U("a").get(), nullptr, 1), nullptr);
  StringHolder b = StringHolder::Adopt(StringNthFieldB(U("aXbxc").get(), U("x").get(), 2));
  EXPECT_EQ(Bytes(b.get()), "c");
  // The only field of a string without separator is the string itself.
  StringHolder s = U("abc");
  StringHolder whole = StringHolder::Adopt(StringNthField(s.get(), U(";").get(), 1));
  EXPECT_EQ(whole.get(), s.get());
  StringHolder wide = StringHolder::Adopt(StringNthField(MakeUtf16(u"ab;Cd").get(), U(";").get(), 2));
  EXPECT_EQ(Units(wide.get()), u"Cd");
}

TEST(ClassicFields, ReplaceAndReplaceAll) {
  auto run = [](TESSstring (*f)(TESSstring, TESSstring, TESSstring), std::string_view s,
                std::string_view find, std::string_view with) {
    StringHolder r = StringHolder::Adopt(f(U(s).get(), U(find).get(), U(with).get()));
    return r ? Bytes(r.get()) : "<nil>";
  };
  EXPECT_EQ(run(StringReplace, "aaa", "A", "b"), "baa");
  EXPECT_EQ(run(StringReplaceB, "aaa", "A", "b"), "aaa");
  EXPECT_EQ(run(StringReplaceB, "xay", "a", ""), "xy");
  EXPECT_EQ(run(StringReplaceAll, "aAa", "a", "bc"), "bcbcbc");
  EXPECT_EQ(run(StringReplaceAllB, "aAa", "a", "bc"), "bcAbc");
  EXPECT_EQ(run(StringReplaceAll, "aaaa", "aa", "a"), "aa");
  EXPECT_EQ(run(StringReplaceAll, "abc", "b", ""), "ac");
  EXPECT_EQ(run(StringReplaceAll, "", "b", "x"), "<nil>");
  EXPECT_EQ(StringReplace(nullptr, U("a").get(), U("b").get()), nullptr);
  // Nothing found, or nothing to find: the string itself.
  StringHolder s = U("abc");
  for (auto f : {StringReplace, StringReplaceB, StringReplaceAll, StringReplaceAllB}) {
    StringHolder same = StringHolder::Adopt(f(s.get(), U("z").get(), U("y").get()));
    EXPECT_EQ(same.get(), s.get());
    StringHolder empty = StringHolder::Adopt(f(s.get(), nullptr, U("y").get()));
    EXPECT_EQ(empty.get(), s.get());
  }
  // The character forms bring find and with to the string's encoding.
  StringHolder latin = StringHolder::Adopt(
      StringReplaceAll(Make("\xE9t\xC9", kLatin1).get(), U("\xC3\xA9").get(), U("\xC3\xBC").get()));
  EXPECT_EQ(Bytes(latin.get()), "\xFCt\xFC");
  EXPECT_EQ(latin.get()->mEncoding, kLatin1);
  // ReplaceAllB reconciles a replacement of another encoding as Join does.
  StringHolder mixed = StringHolder::Adopt(
      StringReplaceAllB(Make("a-b", kEncodingASCII).get(), U("-").get(), U("\xC3\xA9").get()));
  EXPECT_EQ(Bytes(mixed.get()), "a\xC3\xA9" "b");
  EXPECT_EQ(mixed.get()->mEncoding, kEncodingUTF8);
}

TEST(ClassicFields, Split) {
  EXPECT_EQ(SplitTexts(U("a,,b,").get(), U(",").get()), (Texts{"a", "<nil>", "b", "<nil>"}));
  EXPECT_EQ(SplitTexts(U(",a").get(), U(",").get()), (Texts{"<nil>", "a"}));
  EXPECT_EQ(SplitTexts(U("aXbxc").get(), U("x").get()), (Texts{"a", "b", "c"}));
  EXPECT_EQ(SplitTexts(U("aXbxc").get(), U("x").get(), true), (Texts{"aXb", "c"}));
  EXPECT_EQ(SplitTexts(U("abc").get(), U("").get()), (Texts{"a", "b", "c"}));
  EXPECT_EQ(SplitTexts(U("\xC3\xA9" "b").get(), nullptr), (Texts{"\xC3\xA9", "b"}));
  EXPECT_EQ(SplitTexts(U("\xC3\xA9" "b").get(), nullptr, true),
            (Texts{"\xC3", "\xA9", "b"}));
  EXPECT_EQ(SplitTexts(U("abc").get(), U(";").get()), (Texts{"abc"}));
  EXPECT_EQ(SplitTexts(nullptr, U(",").get()), Texts{});
  // Shift-JIS: "\x96{" is found only where 0x96 begins a character.
  EXPECT_EQ(SplitTexts(Make("\x93\x96{a", kShiftJIS).get(), Make("\x96{", kShiftJIS).get()),
            (Texts{"\x93\x96{a"}));
  EXPECT_EQ(SplitTexts(Make("a\x96{b", kShiftJIS).get(), Make("\x96{", kShiftJIS).get()),
            (Texts{"a", "b"}));
  RuntimeArray* wide = StringSplit(MakeUtf16(u"ab,c").get(), U(",").get());
  Elements e = Read(wide);
  RuntimeUnlockObject(&wide->header);
  ASSERT_EQ(e.texts.size(), 2u);
  EXPECT_EQ(e.texts[1], std::string("c\0", 2));
  EXPECT_EQ(e.encodings[1], kEncodingUTF16);
}

TEST(ClassicFields, JoinReconcilesEncodings) {
  auto join = [](std::vector<StringHolder> parts, TESSstring delimiter) {
    RuntimeArray* a = RuntimeArrayCreateSingleDimBoundedArray(kArrayString, int32_t(parts.size()) - 1);
    auto set = reinterpret_cast<void (*)(RuntimeArray*, TESSstring, int32_t)>(a->ops->set);
    for (size_t i = 0; i < parts.size(); ++i) set(a, parts[i].get(), int32_t(i));
    StringHolder r = StringHolder::Adopt(StringJoin(a, delimiter));
    RuntimeUnlockObject(&a->header);
    return r;
  };
  EXPECT_EQ(join({}, U(",").get()).get(), nullptr);
  EXPECT_EQ(StringJoin(nullptr, U(",").get()), nullptr);
  StringHolder only = U("x");
  EXPECT_EQ(join({only}, U(",").get()).get(), only.get());
  // Nil elements keep their delimiters around them.
  EXPECT_EQ(Bytes(join({U("a"), StringHolder(), U("b"), StringHolder()}, U(",").get()).get()),
            "a,,b,");
  EXPECT_EQ(Bytes(join({U("a"), U("b")}, nullptr).get()), "ab");
  // Latin-1 and UTF-8 meet in UTF-8; the delimiter follows.
  StringHolder mixed = join({Make("\xE9", kLatin1), U("\xC3\xBC")}, Make("\xB7", kLatin1).get());
  EXPECT_EQ(Bytes(mixed.get()), "\xC3\xA9\xC2\xB7\xC3\xBC");
  EXPECT_EQ(mixed.get()->mEncoding, kEncodingUTF8);
  StringHolder ascii = join({Make("a", kEncodingASCII), Make("b", kEncodingASCII)},
                            Make("-", kEncodingASCII).get());
  EXPECT_EQ(ascii.get()->mEncoding, kEncodingASCII);
}

TEST(ClassicFields, LeakNothing) {
  StringLeakCheck leaks;
  EXPECT_EQ(Nth("a,b,c", ",", 2), "b");
  EXPECT_EQ(SplitTexts(MakeUtf16(u"a,b").get(), U(",").get()).size(), 2u);
  StringHolder r = StringHolder::Adopt(
      StringReplaceAll(Make("\xE9t\xC9", kLatin1).get(), U("\xC3\xA9").get(), U("x").get()));
  r.Reset();
  EXPECT_EQ(StringCountFields(Make("a\xE9" "b", kLatin1).get(), U("\xC3\x89").get()), 2);
  EXPECT_TRUE(leaks.NoLeaks());
}

}  // namespace
