// What happens to an exception no handler takes, after start-up installed
// its helper: the application's event, the last-resort report, quitting,
// other threads, the stack guard, and the dialog reporter of assertions.
// Start-up runs once per process, so every scenario runs in a child.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "exception_test_support.h"
#include "exec/application.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "exec/unhandled.h"
#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "object/raise.h"
#include "platform/process.h"
#include "support/assert_dialog.h"
#include "ui/window_list.h"
#include "vela/application.h"
#include "vela/exceptions.h"

namespace vela {
namespace {

constexpr const char* kReport =
    "An exception of class %s was not handled.  The application must shut down.\n";

std::string ReportFor(const char* className) {
  char text[256];
  std::snprintf(text, sizeof text, kReport, className);
  return text;
}

// Start-up, the exception classes and an application whose
// "UnhandledException" handler is `handler` (nil: none).
struct Started {
  explicit Started(void* handler = nullptr) : classes(/*byRuntime=*/true) {
    RuntimeInit();
    testkit::ClassBuilder app("Application");
    app.Backwards().Initializer(ApplicationInitializer).Finalizer(ApplicationFinalizer);
    for (const char* event : {"Open", "Close", "EnableMenuItems", "NewDocument", "OpenDocument",
                              "HandleAppleEvent", "Activate", "Deactivate", "CancelClose",
                              "AppearanceChanged"})
      app.Event(event);
    app.Event("UnhandledException", handler);
    testkit::ClassBuilder("MDIWindow").InstanceSize(48).Build();
    RuntimeClass* cls = app.Build();
    RuntimeInitExternalClasses();
    RuntimeUnlockObject(RuntimeNewObject(cls));  // the library keeps it
  }
  exctest::ExceptionClasses classes;
};

testkit::ChildResult InChild(std::function<void()> body) {
  return testkit::RunInChild([&]() -> int {
    body();
    return 0;
  });
}

int gHandlerCalls = 0;
uint64_t gHandlerThread = 0;

VelaBoolean Decline(RuntimeObject*, RuntimeObject*) { return ++gHandlerCalls, 0; }
VelaBoolean Accept(RuntimeObject*, RuntimeObject*) {
  gHandlerThread = platform::CurrentNativeThreadId();
  return ++gHandlerCalls, 1;
}
VelaBoolean RaiseInside(RuntimeObject*, RuntimeObject*) {
  ++gHandlerCalls;
  RaiseNilObjectException();
  return 1;
}

TEST(UnhandledException, TheApplicationDecidesOrTheReportEndsTheApplication) {
  auto accepted = InChild([] {
    Started start(reinterpret_cast<void*>(Accept));
    RaiseNamedException("IOException", 7, "boom");
    EXPECT_EQ(gHandlerCalls, 1);
    EXPECT_FALSE(State().quitRequested);
  });
  EXPECT_TRUE(accepted.ok()) << accepted.Describe();
  EXPECT_EQ(accepted.err, "");

  auto declined = InChild([] {
    Started start(reinterpret_cast<void*>(Decline));
    RaiseNamedException("IOException", 7, "boom");
    EXPECT_TRUE(State().quitRequested);
    EXPECT_FALSE(State().deliveringUnhandledException);
  });
  EXPECT_TRUE(declined.ok()) << declined.Describe();
  EXPECT_EQ(declined.err, ReportFor("IOException") + "Exception Message: boom\rException Error Number: 7\n");

  auto bare = InChild([] {
    Started start;
    RaiseOutOfBoundsException();
    EXPECT_TRUE(State().quitRequested);
  });
  EXPECT_EQ(bare.err, ReportFor("OutOfBoundsException"));
}

TEST(UnhandledException, ARaisingHandlerIsNotEnteredAgain) {
  auto result = InChild([] {
    Started start(reinterpret_cast<void*>(RaiseInside));
    RaiseOutOfBoundsException();
    EXPECT_EQ(gHandlerCalls, 1);
    EXPECT_TRUE(State().quitRequested);  // the inner exception's report
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(result.err, ReportFor("NilObjectException"));
}

class RecordingWindow final : public FrameworkWindow {
 public:
  bool AsksToStayOpen() override { return false; }
  bool Close(bool) override {
    RemoveOpenWindow(this);
    ++closed;
    return true;
  }
  int closed = 0;
};

TEST(UnhandledException, EndClosesTheWindowsQuietlyAndThreadEndCountsAsHandled) {
  auto result = InChild([] {
    Started start(reinterpret_cast<void*>(Decline));
    RecordingWindow a, b;
    AddOpenWindow(&a);
    AddOpenWindow(&b);
    RaiseNamedException("ThreadEndException", 0, nullptr);
    EXPECT_FALSE(State().quitRequested);
    RaiseNamedException("EndException", 0, nullptr);
    EXPECT_EQ(a.closed + b.closed, 2);
    EXPECT_EQ(OpenWindowCount(), 0u);
    EXPECT_TRUE(State().quitRequested);
    EXPECT_EQ(gHandlerCalls, 0);  // neither reached the application
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(result.err, "");
}

TEST(UnhandledException, AnotherThreadsExceptionIsPostedToTheMainThread) {
  auto result = InChild([] {
    Started start(reinterpret_cast<void*>(Accept));
    testkit::LeakCheck leaks;
    std::thread([] { RaiseOutOfBoundsException(); }).join();
    EXPECT_EQ(gHandlerCalls, 0);  // the raising thread went on
    EXPECT_FALSE(HandleForwardedException(kForwardedExceptionMessage, 0, 0));
    EXPECT_EQ(DeliverForwardedExceptions(), 1u);
    EXPECT_EQ(gHandlerCalls, 1);
    EXPECT_EQ(gHandlerThread, sMainThread->nativeThreadId);
    EXPECT_EQ(DeliverForwardedExceptions(), 0u);
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(result.err, "");
}

TEST(UnhandledException, StackCheckRaisesWhenLessThanATenthIsLeft) {
  auto result = InChild([] {
    Started start(reinterpret_cast<void*>(Accept));
    RuntimeStackCheck();
    EXPECT_EQ(gHandlerCalls, 0);
    // Pretend the stack ends just below this frame.
    auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    sMainThread->stackSize = 0x100000;
    sMainThread->stackHigh = here - 0x200 + sMainThread->stackSize;
    RuntimeStackCheck();
    EXPECT_EQ(gHandlerCalls, 1);
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

TEST(AssertDialog, ShowsTheDialogTextAndTheAnswerDecides) {
  const std::string text =
      "Runtime Error\nPress OK to Continue\nPress Cancel to Quit.\n\nPlease report what caused "
      "this error\nalong with the information below.\n\nCommon/ObjectModel/X: 12\nFailure "
      "Condition: count > 0\nno items\n";
  auto run = [](const char* answer) {
    return InChild([answer] {
      if (answer) setenv("VELA_ASSERT_DIALOG_ANSWER", answer, 1);
      SetAssertReporter(&DialogAssertReporter());
      RuntimeAssert("Common/ObjectModel/X", 12, "count > 0", "no items");
      std::printf("went on\n");
    });
  };
  auto ok = run(nullptr);
  EXPECT_TRUE(ok.ok()) << ok.Describe();
  EXPECT_EQ(ok.err, text);
  EXPECT_EQ(ok.out, "went on\n");
  auto cancel = run("Cancel");
  EXPECT_TRUE(cancel.ok()) << cancel.Describe();  // ends with status 0
  EXPECT_EQ(cancel.err, text);
  EXPECT_EQ(cancel.out, "");
}

}  // namespace
}  // namespace vela
