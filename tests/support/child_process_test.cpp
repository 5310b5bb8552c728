#include "kit/child_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;
using vela::testkit::ChildResult;
using vela::testkit::RunInChild;
using vela::testkit::RunProgram;

// ---------------------------------------------------------------------------
// Forked bodies

TEST(RunInChild, CapturesBothStreamsSeparatelyAndTheResult) {
  ChildResult r = RunInChild([] {
    std::printf("to stdout ");
    std::fprintf(stderr, "to stderr ");
    std::cout << "via cout";
    std::cerr << "via cerr";
    return 7;
  });
  ASSERT_TRUE(r.started) << r.Describe();
  EXPECT_TRUE(r.exited) << r.Describe();
  EXPECT_EQ(r.exitCode, 7);
  EXPECT_FALSE(r.ok());
  EXPECT_EQ(r.out, "to stdout via cout");
  EXPECT_EQ(r.err, "to stderr via cerr");
}

TEST(RunInChild, OutputOfTheParentIsNotRepeatedByTheChild) {
  std::printf("parent line without newline ");  // still in the parent's buffer
  ChildResult r = RunInChild([] { return 0; });
  std::printf("\n");
  EXPECT_TRUE(r.ok()) << r.Describe();
  EXPECT_EQ(r.out, "");
}

TEST(RunInChild, LargeOutputOnBothStreamsDoesNotDeadlock) {
  // Far more than a pipe holds, written alternately to both streams, so that
  // a reader that drained one stream at a time would stall the child.
  constexpr size_t kChunk = 4096, kChunks = 256;
  ChildResult r = RunInChild(
      [] {
        std::string outChunk(kChunk, 'o'), errChunk(kChunk, 'e');
        for (size_t i = 0; i < kChunks; ++i) {
          std::fwrite(outChunk.data(), 1, outChunk.size(), stdout);
          std::fwrite(errChunk.data(), 1, errChunk.size(), stderr);
        }
        return 0;
      },
      30s);
  ASSERT_TRUE(r.ok()) << r.Describe().substr(0, 300);
  EXPECT_EQ(r.out.size(), kChunk * kChunks);
  EXPECT_EQ(r.err.size(), kChunk * kChunks);
  EXPECT_EQ(r.out.find('e'), std::string::npos);
  EXPECT_EQ(r.err.find('o'), std::string::npos);
}

TEST(RunInChild, ReportsTheSignalThatEndedTheChild) {
  ChildResult r = RunInChild([] {
    std::printf("before the abort\n");
    std::fflush(stdout);
    ::signal(SIGABRT, SIG_DFL);
    ::raise(SIGABRT);
    return 0;
  });
  EXPECT_FALSE(r.exited);
  EXPECT_TRUE(r.signaled) << r.Describe();
  EXPECT_EQ(r.signal, SIGABRT);
  EXPECT_FALSE(r.timedOut);
  EXPECT_EQ(r.out, "before the abort\n");
  EXPECT_NE(r.Describe().find("signal 6"), std::string::npos) << r.Describe();
}

TEST(RunInChild, KillsAChildThatOutlivesTheTimeout) {
  const auto start = std::chrono::steady_clock::now();
  ChildResult r = RunInChild(
      [] {
        std::printf("started\n");
        std::fflush(stdout);
        std::this_thread::sleep_for(60s);
        return 0;
      },
      300ms);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(r.timedOut) << r.Describe();
  EXPECT_TRUE(r.signaled);
  EXPECT_EQ(r.signal, SIGKILL);
  EXPECT_FALSE(r.ok());
  EXPECT_EQ(r.out, "started\n");
  EXPECT_GE(took, 300ms);
  EXPECT_LT(took, 10s);
  EXPECT_NE(r.Describe().find("timed out"), std::string::npos);
}

TEST(RunInChild, GtestFailureInTheChildBecomesAnExitCodeAndAMessage) {
  ChildResult r = RunInChild([] {
    int answer = 41;
    EXPECT_EQ(answer, 42) << "the child's own words";
    return 0;  // the failure wins over the body's result
  });
  EXPECT_TRUE(r.exited) << r.Describe();
  EXPECT_EQ(r.exitCode, vela::testkit::kChildTestFailure);
  EXPECT_NE(r.err.find("the child's own words"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("answer"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("child_process_test.cpp"), std::string::npos) << r.err;
  // The parent's test is untouched by the child's failure.
  EXPECT_FALSE(::testing::Test::HasFailure());
}

TEST(RunInChild, PassingExpectationsLeaveTheResultAlone) {
  ChildResult r = RunInChild([] {
    EXPECT_EQ(2 + 2, 4);
    return 3;
  });
  EXPECT_TRUE(r.exited);
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_EQ(r.err, "");
}

TEST(RunInChild, ExceptionEscapingTheBodyIsReported) {
  ChildResult r = RunInChild([]() -> int { throw std::runtime_error("body gave up"); });
  EXPECT_TRUE(r.exited) << r.Describe();
  EXPECT_EQ(r.exitCode, vela::testkit::kChildUncaughtException);
  EXPECT_NE(r.err.find("body gave up"), std::string::npos) << r.err;
}

// Once-per-process state, as start-up keeps it: every child starts from the
// parent's copy, never from what an earlier child did.
int gStartedOnce = 0;

TEST(RunInChild, EachChildStartsFromTheParentsState) {
  auto body = [] {
    if (gStartedOnce++ != 0) return 1;
    return 0;
  };
  EXPECT_TRUE(RunInChild(body).ok());
  EXPECT_TRUE(RunInChild(body).ok());
  EXPECT_EQ(gStartedOnce, 0);
}

TEST(RunInChild, StandardInputIsEmpty) {
  ChildResult r = RunInChild([] { return std::getchar() == EOF ? 0 : 1; }, 5s);
  EXPECT_TRUE(r.ok()) << r.Describe();
}

// ---------------------------------------------------------------------------
// Programs

TEST(RunProgram, RunsAProgramFromThePathWithItsArguments) {
  ChildResult r = RunProgram({"sh", "-c", "printf '%s|' \"$@\"; echo oops >&2; exit 3", "sh",
                              "one", "two words"});
  ASSERT_TRUE(r.started) << r.Describe();
  EXPECT_TRUE(r.exited);
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_EQ(r.out, "one|two words|");
  EXPECT_EQ(r.err, "oops\n");
}

TEST(RunProgram, EnvironmentIsInheritedAndChangedByTheList) {
  ::setenv("VELA_KIT_INHERITED", "from parent", 1);
  ::setenv("VELA_KIT_REMOVED", "should vanish", 1);
  ::setenv("VELA_KIT_REPLACED", "old", 1);
  ChildResult r = RunProgram(
      {"sh", "-c",
       "echo \"$VELA_KIT_INHERITED/${VELA_KIT_REMOVED-unset}/$VELA_KIT_REPLACED/$VELA_KIT_NEW\""},
      {"VELA_KIT_REMOVED", "VELA_KIT_REPLACED=new", "VELA_KIT_NEW=a=b"});
  ::unsetenv("VELA_KIT_INHERITED");
  ::unsetenv("VELA_KIT_REMOVED");
  ::unsetenv("VELA_KIT_REPLACED");
  ASSERT_TRUE(r.ok()) << r.Describe();
  EXPECT_EQ(r.out, "from parent/unset/new/a=b\n");
}

TEST(RunProgram, MissingProgramSaysWhy) {
  ChildResult r = RunProgram({"/nonexistent/vela-no-such-program", "x"});
  EXPECT_TRUE(r.exited) << r.Describe();
  EXPECT_EQ(r.exitCode, vela::testkit::kChildExecFailure);
  EXPECT_NE(r.err.find("cannot run /nonexistent/vela-no-such-program"), std::string::npos)
      << r.err;
  EXPECT_FALSE(RunProgram({}).started);
}

TEST(RunProgram, TimeoutKillsTheProgramAndWhatItStarted) {
  // The shell waits for a background child that holds the output pipes too.
  const auto start = std::chrono::steady_clock::now();
  ChildResult r = RunProgram({"sh", "-c", "echo begun; sleep 60 & wait"}, {}, 300ms);
  EXPECT_TRUE(r.timedOut) << r.Describe();
  EXPECT_EQ(r.out, "begun\n");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

TEST(RunProgram, BackgroundLeftoversDoNotHoldUpTheResult) {
  // The shell ends at once; its background child keeps the pipes open.
  const auto start = std::chrono::steady_clock::now();
  ChildResult r = RunProgram({"sh", "-c", "sleep 60 & echo done"}, {}, 20s);
  EXPECT_TRUE(r.ok()) << r.Describe();
  EXPECT_EQ(r.out, "done\n");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

}  // namespace
