// The scheduler: shares of the turn, exclusion, sleeping and waking,
// suspension, the deadlock report, the tick gate of RuntimeBackgroundTask,
// and the main loop's part in giving turns.
#include <atomic>

#include "exec/periodic_task.h"
#include "exec/runtime_state.h"
#include "exec/thread_test_support.h"
#include "kit/child_process.h"
#include "kit/recording_reporter.h"
#include "platform/clock.h"

namespace vela {
namespace {

using namespace threadtest;

TEST(Scheduler, PrioritiesAreExactSharesOfEachRingCycle) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    int turns[2] = {0, 0};
    bool stop = false;
    RuntimeObject* threads[2];
    for (int i = 0; i < 2; ++i) {
      threads[i] = NewWorker(classes, [&, i](RuntimeObject*) {
        while (!stop) {
          ++turns[i];
          YieldToNextThread();
        }
      });
      ThreadSetPriority(threads[i], 0, i == 0 ? 1 : 3);
      ThreadSetPriority(threads[i], 0, 0);  // ignored, as is any value below 1
      ThreadSetPriority(threads[i], 0, -4);
      threadRun(threads[i]);
    }
    EXPECT_EQ(ThreadGetPriority(threads[0]), 1);
    EXPECT_EQ(ThreadGetPriority(threads[1]), 3);
    for (int i = 0; i < 20; ++i) YieldToNextThread();  // past the start-up turns
    // The main thread has 5 tickets: any 5K of its turns in a row enclose
    // exactly K cycles of the others.
    const int before[2] = {turns[0], turns[1]};
    for (int i = 0; i < 5 * 40; ++i) YieldToNextThread();
    EXPECT_EQ(turns[0] - before[0], 40);
    EXPECT_EQ(turns[1] - before[1], 120);
    stop = true;
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(threads[1]) == kThreadNotRunning; }));
  });
}

TEST(Scheduler, OnlyOneThreadRunsAtATime) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    long counter = 0;  // plain on purpose: the turn alone protects it
    std::atomic<int> running{0}, mostRunning{0};
    auto increments = [&](int rounds, bool viaBackgroundTask) {
      for (int i = 0; i < rounds; ++i) {
        int now = ++running;
        if (now > mostRunning) mostRunning = now;
        long seen = counter;
        for (int spin = 0; spin < 200; ++spin) asm volatile("");  // a window for a rival
        counter = seen + 1;
        --running;
        if (viaBackgroundTask)
          RuntimeBackgroundTask();
        else
          YieldToNextThread();
      }
    };
    constexpr int kRounds = 3000;
    RuntimeObject* threads[3];
    for (int t = 0; t < 3; ++t) {
      threads[t] = NewWorker(classes, [&, t](RuntimeObject*) { increments(kRounds, t == 2); });
      threadRun(threads[t]);
    }
    increments(kRounds, false);
    EXPECT_TRUE(YieldUntil([&] {
      for (RuntimeObject* t : threads)
        if (ThreadGetState(t) != kThreadNotRunning) return false;
      return true;
    }, 10000000));
    EXPECT_EQ(counter, 4L * kRounds);
    EXPECT_EQ(mostRunning, 1);
  });
}

TEST(Scheduler, SleepEndsOnTimeUnlessWokenEarlyOrResumed) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    // A sleeper among busy threads never gets the turn before its time.
    uint32_t slept = 0;
    RuntimeObject* sleeper = NewWorker(classes, [&](RuntimeObject*) {
      uint32_t start = platform::ClockMilliseconds();
      ThreadSleepCurrent(30);
      slept = platform::ClockMilliseconds() - start;
    });
    threadRun(sleeper);
    EXPECT_EQ(ThreadGetState(sleeper), kThreadSleeping);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(sleeper) == kThreadNotRunning; }, 100000000));
    EXPECT_GE(slept, 30u);

    // With wake-early, a sleeper whose ticket comes up runs long before its
    // wake time; without, it stays asleep.
    bool earlyWoke = false, lateWoke = false;
    RuntimeObject* early = NewWorker(classes, [&](RuntimeObject* self) {
      ThreadSleep(self, 60000, true);
      earlyWoke = true;
    });
    RuntimeObject* late = NewWorker(classes, [&](RuntimeObject* self) {
      ThreadSleep(self, 60000, false);
      lateWoke = true;
    });
    threadRun(early);
    threadRun(late);
    EXPECT_TRUE(YieldUntil([&] { return earlyWoke; }, 100));
    for (int i = 0; i < 100; ++i) YieldToNextThread();
    EXPECT_FALSE(lateWoke);

    // Suspending a sleeper keeps both bits; resuming clears both and it runs.
    ThreadSuspend(late);
    EXPECT_EQ(ThreadGetState(late), kThreadSuspended);
    auto* record = reinterpret_cast<RuntimeThread*>(ThreadGetID(late));
    EXPECT_EQ(record->state, kThreadSuspendedBit | kThreadSleepingBit);
    ThreadResume(late);
    EXPECT_EQ(record->state, 0u);
    EXPECT_EQ(record->blockCount, 0);
    EXPECT_TRUE(YieldUntil([&] { return lateWoke; }, 10));
  });
}

TEST(Scheduler, MutualLockOutIsReportedOncePerProcess) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    testkit::RecordingReporter reporter;
    int suspensions = 0;
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject* self) {
      // The main thread waits on something (as on a semaphore) and this
      // thread suspends itself: nothing can run. The yield returns.
      ThreadSuspend(self);
      ++suspensions;
      ThreadSuspend(self);
      ++suspensions;
      ThreadResume(self);
      sMainThread->blockCount = 0;
    });
    sMainThread->blockCount = 1;
    threadRun(worker);
    EXPECT_EQ(suspensions, 2);
    ASSERT_EQ(reporter.count(), 1u);
    EXPECT_EQ(reporter.reports()[0].condition, "false");
    EXPECT_EQ(reporter.reports()[0].message,
              "Infinite loop detected in the thread scheduler.  This is likely caused by "
              "incorrectly locking resources with semaphores or critical sections.");
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(worker) == kThreadNotRunning; }));
  });
}

uint32_t gVirtualNow = 1000;
uint32_t VirtualClock() { return gVirtualNow; }

TEST(Scheduler, BackgroundTaskYieldsOncePerSixtiethOfASecond) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    platform::SetVirtualClock(VirtualClock);
    int turns = 0;
    bool stop = false;
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject*) {
      while (!stop) {
        ++turns;
        YieldToNextThread();
      }
    });
    ThreadSetPriority(worker, 0, 1);
    SetPriority(nullptr, 1);
    threadRun(worker);
    RuntimeBackgroundTask();  // takes the current tick
    int before = turns;
    for (int i = 0; i < 1000; ++i) RuntimeBackgroundTask();
    EXPECT_EQ(turns, before);  // the clock stands still: no yield
    gVirtualNow += 17;         // the next sixtieth
    RuntimeBackgroundTask();
    EXPECT_EQ(turns, before + 1);
    RuntimeBackgroundTask();
    EXPECT_EQ(turns, before + 1);
    stop = true;
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(worker) == kThreadNotRunning; }));
  });
}

TEST(Scheduler, MainLoopGivesTurnsAndStopsThreadsAtTheEnd) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    RuntimeObject* application = RuntimeNewObject(classes.app.app);
    AppAutoCloseSetter(application, 0, 0);  // the threads decide when to quit
    int counted = 0;
    bool foreverEnded = false;
    RuntimeObject* counter = NewWorker(classes, [&](RuntimeObject*) {
      for (; counted < 50; ++counted) YieldToNextThread();
      State().quitRequested = true;
    });
    RuntimeObject* forever = NewWorker(classes, [&](RuntimeObject*) {
      while (!EndRaisedHere()) RuntimeBackgroundTask();
      foreverEnded = true;
    });
    threadRun(counter);
    threadRun(forever);
    EXPECT_TRUE(SchedulerTaskExists());
    EXPECT_TRUE(AnyTaskWithoutTimer());
    RuntimeRun();
    EXPECT_EQ(counted, 50);
    EXPECT_TRUE(foreverEnded);  // the stop at the end of the run killed it
    EXPECT_EQ(ThreadGetState(forever), kThreadNotRunning);
    EXPECT_EQ(RaiseCount("ThreadEndException"), 1u);
    EXPECT_FALSE(SchedulerTaskExists());  // gone with the last other thread
    EXPECT_FALSE(AnyTaskWithoutTimer());
  });
}

}  // namespace
}  // namespace vela
