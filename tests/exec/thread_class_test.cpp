// The Thread class: running, killing, the property rules, detached threads,
// the questions about the calling thread, and what the debugger reads.
#include <pthread.h>

#include <atomic>
#include <cstring>

#include "exec/thread_test_support.h"
#include "kit/child_process.h"
#include "kit/recording_reporter.h"
#include "platform/window_system.h"
#include "support/object_lock.h"
#include "text/string_create.h"
#include "vela/exceptions.h"

namespace vela {
namespace {

using namespace threadtest;

TEST(ThreadClass, KillEndsTheThreadAtItsNextYieldAndItCanRunAgain) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    // Killing the current thread raises at once.
    bool raisedInside = false;
    RuntimeObject* self_killer = NewWorker(classes, [&](RuntimeObject* self) {
      ThreadKill(self);
      raisedInside = EndRaisedHere();
    });
    threadRun(self_killer);
    EXPECT_TRUE(raisedInside);

    // Killing another returns after its Run has ended, even when its Run
    // goes on for a while after the raise.
    int runs = 0, yieldsAfterEnd = 0;
    bool runEnded = false;
    RuntimeObject* victim = NewWorker(classes, [&](RuntimeObject*) {
      ++runs;
      runEnded = false;
      while (!EndRaisedHere()) YieldToNextThread();
      while (yieldsAfterEnd < 10) {
        ++yieldsAfterEnd;
        YieldToNextThread();
      }
      runEnded = true;
    });
    threadRun(victim);
    ThreadKill(victim);
    EXPECT_TRUE(runEnded);
    EXPECT_EQ(yieldsAfterEnd, 10);
    EXPECT_EQ(ThreadGetState(victim), kThreadNotRunning);
    EXPECT_EQ(ThreadGetID(victim), 0);
    ThreadKill(victim);  // not running: nothing happens

    // The object can run again; the ThreadEndException that escapes its
    // Run ends the thread quietly (no report, nothing forwarded).
    testkit::RecordingReporter reporter;
    threadRun(victim);
    EXPECT_NE(ThreadGetID(victim), 0);
    ThreadKill(victim);
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(ThreadGetState(victim), kThreadNotRunning);
    EXPECT_EQ(reporter.count(), 0u);
  });
}

TEST(ThreadClass, PropertyRulesAndTheirExceptions) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    RuntimeObject* thread = NewWorker(classes, [](RuntimeObject*) {
      while (!EndRaisedHere()) YieldToNextThread();
    });
    EXPECT_EQ(ThreadGetStackSize(thread), 1048576);
    EXPECT_EQ(ThreadGetPriority(thread), 5);
    ThreadSetStackSize(thread, 0, 0);
    EXPECT_EQ(ThreadGetStackSize(thread), 1048576);
    ThreadSetStackSize(thread, 0, 200000);
    EXPECT_EQ(ThreadGetStackSize(thread), 200000);

    threadRun(thread);
    threadRun(thread);
    ThreadSetStackSize(thread, 0, 300000);
    EXPECT_EQ(ThreadGetStackSize(thread), 200000);
    ASSERT_EQ(gRaises.size(), 2u);
    EXPECT_EQ(gRaises[0].className, "ThreadAlreadyRunningException");
    EXPECT_EQ(gRaises[0].errorNumber, 0);
    EXPECT_EQ(gRaises[0].message, "You cannot call Run on a thread that is already running.");
    EXPECT_EQ(gRaises[1].className, "ThreadAlreadyRunningException");
    EXPECT_EQ(gRaises[1].message, "(none)");

    // A new priority of a running thread changes its tickets.
    auto* record = reinterpret_cast<RuntimeThread*>(ThreadGetID(thread));
    ThreadSetPriority(thread, 0, 9);
    EXPECT_EQ(record->priority, 9);
    ThreadSetPriority(thread, 0, 0);
    EXPECT_EQ(record->priority, 9);
    ThreadKill(thread);

    // The stack check of the thread uses the thread's own stack.
    ThreadSetStackSize(thread, 0, 65536);
    gBodies[thread] = [](RuntimeObject*) {
      std::function<void(int)> recurse = [&](int depth) {
        volatile char frame[512];
        frame[0] = char(depth);
        RuntimeStackCheck();
        if (RaiseCount("StackOverflowException") == 0 && depth < 100000) recurse(depth + 1);
        (void)frame[0];
      };
      recurse(0);
    };
    threadRun(thread);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(thread) == kThreadNotRunning; }));
    EXPECT_EQ(RaiseCount("StackOverflowException"), 1u);
    // Raised on a thread other than the main thread, it is posted there.
    EXPECT_EQ(platform::GetWindowSystem().Queue().PostedCount(), 1u);
  });
}

TEST(ThreadClass, WithoutRunHandlerTheThreadEndsAtOnce) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    RuntimeObject* bare = RuntimeNewObject(classes.thread);
    for (int round = 0; round < 2; ++round) {
      threadRun(bare);
      EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(bare) == kThreadNotRunning; }, 5));
    }
    EXPECT_EQ(bare->objectRefCount, 1);  // threadRun's reference is gone
  });
}

TEST(ThreadClass, PreemptiveThreadRunsBesideTheTurn) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    std::atomic<bool> inRun{false}, release{false};
    std::atomic<int> countInRun{-1};
    std::atomic<bool> sawItself{false}, sawVelaThread{false};
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject* self) {
      countInRun = gDetachedThreadCount.load();
      RuntimeObject* current = TESSGetCurrentThread();
      sawItself = current == self;
      RuntimeUnlockObject(current);
      sawVelaThread = IsVelaThread() && !IsVelaMainThread();
      ThreadSleep(self, 1, false);  // a native sleep, the turn is not involved
      inRun = true;
      while (!release) {
      }
    });
    Thread_SetType(worker, 1);
    threadRun(worker);
    // The main thread holds the turn and never yields here: the worker
    // still gets to its Run.
    while (!inRun) {
    }
    EXPECT_EQ(countInRun, 1);
    EXPECT_TRUE(sawItself);
    EXPECT_TRUE(sawVelaThread);
    EXPECT_EQ(ThreadGetState(worker), kThreadRunning);
    EXPECT_EQ(TESSGetCurrentThread(), nullptr);  // the main thread has no object
    EXPECT_TRUE(IsVelaMainThread());
    EXPECT_FALSE(IsVelaThread());
    ThreadDetach(worker);  // from the main thread: nothing happens
    EXPECT_EQ(gDetachedThreadCount.load(), 1);
    release = true;
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(worker) == kThreadNotRunning; }));
    EXPECT_EQ(gDetachedThreadCount.load(), 0);
  });
}

TEST(ThreadClass, DebugIdentifierNamesTheNativeThread) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    char seen[32] = {};
    RuntimeObject* worker = NewWorker(classes, [&](RuntimeObject*) {
      pthread_getname_np(pthread_self(), seen, sizeof(seen));
    });
    EXPECT_EQ(ThreadGetDebugIdentifier(worker), nullptr);
    TESSstring name = NewString("Downloader-\xC3\xA9t\xC3\xA9-2", -1, kEncodingUTF8);
    ThreadSetDebugIdentifier(worker, name);
    TESSstring back = ThreadGetDebugIdentifier(worker);
    EXPECT_EQ(back, name);
    EXPECT_EQ(name->mRefCount, 3);  // ours, the field's, the getter's
    RuntimeUnlockString(back);
    RuntimeUnlockString(name);
    threadRun(worker);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(worker) == kThreadNotRunning; }));
    // 15 bytes at most, cut before the split character.
    EXPECT_STREQ(seen, "Downloader-\xC3\xA9t");
  });
}

TEST(ThreadClass, PluginAndDebuggerEntries) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntime();
    EXPECT_EQ(_UnsafeDetachCurrentThread(), nullptr);  // the main thread never leaves
    std::atomic<bool> detached{false};
    void* token = nullptr;
    RuntimeObject* blocker = NewWorker(classes, [&](RuntimeObject*) {
      token = _UnsafeDetachCurrentThread();
      detached = true;
      timespec pause{0, 20 * 1000000L};  // blocks in the system without the turn
      nanosleep(&pause, nullptr);
      _UnsafeAttachCurrentThread(token);
    });
    RuntimeObject* idler = NewWorker(classes, [](RuntimeObject*) {
      while (!EndRaisedHere()) YieldToNextThread();
    });
    threadRun(idler);
    threadRun(blocker);
    while (!detached) {  // it goes on beside the turn once it has left it
    }
    EXPECT_NE(token, nullptr);
    EXPECT_EQ(gDetachedThreadCount.load(), 1);
    EXPECT_EQ(DebuggerThreadCount(), 2);
    RuntimeObject* newest = DebuggerThreadLookup(nullptr, 0);
    EXPECT_EQ(newest, blocker);
    RuntimeUnlockObject(newest);
    EXPECT_EQ(DebuggerThreadLookup(nullptr, 2), nullptr);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(blocker) == kThreadNotRunning; }, 10000000));
    EXPECT_EQ(gDetachedThreadCount.load(), 0);
    EXPECT_EQ(DebuggerThreadCount(), 1);

    // The context saved at the idler's last switch lies on its stack.
    auto* record = reinterpret_cast<RuntimeThread*>(ThreadGetID(idler));
    VelaMachineContext context;
    record->GetSavedContext(&context);
    uintptr_t high;
    size_t size;
    record->GetStackBounds(&high, &size);
    EXPECT_LT(context.rsp, high);
    EXPECT_GT(context.rsp, high - size);
    EXPECT_GE(context.rbp, context.rsp);
    EXPECT_NE(context.rip, 0u);
    ThreadKill(idler);
  });
}

// The capture stores the caller's frame: its frame pointer, a return
// address inside it, and the stack pointer behind the call.
__attribute__((noinline)) void CaptureHere(VelaMachineContext* context, uintptr_t* frame) {
  *frame = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  CaptureMachineContext(context);
  asm volatile("");  // keeps the capture out of tail position: this frame stays
}

TEST(MachineContext, HoldsTheCallersRegisters) {
  VelaMachineContext context;
  std::memset(&context, 0xA5, sizeof(context));
  uintptr_t frame = 0;
  CaptureHere(&context, &frame);
  EXPECT_EQ(context.rbp, frame);
  EXPECT_LE(context.rsp, frame);  // equal when the frame has no locals
  EXPECT_GT(context.rip, reinterpret_cast<uintptr_t>(&CaptureHere));
  EXPECT_LT(context.rip, reinterpret_cast<uintptr_t>(&CaptureHere) + 4096);
  EXPECT_EQ(context.rdi, reinterpret_cast<uintptr_t>(&context));
  EXPECT_EQ(context.mxcsr & 0x1F80u, 0x1F80u);  // exceptions masked, as at start
  EXPECT_EQ(context.reserved, 0);
  EXPECT_EQ(sizeof(VelaMachineContext), 152u);
}

}  // namespace
}  // namespace vela
