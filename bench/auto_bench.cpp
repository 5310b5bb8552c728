// Auto words on their hot paths: a small Int32 made, read and released
// (inline, no allocation), a String through an Auto and back, and a Double,
// which needs a box.
#include <benchmark/benchmark.h>

#include "text/string_create.h"
#include "vela/auto.h"

namespace {

void BM_AutoInt32RoundTrip(benchmark::State& state) {
  int32_t i = 0;
  int64_t sum = 0;
  for (auto _ : state) {
    VelaAutoWord w = RuntimeCreateAutoFromInt32(i++ & 0xFFFF);
    sum += RuntimeConvertAutoToInt32(w);
    RuntimeUnlockAuto(w);
  }
  benchmark::DoNotOptimize(sum);
}
BENCHMARK(BM_AutoInt32RoundTrip);

void BM_AutoStringRoundTrip(benchmark::State& state) {
  TESSstring s = vela::NewString("hello", 5, kEncodingUTF8);
  for (auto _ : state) {
    VelaAutoWord w = RuntimeCreateAutoFromString(s);
    TESSstring back = RuntimeConvertAutoToString(w);
    benchmark::DoNotOptimize(back);
    RuntimeUnlockString(back);
    RuntimeUnlockAuto(w);
  }
  RuntimeUnlockString(s);
}
BENCHMARK(BM_AutoStringRoundTrip);

void BM_AutoDoubleBoxRoundTrip(benchmark::State& state) {
  double d = 0.5;
  double sum = 0;
  for (auto _ : state) {
    VelaAutoWord w = RuntimeCreateAutoFromDouble(d);
    sum += RuntimeConvertAutoToDouble(w);
    RuntimeUnlockAuto(w);
  }
  benchmark::DoNotOptimize(sum);
}
BENCHMARK(BM_AutoDoubleBoxRoundTrip);

}  // namespace
