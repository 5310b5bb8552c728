#include "kit/leak_check.h"

#include "vela/object.h"

namespace vela::testkit {

LeakCheck::LeakCheck() : mObjectsAtStart(RuntimeDebugObjectCount()) {}

LeakCheck::~LeakCheck() {
  if (!mDismissed) {
    EXPECT_TRUE(NothingLeaked());
  }
}

int32_t LeakCheck::ObjectDelta() const { return RuntimeDebugObjectCount() - mObjectsAtStart; }

::testing::AssertionResult LeakCheck::NothingLeaked() const {
  int32_t objects = ObjectDelta();
  int64_t strings = StringDelta();
  if (objects == 0 && strings == 0) return ::testing::AssertionSuccess();
  auto failure = ::testing::AssertionFailure();
  if (objects)
    failure << objects << " object(s) "
            << (objects > 0 ? "leaked" : "freed beyond the start count");
  if (objects && strings) failure << "; ";
  if (strings) failure << strings << " string record(s) made in scope still alive";
  return failure;
}

}  // namespace vela::testkit
