// Applications as they ship: the stub with an image appended, run as
// programs of their own.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "kit/child_process.h"

namespace vela {
namespace {

using testkit::RunProgram;

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(PackedApplication, HelloLivesThroughItsEventsInOrder) {
  const auto result = RunProgram({VELA_HELLO_PROGRAM});
  ASSERT_TRUE(result.ok()) << result.Describe();
  const std::string& out = result.out;
  const size_t created = out.find("start-up: application object created");
  const size_t opening = out.find("event Opening");
  const size_t quit = out.find("\nquit\n");
  const size_t closing = out.find("event Closing");
  const size_t clean = out.find("clean quit");
  ASSERT_NE(clean, std::string::npos) << out;
  EXPECT_LT(created, opening);
  EXPECT_LT(opening, quit);
  EXPECT_LT(quit, closing);
  EXPECT_LT(closing, clean);
  // String constants of the image, its version resources and its resource
  // folder all arrived.
  EXPECT_NE(out.find("concatenated: \"Hello, world\""), std::string::npos) << out;
  EXPECT_NE(out.find("version 1.2.3, release stage 2, product \"Hello 1.2.3\""), std::string::npos);
  EXPECT_NE(out.find("from the resource folder: \"Hello from the resource folder.\""),
            std::string::npos);
  EXPECT_NE(out.find("main loop ended: 0 objects alive"), std::string::npos);
  EXPECT_EQ(result.err.find("Common/Loaders"), std::string::npos) << result.err;
}

TEST(PackedApplication, AStubThatWasNeverPackedReportsAndStops) {
  const auto result = RunProgram({VELA_STUB});
  ASSERT_TRUE(result.ok()) << result.Describe();  // an orderly stop: MainExport answers 0
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("was never packed: its image offset still reads PICK"),
            std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("Failure Condition: offset != 0"), std::string::npos);
}

TEST(PackedApplication, EveryMissingExportIsReportedOnceAndTheImageStillRuns) {
  const auto result = RunProgram({VELA_MISSING_EXPORTS_IMAGE});
  ASSERT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(Count(result.err, "Function 'VelaAbsentExportOne' was not exported"), 1u);
  EXPECT_EQ(Count(result.err, "Function 'VelaAbsentExportTwo' was not exported"), 1u);
  EXPECT_EQ(Count(result.err, "Failure Condition: funcAddress"), 2u);
  EXPECT_EQ(result.out, "entered after the reports\n");
}

TEST(PackedApplication, AnImageCutShortStopsBeforeEnteringAnything) {
  // The stub and the first kilobyte of the image's code.
  std::ifstream in(VELA_HELLO_PROGRAM, std::ios::binary);
  std::string program((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto stubSize = std::filesystem::file_size(VELA_STUB);
  ASSERT_GT(program.size(), stubSize + 1024);
  const std::string cut = testing::TempDir() + "/vela_cut_program";
  std::ofstream(cut, std::ios::binary).write(program.data(), std::streamsize(stubSize + 1024));
  ASSERT_EQ(chmod(cut.c_str(), 0755), 0);
  const auto result = RunProgram({cut});
  std::filesystem::remove(cut);
  ASSERT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("Failure Condition: bytesRead == mCodeSection.DataLength"),
            std::string::npos)
      << result.err;
}

}  // namespace
}  // namespace vela
