// Loading an image must cost about what reading its file costs: the image of
// 16 MiB of code with 200,000 call sites (2,000 imported functions, 100
// sites each, their chains spread over the whole code) is loaded from a warm
// file, side by side with reading the same file into fresh memory. Imports
// resolve through a hash table here instead of the dynamic linker. Then
// SymbolForAddress over 100,000 symbols: ascending rows (searched by halves)
// against the same rows out of order (walked).
//
//   build/<dir>/bench/vela_bench --benchmark_filter=Loader
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "object/loader.h"
#include "object/loader_format.h"

namespace {

using namespace vela;

constexpr uint32_t kCodeSize = 16 << 20;
constexpr uint32_t kFunctions = 2000;
constexpr uint32_t kSites = 200000;

extern "C" void BenchImportTarget() {}

class BenchLoader final : public Loader {
 public:
  explicit BenchLoader(const std::unordered_map<std::string, void*>* exports) : mExports(exports) {}
  void* GetFrameworkFunction(const char* name) override {
    auto found = mExports->find(name);
    return found == mExports->end() ? nullptr : found->second;
  }

 private:
  const std::unordered_map<std::string, void*>* mExports;
};

struct GeneratedImage {
  std::string path;
  size_t size = 0;
  std::unordered_map<std::string, void*> exports;
};

// Call sites every 83 bytes; site k belongs to function k % kFunctions.
const GeneratedImage& Image() {
  static GeneratedImage* generated = [] {
    auto* g = new GeneratedImage;
    image::ImageParts parts;
    parts.code.assign(kCodeSize, 0x90);
    const uint32_t spacing = kCodeSize / kSites;
    std::vector<uint32_t> previous(kFunctions, 0), head(kFunctions, 0);
    for (uint32_t k = 0; k < kSites; ++k) {
      uint32_t place = 1 + k * spacing, f = k % kFunctions;
      parts.code[place - 1] = 0xE8;
      if (previous[f])
        std::memcpy(&parts.code[previous[f]], &place, 4);
      else
        head[f] = place;
      std::memset(&parts.code[place], 0, 4);
      previous[f] = place;
    }
    image::RelocationStream stream;
    for (uint32_t f = 0; f < kFunctions; ++f) {
      std::string name = "RuntimeBenchFunction" + std::to_string(f);
      stream.Import(image::kImportCall, head[f], name);
      g->exports[name] = reinterpret_cast<void*>(&BenchImportTarget);
    }
    parts.relocations = std::move(stream.bytes);
    parts.data.assign(64 * 1024, 0);
    std::vector<uint8_t> bytes = image::Serialize(parts);
    g->path = "/tmp/vela_loader_bench_" + std::to_string(getpid()) + ".img";
    FILE* file = std::fopen(g->path.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    g->size = bytes.size();
    std::atexit([] { std::remove(Image().path.c_str()); });
    return g;
  }();
  return *generated;
}

void Loader_LoadImageFromFile(benchmark::State& state) {
  const GeneratedImage& image = Image();
  for (auto _ : state) {
    BenchLoader loader(&image.exports);
    if (!loader.LoadImageFile(image.path.c_str(), 0)) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(loader.CodeBase());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(image.size));
}
BENCHMARK(Loader_LoadImageFromFile)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: the same file read into fresh memory of the kind the loader
// maps (below 2 GiB, large pages where granted).
void Loader_ReadFileOnly(benchmark::State& state) {
  const GeneratedImage& image = Image();
  for (auto _ : state) {
    void* block = mmap(nullptr, image.size, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
    madvise(block, image.size, MADV_HUGEPAGE);
    int fd = open(image.path.c_str(), O_RDONLY);
    size_t done = 0;
    while (done < image.size) {
      ssize_t n = read(fd, static_cast<uint8_t*>(block) + done, image.size - done);
      if (n <= 0) break;
      done += size_t(n);
    }
    close(fd);
    benchmark::DoNotOptimize(block);
    munmap(block, image.size);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(image.size));
}
BENCHMARK(Loader_ReadFileOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

class SymbolLoader final : public Loader {};

void SymbolForAddress(benchmark::State& state, bool ascending) {
  constexpr uint32_t kSymbols = 100000, kSpacing = 64;
  std::vector<image::SymbolRow> rows;
  for (uint32_t i = 0; i < kSymbols; ++i)
    rows.push_back({i * kSpacing, "function_" + std::to_string(i)});
  if (!ascending) std::swap(rows.front(), rows.back());
  std::vector<uint8_t> table = image::SymbolTable(rows);
  std::vector<uint8_t> code(size_t(kSymbols) * kSpacing);
  SymbolLoader loader;
  loader.AdoptImageForTesting(code.data(), uint32_t(code.size()), table.data(),
                              uint32_t(table.size()));
  std::mt19937 random(7);
  std::vector<uintptr_t> addresses(1024);
  for (uintptr_t& address : addresses) address = uintptr_t(code.data()) + random() % code.size();
  size_t next = 0;
  for (auto _ : state) {
    TESSstring name = nullptr;
    int32_t offset = 0;
    loader.SymbolForAddress(addresses[next++ & 1023], &name, &offset);
    RuntimeUnlockString(name);
  }
  loader.AdoptImageForTesting(nullptr, 0, nullptr, 0);
}
void Loader_SymbolForAddressSearched(benchmark::State& state) { SymbolForAddress(state, true); }
void Loader_SymbolForAddressWalked(benchmark::State& state) { SymbolForAddress(state, false); }
BENCHMARK(Loader_SymbolForAddressSearched);
BENCHMARK(Loader_SymbolForAddressWalked);

}  // namespace
