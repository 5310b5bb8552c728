// Classic conversion of 1 MiB against a bare ICU ucnv_convert of the same data.
#include <benchmark/benchmark.h>

#include <string>

#include <unicode/ucnv.h>

#include "text/encoding_convert.h"
#include "text/string_holder.h"
#include "text/string_record.h"

namespace {

constexpr size_t kSize = 1 << 20;

std::string Latin1Text() {
  std::string text(kSize, 'a');
  for (size_t i = 0; i < kSize; ++i) text[i] = char(0x20 + (i * 7) % 0xDF);
  return text;
}

void BM_Windows1252RoundTrip(benchmark::State& state) {
  const std::string text = Latin1Text();
  vela::StringHolder source =
      vela::StringHolder::Adopt(vela::NewString(text.data(), int32_t(text.size()), 0x500));
  for (auto _ : state) {
    vela::StringHolder utf8 = vela::StringHolder::Adopt(vela::ConvertString(source.get(), kEncodingUTF8));
    vela::StringHolder back = vela::StringHolder::Adopt(vela::ConvertString(utf8.get(), 0x500));
    benchmark::DoNotOptimize(back.get());
  }
}
BENCHMARK(BM_Windows1252RoundTrip)->Unit(benchmark::kMillisecond);

void BM_IcuWindows1252RoundTrip(benchmark::State& state) {
  const std::string text = Latin1Text();
  std::string utf8(kSize * 3, 0), back(kSize, 0);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t n = ucnv_convert("UTF-8", "windows-1252", utf8.data(), int32_t(utf8.size()),
                             text.data(), int32_t(text.size()), &status);
    ucnv_convert("windows-1252", "UTF-8", back.data(), int32_t(back.size()), utf8.data(), n,
                 &status);
    benchmark::DoNotOptimize(back.data());
  }
}
BENCHMARK(BM_IcuWindows1252RoundTrip)->Unit(benchmark::kMillisecond);

void BM_Utf8ToUtf16(benchmark::State& state) {
  const std::string text = Latin1Text();
  vela::StringHolder latin =
      vela::StringHolder::Adopt(vela::NewString(text.data(), int32_t(text.size()), 0x500));
  vela::StringHolder utf8 = vela::StringHolder::Adopt(vela::ConvertString(latin.get(), kEncodingUTF8));
  for (auto _ : state) {
    vela::StringHolder wide = vela::StringHolder::Adopt(vela::ConvertString(utf8.get(), kEncodingUTF16));
    benchmark::DoNotOptimize(wide.get());
  }
}
BENCHMARK(BM_Utf8ToUtf16)->Unit(benchmark::kMillisecond);

void BM_IcuUtf8ToUtf16(benchmark::State& state) {
  const std::string text = Latin1Text();
  std::string utf8(kSize * 3, 0), wide(kSize * 4, 0);
  UErrorCode status = U_ZERO_ERROR;
  const int32_t n = ucnv_convert("UTF-8", "windows-1252", utf8.data(), int32_t(utf8.size()),
                                 text.data(), int32_t(text.size()), &status);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    ucnv_convert("UTF-16LE", "UTF-8", wide.data(), int32_t(wide.size()), utf8.data(), n, &status);
    benchmark::DoNotOptimize(wide.data());
  }
}
BENCHMARK(BM_IcuUtf8ToUtf16)->Unit(benchmark::kMillisecond);

}  // namespace
