// Checks that a test leaves nothing behind: records the number of live
// objects when it starts, counts the string records made meanwhile, and
// compares at the end of the scope (or whenever the test asks).
//
//   LeakCheck leaks;
//   ... create and release objects and strings ...
//   EXPECT_TRUE(leaks.NothingLeaked());   // optional: the destructor checks too
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "kit/string_counts.h"

namespace vela::testkit {

class LeakCheck {
 public:
  LeakCheck();
  // Reports a test failure when something leaked, unless Dismiss() was called.
  ~LeakCheck();
  LeakCheck(const LeakCheck&) = delete;
  LeakCheck& operator=(const LeakCheck&) = delete;

  // Live objects now minus live objects at the start.
  int32_t ObjectDelta() const;
  // String records made in scope and still alive.
  int64_t StringDelta() const { return mStrings.Live(); }
  ::testing::AssertionResult NothingLeaked() const;
  // For a test that leaks on purpose or cleans up behind this scope.
  void Dismiss() { mDismissed = true; }

 private:
  int32_t mObjectsAtStart;
  StringLeakCheck mStrings;
  bool mDismissed = false;
};

}  // namespace vela::testkit
