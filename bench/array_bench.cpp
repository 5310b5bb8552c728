// Arrays beside the standard containers they compete with: element access
// through the table against a std::vector reached through a function
// pointer, appending against push_back, and the sort against std::sort on
// random, sorted, reversed, all-equal and organ-pipe input.
//
//   build/<dir>/bench/vela_bench --benchmark_filter=Array
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "vela/arrays.h"

namespace {

using GetFn = int32_t (*)(RuntimeArray*, int32_t);
using SetFn = void (*)(RuntimeArray*, int32_t, int32_t);
using InsertFn = void (*)(RuntimeArray*, int32_t, int32_t);

RuntimeObject* AsObject(RuntimeArray* a) { return reinterpret_cast<RuntimeObject*>(a); }

constexpr int32_t kAccessCount = 4096;

void Array_GetSetThroughTable(benchmark::State& state) {
  RuntimeArray* a = CreateArray(1, kArrayInt32, kAccessCount - 1);
  for (auto _ : state) {
    for (int32_t i = 0; i < kAccessCount; ++i) {
      int32_t v = reinterpret_cast<GetFn>(a->ops->get)(a, i);
      reinterpret_cast<SetFn>(a->ops->set)(a, v + 1, i);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kAccessCount);
  RuntimeUnlockArray(AsObject(a));
}
BENCHMARK(Array_GetSetThroughTable);

[[gnu::noinline]] int32_t VectorGet(std::vector<int32_t>* v, int32_t i) { return (*v)[size_t(i)]; }
[[gnu::noinline]] void VectorSet(std::vector<int32_t>* v, int32_t value, int32_t i) {
  (*v)[size_t(i)] = value;
}

void Array_GetSetVectorThroughFunctionPointerBaseline(benchmark::State& state) {
  std::vector<int32_t> v(kAccessCount);
  auto get = &VectorGet;
  auto set = &VectorSet;
  benchmark::DoNotOptimize(get);
  benchmark::DoNotOptimize(set);
  for (auto _ : state) {
    for (int32_t i = 0; i < kAccessCount; ++i) set(&v, get(&v, i) + 1, i);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kAccessCount);
}
BENCHMARK(Array_GetSetVectorThroughFunctionPointerBaseline);

constexpr int32_t kAppendCount = 10'000'000;

void Array_Append10M(benchmark::State& state) {
  for (auto _ : state) {
    RuntimeArray* a = CreateArray(1, kArrayInt32, -1);
    for (int32_t i = 0; i < kAppendCount; ++i)
      reinterpret_cast<InsertFn>(a->ops->insert)(a, a->upperBounds[0] + 1, i);
    benchmark::DoNotOptimize(a->data);
    RuntimeUnlockArray(AsObject(a));
  }
  state.SetItemsProcessed(state.iterations() * kAppendCount);
}
BENCHMARK(Array_Append10M)->Unit(benchmark::kMillisecond);

void Array_Append10MPushBackBaseline(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<int32_t> v;
    for (int32_t i = 0; i < kAppendCount; ++i) v.push_back(i);
    benchmark::DoNotOptimize(v.data());
  }
  state.SetItemsProcessed(state.iterations() * kAppendCount);
}
BENCHMARK(Array_Append10MPushBackBaseline)->Unit(benchmark::kMillisecond);

constexpr int32_t kSortCount = 1'000'000;

enum Pattern { kRandom, kSorted, kReversed, kEqual, kOrganPipe };

std::vector<int32_t> SortInput(Pattern pattern) {
  std::vector<int32_t> values(kSortCount);
  std::mt19937 random(12345);
  for (int32_t i = 0; i < kSortCount; ++i) {
    switch (pattern) {
      case kRandom: values[size_t(i)] = int32_t(random()); break;
      case kSorted: values[size_t(i)] = i; break;
      case kReversed: values[size_t(i)] = kSortCount - i; break;
      case kEqual: values[size_t(i)] = 42; break;
      case kOrganPipe: values[size_t(i)] = i < kSortCount / 2 ? i : kSortCount - i; break;
    }
  }
  return values;
}

void Array_Sort1M(benchmark::State& state) {
  const std::vector<int32_t> input = SortInput(Pattern(state.range(0)));
  RuntimeArray* a = CreateArray(1, kArrayInt32, kSortCount - 1);
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(a->data, input.data(), input.size() * sizeof(int32_t));
    state.ResumeTiming();
    a->ops->sort(a);
    benchmark::ClobberMemory();
  }
  RuntimeUnlockArray(AsObject(a));
}
BENCHMARK(Array_Sort1M)->DenseRange(kRandom, kOrganPipe)->Unit(benchmark::kMillisecond);

void Array_Sort1MStdSortBaseline(benchmark::State& state) {
  const std::vector<int32_t> input = SortInput(Pattern(state.range(0)));
  std::vector<int32_t> v(input.size());
  for (auto _ : state) {
    state.PauseTiming();
    std::copy(input.begin(), input.end(), v.begin());
    state.ResumeTiming();
    std::sort(v.begin(), v.end());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Array_Sort1MStdSortBaseline)->DenseRange(kRandom, kOrganPipe)->Unit(benchmark::kMillisecond);

}  // namespace
