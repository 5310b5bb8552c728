// The uncontended paths of the critical section: enter and leave of a
// cooperative one (a count and an owner word) and of a preemptive one (a
// recursive native mutex), beside std::mutex lock and unlock.
//
//   build/<dir>/bench/vela_bench --benchmark_filter='Sync_'
#include <benchmark/benchmark.h>

#include <cstring>
#include <mutex>

#include "exec/sync_objects.h"
#include "object/class_decl.h"
#include "vela/sync.h"

namespace {

// A class under another name, bound by hand to the CriticalSection
// declaration: the image binding of other benchmarks, which may come
// before or after, then neither sees nor disturbs it.
RuntimeClass* SectionClass() {
  static RuntimeClass* cls = [] {
    RuntimeClass* c = RuntimeNewClass(nullptr, 0, 0, 0, 0, 0, 0);
    c->name = "BenchCriticalSection";
    c->instanceSize = sizeof(RuntimeObject);
    c->initializer = CriticalSectionInitializer;
    c->finalizer = CriticalSectionFinalizer;
    for (vela::ClassDecl* decl = vela::ClassDecl::ListHead(); decl; decl = decl->next())
      if (std::strcmp(decl->name(), "CriticalSection") == 0 && !decl->classPtr()) {
        decl->Bind(c);
        c->cppGlueDecl = decl;
      }
    return c;
  }();
  return cls;
}

// The cooperative path needs a holder of the turn: the main thread's record
// when the runtime was started, else a stand-in for the time of the run.
class TurnHolder {
 public:
  TurnHolder()
      : mPrevious(vela::sCurrentThread), mWasLanguageThread(Local().isLanguageThread) {
    if (!mPrevious) vela::sCurrentThread = &mStandIn;
    Local().isLanguageThread = 1;
  }
  ~TurnHolder() {
    vela::sCurrentThread = mPrevious;
    Local().isLanguageThread = mWasLanguageThread;
  }

 private:
  static vela::ThreadLocalState& Local() { return vela::CurrentThreadState(); }
  vela::RuntimeThread* mPrevious;
  uint8_t mWasLanguageThread;
  vela::RuntimeThread mStandIn;
};

void SectionEnterLeave(benchmark::State& state, int32_t type) {
  TurnHolder turn;
  RuntimeObject* section = RuntimeNewObject(SectionClass());
  CriticalSection_SetType(section, type);
  for (auto _ : state) {
    criticalsection_enter(section);
    criticalsection_leave(section);
  }
  RuntimeUnlockObject(section);
}

void Sync_CooperativeSectionEnterLeave(benchmark::State& state) {
  SectionEnterLeave(state, vela::kCooperativeLock);
}
BENCHMARK(Sync_CooperativeSectionEnterLeave);

void Sync_PreemptiveSectionEnterLeave(benchmark::State& state) {
  SectionEnterLeave(state, vela::kPreemptiveLock);
}
BENCHMARK(Sync_PreemptiveSectionEnterLeave);

void Sync_StdMutexLockUnlock(benchmark::State& state) {
  std::mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    mutex.unlock();
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Sync_StdMutexLockUnlock);

}  // namespace
