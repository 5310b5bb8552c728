// Raw C, Pascal and wide text, copy-out, structure fields and
// four-character codes.
#include <cstring>

#include <gtest/gtest.h>

#include "kit/recording_reporter.h"
#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/string_bridges.h"
#include "text/string_copy.h"

namespace {

using vela::RawTextKind;
using vela::RawTextLockCount;
using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::strtest::MakeUtf16;
using vela::strtest::Units;
using vela::testkit::RecordingReporter;
using vela::testkit::StringLeakCheck;

TEST(RawTextIn, CPascalAndWideTextBecomeStrings) {
  StringLeakCheck check;
  EXPECT_EQ(StringFromCString(nullptr), nullptr);
  EXPECT_EQ(StringFromCString(""), nullptr);
  EXPECT_EQ(StringFromPString(nullptr), nullptr);
  const unsigned char emptyPascal[1] = {0};
  EXPECT_EQ(StringFromPString(emptyPascal), nullptr);
  EXPECT_EQ(StringFromWString(nullptr), nullptr);
  const uint16_t emptyWide[1] = {0};
  EXPECT_EQ(StringFromWString(emptyWide), nullptr);
  {
    StringHolder c = StringHolder::Adopt(StringFromCString("caf\xC3\xA9"));
    EXPECT_EQ(Bytes(c.get()), "caf\xC3\xA9");
    EXPECT_EQ(c.get()->mEncoding, kEncodingASCII);

    const unsigned char pascal[] = {3, 'a', 0, 'c', 'x'};
    StringHolder p = StringHolder::Adopt(StringFromPString(pascal));
    EXPECT_EQ(Bytes(p.get()), std::string("a\0c", 3));
    EXPECT_EQ(p.get()->mEncoding, kEncodingASCII);

    const uint16_t wide[] = {0x48, 0xE9, 0xD83D, 0xDE00, 0};
    StringHolder w = StringHolder::Adopt(StringFromWString(wide));
    EXPECT_EQ(w.get()->mEncoding, kEncodingUTF16);
    EXPECT_EQ(Units(w.get()), u"H\u00E9\U0001F600");
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(RawTextOut, NilGivesSharedConstantsThatLocksIgnore) {
  char* c = StringToCString(nullptr);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c[0], '\0');
  EXPECT_EQ(RawTextLockCount(RawTextKind::kC, c), 0);
  RuntimeLockCString(c);
  RuntimeUnlockCString(c);
  RuntimeUnlockCString(c);
  EXPECT_EQ(StringToCString(nullptr), c);  // the same constant each time

  unsigned char* p = StringToPString(nullptr);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p[0], 0);
  RuntimeUnlockPString(p);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kPascal, p), 0);

  // A pointer from elsewhere is ignored too.
  char foreign[] = "x";
  RuntimeUnlockCString(foreign);
  RuntimeSwapCStringLocks(nullptr, foreign);
}

TEST(RawTextOut, CStringCopiesBytesAndCountsItsLocks) {
  StringHolder s = Make(std::string_view("a\xC3\xA9\0z", 5), kEncodingUTF8);
  char* c = StringToCString(s.get());
  EXPECT_NE(c, vela::StringText(s.get()));
  EXPECT_EQ(std::memcmp(c, "a\xC3\xA9\0z\0", 6), 0);  // all bytes and a terminator
  EXPECT_EQ(RawTextLockCount(RawTextKind::kC, c), 1);
  RuntimeLockCString(c);
  RuntimeLockCString(c);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kC, c), 3);
  RuntimeUnlockCString(c);
  RuntimeUnlockCString(c);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kC, c), 1);
  RuntimeUnlockCString(c);  // freed here; AddressSanitizer checks there is no second free
  EXPECT_EQ(RawTextLockCount(RawTextKind::kC, c), 0);
  RuntimeUnlockCString(c);
}

TEST(RawTextOut, SwapLocksTheNewBeforeUnlockingTheOld) {
  StringHolder s = Make("swap", kEncodingASCII);
  unsigned char* first = StringToPString(s.get());
  unsigned char* second = StringToPString(s.get());
  RuntimeSwapPStringLocks(second, first);  // first freed, second at 2
  EXPECT_EQ(RawTextLockCount(RawTextKind::kPascal, first), 0);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kPascal, second), 2);
  RuntimeSwapPStringLocks(second, second);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kPascal, second), 2);
  RuntimeSwapPStringLocks(nullptr, second);
  RuntimeSwapPStringLocks(nullptr, second);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kPascal, second), 0);
}

TEST(RawTextOut, PascalStringStopsAt255Bytes) {
  std::string text(300, 'p');
  text[254] = 'L';
  StringHolder s = Make(text, kEncodingASCII);
  unsigned char* p = StringToPString(s.get());
  EXPECT_EQ(p[0], 255);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(p + 1), 255), text.substr(0, 255));
  RuntimeUnlockPString(p);

  StringHolder shortText = Make("hi", kEncodingMacRoman);
  p = StringToPString(shortText.get());
  EXPECT_EQ(std::memcmp(p, "\x02hi", 3), 0);
  RuntimeUnlockPString(p);
}

TEST(RawTextOut, WideStringIsConvertedAndTerminated) {
  StringHolder s = Make("\xC3\xA9t\xF0\x9F\x98\x80", kEncodingUTF8);
  uint16_t* w = StringToWString(s.get());
  const uint16_t expected[] = {0xE9, 't', 0xD83D, 0xDE00, 0};
  EXPECT_EQ(std::memcmp(w, expected, sizeof expected), 0);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kWide, w), 1);
  LockWString(w);
  SwapWStringLocks(nullptr, w);
  UnlockWString(w);
  EXPECT_EQ(RawTextLockCount(RawTextKind::kWide, w), 0);

  uint16_t* empty = StringToWString(nullptr);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty[0], 0);
  UnlockWString(empty);

  StringHolder roman = Make("\x8E", kEncodingMacRoman);
  w = StringToWString(roman.get());
  EXPECT_EQ(w[0], 0xE9);
  EXPECT_EQ(w[1], 0);
  UnlockWString(w);
}

TEST(CopyOut, MeasuresCutsAndZeroFills) {
  StringHolder s = Make("abcdef", kEncodingASCII);
  EXPECT_EQ(vela::CopyStringOut(s.get(), nullptr, 0, kEncodingUnknown), 6);
  EXPECT_EQ(vela::CopyStringOut(s.get(), nullptr, 0, kEncodingUTF16), 12);

  char buffer[10];
  std::memset(buffer, 'X', sizeof buffer);
  EXPECT_EQ(vela::CopyStringOut(s.get(), buffer, 4, kEncodingUnknown), 4);
  EXPECT_EQ(std::string(buffer, 5), "abcdX");

  std::memset(buffer, 'X', sizeof buffer);
  EXPECT_EQ(vela::CopyStringOut(s.get(), buffer, 9, kEncodingASCII), 6);
  EXPECT_EQ(std::string(buffer, 10), std::string("abcdef\0\0\0X", 10));

  std::memset(buffer, 'X', sizeof buffer);
  EXPECT_EQ(vela::CopyStringOut(nullptr, buffer, 3, kEncodingUTF8), 0);
  EXPECT_EQ(std::string(buffer, 4), std::string("\0\0\0X", 4));
  EXPECT_EQ(vela::CopyStringOut(s.get(), buffer, -1, kEncodingUnknown), 0);
}

TEST(CopyOut, FailedConversionWritesZeros) {
  RecordingReporter reporter;
  StringHolder s = Make("abc", kEncodingASCII);
  char buffer[4] = {'X', 'X', 'X', 'X'};
  EXPECT_EQ(vela::CopyStringOut(s.get(), buffer, 3, kEncodingUTF16), 3);  // a converter exists
  EXPECT_EQ(std::string(buffer, 4), std::string("a\0bX", 4));
  EXPECT_EQ(vela::CopyStringOut(s.get(), buffer, 3, 0xFFFF1234), 0);  // no such code page
  EXPECT_EQ(std::string(buffer, 4), std::string("\0\0\0X", 4));
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(StructureFields, GetStripsTrailingZerosAsRawBytes) {
  const unsigned char record[] = {'h', 'd', 'r', 'a', 'b', 0, 'c', 0, 0, 0, 0, 0};
  StringHolder s = StringHolder::Adopt(RuntimeGetStructureString(record, 3, 6));
  EXPECT_EQ(Bytes(s.get()), std::string("ab\0c", 4));
  EXPECT_EQ(s.get()->mEncoding, kEncodingUnknown);
  EXPECT_EQ(RuntimeGetStructureString(record, 8, 4), nullptr);
  EXPECT_EQ(RuntimeGetStructureString(record, 0, 0), nullptr);

  StringHolder contents = StringHolder::Adopt(RuntimeGetStructureContents(record, 8));
  EXPECT_EQ(Bytes(contents.get()), std::string("hdrab\0c\0", 8));
  EXPECT_EQ(contents.get()->mEncoding, kEncodingUnknown);
  EXPECT_EQ(RuntimeGetStructureContents(record, 0), nullptr);
}

TEST(StructureFields, SetCopiesOutWithTheFieldSize) {
  unsigned char record[12];
  std::memset(record, 'X', sizeof record);
  StringHolder s = Make("\xC3\xA9tude", kEncodingUTF8);
  RuntimeSetStructureString(record, 2, 4, s.get());
  EXPECT_EQ(std::string(reinterpret_cast<char*>(record), 7), "XX\xC3\xA9tuX");
  RuntimeSetStructureString(record, 2, 0, nullptr);  // size 0: nothing
  EXPECT_EQ(record[2], 0xC3);
  RuntimeSetStructureString(record, 2, 3, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(record), 6), std::string("XX\0\0\0u", 6));

  std::memset(record, 'X', sizeof record);
  RuntimeSetStructureWString(record, 0, 8, s.get());
  const unsigned char wide[] = {0xE9, 0, 't', 0, 'u', 0, 'd', 0, 'X'};
  EXPECT_EQ(std::memcmp(record, wide, sizeof wide), 0);
}

TEST(StructureFields, SetAssertsOffsetAndBase) {
  RecordingReporter reporter;
  unsigned char record[4] = {'X', 'X', 'X', 'X'};
  StringHolder s = Make("ab", kEncodingASCII);
  RuntimeSetStructureString(record + 2, -1, 1, s.get());
  EXPECT_TRUE(reporter.Saw("offset >= 0"));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(record), 4), "XXXX");
  RuntimeSetStructureWString(nullptr, 0, 2, s.get());
  EXPECT_TRUE(reporter.Saw("base"));
  EXPECT_EQ(reporter.count(), 2u);
}

TEST(FourCharCodes, ReadMostSignificantFirst) {
  StringHolder ab = Make("ab", kEncodingASCII);
  EXPECT_EQ(StringToOSType(ab.get()), 0x61620000u);
  EXPECT_EQ(StringToOSType(nullptr), 0x3F3F3F3Fu);
  StringHolder longer = Make("TEXTfile", kEncodingUnknown);
  EXPECT_EQ(StringToOSType(longer.get()), 0x54455854u);
  // Other encodings are taken to Mac Roman: é is 0x8E there.
  StringHolder utf8 = Make("\xC3\xA9" "abc", kEncodingUTF8);
  EXPECT_EQ(StringToOSType(utf8.get()), 0x8E616263u);
  StringHolder utf16 = MakeUtf16(u"ab");
  EXPECT_EQ(StringToOSType(utf16.get()), 0x61620000u);
}

TEST(FourCharCodes, RoundTripThroughMacRoman) {
  StringLeakCheck check;
  for (uint32_t code : {0x54455854u, 0x8E00FF01u, 0x3F3F3F3Fu, 0u}) {
    StringHolder s = StringHolder::Adopt(StringFromOSType(code));
    ASSERT_TRUE(s);
    EXPECT_EQ(s.get()->mLength, 4);
    EXPECT_EQ(s.get()->mEncoding, kEncodingMacRoman);
    EXPECT_EQ(StringToOSType(s.get()), code);
  }
  EXPECT_TRUE(check.NoLeaks());
}

}  // namespace
