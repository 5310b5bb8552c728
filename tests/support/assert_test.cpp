#include <cstring>
#include <gtest/gtest.h>

#include "kit/recording_reporter.h"
#include "support/ascii.h"

namespace {
constexpr const char* kReportPath = "Common/RuntimeError";

TEST(AssertReport, LoggingTextHasTheFixedLayout) {
  char buffer[1024];
  vela::FormatLoggingReport(buffer, sizeof buffer, "Common/Thing", 42, "x > 0", "detail");
  EXPECT_STREQ(buffer,
               "Runtime Error\nPlease report what caused this error along with the information "
               "below.\nCommon/Thing: 42\nFailure Condition: x > 0\ndetail");
}

TEST(AssertReport, LoggingTextIsCutAt1024Bytes) {
  std::string longMessage(5000, 'm');
  char buffer[1024];
  vela::FormatLoggingReport(buffer, sizeof buffer, "p", 1, "c", longMessage.c_str());
  EXPECT_EQ(std::strlen(buffer), 1023u);
}

TEST(AssertReport, MacrosReportConditionTextAndFormattedMessage) {
  vela::testkit::RecordingReporter reporter;
  int value = 3;
  VELA_ASSERT(value == 4);
  VELA_ASSERT_TEXT(value == 5, "0 == sTableSize");
  VELA_ASSERT_MSG(value == 6, "decl", "decl: %s %d", "Timer", 7);
  VELA_ASSERT(value == 3);  // holds: no report
  ASSERT_EQ(reporter.count(), 3u);
  EXPECT_EQ(reporter.reports()[0].condition, "value == 4");
  EXPECT_EQ(reporter.reports()[0].path, "Common/RuntimeError");
  EXPECT_EQ(reporter.reports()[1].condition, "0 == sTableSize");
  EXPECT_EQ(reporter.reports()[2].message, "decl: Timer 7");
}

TEST(AssertReport, FullSourcePathsLoseTheBuildPrefix) {
  vela::testkit::RecordingReporter reporter;
  RuntimeAssert(VELA_SOURCE_DIR "/src/object/thing.cpp", 9, "c", "m");
  ASSERT_EQ(reporter.count(), 1u);
  EXPECT_EQ(reporter.reports()[0].path, "src/object/thing.cpp");
}

TEST(AsciiNames, CompareWithoutCaseInAsciiOnly) {
  EXPECT_TRUE(vela::AsciiEqualNoCase("DesktopApplication", "desktopAPPLICATION"));
  EXPECT_FALSE(vela::AsciiEqualNoCase("Timer", "Timers"));
  EXPECT_FALSE(vela::AsciiEqualNoCase("Timer", nullptr));
  EXPECT_TRUE(vela::AsciiEqualNoCase(nullptr, nullptr));
  // Bytes above 0x7F are not folded, whatever the locale.
  EXPECT_FALSE(vela::AsciiEqualNoCase("\xC3\xA9", "\xC3\x89"));
  EXPECT_TRUE(vela::AsciiEqualNoCase("OpenX", 4, "open"));
}
}  // namespace
