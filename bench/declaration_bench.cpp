// Property accessors against a plain load and store through a function
// pointer, and event lookup by name against lookup by a bound DeclEvent.
#include <benchmark/benchmark.h>

#include <cstring>

#include "object/class_decl.h"
#include "vela/accessors.h"
#include "vela/application.h"

namespace {

using vela::DeclEvent;

// Accessors are reached through the property entry's pointer, so the
// baseline is the same indirect call doing the same load or store.
__attribute__((noinline)) int32_t PlainLoad(RuntimeObject* o, intptr_t p) {
  int32_t v;
  std::memcpy(&v, reinterpret_cast<char*>(o) + p, sizeof v);
  return v;
}
__attribute__((noinline)) void PlainStore(RuntimeObject* o, intptr_t p, int32_t v) {
  std::memcpy(reinterpret_cast<char*>(o) + p, &v, sizeof v);
}

alignas(16) unsigned char gFields[64];

template <class Getter, class Setter>
void RunAccessors(benchmark::State& state, Getter get, Setter set) {
  auto* object = reinterpret_cast<RuntimeObject*>(gFields + 32);
  benchmark::DoNotOptimize(get);
  benchmark::DoNotOptimize(set);
  int32_t v = 0;
  for (auto _ : state) {
    set(object, -8, v + 1);
    v = get(object, -8);
    benchmark::DoNotOptimize(v);
  }
}

void BM_Accessor_PlainLoadStore(benchmark::State& state) {
  int32_t (*volatile get)(RuntimeObject*, intptr_t) = PlainLoad;
  void (*volatile set)(RuntimeObject*, intptr_t, int32_t) = PlainStore;
  RunAccessors(state, get, set);
}
BENCHMARK(BM_Accessor_PlainLoadStore);

void BM_Accessor_IntGetterSetter(benchmark::State& state) {
  int32_t (*volatile get)(RuntimeObject*, intptr_t) = intGetter;
  void (*volatile set)(RuntimeObject*, intptr_t, int32_t) = intSetter;
  RunAccessors(state, get, set);
}
BENCHMARK(BM_Accessor_IntGetterSetter);

// A declaration with the 34 events of a window.
DeclEvent gWindowEvents[] = {
    {"Layout", 0, 0}, {"CreateControls", 0, 0}, {"AddMenuHandlers", 0, 0},
    {"SetupBindings", 0, 0}, {"Open", 0, 0}, {"Close", 0, 0}, {"CancelClose", 0, 0},
    {"KeyDown", 0, 0}, {"KeyUp", 0, 0}, {"MouseMove", 0, 0}, {"MouseEnter", 0, 0},
    {"MouseExit", 0, 0}, {"Paint", 0, 0}, {"MouseDown", 0, 0}, {"MouseDrag", 0, 0},
    {"MouseUp", 0, 0}, {"EnableMenuItems", 0, 0}, {"Resized", 0, 0}, {"Resizing", 0, 0},
    {"Moved", 0, 0}, {"DropObject", 0, 0}, {"Activate", 0, 0}, {"Deactivate", 0, 0},
    {"Minimize", 0, 0}, {"Maximize", 0, 0}, {"Restore", 0, 0}, {"MouseWheel", 0, 0},
    {"ConstructContextualMenu", 0, 0}, {"ContextualMenuAction", 0, 0}, {"DragEnter", 0, 0},
    {"DragExit", 0, 0}, {"DragOver", 0, 0}, {"ContentsChanged", 0, 0},
    {"ScaleFactorChanged", 0, 0}};
struct BenchWindow {
  RuntimeObject header;
};
vela::NativeClassDecl<BenchWindow> gBenchWindowDecl(nullptr, "BenchWindowEvents", gWindowEvents);

void OnScaleFactorChanged(RuntimeObject*) {}

RuntimeObject* BenchWindowObject() {
  static RuntimeObject* object = [] {
    constexpr uint32_t kEvents = sizeof gWindowEvents / sizeof gWindowEvents[0];
    RuntimeClass* cls = RuntimeNewClass(nullptr, 0, 0, kEvents, 0, 0, 0);
    cls->name = "BenchWindowEvents";
    cls->flags = kPropertiesBackwardsFlag;
    for (uint32_t i = 0; i < kEvents; ++i) cls->events[i].head.name = gWindowEvents[i].name;
    cls->events[kEvents - 1].function = reinterpret_cast<void*>(OnScaleFactorChanged);
    RuntimeInitExternalClasses();
    return RuntimeNewObject(cls);
  }();
  return object;
}

// The last event of the table: the longest search.
void BM_EventLookup_ByName(benchmark::State& state) {
  RuntimeObject* window = BenchWindowObject();
  for (auto _ : state)
    benchmark::DoNotOptimize(gBenchWindowDecl.GetEventHandler(window, "ScaleFactorChanged"));
}
BENCHMARK(BM_EventLookup_ByName);

void BM_EventLookup_ByDeclEvent(benchmark::State& state) {
  RuntimeObject* window = BenchWindowObject();
  const DeclEvent& event = gWindowEvents[33];
  for (auto _ : state) benchmark::DoNotOptimize(gBenchWindowDecl.GetEventHandler(window, event));
}
BENCHMARK(BM_EventLookup_ByDeclEvent);

}  // namespace
