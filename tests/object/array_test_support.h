// Calls into an array's table the way compiled code makes them, and a holder
// that releases an array at the end of a test.
#pragma once

#include <cstdint>

#include "vela/arrays.h"

namespace arraytest {

template <class F>
F SlotAs(void* slot) {
  return reinterpret_cast<F>(slot);
}

template <class T>
T Get(RuntimeArray* a, int32_t i) {
  return SlotAs<T (*)(RuntimeArray*, int32_t)>(a->ops->get)(a, i);
}
template <class T>
T Get(RuntimeArray* a, int32_t i, int32_t j) {
  return SlotAs<T (*)(RuntimeArray*, int32_t, int32_t)>(a->ops->get)(a, i, j);
}
template <class T>
void Set(RuntimeArray* a, T value, int32_t i) {
  SlotAs<void (*)(RuntimeArray*, T, int32_t)>(a->ops->set)(a, value, i);
}
template <class T>
void Set(RuntimeArray* a, T value, int32_t i, int32_t j) {
  SlotAs<void (*)(RuntimeArray*, T, int32_t, int32_t)>(a->ops->set)(a, value, i, j);
}
template <class T>
void Insert(RuntimeArray* a, int32_t i, T value) {
  SlotAs<void (*)(RuntimeArray*, int32_t, T)>(a->ops->insert)(a, i, value);
}
template <class T>
int32_t IndexOf(RuntimeArray* a, T value, int32_t start) {
  return SlotAs<int32_t (*)(RuntimeArray*, T, int32_t)>(a->ops->indexOf)(a, value, start);
}
inline void Redim(RuntimeArray* a, int32_t bound) {
  SlotAs<void (*)(RuntimeArray*, int32_t)>(a->ops->redim)(a, bound);
}
inline int32_t Kind(RuntimeArray* a) { return a->ops->elementKind(a); }
inline int32_t Bound(RuntimeArray* a, int32_t dimension = 1) { return a->ops->ubound(a, dimension); }
inline RuntimeObject* AsObject(RuntimeArray* a) { return reinterpret_cast<RuntimeObject*>(a); }

// Owns one array reference for the length of a scope.
struct Held {
  RuntimeArray* a;
  explicit Held(RuntimeArray* array) : a(array) {}
  ~Held() { RuntimeUnlockArray(AsObject(a)); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  RuntimeArray* operator->() const { return a; }
  operator RuntimeArray*() const { return a; }
};

// A record with a delegate's layout whose invoker counts its calls; only
// the invoker word is read by SortDelegate.
template <class T>
struct CountingComparator {
  RuntimeObject header{};
  void* invoker = reinterpret_cast<void*>(&Invoke);
  static inline uint64_t calls = 0;
  static int32_t Invoke(RuntimeObject*, T a, T b) {
    ++calls;
    return a < b ? -1 : (b < a ? 1 : 0);
  }
  RuntimeObject* object() { return &header; }
};

}  // namespace arraytest
