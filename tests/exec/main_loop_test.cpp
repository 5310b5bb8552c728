// The main loop on the real clock: it sleeps when nothing needs it, wakes
// at once for posts and timers of other threads, gives language threads
// their turns, runs single iterations for DoEvents, and delivers the
// exceptions of other threads on the main thread.
#include <pthread.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "exec/main_loop.h"
#include "exec/platform_timer.h"
#include "exec/runtime_state.h"
#include "exec/thread_test_support.h"
#include "kit/child_process.h"
#include "object/weak_ref.h"
#include "platform/window_system.h"

namespace vela {
namespace {

using namespace threadtest;
using Clock = std::chrono::steady_clock;

double CpuSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

RuntimeObject* StartApplication(const ThreadClasses& classes) {
  RuntimeObject* application = RuntimeNewObject(classes.app.app);
  AppAutoCloseSetter(application, 0, 0);  // the test decides when to quit
  RuntimeUnlockObject(application);
  return application;
}

int gIterations = 0;
Clock::time_point gPostSeen, gTimerSeen;
void CountIterations(VelaMessage* message) {
  ++gIterations;
  if (message->message == 0x400) gPostSeen = Clock::now();
}

void OnOneShot(PlatformTimer* record) {
  gTimerSeen = Clock::now();
  WinTimerStop(record);
  State().quitRequested = true;
}

TEST(MainLoop, IdleLoopSleepsAndWakesAtOnceForPostsAndTimersOfOtherThreads) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    StartApplication(classes);
    AddMainLoopHook(CountIterations);
    Clock::time_point posted, started;
    std::thread other([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(2000));
      posted = Clock::now();
      platform::GetWindowSystem().Queue().Post(0, 0x400, 0, 0);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      started = Clock::now();
      WinTimerStart(OnOneShot, 1, nullptr);
    });
    const double cpu = CpuSeconds();
    RuntimeRun();
    const double used = CpuSeconds() - cpu;
    other.join();
    EXPECT_LT(used, 0.02) << "CPU seconds over 2 s of idling";
    EXPECT_LT(gIterations, 10);  // blocked, not polled
    EXPECT_LT(gPostSeen - posted, std::chrono::milliseconds(10));
    EXPECT_LT(gTimerSeen - started, std::chrono::milliseconds(10));
    EXPECT_EQ(LivePlatformTimerCount(), 0u);
  });
}

TEST(MainLoop, SleepingThreadGetsItsTurnsWithoutAnyInput) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    StartApplication(classes);
    int passes = 0;
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject*) {
      const auto end = Clock::now() + std::chrono::seconds(1);
      while (Clock::now() < end) {
        ++passes;
        ThreadSleepCurrent(10);
      }
      State().quitRequested = true;
    });
    threadRun(worker);
    RuntimeRun();
    EXPECT_GE(passes, 40);
  });
}

TEST(MainLoop, DoEventsRunsOneIterationWithoutWaitingAndOnlyYieldsElsewhere) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    AddMainLoopHook(CountIterations);
    PlatformTimer* far = WinTimerStart(OnOneShot, 60000, nullptr);
    const auto start = Clock::now();
    RuntimeDoEvents(nullptr, -1);
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(5));
    EXPECT_EQ(gIterations, 1);
    WinTimerStop(far);

    int before = -1, after = -1;
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject*) {
      before = gIterations;
      RuntimeDoEvents(nullptr, -1);
      after = gIterations;
    });
    threadRun(worker);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(worker) == kThreadNotRunning; }));
    EXPECT_EQ(before, 1);
    EXPECT_EQ(after, 1);
  });
}

int gUnhandledCalls = 0;
bool gOnMainThread = false;
RuntimeObject* gWeakException = nullptr;
pthread_t gMainNative;
VelaBoolean OnUnhandled(RuntimeObject*, RuntimeObject* exception) {
  ++gUnhandledCalls;
  gOnMainThread = pthread_equal(pthread_self(), gMainNative);
  RegisterWeakReference(&gWeakException, exception);
  State().quitRequested = true;
  return 1;
}

TEST(MainLoop, ExceptionOfACooperativeThreadReachesTheApplicationOnceOnTheMainThread) {
  VELA_EXPECT_CHILD_OK({
    gMainNative = pthread_self();
    ThreadClasses classes = StartRuntime();
    testkit::SetEventHandler(classes.app.app, "UnhandledException",
                             reinterpret_cast<void*>(OnUnhandled));
    StartApplication(classes);
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject*) {
      RaiseNamedException("RuntimeException", 5, "from the worker");
    });
    threadRun(worker);
    RuntimeRun();
    EXPECT_EQ(gUnhandledCalls, 1);
    EXPECT_TRUE(gOnMainThread);
    EXPECT_EQ(gWeakException, nullptr);  // its last reference was dropped
    EXPECT_EQ(platform::GetWindowSystem().Queue().PostedCount(), 0u);
  });
}

}  // namespace
}  // namespace vela
