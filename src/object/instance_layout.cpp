#include "object/instance_layout.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace vela {
namespace {

inline void* HeapAllocate(size_t prefix, size_t size) {
  if (prefix == 0) return std::calloc(1, size);
  size_t rounded = RoundPrefix(prefix);
  auto* block = static_cast<unsigned char*>(std::calloc(1, size + rounded));
  return block ? block + rounded : nullptr;
}

inline void HeapFree(RuntimeObject* object, size_t prefix) {
  if (!object) return;
  auto* start = reinterpret_cast<unsigned char*>(object);
  std::free(prefix ? start - RoundPrefix(prefix) : start);
}

class HeapAllocationStrategy final : public AllocationStrategy {
 public:
  void* Allocate(RuntimeClass*, size_t prefix, size_t size) override {
    return HeapAllocate(prefix, size);
  }
  void Free(RuntimeObject* object, size_t prefix) override { HeapFree(object, prefix); }
};

// The strategy in force; nil until the first allocation creates the default.
std::atomic<AllocationStrategy*> gStrategy{nullptr};
AllocationStrategy* gDefaultStrategy = nullptr;

}  // namespace

AllocationStrategy& DefaultObjectAllocator() {
  // Never destroyed: objects may still die during static teardown.
  alignas(HeapAllocationStrategy) static unsigned char storage[sizeof(HeapAllocationStrategy)];
  static AllocationStrategy* strategy = gDefaultStrategy = new (storage) HeapAllocationStrategy;
  return *strategy;
}

AllocationStrategy& ObjectAllocator() {
  AllocationStrategy* strategy = gStrategy.load(std::memory_order_acquire);
  if (__builtin_expect(strategy != nullptr, 1)) return *strategy;
  AllocationStrategy* created = &DefaultObjectAllocator();
  AllocationStrategy* expected = nullptr;
  gStrategy.compare_exchange_strong(expected, created, std::memory_order_acq_rel);
  return expected ? *expected : *created;
}

AllocationStrategy* SetObjectAllocator(AllocationStrategy* strategy) {
  AllocationStrategy* previous = gStrategy.exchange(strategy ? strategy : &DefaultObjectAllocator(),
                                                    std::memory_order_acq_rel);
  return previous ? previous : &DefaultObjectAllocator();
}

void* AllocateInstance(RuntimeClass* cls, size_t prefix, size_t size) {
  AllocationStrategy* strategy = gStrategy.load(std::memory_order_acquire);
  if (__builtin_expect(strategy != nullptr && strategy == gDefaultStrategy, 1))
    return HeapAllocate(prefix, size);
  return ObjectAllocator().Allocate(cls, prefix, size);
}

void FreeInstance(RuntimeObject* object, size_t prefix) {
  AllocationStrategy* strategy = gStrategy.load(std::memory_order_acquire);
  if (__builtin_expect(strategy != nullptr && strategy == gDefaultStrategy, 1))
    return HeapFree(object, prefix);
  ObjectAllocator().Free(object, prefix);
}

}  // namespace vela
