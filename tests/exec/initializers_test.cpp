// The test program itself carries a "velainit" section, as an image would.
#include <gtest/gtest.h>

#include <string>

#include "kit/child_process.h"
#include "kit/recording_reporter.h"
#include "vela/application.h"

namespace {

std::string& InitOrder() {
  static std::string order;
  return order;
}
void FirstInitializer() { InitOrder() += "1"; }
void SecondInitializer() { InitOrder() += "2"; }

__attribute__((section("velainit"), used)) void (*const kInitializers[])() = {FirstInitializer,
                                                                              SecondInitializer};

TEST(Initializers, SectionEntriesRunInOrderEachCall) {
  vela::testkit::RecordingReporter reporter;
  InitOrder().clear();
  RuntimePerformInitializers();
  EXPECT_EQ(InitOrder(), "12");
  RuntimePerformInitializers();
  EXPECT_EQ(InitOrder(), "1212");
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(Initializers, ProgramWithoutSectionRunsNothingAndReportsNothing) {
  auto result = vela::testkit::RunProgram({VELA_NO_INITIALIZERS_FIXTURE});
  ASSERT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(result.out, "initializers done\n");
  EXPECT_EQ(result.err, "");
}

}  // namespace
