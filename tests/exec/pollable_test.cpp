// The poll list: objects of compiled code polled through their `_Pollable`
// implementation, removal during the walk, and the references and the poll
// task that the list holds.
#include <gtest/gtest.h>

#include <map>

#include "exec/app_fixture.h"
#include "exec/periodic_task.h"
#include "exec/pollable.h"
#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/recording_reporter.h"
#include "platform/clock.h"
#include "vela/main_loop.h"

namespace vela {
namespace {

using testkit::ClassBuilder;

std::map<RuntimeObject*, int> gPolls;
RuntimeObject* gRemovesItself = nullptr;

void Poll(RuntimeObject* self) {
  ++gPolls[self];
  if (self == gRemovesItself) ApplicationRemovePollableObject(nullptr, self);
}

TEST(Pollable, SelfRemovalDuringTheWalkAndReferencesRestoredByRemoveAll) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    // Time stands still: the poll task's own timer never fires, so each
    // RuntimeDoEvents polls the list exactly once.
    platform::StartManualClock(1000);
    RuntimeClass* pollable = ClassBuilder("_Pollable").Interface().Build();
    RuntimeClass* polled = ClassBuilder("Polled")
                               .InstanceSize(sizeof(RuntimeObject))
                               .Implements(pollable, {reinterpret_cast<void*>(Poll)})
                               .Build();
    RuntimeClass* plain = ClassBuilder("Plain").InstanceSize(sizeof(RuntimeObject)).Build();
    testkit::MakeAppClasses(testkit::AppFlavour::kDesktop);  // binds `_Pollable` too

    RuntimeObject* a = RuntimeNewObject(polled);
    RuntimeObject* b = RuntimeNewObject(polled);
    RuntimeObject* c = RuntimeNewObject(polled);
    RuntimeObject* other = RuntimeNewObject(plain);
    for (RuntimeObject* o : {a, b, c, other}) ApplicationAddPollableObject(nullptr, o);
    ApplicationAddPollableObject(nullptr, a);  // twice: two wrappers
    EXPECT_EQ(PollListCount(), 5u);
    EXPECT_EQ(a->objectRefCount, 3);
    EXPECT_EQ(other->objectRefCount, 2);  // held, though it has no poll function
    EXPECT_TRUE(PollTaskExists());
    EXPECT_EQ(PollTaskUserCount(), 5);

    gRemovesItself = b;
    RuntimeDoEvents(nullptr, -1);
    EXPECT_EQ(gPolls[a], 2);
    EXPECT_EQ(gPolls[b], 1);
    EXPECT_EQ(gPolls[c], 1);
    EXPECT_EQ(b->objectRefCount, 1);
    EXPECT_EQ(PollListCount(), 4u);

    // The only reference of an object that removes itself dies with its
    // wrapper, after its poll has returned.
    gRemovesItself = c;
    RuntimeUnlockObject(c);
    int before = RuntimeDebugObjectCount();
    RuntimeDoEvents(nullptr, -1);
    EXPECT_EQ(RuntimeDebugObjectCount(), before - 1);
    EXPECT_EQ(gPolls[a], 4);

    ApplicationRemovePollableObject(nullptr, a);
    EXPECT_EQ(a->objectRefCount, 1);
    ApplicationRemoveAllPollableObjects();
    EXPECT_EQ(other->objectRefCount, 1);
    EXPECT_EQ(PollListCount(), 0u);
    EXPECT_FALSE(PollTaskExists());

    testkit::RecordingReporter reporter;
    ApplicationAddPollableObject(nullptr, nullptr);
    EXPECT_TRUE(reporter.Saw("base"));
    EXPECT_EQ(PollListCount(), 0u);
    for (RuntimeObject* o : {a, b, other}) RuntimeUnlockObject(o);
  });
}

// A timerless task that re-enters the loop from its Action is not run
// again inside: the inner periodic task run stops at its guard.
class ReenteringTask final : public PeriodicTask {
 public:
  ReenteringTask() : PeriodicTask(0, false) {}
  void Action() override {
    ++runs;
    ++depth;
    if (depth > deepest) deepest = depth;
    RuntimeDoEvents(nullptr, -1);
    --depth;
  }
  int runs = 0, depth = 0, deepest = 0;
};

TEST(PeriodicTask, ActionThatRunsDoEventsIsNotReentered) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    ReenteringTask task;
    EXPECT_TRUE(AnyTaskWithoutTimer());
    for (int i = 0; i < 3; ++i) RuntimeDoEvents(nullptr, -1);
    EXPECT_EQ(task.runs, 3);
    EXPECT_EQ(task.deepest, 1);
  });
}

}  // namespace
}  // namespace vela
