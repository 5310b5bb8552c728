// The string record's hot paths beside the C library doing the same work:
// creating and releasing a string against malloc, memcpy and free of the
// same size; comparing bytes of two equal strings against memcmp.
#include <cstdlib>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "text/string_create.h"
#include "vela/string.h"

namespace {

// Source bytes for every size measured here (up to 4 KiB).
const char* Payload() {
  alignas(64) static char text[4096];
  static const bool filled = (std::memset(text, 'v', sizeof text), true);
  (void)filled;
  return text;
}

void BM_StringCreateUnlock(benchmark::State& state) {
  const int32_t size = int32_t(state.range(0));
  const char* bytes = Payload();
  for (auto _ : state) {
    TESSstring s = vela::NewString(bytes, size, kEncodingUTF8);
    benchmark::DoNotOptimize(s);
    RuntimeUnlockString(s);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * size);
}
BENCHMARK(BM_StringCreateUnlock)->Arg(16)->Arg(1024);

// The same bytes in a plain heap block: the floor for one allocation.
void BM_StringMallocCopyFree(benchmark::State& state) {
  const size_t size = size_t(state.range(0));
  const char* bytes = Payload();
  for (auto _ : state) {
    void* block = std::malloc(size);
    benchmark::DoNotOptimize(block);
    std::memcpy(block, bytes, size);
    benchmark::ClobberMemory();
    std::free(block);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
}
BENCHMARK(BM_StringMallocCopyFree)->Arg(16)->Arg(1024);

void BM_StringCompareBytes(benchmark::State& state) {
  const int32_t size = int32_t(state.range(0));
  const char* bytes = Payload();
  TESSstring a = vela::NewString(bytes, size, kEncodingUTF8);
  TESSstring b = vela::NewString(bytes, size, kEncodingUTF8);
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    int32_t order = StringStrCompare(a, b, 0);
    benchmark::DoNotOptimize(order);
  }
  RuntimeUnlockString(a);
  RuntimeUnlockString(b);
  state.SetBytesProcessed(int64_t(state.iterations()) * size);
}
BENCHMARK(BM_StringCompareBytes)->Arg(1024);

void BM_StringMemcmp(benchmark::State& state) {
  const size_t size = size_t(state.range(0));
  // Two separate blocks, as the strings are.
  std::string a(Payload(), size);
  std::string b(Payload(), size);
  for (auto _ : state) {
    const char* pa = a.data();
    const char* pb = b.data();
    benchmark::DoNotOptimize(pa);
    benchmark::DoNotOptimize(pb);
    int order = std::memcmp(pa, pb, size);
    benchmark::DoNotOptimize(order);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(size));
}
BENCHMARK(BM_StringMemcmp)->Arg(1024);

}  // namespace
