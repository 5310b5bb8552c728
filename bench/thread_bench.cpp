// The scheduler's hot paths: the tick gate of RuntimeBackgroundTask, which
// compiled code calls in every loop, and the hand-over of the turn between
// two language threads, beside a plain mutex-and-condition hand-off between
// two native threads. items_per_second counts switches.
//
//   build/<dir>/bench/vela_bench --benchmark_filter='Thread_|BackgroundTask'
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "exec/thread_record.h"
#include "vela/application.h"
#include "vela/threads.h"

namespace {

std::atomic<bool> gStopPartner{false};

void PartnerRun(RuntimeObject*) {
  while (!gStopPartner.load(std::memory_order_relaxed)) YieldToNextThread();
}

// The runtime, once per process (another benchmark may have started it),
// with a Thread class whose Run yields until told to stop.
RuntimeClass* ThreadClass() {
  static RuntimeClass* cls = [] {
    if (!vela::sMainThread) RuntimeInit();
    RuntimeClass* c = RuntimeNewClass(nullptr, 0, 0, 1, 0, 0, 0);
    c->name = "Thread";
    c->instanceSize = sizeof(RuntimeObject);
    c->initializer = ThreadInitializer;
    c->events[0].head.name = "Run";
    c->events[0].head.flags = kScopePublic;
    c->events[0].function = reinterpret_cast<void*>(&PartnerRun);
    RuntimeInitExternalClasses();
    return c;
  }();
  return cls;
}

void BackgroundTask_FastPath(benchmark::State& state) {
  ThreadClass();
  for (auto _ : state) RuntimeBackgroundTask();
}
BENCHMARK(BackgroundTask_FastPath);

// Main thread and one Thread, one ticket each: every yield is a switch.
void Thread_YieldPingPong(benchmark::State& state) {
  RuntimeObject* partner = RuntimeNewObject(ThreadClass());
  ThreadSetPriority(partner, 0, 1);
  vela::SetPriority(nullptr, 1);
  gStopPartner = false;
  threadRun(partner);
  for (auto _ : state) YieldToNextThread();
  gStopPartner = true;
  while (ThreadGetState(partner) != kThreadNotRunning) YieldToNextThread();
  vela::SetPriority(nullptr, 5);
  RuntimeUnlockObject(partner);
  state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(Thread_YieldPingPong)->UseRealTime();

// The same exchange between two native threads with one mutex, one
// condition and a turn variable.
void Thread_NativeMutexConditionPingPong(benchmark::State& state) {
  std::mutex mutex;
  std::condition_variable changed;
  int turn = 0;  // 0: this thread, 1: the partner, 2: the partner must stop
  std::thread partner([&] {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      changed.wait(lock, [&] { return turn != 0; });
      if (turn == 2) return;
      turn = 0;
      changed.notify_one();
    }
  });
  {
    std::unique_lock<std::mutex> lock(mutex);
    for (auto _ : state) {
      turn = 1;
      changed.notify_one();
      changed.wait(lock, [&] { return turn == 0; });
    }
    turn = 2;
    changed.notify_one();
  }
  partner.join();
  state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(Thread_NativeMutexConditionPingPong)->UseRealTime();

}  // namespace
