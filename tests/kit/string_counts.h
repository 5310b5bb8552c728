// StringLeakCheck: counts the string records made and freed while it is in
// scope, so that a test can assert it left none alive. Checks nest; tracking
// stays on until the outermost one ends.
#pragma once

#include <cstdint>

#include <gtest/gtest.h>

#include "text/string_create.h"

namespace vela::testkit {

class StringLeakCheck {
 public:
  StringLeakCheck();
  ~StringLeakCheck();
  StringLeakCheck(const StringLeakCheck&) = delete;
  StringLeakCheck& operator=(const StringLeakCheck&) = delete;

  // Records made in scope and not yet freed (negative if the scope freed
  // records made before it).
  int64_t Live() const { return LiveStringCount() - mBaseline; }

  // For EXPECT_TRUE / ASSERT_TRUE: fails naming the number of live records.
  ::testing::AssertionResult NoLeaks() const;

 private:
  int64_t mBaseline;
};

}  // namespace vela::testkit
