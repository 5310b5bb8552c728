// The numeric helpers beside what compiled code would do inline: each
// conversion and 64-bit division export against the same operation behind
// a function the compiler cannot inline, decimal text against snprintf,
// and reading Double text against strtod. Every loop sums its results so
// that no work is dropped.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <benchmark/benchmark.h>

#include "text/string_create.h"
#include "text/string_holder.h"
#include "vela/number_text.h"

namespace {

// Inputs that vary, so that no result is hoisted out of the loop.
const std::vector<double>& Doubles() {
  static const std::vector<double> values = [] {
    std::vector<double> v;
    for (int i = 0; i < 1024; ++i) v.push_back((i * 7919 % 2000003) * 1.37 - 1e6);
    return v;
  }();
  return values;
}

const std::vector<int64_t>& Int64s() {
  static const std::vector<int64_t> values = [] {
    std::vector<int64_t> v;
    for (int i = 0; i < 1024; ++i) v.push_back(int64_t(i) * 982451653LL - 500000000000LL);
    return v;
  }();
  return values;
}

__attribute__((noinline)) int32_t PlainToInt32(double v) { return int32_t(v); }
__attribute__((noinline)) int64_t PlainDivide(int64_t a, int64_t b) { return a / b; }
__attribute__((noinline)) int64_t PlainToCurrency(double v) {
  return int64_t(__builtin_round(v * 10000.0));
}

template <typename Op>
void RunOverDoubles(benchmark::State& state, Op op) {
  const std::vector<double>& values = Doubles();
  int64_t sum = 0;
  for (auto _ : state)
    for (double v : values) sum += op(v);
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * int64_t(values.size()));
}

template <typename Op>
void RunOverInt64s(benchmark::State& state, Op op) {
  const std::vector<int64_t>& values = Int64s();
  int64_t sum = 0;
  for (auto _ : state)
    for (int64_t v : values) sum += op(v, (v & 0xFF) + 3);
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * int64_t(values.size()));
}

void BM_NumericCvtReal64ToSInt32(benchmark::State& s) { RunOverDoubles(s, RuntimeCvtReal64ToSInt32); }
void BM_NumericPlainReal64ToSInt32(benchmark::State& s) { RunOverDoubles(s, PlainToInt32); }
void BM_NumericCvtReal64ToCurrency(benchmark::State& s) { RunOverDoubles(s, RuntimeCvtReal64ToCurrency); }
void BM_NumericPlainReal64ToCurrency(benchmark::State& s) { RunOverDoubles(s, PlainToCurrency); }
void BM_NumericDivSInt64(benchmark::State& s) { RunOverInt64s(s, RuntimeDivSInt64); }
void BM_NumericPlainDivide(benchmark::State& s) { RunOverInt64s(s, PlainDivide); }
BENCHMARK(BM_NumericCvtReal64ToSInt32);
BENCHMARK(BM_NumericPlainReal64ToSInt32);
BENCHMARK(BM_NumericCvtReal64ToCurrency);
BENCHMARK(BM_NumericPlainReal64ToCurrency);
BENCHMARK(BM_NumericDivSInt64);
BENCHMARK(BM_NumericPlainDivide);

void BM_NumericInt32ToString(benchmark::State& state) {
  int32_t i = -500000;
  for (auto _ : state) {
    vela::StringHolder s = vela::StringHolder::Adopt(Int32ToStringNoLocale(i++));
    benchmark::DoNotOptimize(s.get());
  }
}
void BM_NumericSnprintfInt32(benchmark::State& state) {
  int32_t i = -500000;
  char buffer[16];
  for (auto _ : state) {
    std::snprintf(buffer, sizeof buffer, "%d", i++);
    benchmark::DoNotOptimize(buffer);
  }
}
BENCHMARK(BM_NumericInt32ToString);
BENCHMARK(BM_NumericSnprintfInt32);

void BM_NumericDoubleFromString(benchmark::State& state) {
  vela::StringHolder text =
      vela::StringHolder::Adopt(vela::NewString("12345.678e-2", 12, kEncodingUTF8));
  if (Double_FromStringNoLocale(text.get()) != 123.45678) state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(Double_FromStringNoLocale(text.get()));
}
void BM_NumericStrtod(benchmark::State& state) {
  const char* text = "12345.678e-2";
  for (auto _ : state) benchmark::DoNotOptimize(std::strtod(text, nullptr));
}
BENCHMARK(BM_NumericDoubleFromString);
BENCHMARK(BM_NumericStrtod);

}  // namespace
