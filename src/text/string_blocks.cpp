// The per-thread cache of large string blocks.
#include "text/string_blocks.h"

#include <cstdint>

// Under AddressSanitizer every block goes back to the heap at once, so that
// a use after the last unlock is still caught.
#if defined(__SANITIZE_ADDRESS__)
#define VELA_STRING_BLOCK_CACHE 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELA_STRING_BLOCK_CACHE 0
#endif
#endif
#ifndef VELA_STRING_BLOCK_CACHE
#define VELA_STRING_BLOCK_CACHE 1
#endif

namespace vela {

#if VELA_STRING_BLOCK_CACHE
namespace {

// Block sizes of the classes, four per doubling; larger blocks are not
// cached. A block of a class is allocated at the class size.
constexpr size_t kClassSizes[] = {1280, 1536, 1792, 2048, 2560, 3072,
                                  3584, 4096, 5120, 6144, 7168, 8192};
constexpr int kClassCount = int(sizeof kClassSizes / sizeof kClassSizes[0]);
// Blocks kept per class and thread: at most about 90 KiB per thread.
constexpr uint8_t kBlocksPerClass = 2;

int ClassOf(size_t size) {
  for (int i = 0; i < kClassCount; ++i)
    if (size <= kClassSizes[i]) return i;
  return -1;
}

enum : uint8_t { kUnused, kActive, kClosed };

// Free blocks are linked through their first word.
struct BlockCache {
  void* heads[kClassCount];
  uint8_t counts[kClassCount];
  uint8_t state;
};

constinit thread_local BlockCache tCache{};

// Returns the cached blocks to the heap when the thread ends. Blocks
// released after that (by later thread-exit code) go straight to the heap.
struct CacheReleaser {
  void Arm() {}
  ~CacheReleaser() {
    for (int i = 0; i < kClassCount; ++i) {
      while (void* block = tCache.heads[i]) {
        tCache.heads[i] = *static_cast<void**>(block);
        std::free(block);
      }
      tCache.counts[i] = 0;
    }
    tCache.state = kClosed;
  }
};

thread_local CacheReleaser tReleaser;

}  // namespace

void* AllocateLargeStringBlock(size_t size) {
  const int cls = ClassOf(size);
  if (cls < 0) return std::malloc(size);
  if (void* block = tCache.heads[cls]) {
    tCache.heads[cls] = *static_cast<void**>(block);
    --tCache.counts[cls];
    return block;
  }
  return std::malloc(kClassSizes[cls]);
}

void ReleaseLargeStringBlock(void* block, size_t size) {
  const int cls = ClassOf(size);
  if (cls < 0 || tCache.state == kClosed || tCache.counts[cls] >= kBlocksPerClass) {
    std::free(block);
    return;
  }
  if (tCache.state == kUnused) {
    tReleaser.Arm();  // first use on this thread registers the release at thread end
    tCache.state = kActive;
  }
  *static_cast<void**>(block) = tCache.heads[cls];
  tCache.heads[cls] = block;
  ++tCache.counts[cls];
}

#else

void* AllocateLargeStringBlock(size_t size) { return std::malloc(size); }
void ReleaseLargeStringBlock(void* block, size_t) { std::free(block); }

#endif

}  // namespace vela
