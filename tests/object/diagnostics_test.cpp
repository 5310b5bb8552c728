#include "object/diagnostics.h"

#include <gtest/gtest.h>

#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object/live_list.h"
#include "object_test_support.h"
#include "text/string_create.h"

namespace {

using namespace objtest;
using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::LeakCheck;

std::string ClassNameAt(int32_t index) {
  TESSstring name = RuntimeDebugObjectClass(index);
  std::string text =
      name ? std::string(vela::StringText(name), size_t(vela::StringLength(name))) : "<nil>";
  RuntimeUnlockString(name);
  return text;
}

// Four objects at the front of the live list: D, C, B, A (newest first).
struct FourObjects {
  ClassScope classes;
  RuntimeObject* objects[4];
  FourObjects() {
    for (int i = 0; i < 4; ++i)
      objects[i] = RuntimeNewObject(classes.Build(ClassBuilder(std::string(1, char('A' + i)))));
  }
  ~FourObjects() {
    for (RuntimeObject* object : objects) RuntimeUnlockObject(object);
  }
};

TEST(DebugObjects, PositionsGiveNamesAndCountsAndRememberTheLastOne) {
  LeakCheck leaks;
  int32_t before = RuntimeDebugObjectCount();
  FourObjects four;
  int32_t total = RuntimeDebugObjectCount();
  EXPECT_EQ(total, before + 4);
  RuntimeLockObject(four.objects[1]);

  RuntimeDebugObjectRefs(-1);  // a negative position gives 0 and forgets
  uint64_t walks = vela::DebugPositionWalkCount();
  EXPECT_EQ(ClassNameAt(2), "B");           // walks from the head
  EXPECT_EQ(RuntimeDebugObjectRefs(2), 2);  // same position
  EXPECT_EQ(ClassNameAt(3), "A");           // one forward
  EXPECT_EQ(ClassNameAt(2), "B");           // one back
  EXPECT_EQ(ClassNameAt(1), "C");
  EXPECT_EQ(ClassNameAt(0), "D");
  EXPECT_EQ(vela::DebugPositionWalkCount(), walks + 1);
  EXPECT_EQ(ClassNameAt(2), "B");  // two steps away
  EXPECT_EQ(vela::DebugPositionWalkCount(), walks + 2);

  // A change of the list makes the remembered object unreliable.
  RuntimeObject* newest = RuntimeNewObject(four.classes.Build(ClassBuilder("E")));
  EXPECT_EQ(ClassNameAt(2), "C");
  EXPECT_EQ(vela::DebugPositionWalkCount(), walks + 3);
  RuntimeUnlockObject(newest);
  RuntimeUnlockObject(four.objects[1]);

  EXPECT_EQ(ClassNameAt(total), "<nil>");
  EXPECT_EQ(RuntimeDebugObjectRefs(total), 0);
  EXPECT_EQ(ClassNameAt(-1), "<nil>");
  EXPECT_GT(RuntimeDebugMemoryUsed(), 1 << 20);  // the resident set of this process
}

// Plain headers swapped in for the real list.
TEST(LiveList, ZeroAndAllOnesBothMeanNoNeighbour) {
  RuntimeObject* savedHead = vela::gLiveListHead;
  vela::gLiveListHead = nullptr;
  RuntimeObject o[4]{};
  for (RuntimeObject& object : o) vela::LiveListPrepend(&object);  // head: o[3]
  EXPECT_EQ(o[0].liveListNext, ~uintptr_t(0));
  o[0].liveListNext = 0;
  EXPECT_EQ(RuntimeDebugObjectCount(), 4);
  vela::LiveListUnlink(&o[0]);  // a tail link of 0 is passed on as all ones
  EXPECT_EQ(o[1].liveListNext, ~uintptr_t(0));
  vela::LiveListUnlink(&o[2]);  // from the middle
  EXPECT_EQ(o[3].liveListNext, ~reinterpret_cast<uintptr_t>(&o[1]));
  EXPECT_EQ(o[1].liveListPrev, ~reinterpret_cast<uintptr_t>(&o[3]));
  vela::LiveListUnlink(&o[3]);  // the head
  EXPECT_EQ(vela::gLiveListHead, &o[1]);
  EXPECT_EQ(o[1].liveListPrev, ~uintptr_t(0));
  EXPECT_EQ(RuntimeDebugObjectCount(), 1);
  vela::gLiveListHead = savedHead;
}

}  // namespace
