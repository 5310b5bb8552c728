// Weak references on their hot paths, beside the reference-count operations
// they are built on. The /100000 forms run with that many other weak
// references live in the table: spread over as many targets, or all on the
// one target that the measured reference uses ("OneTarget").
//
//   build/<dir>/bench/vela_bench
//       --benchmark_filter='Weak_|Object_LockUnlockPair|Object_NewAndLastUnlock'
#include <benchmark/benchmark.h>

#include <vector>

#include "object/weak_ref.h"
#include "vela/events.h"

namespace {

// A holder's reference variable is the word right behind its header.
RuntimeClass* HolderClass() {
  static RuntimeClass* cls = [] {
    RuntimeClass* c = RuntimeNewClass(nullptr, 0, 0, 0, 0, 0, 0);
    c->name = "BenchWeakHolder";
    c->instanceSize = sizeof(void*);
    return c;
  }();
  return cls;
}

// `count` registered variables, on as many targets or all on `shared`.
class LiveWeakRefs {
 public:
  LiveWeakRefs(size_t count, RuntimeObject* shared) : mVariables(count) {
    for (size_t i = 0; i < count; ++i) {
      RuntimeObject* target = shared;
      if (!target) mTargets.push_back(target = RuntimeNewObject(HolderClass()));
      vela::RegisterWeakReference(&mVariables[i], target);
    }
  }
  ~LiveWeakRefs() {
    for (RuntimeObject*& variable : mVariables) vela::DropWeakReference(&variable);
    for (RuntimeObject* target : mTargets) RuntimeUnlockObject(target);
  }

 private:
  std::vector<RuntimeObject*> mVariables;
  std::vector<RuntimeObject*> mTargets;
};

void Weak_ResolveAndUnlock(benchmark::State& state) {
  RuntimeObject* target = RuntimeNewObject(HolderClass());
  RuntimeObject* holder = RuntimeNewObject(HolderClass());
  RegisterWeakRef(holder, target);
  for (auto _ : state) {
    RuntimeObject* resolved = ResolveWeakRef(holder);
    benchmark::DoNotOptimize(resolved);
    RuntimeUnlockObject(resolved);
  }
  RuntimeUnlockObject(holder);
  RuntimeUnlockObject(target);
}
BENCHMARK(Weak_ResolveAndUnlock);

void RegisterUnregister(benchmark::State& state, bool oneTarget) {
  RuntimeObject* target = RuntimeNewObject(HolderClass());
  RuntimeObject* holder = RuntimeNewObject(HolderClass());
  {
    LiveWeakRefs live(size_t(state.range(0)), oneTarget ? target : nullptr);
    for (auto _ : state) {
      RegisterWeakRef(holder, target);
      UnregisterWeakRef(holder);
    }
  }
  RuntimeUnlockObject(holder);
  RuntimeUnlockObject(target);
}
void Weak_RegisterUnregister(benchmark::State& state) { RegisterUnregister(state, false); }
BENCHMARK(Weak_RegisterUnregister)->Arg(0)->Arg(100000);
void Weak_RegisterUnregisterOneTarget(benchmark::State& state) { RegisterUnregister(state, true); }
BENCHMARK(Weak_RegisterUnregisterOneTarget)->Arg(100000);

// Every destruction asks the table first; an object without weak references
// should hardly notice a full table.
void Weak_NewAndLastUnlockBesideLiveRefs(benchmark::State& state) {
  LiveWeakRefs live(size_t(state.range(0)), nullptr);
  for (auto _ : state) {
    RuntimeObject* object = RuntimeNewObject(HolderClass());
    benchmark::DoNotOptimize(object);
    RuntimeUnlockObject(object);
  }
}
BENCHMARK(Weak_NewAndLastUnlockBesideLiveRefs)->Arg(0)->Arg(100000);

// A death that clears one weak reference.
void Weak_NewRegisterAndLastUnlock(benchmark::State& state) {
  RuntimeObject* holder = RuntimeNewObject(HolderClass());
  LiveWeakRefs live(size_t(state.range(0)), nullptr);
  for (auto _ : state) {
    RuntimeObject* object = RuntimeNewObject(HolderClass());
    RegisterWeakRef(holder, object);
    RuntimeUnlockObject(object);
  }
  RuntimeUnlockObject(holder);
}
BENCHMARK(Weak_NewRegisterAndLastUnlock)->Arg(0)->Arg(100000);

}  // namespace
