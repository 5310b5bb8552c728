#include "kit/string_counts.h"

namespace vela::testkit {
namespace {
int sDepth = 0;  // checks in scope; tests run on one thread
}  // namespace

StringLeakCheck::StringLeakCheck() {
  if (sDepth++ == 0) SetStringTracking(true);
  mBaseline = LiveStringCount();
}

StringLeakCheck::~StringLeakCheck() {
  if (--sDepth == 0) SetStringTracking(false);
}

::testing::AssertionResult StringLeakCheck::NoLeaks() const {
  const int64_t live = Live();
  if (live == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << live << " string record(s) made in scope still alive";
}

}  // namespace vela::testkit
