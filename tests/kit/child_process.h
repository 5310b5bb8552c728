// Runs a piece of a test in a separate process. Start-up, the main loop and
// the stub's entry happen once per process, so every scenario that goes
// through them gets a fresh forked child; built programs and tools run the
// same way. Standard output and standard error are captured separately, and
// a child that hangs is killed at the time limit.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace vela::testkit {

// Exit codes of a forked body that did not get to return its own result.
inline constexpr int kChildTestFailure = 97;        // a gtest expectation failed in the child
inline constexpr int kChildUncaughtException = 98;  // the body threw
inline constexpr int kChildExecFailure = 127;       // RunProgram could not start the program

struct ChildResult {
  std::string out;  // everything the child wrote to standard output
  std::string err;  // everything the child wrote to standard error
  bool exited = false;    // ended through exit; exitCode is valid
  int exitCode = -1;
  bool signaled = false;  // ended by a signal; signal is valid
  int signal = 0;
  bool timedOut = false;  // killed at the time limit (then signaled with SIGKILL)
  bool started = true;    // false when no child could be made (error says why)
  std::string error;
  std::chrono::milliseconds elapsed{0};  // from the start to the child's end

  // Exited normally with code 0 within the time limit.
  bool ok() const { return started && exited && exitCode == 0 && !timedOut; }
  // One paragraph for a failure message: how the child ended and its output.
  std::string Describe() const;
};

// Runs `body` in a forked child and gives its result as the exit code (only
// its low eight bits survive). The child's stdio is flushed before it leaves
// through _exit, so no exit handlers or static destructors of the test
// program run there. A gtest failure reported inside the child is written to
// its standard error and makes it exit with kChildTestFailure, whatever the
// body returned; an exception escaping the body gives kChildUncaughtException.
// The child's standard input is /dev/null, and it leads its own process
// group, which is killed as a whole at the time limit.
ChildResult RunInChild(std::function<int()> body,
                       std::chrono::milliseconds timeout = std::chrono::seconds(20));

// Runs the program argv[0] (searched on PATH when it has no slash) with the
// arguments argv[1...]. The child inherits this process's environment,
// changed by `env`: an entry "NAME=value" sets NAME, an entry "NAME" without
// '=' removes it. A program that cannot be started exits with
// kChildExecFailure and says why on standard error.
ChildResult RunProgram(const std::vector<std::string>& argv,
                       const std::vector<std::string>& env = {},
                       std::chrono::milliseconds timeout = std::chrono::seconds(20));

}  // namespace vela::testkit

// Runs the statements in a forked child (a once-per-process scenario); a
// failed expectation there, a crash or a hang fails the calling test.
#define VELA_EXPECT_CHILD_OK(...)                                   \
  do {                                                              \
    auto velaChildResult = ::vela::testkit::RunInChild([&]() -> int { \
      [&]() { __VA_ARGS__; }();                                     \
      return 0;                                                     \
    });                                                             \
    EXPECT_TRUE(velaChildResult.ok()) << velaChildResult.Describe(); \
  } while (0)
