#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "exec/main_loop.h"
#include "exec/platform_timer.h"
#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/recording_reporter.h"
#include "platform/clock.h"
#include "platform/window_system.h"
#include "vela/accessors.h"
#include "vela/application.h"
#include "vela/timer.h"

namespace vela {
namespace {

using testkit::ClassBuilder;

int gConstructs = 0;
void CountingConstructor(RuntimeObject* self) {
  ++gConstructs;
  RuntimeTimerConstructor(self);
}

// A user subclass of Timer without its own declaration: it gets Timer's
// native part once, and its own properties lie in front of it.
TEST(Timer, UserSubclassGetsTheNativePartAndKeepsItsPropertiesInFront) {
  auto result = testkit::RunInChild([]() -> int {
    [] {
      testkit::RecordingReporter reporter;
      RuntimeClass* timer = ClassBuilder("timer")  // binds in any case
                                .Backwards()
                                .Initializer(CountingConstructor)
                                .Finalizer(RuntimeTimerDestructor)
                                .Event("Action")
                                .Property("Mode", "i4", 0, reinterpret_cast<void*>(TimerModeGetter),
                                          reinterpret_cast<void*>(timerModeSetter))
                                .Build();
      RuntimeClass* mine = ClassBuilder("MyTimer")
                               .Base(timer)
                               .Backwards()
                               .InstanceSize(16)
                               .Property("Counter", "i4", -16, reinterpret_cast<void*>(intGetter),
                                         reinterpret_cast<void*>(intSetter))
                               .Property("Label", "s", -8, reinterpret_cast<void*>(stringGetter),
                                         reinterpret_cast<void*>(stringSetter))
                               .Build();
      RuntimeInitExternalClasses();
      EXPECT_EQ(mine->cppGlueDecl, nullptr);
      RuntimeObject* object = RuntimeNewObject(mine);
      EXPECT_EQ(gConstructs, 1);
      EXPECT_EQ(TimerPeriodGetter(object, 0), 1000);
      EXPECT_EQ(TimerEnabledGetter(object, 0), 1);
      EXPECT_EQ(TimerModeGetter(object, 0), 0);  // does not run until its mode is set

      intSetter(object, -16, 41);
      EXPECT_EQ(intGetter(object, -16), 41);
      EXPECT_EQ(stringGetter(object, -8), nullptr);  // zero-filled in front of the header
      EXPECT_EQ(TimerPeriodGetter(object, 0), 1000);  // the native part is untouched

      timerPeriodSetter(object, 0, 0);
      EXPECT_EQ(TimerPeriodGetter(object, 0), 1);
      timerPeriodSetter(object, 0, -7);
      EXPECT_EQ(TimerPeriodGetter(object, 0), 1);
      EXPECT_EQ(reporter.count(), 0u);  // mode 0: no platform timer is needed
      TimerEnabledSetter(object, 0, 0);
      EXPECT_EQ(TimerEnabledGetter(object, 0), 0);

      RuntimeObject* receiver = RuntimeNewObject(timer);
      TimerAddActionNotificationReceiver(object, receiver);
      EXPECT_EQ(receiver->objectRefCount, 2);
      TimerRemoveActionNotificationReceiver(object, receiver);
      EXPECT_EQ(receiver->objectRefCount, 1);
      TimerAddActionNotificationReceiver(object, receiver);
      RuntimeUnlockObject(receiver);  // the timer's list keeps it
      int before = RuntimeDebugObjectCount();
      RuntimeUnlockObject(object);  // Destruct drops the receiver too
      EXPECT_EQ(RuntimeDebugObjectCount(), before - 2);
    }();
    return 0;
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

// --- firing, on the manual clock ------------------------------------------

struct Firing {
  RuntimeObject* timer;
  int32_t modeInside;
  uint32_t at;
  size_t liveRecords;
};
std::vector<Firing> gFirings;
std::vector<std::string> gOrder;

void OnAction(RuntimeObject* self) {
  gFirings.push_back({self, TimerModeGetter(self, 0), platform::ClockMilliseconds(),
                      LivePlatformTimerCount()});
  gOrder.push_back("Action");
}
void OnCoreAction(RuntimeObject* self) {
  gFirings.push_back({self, TSCoreTimerGetMode(self), platform::ClockMilliseconds(),
                      LivePlatformTimerCount()});
}
void OnPerformAction(RuntimeObject*) { gOrder.push_back("PerformAction"); }

// Runs the main loop for `milliseconds` of virtual time: each wait of the
// blocking path jumps to the next deadline.
void RunFor(uint32_t milliseconds) {
  platform::EventQueue& queue = platform::GetWindowSystem().Queue();
  const uint32_t end = platform::ClockMilliseconds() + milliseconds;
  for (;;) {
    const uint32_t now = platform::ClockMilliseconds();
    if (!queue.HasWork()) {
      const uint32_t next = queue.MillisecondsToNextTimer();
      if (next == platform::kNoTimeout || now + next > end) {
        platform::AdvanceManualClock(end - now);
        return;
      }
    }
    MainLoopIteration();
  }
}

struct TimerRig {
  RuntimeClass* timer;
  RuntimeClass* receiver;
  RuntimeClass* coreTimer;
};

TimerRig StartTimers() {
  RuntimeInit();
  platform::StartManualClock(5000);
  TimerRig rig;
  rig.timer = ClassBuilder("Timer")
                  .Backwards()
                  .Initializer(RuntimeTimerConstructor)
                  .Finalizer(RuntimeTimerDestructor)
                  .Event("Action", reinterpret_cast<void*>(OnAction))
                  .Build();
  rig.receiver = ClassBuilder("Receiver")
                     .InstanceSize(sizeof(RuntimeObject))
                     .Method("PerformAction", "%%", reinterpret_cast<void*>(OnPerformAction),
                             nullptr)
                     .Build();
  rig.coreTimer = ClassBuilder("vela.Core.Timer")
                      .Backwards()
                      .Initializer(TSCoreTimerInitialize)
                      .Finalizer(TSCoreTimerFinalize)
                      .Event("Action", reinterpret_cast<void*>(OnCoreAction))
                      .Build();
  RuntimeInitExternalClasses();
  return rig;
}

TEST(Timer, ModesFireAsTheyShouldWithOneLiveRecordAtMost) {
  VELA_EXPECT_CHILD_OK({
    TimerRig rig = StartTimers();
    RuntimeObject* timer = RuntimeNewObject(rig.timer);
    RunFor(5000);  // period 1000, mode 0: never fires
    EXPECT_TRUE(gFirings.empty());
    EXPECT_EQ(LivePlatformTimerCount(), 0u);

    // A single shot reads mode 0 inside its Action, and fires once.
    timerPeriodSetter(timer, 0, 100);
    timerModeSetter(timer, 0, 1);
    RunFor(1000);
    ASSERT_EQ(gFirings.size(), 1u);
    EXPECT_EQ(gFirings[0].modeInside, 0);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);

    // Reset of a timer at mode 0 is a single shot from now.
    gFirings.clear();
    const uint32_t reset = platform::ClockMilliseconds();
    RuntimeTimerReset(timer);
    EXPECT_EQ(TimerModeGetter(timer, 0), 1);
    RunFor(1000);
    ASSERT_EQ(gFirings.size(), 1u);
    EXPECT_EQ(gFirings[0].at - reset, 100u);

    // Multiple: re-armed with a fresh record before each firing.
    gFirings.clear();
    timerModeSetter(timer, 0, 2);
    RunFor(1000);
    EXPECT_NEAR(double(gFirings.size()), 10.0, 1.0);
    for (const Firing& f : gFirings) {
      EXPECT_EQ(f.liveRecords, 1u);
      EXPECT_EQ(f.modeInside, 2);
    }

    // Disabled, it does not fire; enabled again, a full period from now.
    gFirings.clear();
    RunFor(60);
    TimerEnabledSetter(timer, 0, 0);
    RunFor(500);
    EXPECT_TRUE(gFirings.empty());
    const uint32_t enabled = platform::ClockMilliseconds();
    TimerEnabledSetter(timer, 0, 1);
    RunFor(150);
    ASSERT_EQ(gFirings.size(), 1u);
    EXPECT_EQ(gFirings[0].at - enabled, 100u);

    // Receivers are told through PerformAction before the event.
    RuntimeObject* receiver = RuntimeNewObject(rig.receiver);
    TimerAddActionNotificationReceiver(timer, receiver);
    gOrder.clear();
    RunFor(100);
    EXPECT_EQ(gOrder, (std::vector<std::string>{"PerformAction", "Action"}));
    RuntimeUnlockObject(receiver);

    // Stopped by mode 0 it never fires again; its object's end frees all.
    timerModeSetter(timer, 0, 0);
    gFirings.clear();
    RunFor(1000);
    EXPECT_TRUE(gFirings.empty());
    timerModeSetter(timer, 0, 2);
    RuntimeUnlockObject(timer);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);
    RunFor(1000);
    EXPECT_TRUE(gFirings.empty());
  });
}

int gTicks = 0;
void CountTick(PlatformTimer*) { ++gTicks; }

TEST(Timer, RecordsStoppedOnOtherThreadsAreFreedByTheMainThread) {
  VELA_EXPECT_CHILD_OK({
    StartTimers();
    // Started and stopped on a native thread the runtime never saw.
    PlatformTimer* record = nullptr;
    std::thread([&] { record = WinTimerStart(CountTick, 10, nullptr); }).join();
    EXPECT_EQ(platform::GetWindowSystem().Queue().TimerCount(), 0u);  // armed by the main thread
    RunFor(35);
    EXPECT_EQ(gTicks, 3);
    std::thread([&] { WinTimerStop(record); }).join();
    EXPECT_EQ(LivePlatformTimerCount(), 1u);  // still there: the main thread frees it
    RunFor(100);
    EXPECT_EQ(gTicks, 3);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);
    EXPECT_EQ(platform::GetWindowSystem().Queue().TimerCount(), 0u);

    // Stopped before the main thread armed it: never fires.
    std::thread([&] { WinTimerStop(WinTimerStart(CountTick, 10, nullptr)); }).join();
    RunFor(100);
    EXPECT_EQ(gTicks, 3);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);
  });
}

TEST(Timer, BeforeRuntimeInitStartingIsAnAssertion) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    EXPECT_EQ(WinTimerStart(CountTick, 10, nullptr), nullptr);
    EXPECT_TRUE(reporter.Saw("sTimerWND"));
  });
}

TEST(CoreTimer, RepeatsOnOneRecordAndFiresIntoNothingOnceItsObjectIsGone) {
  VELA_EXPECT_CHILD_OK({
    TimerRig rig = StartTimers();
    RuntimeObject* timer = RuntimeNewObject(rig.coreTimer);
    EXPECT_EQ(TSCoreTimerGetMode(timer), 0);
    EXPECT_EQ(TSCoreTimerGetPeriod(timer), 0);
    VelaTimer_SetTolerance(timer, 25);
    EXPECT_EQ(VelaTimer_Tolerance(timer), 25);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);  // the tolerance changes nothing else

    TSCoreTimerSetPeriod(timer, -5);
    EXPECT_EQ(TSCoreTimerGetPeriod(timer), -5);  // stored without a limit
    TSCoreTimerSetPeriod(timer, 50);
    TSCoreTimerSetMode(timer, 2);
    RunFor(500);
    EXPECT_EQ(gFirings.size(), 10u);
    EXPECT_EQ(LivePlatformTimerCount(), 1u);

    gFirings.clear();
    TSCoreTimerSetMode(timer, 1);
    RunFor(500);
    ASSERT_EQ(gFirings.size(), 1u);
    EXPECT_EQ(gFirings[0].at % 50, 0u);
    EXPECT_EQ(TSCoreTimerGetMode(timer), 0);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);

    // Dropping the last reference while armed: the finalizer stops it.
    gFirings.clear();
    TSCoreTimerSetMode(timer, 2);
    RuntimeUnlockObject(timer);
    EXPECT_EQ(LivePlatformTimerCount(), 0u);
    RunFor(500);
    EXPECT_TRUE(gFirings.empty());
  });
}

}  // namespace
}  // namespace vela
