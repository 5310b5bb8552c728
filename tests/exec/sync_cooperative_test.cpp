// Cooperative semaphores and critical sections: counts, the hand-over to
// the first waiter, the refusals, and waits that end without a hand-over
// (a kill, a lock-out).
#include <string>
#include <vector>

#include "exec/sync_test_support.h"
#include "kit/child_process.h"
#include "kit/recording_reporter.h"

namespace vela {
namespace {

using namespace synctest;

constexpr const char* kLockOutText =
    "Infinite loop detected in the thread scheduler.  This is likely caused by incorrectly "
    "locking resources with semaphores or critical sections.";

TEST(SyncCooperative, SemaphoreCountsAndHandsUnitsToWaitersInArrivalOrder) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* bad = NewSemaphore(0);
    EXPECT_TRUE(LastRaiseIs("IllegalLockingException", 1, "Illegal initialCount for the Semaphore."));
    RuntimeUnlockObject(bad);

    RuntimeObject* semaphore = NewSemaphore(2);
    SemaphoreData* data = SemaphoreDataOf(semaphore);
    Semaphore_Signal(semaphore);
    Semaphore_Signal(semaphore);
    EXPECT_EQ(data->count, 0);
    EXPECT_FALSE(Semaphore_TrySignal(semaphore));
    EXPECT_EQ(data->waiters->count, 0u);  // a try never queues

    // Three waiters arrive in order; the last has the most tickets, so the
    // ring alone would favour it.
    std::vector<std::string> order;
    const char* names[] = {"first", "second", "third"};
    RuntimeObject* workers[3];
    for (int i = 0; i < 3; ++i) {
      workers[i] = NewWorker(classes, [&, i](RuntimeObject*) {
        Semaphore_Signal(semaphore);
        order.push_back(names[i]);
        semaphore_release(semaphore);
      });
      ThreadSetPriority(workers[i], 0, 1 + 4 * i);
      threadRun(workers[i]);
      EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(workers[i]) == kThreadWaiting; }));
    }
    EXPECT_EQ(data->waiters->count, 3u);
    semaphore_release(semaphore);
    EXPECT_TRUE(YieldUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "third"}));
    EXPECT_EQ(data->count, 1);  // each unit was handed over, never counted twice
    for (RuntimeObject* w : workers) EXPECT_TRUE(YieldUntil([&] { return Finished(w); }));

    semaphore_release(semaphore);
    semaphore_release(semaphore);
    EXPECT_TRUE(LastRaiseIs("IllegalLockingException", 0, "Called Semaphore.Release too many times."));
    EXPECT_EQ(data->count, 2);
    RuntimeUnlockObject(semaphore);
  });
}

TEST(SyncCooperative, CriticalSectionIsReentrantAndPassesToTheFirstWaiter) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* section = NewSection();
    CriticalSectionData* data = CriticalSectionDataOf(section);
    criticalsection_enter(section);
    EXPECT_TRUE(CriticalSection_TryEnter(section));
    EXPECT_EQ(data->enterCount, 2);

    int32_t countSeen = -1;
    bool intruderLeft = false;
    RuntimeObject* waiter = NewWorker(classes, [&](RuntimeObject*) {
      EXPECT_FALSE(CriticalSection_TryEnter(section));
      criticalsection_enter(section);
      countSeen = data->enterCount;
      criticalsection_leave(section);
    });
    RuntimeObject* intruder = NewWorker(classes, [&](RuntimeObject*) {
      criticalsection_leave(section);  // not its own
      intruderLeft = true;
    });
    threadRun(waiter);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(waiter) == kThreadWaiting; }));
    threadRun(intruder);
    EXPECT_TRUE(YieldUntil([&] { return intruderLeft; }));
    EXPECT_TRUE(LastRaiseIs("IllegalLockingException", 2,
                            "The thread which Entered the CriticalSection must be the thread to "
                            "Leave the CriticalSection"));
    EXPECT_EQ(data->owner, sMainThread);
    criticalsection_leave(section);
    EXPECT_EQ(ThreadGetState(waiter), kThreadWaiting);  // one entry is left
    criticalsection_leave(section);
    EXPECT_TRUE(YieldUntil([&] { return Finished(waiter); }));
    EXPECT_EQ(countSeen, 1);
    EXPECT_EQ(data->owner, nullptr);
    RuntimeUnlockObject(section);
  });
}

TEST(SyncCooperative, ThreadsBesideTheTurnAreRefused) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* semaphore = NewSemaphore(1);
    RuntimeObject* section = NewSection();
    VelaBoolean tried = true, entered = true;
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject*) {
      Semaphore_Signal(semaphore);
      tried = Semaphore_TrySignal(semaphore);
      criticalsection_enter(section);
      entered = CriticalSection_TryEnter(section);
      criticalsection_leave(section);
    });
    Thread_SetType(worker, 1);
    threadRun(worker);
    EXPECT_TRUE(YieldUntil([&] { return Finished(worker); }));
    std::lock_guard<std::mutex> lock(gRaisesLock);
    ASSERT_EQ(gRaises.size(), 5u);
    const char* expected[] = {
        "Cannot signal a cooperative Semaphore in a preemptive thread.",
        "Cannot signal a cooperative Semaphore in a preemptive thread.",
        "Cannot enter a cooperative CriticalSection in a preemptive thread.",
        "Cannot enter a cooperative CriticalSection in a preemptive thread.",
        "Cannot leave a cooperative CriticalSection in a preemptive thread."};
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(gRaises[i].className, "IllegalLockingException");
      EXPECT_EQ(gRaises[i].errorNumber, 3);
      EXPECT_EQ(gRaises[i].message, expected[i]);
    }
    EXPECT_FALSE(tried);
    EXPECT_FALSE(entered);
    EXPECT_EQ(SemaphoreDataOf(semaphore)->count, 1);
    EXPECT_EQ(CriticalSectionDataOf(section)->owner, nullptr);
  });
}

TEST(SyncCooperative, AKilledWaiterLeavesTheQueue) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* semaphore = NewSemaphore(1);
    SemaphoreData* data = SemaphoreDataOf(semaphore);
    Semaphore_Signal(semaphore);
    bool killedGotIn = false, otherGotIn = false;
    RuntimeObject* doomed = NewWorker(classes, [&](RuntimeObject*) {
      Semaphore_Signal(semaphore);
      if (!EndRaisedHere()) killedGotIn = true;
    });
    RuntimeObject* other = NewWorker(classes, [&](RuntimeObject*) {
      Semaphore_Signal(semaphore);
      otherGotIn = true;
    });
    threadRun(doomed);
    threadRun(other);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(other) == kThreadWaiting; }));
    ThreadKill(doomed);
    EXPECT_FALSE(killedGotIn);
    EXPECT_EQ(data->waiters->count, 1u);
    semaphore_release(semaphore);  // goes to the thread that still waits
    EXPECT_TRUE(YieldUntil([&] { return Finished(other); }));
    EXPECT_TRUE(otherGotIn);
    EXPECT_EQ(data->count, 0);
  });
}

TEST(SyncCooperative, ThreadsWaitingOnEachOtherAreReported) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    testkit::RecordingReporter reporter;
    RuntimeObject* a = NewSemaphore(1);
    RuntimeObject* b = NewSemaphore(1);
    RuntimeObject* done = NewSemaphore(1);
    Semaphore_Signal(done);
    int taken = 0;
    auto crosswise = [&](RuntimeObject* mine, RuntimeObject* theirs) {
      return [&, mine, theirs](RuntimeObject*) {
        Semaphore_Signal(mine);
        ++taken;
        YieldUntil([&] { return taken == 2; });  // the other takes its own first
        Semaphore_Signal(theirs);
        semaphore_release(done);
      };
    };
    threadRun(NewWorker(classes, crosswise(a, b)));
    threadRun(NewWorker(classes, crosswise(b, a)));
    Semaphore_Signal(done);  // everyone waits: the wait gives up
    ASSERT_EQ(reporter.count(), 1u);
    EXPECT_EQ(reporter.reports()[0].condition, "false");
    EXPECT_EQ(reporter.reports()[0].message, kLockOutText);
    EXPECT_TRUE(DeadlockReported());
    EXPECT_EQ(SemaphoreDataOf(done)->waiters->count, 0u);
    EXPECT_EQ(sMainThread->blockCount, 0);
  });
}

TEST(SyncCooperative, ALoneThreadWaitingOnItselfIsReported) {
  VELA_EXPECT_CHILD_OK({
    StartRuntimeWithLocks();
    testkit::RecordingReporter reporter;
    RuntimeObject* semaphore = NewSemaphore(1);
    Semaphore_Signal(semaphore);
    Semaphore_Signal(semaphore);  // nothing can ever release it: returns after the report
    ASSERT_EQ(reporter.count(), 1u);
    EXPECT_EQ(reporter.reports()[0].message, kLockOutText);
    EXPECT_EQ(sMainThread->state, 0u);
    EXPECT_EQ(sMainThread->blockCount, 0);
    EXPECT_EQ(SemaphoreDataOf(semaphore)->waiters->count, 0u);
  });
}

}  // namespace
}  // namespace vela
