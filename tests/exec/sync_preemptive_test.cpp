// Preemptive semaphores and critical sections between threads that run in
// parallel, and a cooperative thread that waits for a preemptive holder
// without blocking the turn. Meant for the ThreadSanitizer build as well.
#include <atomic>

#include "exec/sync_test_support.h"
#include "kit/child_process.h"
#include "support/object_lock.h"

namespace vela {
namespace {

using namespace synctest;

TEST(SyncPreemptive, ParallelThreadsCountExactlyUnderBothLocks) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* section = NewSection(kPreemptiveLock);
    RuntimeObject* semaphore = NewSemaphore(2, kPreemptiveLock);
    constexpr int kThreads = 4, kRounds = 2000;
    long underSection = 0;  // plain: the locks alone protect them
    long pairs[2] = {0, 0};
    std::atomic<int> insideSemaphore{0}, mostInside{0};
    RuntimeObject* workers[kThreads];
    for (int t = 0; t < kThreads; ++t)
      workers[t] = NewWorker(classes, [&, t](RuntimeObject*) {
        for (int i = 0; i < kRounds; ++i) {
          criticalsection_enter(section);
          criticalsection_enter(section);  // again, as its owner
          ++underSection;
          criticalsection_leave(section);
          criticalsection_leave(section);
          if (t % 2 ? Semaphore_TrySignal(semaphore) : (Semaphore_Signal(semaphore), true)) {
            int now = ++insideSemaphore;
            for (int seen = mostInside; now > seen && !mostInside.compare_exchange_weak(seen, now);) {
            }
            --insideSemaphore;
            semaphore_release(semaphore);
          }
        }
      });
    for (RuntimeObject* w : workers) Thread_SetType(w, 1);
    for (RuntimeObject* w : workers) threadRun(w);
    // The main thread takes its share of the section as a cooperative
    // thread: it yields while a parallel thread holds it.
    for (int i = 0; i < kRounds; ++i) {
      criticalsection_enter(section);
      ++pairs[i % 2];
      criticalsection_leave(section);
    }
    for (RuntimeObject* w : workers) EXPECT_TRUE(YieldUntil([&] { return Finished(w); }, 100000000));
    criticalsection_enter(section);
    EXPECT_EQ(underSection, long(kThreads) * kRounds);
    criticalsection_leave(section);
    EXPECT_EQ(pairs[0] + pairs[1], kRounds);
    EXPECT_LE(mostInside.load(), 2);
    EXPECT_EQ(SemaphoreDataOf(semaphore)->count, 2);
    EXPECT_EQ(gDetachedThreadCount.load(), 0);
  });
}

TEST(SyncPreemptive, ReleasesWakeAWaiterAndHaveNoUpperBound) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* semaphore = NewSemaphore(1, kPreemptiveLock);
    Semaphore_Signal(semaphore);
    std::atomic<bool> passed{false};
    RuntimeObject* waiter = NewWorker(classes, [&](RuntimeObject*) {
      Semaphore_Signal(semaphore);  // blocks natively until the release
      passed = true;
    });
    Thread_SetType(waiter, 1);
    threadRun(waiter);
    timespec pause{0, 20 * 1000000L};
    nanosleep(&pause, nullptr);
    EXPECT_FALSE(passed);
    semaphore_release(semaphore);
    semaphore_release(semaphore);
    semaphore_release(semaphore);  // beyond the initial count: no complaint
    EXPECT_TRUE(YieldUntil([&] { return Finished(waiter); }, 100000000));
    EXPECT_TRUE(passed);
    EXPECT_EQ(SemaphoreDataOf(semaphore)->count, 2);
    EXPECT_EQ(RaiseCount("IllegalLockingException"), 0u);

    // The native lock knows its owner: another thread's leave is refused.
    RuntimeObject* section = NewSection(kPreemptiveLock);
    criticalsection_enter(section);
    RuntimeObject* intruder = NewWorker(classes, [&](RuntimeObject*) {
      criticalsection_leave(section);
    });
    threadRun(intruder);
    EXPECT_TRUE(YieldUntil([&] { return Finished(intruder); }));
    EXPECT_TRUE(LastRaiseIs("IllegalLockingException", 2,
                            "The thread which Entered the CriticalSection must be the thread to "
                            "Leave the CriticalSection"));
    criticalsection_leave(section);
    EXPECT_EQ(RaiseCount("IllegalLockingException"), 1u);
  });
}

}  // namespace
}  // namespace vela
