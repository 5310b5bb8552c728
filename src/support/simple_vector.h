// SimpleVector: the library's growing vector for native structures that are
// read by position. A plain record (count, capacity, items) that starts out
// all zero, so a zero-filled object already holds an empty one; Free releases
// the storage. It grows by at least 16 elements at a time. An index beyond
// the capacity is an assertion failure; a write beyond the count extends it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "support/assert.h"

namespace vela {

template <class T>
struct SimpleVector {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");

  uint32_t count;
  uint32_t capacity;
  T* items;

  uint32_t Count() const { return count; }
  bool Empty() const { return count == 0; }
  T* begin() { return items; }
  T* end() { return items + count; }

  void Reserve(uint32_t wanted) {
    if (wanted <= capacity) return;
    uint32_t grown = capacity + (capacity / 2 > 16 ? capacity / 2 : 16);
    if (grown < wanted) grown = wanted;
    void* storage = std::realloc(items, size_t(grown) * sizeof(T));
    if (!storage) return;
    items = static_cast<T*>(storage);
    std::memset(static_cast<void*>(items + capacity), 0, size_t(grown - capacity) * sizeof(T));
    capacity = grown;
  }

  void Append(const T& value) {
    Reserve(count + 1);
    if (count < capacity) items[count++] = value;
  }

  // The element at `index`; an index at or beyond the count extends it. An
  // index beyond the capacity is a fault of the caller: it is reported, and
  // the vector grows so that the write still lands in owned memory.
  T& At(uint32_t index) {
    constexpr const char* kReportPath = "Universal/SimpleVector";
    VELA_ASSERT(index < capacity);
    if (index >= capacity) Reserve(index + 1);
    if (index >= count) count = index + 1;
    return items[index];
  }

  void RemoveAt(uint32_t index) {
    if (index >= count) return;
    std::memmove(static_cast<void*>(items + index), items + index + 1,
                 size_t(count - index - 1) * sizeof(T));
    --count;
  }

  // Removes every element equal to `value`; returns how many.
  uint32_t RemoveAll(const T& value) {
    uint32_t removed = 0;
    for (uint32_t i = count; i-- > 0;)
      if (items[i] == value) {
        RemoveAt(i);
        ++removed;
      }
    return removed;
  }

  void Free() {
    std::free(items);
    items = nullptr;
    count = capacity = 0;
  }
};

}  // namespace vela
