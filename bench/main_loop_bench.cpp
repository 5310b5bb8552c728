// The main loop's costs: messages posted by another thread and dispatched
// by the loop, beside a bare eventfd + poll + deque loop doing the same; the
// lateness of a 100 ms timer on the real clock; one iteration with 0, 100 and
// 1,000 pollable objects. items_per_second counts messages or iterations.
//
//   build/<dir>/bench/vela_bench --benchmark_filter='MainLoop_'
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "exec/main_loop.h"
#include "exec/platform_timer.h"
#include "exec/thread_record.h"
#include "object/class_decl.h"
#include "platform/clock.h"
#include "platform/window_system.h"
#include "vela/application.h"
#include "vela/main_loop.h"

namespace vela {
extern InterfaceDecl gPollableInterface;
}

namespace {

using Clock = std::chrono::steady_clock;

void EnsureRuntime() {
  if (!vela::sMainThread) RuntimeInit();
}

constexpr uint32_t kBenchMessage = 0x4C0;
constexpr int kInFlight = 1024;  // the poster stays this far ahead at most
std::atomic<int64_t> gConsumed{0};

void CountDispatched(VelaMessage* message) {
  if (message->message == kBenchMessage) gConsumed.fetch_add(1, std::memory_order_relaxed);
}

// Posts until told to stop, never more than kInFlight ahead of `consumed`.
template <class PostOne>
void Poster(std::atomic<bool>& stop, std::atomic<int64_t>& consumed, PostOne post) {
  int64_t posted = 0;
  while (!stop.load(std::memory_order_relaxed)) {
    if (posted - consumed.load(std::memory_order_relaxed) >= kInFlight) {
      std::this_thread::yield();
      continue;
    }
    post();
    ++posted;
  }
}

void MainLoop_PostedMessagesDispatched(benchmark::State& state) {
  EnsureRuntime();
  AddMainLoopHook(CountDispatched);
  vela::platform::EventQueue& queue = vela::platform::GetWindowSystem().Queue();
  std::atomic<bool> stop{false};
  gConsumed = 0;
  std::thread poster([&] {
    Poster(stop, gConsumed, [&] { queue.Post(0, kBenchMessage, 0, 0); });
  });
  int64_t before = 0;
  for (auto _ : state) {
    before = gConsumed.load(std::memory_order_relaxed);
    while (gConsumed.load(std::memory_order_relaxed) == before) vela::MainLoopIteration();
  }
  stop = true;
  poster.join();
  while (queue.PostedCount()) vela::MainLoopIteration();
  AddMainLoopHook(nullptr);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(MainLoop_PostedMessagesDispatched)->UseRealTime();

// The same traffic through the simplest loop that can carry it: a deque
// under a mutex, an eventfd written for every post, and a poll whenever the
// deque is empty.
void MainLoop_BareEventfdPollDeque(benchmark::State& state) {
  const int fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  std::mutex lock;
  std::deque<uint32_t> messages;
  std::atomic<int64_t> consumed{0};
  std::atomic<bool> stop{false};
  std::thread poster([&] {
    Poster(stop, consumed, [&] {
      {
        std::lock_guard<std::mutex> guard(lock);
        messages.push_back(kBenchMessage);
      }
      const uint64_t one = 1;
      ssize_t written = write(fd, &one, sizeof one);
      (void)written;
    });
  });
  for (auto _ : state) {
    for (;;) {
      {
        std::lock_guard<std::mutex> guard(lock);
        if (!messages.empty()) {
          benchmark::DoNotOptimize(messages.front());
          messages.pop_front();
          break;
        }
      }
      pollfd entry{fd, POLLIN, 0};
      poll(&entry, 1, -1);
      uint64_t count;
      ssize_t got = read(fd, &count, sizeof count);
      (void)got;
    }
    consumed.fetch_add(1, std::memory_order_relaxed);
  }
  stop = true;
  poster.join();
  close(fd);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(MainLoop_BareEventfdPollDeque)->UseRealTime();

// --- timer lateness ---------------------------------------------------------

std::vector<double> gFiredAt;  // milliseconds since the start
Clock::time_point gTimerStart;

void RecordFiring(vela::PlatformTimer*) {
  gFiredAt.push_back(std::chrono::duration<double, std::milli>(Clock::now() - gTimerStart).count());
}

// A repeating 100 ms platform timer for two seconds; each firing's lateness
// against its ideal time start + k * 100 ms. Reported as counters, in
// microseconds.
void MainLoop_TimerLateness100ms(benchmark::State& state) {
  EnsureRuntime();
  std::vector<double> lateness;
  for (auto _ : state) {
    gFiredAt.clear();
    gTimerStart = Clock::now();
    vela::PlatformTimer* timer = vela::WinTimerStart(RecordFiring, 100, nullptr);
    while (gFiredAt.size() < 20) vela::MainLoopIteration();
    vela::WinTimerStop(timer);
    for (size_t k = 0; k < gFiredAt.size(); ++k)
      lateness.push_back((gFiredAt[k] - 100.0 * double(k + 1)) * 1000.0);
  }
  std::sort(lateness.begin(), lateness.end());
  state.counters["median_late_us"] = lateness[lateness.size() / 2];
  state.counters["max_late_us"] = lateness.back();
  state.counters["min_late_us"] = lateness.front();
}
BENCHMARK(MainLoop_TimerLateness100ms)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// --- iterations with pollables ----------------------------------------------

void NoPoll(RuntimeObject*) {}

RuntimeClass* PollableClass() {
  static RuntimeClass* cls = [] {
    RuntimeClass* pollable = RuntimeNewClass(nullptr, 0, 0, 0, 0, 0, 0);
    pollable->name = "_Pollable";
    pollable->flags = kInterfaceFlag;
    // Bound by hand: the benchmarks share one process, and the binding of
    // RuntimeInitExternalClasses runs once in it.
    if (!vela::gPollableInterface.mClassPtr) vela::gPollableInterface.mClassPtr = pollable;
    RuntimeClass* c = RuntimeNewClass(nullptr, 0, 1, 0, 0, 0, 0);
    c->name = "BenchPolled";
    c->instanceSize = sizeof(RuntimeObject);
    RuntimeVtableEntry* vtable = RuntimeNewVtable(1);
    vtable[0] = reinterpret_cast<void*>(&NoPoll);
    c->interfaceEntries[0].interface = vela::gPollableInterface.mClassPtr;
    c->interfaceEntries[0].vtable = vtable;
    return c;
  }();
  return cls;
}

void MainLoop_IterationWithPollables(benchmark::State& state) {
  EnsureRuntime();
  // Time stands still, so the poll task's own timer stays out of the way.
  vela::platform::StartManualClock(0);
  std::vector<RuntimeObject*> objects;
  for (int64_t i = 0; i < state.range(0); ++i) {
    objects.push_back(RuntimeNewObject(PollableClass()));
    ApplicationAddPollableObject(nullptr, objects.back());
  }
  for (auto _ : state) RuntimeDoEvents(nullptr, -1);
  ApplicationRemoveAllPollableObjects();
  for (RuntimeObject* object : objects) RuntimeUnlockObject(object);
  vela::platform::StopManualClock();
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(MainLoop_IterationWithPollables)->Arg(0)->Arg(100)->Arg(1000);

}  // namespace
