#include <gtest/gtest.h>

#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/recording_reporter.h"
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
      timerPeriodSetter(object, 0, -50);
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

TEST(Timer, ArmingReportsTheMissingPlatformTimer) {
  auto result = testkit::RunInChild([]() -> int {
    [] {
      testkit::RecordingReporter reporter;
      RuntimeClass* timer = ClassBuilder("Timer").Backwards().Event("Action").Build();
      RuntimeInitExternalClasses();
      RuntimeObject* object = RuntimeNewObject(timer);
      RuntimeTimerConstructor(object);
      timerModeSetter(object, 0, 2);
      EXPECT_EQ(TimerModeGetter(object, 0), 2);
      EXPECT_TRUE(reporter.SawMessage("platform timers"));
      RuntimeTimerDestructor(object);
      RuntimeUnlockObject(object);
    }();
    return 0;
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

}  // namespace
}  // namespace vela
