// LastField and IsEmpty: the last occurrence found without regard to case,
// the UTF-8 result for text of any encoding, and the Nil results.
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
using vela::testkit::StringLeakCheck;

constexpr uint32_t kLatin1 = 0x201;

StringHolder U(std::string_view s) { return Make(s, kEncodingUTF8); }

// The field's bytes, "<nil>" for Nil, and its encoding.
std::string Last(TESSstring s, TESSstring sep, uint32_t* encoding = nullptr) {
  StringHolder r = StringHolder::Adopt(StringLastField(s, sep));
  if (encoding) *encoding = r ? r.get()->mEncoding : kEncodingUnknown;
  return r ? Bytes(r.get()) : "<nil>";
}
std::string Last(std::string_view s, std::string_view sep) { return Last(U(s).get(), U(sep).get()); }

TEST(ClassicLastField, TakesTheTextBehindTheLastOccurrence) {
  EXPECT_EQ(Last("a.b.c", "."), "c");
  EXPECT_EQ(Last("one::two::three", "::"), "three");
  EXPECT_EQ(Last("fooXbarxbaz", "X"), "baz");  // case does not matter
  EXPECT_EQ(Last("aÄbäc", "ä"), "c");          // folded beyond ASCII too
  EXPECT_EQ(Last("abc", "abc"), "<nil>");      // nothing behind
  EXPECT_EQ(Last("a.b.", "."), "<nil>");
  // The last place the separator begins wins, even inside an earlier hit.
  EXPECT_EQ(Last("xaaa", "aa"), "<nil>");
  EXPECT_EQ(Last("xaaab", "aa"), "b");
}

TEST(ClassicLastField, NilResults) {
  EXPECT_EQ(Last("abc", "x"), "<nil>");
  EXPECT_EQ(Last("abc", ""), "<nil>");
  EXPECT_EQ(Last(U("abc").get(), nullptr), "<nil>");
  EXPECT_EQ(Last(nullptr, U(".").get()), "<nil>");
  EXPECT_EQ(Last("ab", "abc"), "<nil>");  // separator longer than the string
}

TEST(ClassicLastField, OtherEncodingsAreSearchedAndReturnedAsUtf8) {
  StringLeakCheck leaks;
  uint32_t encoding = 0;
  // Latin-1 text split at a UTF-8 separator: the upper-case É is the last
  // occurrence of "é", and the field behind it comes back as UTF-8.
  EXPECT_EQ(Last(Make("caf\xE9-d\xC9j\xE0", kLatin1).get(), U("é").get(), &encoding), "jà");
  EXPECT_EQ(encoding, static_cast<uint32_t>(kEncodingUTF8));
  EXPECT_EQ(Last(MakeUtf16(u"x;y;z\u00E9").get(), U(";").get(), &encoding), "zé");
  EXPECT_EQ(encoding, static_cast<uint32_t>(kEncodingUTF8));
  EXPECT_EQ(Last(U("k1=v1&K2=v2").get(), MakeUtf16(u"k2=").get()), "v2");
}

TEST(ClassicIsEmpty, NilAndEmptyAreOneValue) {
  EXPECT_TRUE(StringIsEmpty(nullptr));
  EXPECT_TRUE(StringIsEmpty(U("").get()));
  EXPECT_FALSE(StringIsEmpty(U(" ").get()));
  EXPECT_FALSE(StringIsEmpty(MakeUtf16(std::u16string_view(u"\0", 1)).get()));
}

}  // namespace
