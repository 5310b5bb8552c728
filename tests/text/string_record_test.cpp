// The string record: layout, creation, counting, the free hook, tracking,
// the scoped holder, the guarded accessors and the operations table.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kit/recording_reporter.h"
#include "kit/string_counts.h"
#include "string_test_support.h"
#include "text/string_ops_classic.h"
#include "vela/text.h"

namespace {

using vela::StringHolder;
using vela::strtest::Bytes;
using vela::strtest::Make;
using vela::testkit::RecordingReporter;
using vela::testkit::StringLeakCheck;

// Compiled code and plug-ins read these offsets.
static_assert(offsetof(TESSstringRecord, mRefCount) == 0);
static_assert(offsetof(TESSstringRecord, mBuffer) == 8);
static_assert(offsetof(TESSstringRecord, mReserved) == 16);
static_assert(offsetof(TESSstringRecord, mLength) == 20);
static_assert(offsetof(TESSstringRecord, mEncoding) == 24);
static_assert(offsetof(TESSstringRecord, mCharCount) == 28);
static_assert(offsetof(TESSstringRecord, mText) == 32);

// Records what the free hook saw; reads the record inside the hook, which
// would trip AddressSanitizer if the block were already gone.
struct FreeLog {
  static inline std::vector<TESSstring> freed;
  static inline std::vector<std::string> texts;
  static void Hook(TESSstring s) {
    freed.push_back(s);
    texts.push_back(Bytes(s));
  }
};

class FreeHookScope {
 public:
  FreeHookScope() : mPrevious(vela::SetStringFreeHook(&FreeLog::Hook)) {
    FreeLog::freed.clear();
    FreeLog::texts.clear();
  }
  ~FreeHookScope() { vela::SetStringFreeHook(mPrevious); }

 private:
  vela::StringFreeHookFn mPrevious;
};

TEST(StringCreate, EmptyInputGivesNil) {
  StringLeakCheck check;
  EXPECT_EQ(vela::NewString("abc", 0, kEncodingUTF8), nullptr);
  EXPECT_EQ(vela::NewString("", -1, kEncodingUTF8), nullptr);
  EXPECT_EQ(vela::NewString(nullptr, -1, kEncodingUTF8), nullptr);
  EXPECT_EQ(vela::StringOpsClassic::Get().Create("abc", kEncodingASCII, 0), nullptr);
  EXPECT_TRUE(check.NoLeaks());
}

TEST(StringCreate, OneByteRecordHasTheDocumentedBytes) {
  StringHolder s = Make("x", kEncodingUTF8);
  TESSstring r = s.get();
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->mRefCount, 1);
  EXPECT_EQ(r->mReserved, 0u);
  EXPECT_EQ(r->mLength, 1);
  EXPECT_EQ(r->mEncoding, kEncodingUTF8);
  EXPECT_EQ(r->mCharCount, 0);
  // The length byte lies in the record, at most one alignment byte in.
  EXPECT_TRUE(r->mBuffer == r->mText || r->mBuffer == r->mText + 1);
  EXPECT_EQ(r->mBuffer[0], 1);
  const unsigned char* text = r->mBuffer + 1;
  EXPECT_EQ(reinterpret_cast<uintptr_t>(text) % 2, 0u);
  EXPECT_EQ(text[0], 'x');
  EXPECT_EQ(std::memcmp(text + 1, "\0\0\0\0", 4), 0);
  EXPECT_EQ(vela::StringText(r), reinterpret_cast<const char*>(text));
}

TEST(StringCreate, LongTextCapsTheLengthByte) {
  std::string text(300, 'q');
  StringHolder s = Make(text, kEncodingASCII);
  EXPECT_EQ(s.get()->mLength, 300);
  EXPECT_EQ(s.get()->mBuffer[0], 255);
  EXPECT_EQ(Bytes(s.get()), text);
  StringHolder exact = Make(std::string(255, 'q'), kEncodingASCII);
  EXPECT_EQ(exact.get()->mBuffer[0], 255);
}

TEST(StringCreate, NegativeLengthMeasuresAndNullBytesLeaveTextToFill) {
  StringHolder measured = StringHolder::Adopt(vela::NewString("hello", -1, kEncodingASCII));
  EXPECT_EQ(Bytes(measured.get()), "hello");

  StringHolder blank = StringHolder::Adopt(vela::NewString(nullptr, 3, kEncodingUTF16));
  ASSERT_TRUE(blank);
  EXPECT_EQ(blank.get()->mLength, 3);
  EXPECT_EQ(blank.get()->mEncoding, kEncodingUTF16);
  EXPECT_EQ(std::memcmp(blank.get()->mBuffer + 4, "\0\0\0\0", 4), 0);  // terminator written
}

// Sizes on both sides of where blocks change hands (the C library's own
// cache, the size classes of large blocks, the largest cached class).
TEST(StringCreate, RecordsAroundBlockSizeEdgesKeepTheirBytes) {
  StringLeakCheck check;
  const int32_t sizes[] = {1, 255, 256, 993, 994, 995, 1242, 1243, 1498, 1499,
                           4058, 4059, 8154, 8155, 12000};
  for (int round = 0; round < 3; ++round) {
    std::vector<StringHolder> strings;
    for (int32_t size : sizes) {
      std::string text(size_t(size), char('a' + size % 26));
      text.back() = '!';
      strings.push_back(Make(text, kEncodingUTF8));
    }
    for (size_t i = 0; i < strings.size(); ++i) {
      TESSstring s = strings[i].get();
      ASSERT_EQ(s->mLength, sizes[i]);
      EXPECT_EQ(s->mBuffer[0], sizes[i] > 255 ? 255 : sizes[i]);
      EXPECT_EQ(Bytes(s).back(), '!');
      EXPECT_EQ(std::memcmp(s->mBuffer + 1 + sizes[i], "\0\0\0\0", 4), 0);
    }
    if (round == 1) std::reverse(strings.begin(), strings.end());  // release in another order
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(StringCreate, RecordsMayDieOnAnotherThread) {
  StringLeakCheck check;
  std::vector<TESSstring> made;
  std::thread maker([&made] {
    for (int32_t size : {40, 1500, 3000}) made.push_back(vela::NewString(nullptr, size, 0));
    RuntimeUnlockString(vela::NewString(nullptr, 2000, 0));  // cached on this thread, then gone
  });
  maker.join();
  ASSERT_EQ(made.size(), 3u);
  std::thread dropper([&made] {
    for (TESSstring s : made) RuntimeUnlockString(s);
  });
  dropper.join();
  EXPECT_TRUE(check.NoLeaks());
}

TEST(StringCount, LockAndUnlockCountAndTheLastUnlockFreesAfterTheHook) {
  FreeHookScope hook;
  TESSstring s = vela::NewString("gone", 4, kEncodingASCII);
  RuntimeLockString(s);
  EXPECT_EQ(s->mRefCount, 2);
  RuntimeUnlockString(s);
  EXPECT_EQ(s->mRefCount, 1);
  EXPECT_TRUE(FreeLog::freed.empty());
  RuntimeUnlockString(s);
  ASSERT_EQ(FreeLog::freed.size(), 1u);
  EXPECT_EQ(FreeLog::freed[0], s);
  EXPECT_EQ(FreeLog::texts[0], "gone");  // still readable inside the hook
  RuntimeLockString(nullptr);           // Nil is ignored
  RuntimeUnlockString(nullptr);
  EXPECT_EQ(FreeLog::freed.size(), 1u);
}

// A record laid out the way compiled code lays out its constants: count 0,
// mBuffer at its own length byte.
struct StaticRecord {
  alignas(16) unsigned char storage[64] = {};
  TESSstring Build(const char* text) {
    auto* r = reinterpret_cast<TESSstring>(storage);
    const size_t length = std::strlen(text);
    r->mRefCount = 0;
    r->mLength = int32_t(length);
    r->mEncoding = kEncodingASCII;
    r->mBuffer = r->mText + 1;  // storage is 16-aligned: one alignment byte
    r->mBuffer[0] = static_cast<unsigned char>(length);
    std::memcpy(r->mBuffer + 1, text, length);
    return r;
  }
};

TEST(StringCount, UncountedRecordIsNeverCountedNorFreed) {
  FreeHookScope hook;
  StaticRecord record;
  TESSstring s = record.Build("const");
  RuntimeLockString(s);
  EXPECT_EQ(s->mRefCount, 0);
  for (int i = 0; i < 3; ++i) RuntimeUnlockString(s);
  EXPECT_EQ(s->mRefCount, 0);
  RuntimeLockString(s);
  EXPECT_EQ(s->mRefCount, 0);
  EXPECT_TRUE(FreeLog::freed.empty());

  // It takes part in operations like any other string.
  StringHolder tail = Make("ant", kEncodingASCII);
  StringHolder joined = StringHolder::Adopt(RuntimeAddString(s, tail.get()));
  EXPECT_EQ(Bytes(joined.get()), "constant");
  StringHolder same = StringHolder::Adopt(RuntimeAddString(s, nullptr));
  EXPECT_EQ(same.get(), s);
  EXPECT_EQ(s->mRefCount, 0);
}

TEST(StringCount, AssignmentLocksTheNewBeforeUnlockingTheOld) {
  FreeHookScope hook;
  TESSstring a = vela::NewString("a", 1, kEncodingASCII);
  TESSstring b = vela::NewString("b", 1, kEncodingASCII);
  RuntimeLockUnlockStrings(a, a);  // identical: nothing
  EXPECT_EQ(a->mRefCount, 1);
  RuntimeLockUnlockStrings(b, a);  // a dies, b gains a reference
  EXPECT_EQ(b->mRefCount, 2);
  ASSERT_EQ(FreeLog::freed.size(), 1u);
  EXPECT_EQ(FreeLog::freed[0], a);
  RuntimeLockUnlockStrings(nullptr, b);
  RuntimeLockUnlockStrings(b, nullptr);
  EXPECT_EQ(b->mRefCount, 2);
  RuntimeLockUnlockStrings(nullptr, b);
  RuntimeLockUnlockStrings(nullptr, b);
  EXPECT_EQ(FreeLog::freed.size(), 2u);
}

TEST(StringCount, ConcurrentLockAndUnlockKeepTheCountExact) {
  FreeHookScope hook;
  TESSstring s = vela::NewString("shared", 6, kEncodingASCII);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([s] {
      for (int i = 0; i < 50000; ++i) {
        RuntimeLockString(s);
        RuntimeLockString(s);
        RuntimeUnlockString(s);
        RuntimeUnlockString(s);
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(s->mRefCount, 1);
  EXPECT_TRUE(FreeLog::freed.empty());
  RuntimeUnlockString(s);
  EXPECT_EQ(FreeLog::freed.size(), 1u);
}

TEST(StringTracking, CountsCreatesAndFreesOnlyWhileOn) {
  TESSstring before = vela::NewString("early", 5, kEncodingASCII);
  {
    StringLeakCheck check;
    TESSstring a = vela::NewString("a", 1, kEncodingASCII);
    TESSstring b = vela::NewString("b", 1, kEncodingASCII);
    EXPECT_EQ(check.Live(), 2);
    EXPECT_FALSE(check.NoLeaks());
    RuntimeLockString(a);
    RuntimeUnlockString(a);
    EXPECT_EQ(check.Live(), 2);  // locks are not creates
    RuntimeUnlockString(a);
    RuntimeUnlockString(b);
    EXPECT_TRUE(check.NoLeaks());
  }
  const int64_t off = vela::LiveStringCount();
  RuntimeUnlockString(before);
  RuntimeUnlockString(vela::NewString("late", 4, kEncodingASCII));
  EXPECT_EQ(vela::LiveStringCount(), off);
}

TEST(StringHolderType, CopyLocksMoveTransfersDestructionUnlocks) {
  StringLeakCheck check;
  {
    StringHolder a = Make("held", kEncodingASCII);
    TESSstring r = a.get();
    {
      StringHolder copy = a;
      EXPECT_EQ(r->mRefCount, 2);
      StringHolder moved = std::move(copy);
      EXPECT_EQ(copy.get(), nullptr);
      EXPECT_EQ(r->mRefCount, 2);
    }
    EXPECT_EQ(r->mRefCount, 1);
    StringHolder borrowed(r);
    EXPECT_EQ(r->mRefCount, 2);
    borrowed = StringHolder();
    EXPECT_EQ(r->mRefCount, 1);
    TESSstring owned = a.Release();
    EXPECT_FALSE(a);
    EXPECT_EQ(owned->mRefCount, 1);
    a.Reset(owned);
    EXPECT_EQ(owned->mRefCount, 1);
  }
  EXPECT_TRUE(check.NoLeaks());
}

TEST(StringGuards, NilAndOutOfRangeAccessReportAndReadEmpty) {
  RecordingReporter reporter;
  StringHolder nil;
  EXPECT_STREQ(nil.Contents(), "");
  EXPECT_TRUE(reporter.Saw("Cannot access contents of a Nil string."));
  EXPECT_EQ(nil.Length(), 0);
  EXPECT_TRUE(reporter.Saw("Cannot access length of a Nil string."));
  EXPECT_EQ(reporter.reports()[0].path, "Universal/TESSstring");

  reporter.Clear();
  StringHolder s = Make("ab", kEncodingASCII);
  EXPECT_EQ(s[1], 'b');
  EXPECT_EQ(s.Length(), 2);
  EXPECT_EQ(reporter.count(), 0u);
  EXPECT_EQ(s[2], 0);
  EXPECT_EQ(s[-1], 0);
  EXPECT_EQ(nil[0], 0);
  EXPECT_EQ(reporter.count(), 3u);
  EXPECT_TRUE(reporter.Saw("not (pos < 0 || pos >= Length())"));
}

// The position of a virtual operation in the table, from the Itanium
// representation of a pointer to a virtual member (1 + byte offset).
template <typename Member>
size_t SlotOf(Member member) {
  struct {
    uintptr_t pointer;
    ptrdiff_t adjust;
  } representation;
  static_assert(sizeof member == sizeof representation);
  std::memcpy(&representation, &member, sizeof representation);
  return (representation.pointer - 1) / sizeof(void*);
}

TEST(StringOpsTable, OperationsKeepTheirSlotOrder) {
  using vela::StringOps;
  // Slots 0 and 1 hold the two forms of the destructor.
  const std::vector<size_t> slots = {
      SlotOf(&StringOps::Create),          SlotOf(&StringOps::Lock),
      SlotOf(&StringOps::Unlock),          SlotOf(&StringOps::CharLength),
      SlotOf(&StringOps::ByteLength),      SlotOf(&StringOps::Contents),
      SlotOf(&StringOps::MidChars),        SlotOf(&StringOps::MidBytes),
      SlotOf(&StringOps::LowerCase),       SlotOf(&StringOps::UpperCase),
      SlotOf(&StringOps::TitleCase),       SlotOf(&StringOps::FindBytes),
      SlotOf(&StringOps::FindChars),       SlotOf(&StringOps::JoinFrom),
      SlotOf(&StringOps::Trim),            SlotOf(&StringOps::FromCodePoint),
      SlotOf(&StringOps::FromByte),        SlotOf(&StringOps::CodePointAt),
      SlotOf(&StringOps::FirstByte),       SlotOf(&StringOps::CompareText),
      SlotOf(&StringOps::CompareBytes),    SlotOf(&StringOps::SnapToChar),
      SlotOf(&StringOps::CopyOut),         SlotOf(&StringOps::NewCharIterator),
      SlotOf(&StringOps::ToText),          SlotOf(&StringOps::IsEmpty),
      SlotOf(&StringOps::LeftChars),       SlotOf(&StringOps::LeftBytes),
      SlotOf(&StringOps::RightChars),      SlotOf(&StringOps::RightBytes),
      SlotOf(&StringOps::MidToEndChars),   SlotOf(&StringOps::MidToEndBytes),
      SlotOf(&StringOps::CountFieldsChars), SlotOf(&StringOps::CountFieldsBytes),
      SlotOf(&StringOps::NthFieldChars),   SlotOf(&StringOps::NthFieldBytes),
      SlotOf(&StringOps::ReplaceChars),    SlotOf(&StringOps::ReplaceBytes),
      SlotOf(&StringOps::ReplaceAllChars), SlotOf(&StringOps::ReplaceAllBytes),
      SlotOf(&StringOps::SplitChars),      SlotOf(&StringOps::SplitBytes),
      SlotOf(&StringOps::FirstCodePoint),  SlotOf(&StringOps::ContentsIfEncoded),
  };
  ASSERT_EQ(slots.size(), 44u);
  for (size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], i + 2) << "operation " << i;
}

TEST(StringOpsTable, ContentsIfEncodedNeedsTheExactEncoding) {
  vela::StringOps& ops = vela::StringOpsClassic::Get();
  EXPECT_EQ(&ops, &vela::StringOpsClassic::Get());
  StringHolder s = StringHolder::Adopt(ops.Create("abc", kEncodingUTF8, 3));
  int32_t length = -1;
  EXPECT_EQ(ops.ContentsIfEncoded(s.get(), kEncodingUTF8, &length), vela::StringText(s.get()));
  EXPECT_EQ(length, 3);
  EXPECT_EQ(ops.ContentsIfEncoded(s.get(), kEncodingASCII, &length), nullptr);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(ops.ContentsIfEncoded(nullptr, kEncodingUTF8, nullptr), nullptr);
  EXPECT_FALSE(ops.IsEmpty(s.get()));
  EXPECT_TRUE(ops.IsEmpty(nullptr));
}

TEST(StringOpsTable, ToTextDecodesTheStringsText) {
  StringHolder s = Make("abc", kEncodingUTF8);
  TextRecord* text = vela::StringOpsClassic::Get().ToText(s.get());
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->mLength, 3);
  RuntimeUnlockText(text);
}

}  // namespace
