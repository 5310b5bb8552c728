// Heap blocks of string records. Small blocks come straight from malloc,
// whose per-thread cache already makes them cheap. Larger ones, which the C
// library serves from its shared bins at several times the cost, are kept in
// a small per-thread cache of size classes, so that a string made and
// dropped in a loop costs about what a small one does.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace vela {

// The largest request that glibc's per-thread cache serves.
inline constexpr size_t kSmallStringBlock = 1032;

void* AllocateLargeStringBlock(size_t size);
void ReleaseLargeStringBlock(void* block, size_t size);

// `size` must be the same for the allocation and the release of a block.
inline void* AllocateStringBlock(size_t size) {
  return size <= kSmallStringBlock ? std::malloc(size) : AllocateLargeStringBlock(size);
}

inline void ReleaseStringBlock(void* block, size_t size) {
  if (size <= kSmallStringBlock)
    std::free(block);
  else
    ReleaseLargeStringBlock(block, size);
}

}  // namespace vela
