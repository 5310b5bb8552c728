// Internals shared by the array operations: the array class, record
// allocation, raising, and typed access to the table's untyped slots.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vela/arrays.h"

namespace vela {

// Array records and the wrapper are checked by position; see vela/arrays.h.
static_assert(offsetof(RuntimeArray, ops) == 48 && offsetof(RuntimeArray, data) == 56 &&
              offsetof(RuntimeArray, dimensions) == 64 &&
              offsetof(RuntimeArray, bufferLength) == 68 &&
              offsetof(RuntimeArray, growthStep) == 72 && offsetof(RuntimeArray, upperBounds) == 76);
static_assert(offsetof(RuntimeStructureArray, structureName) == 64 &&
              offsetof(RuntimeStructureArray, elementSize) == 72 &&
              offsetof(RuntimeStructureArray, dimensions) == 80 &&
              offsetof(RuntimeStructureArray, upperBounds) == 92);
static_assert(offsetof(RuntimeArrayCastWrapper, inner) == 64 &&
              offsetof(RuntimeArrayCastWrapper, elementClass) == 72);
static_assert(sizeof(ArrayOps) == 17 * sizeof(void*) &&
              sizeof(StructureArrayOps) == 18 * sizeof(void*));

constexpr const char* kArrayReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

constexpr int32_t kFirstGrowthStep = 16;
constexpr int32_t kLastGrowthStep = 0x20000;
// Element buffers are addressed with 32-bit byte counts below 2 GB.
constexpr uint64_t kMaxBufferBytes = 0x7FFFFFFF;

// The static class of every array: named "Array", with the finalizer that
// clears the array through its own table. It is not on the class list.
RuntimeClass* ArrayClass();

// A zero-filled record of `bytes` with the header set by hand (class
// "Array", count 1, no vtable or event table); nil after an assertion when
// memory is exhausted. PublishArray puts the finished record on the live
// list.
RuntimeObject* NewArrayObject(size_t bytes);
void PublishArray(RuntimeObject* object);

// The table for `kind` in the shape of `dimensions` (1, 2, or more); nil
// for an unknown kind.
const ArrayOps* TableFor(int32_t kind, int32_t dimensions);
// The tables of structure arrays.
const ArrayOps* StructureTableFor(int32_t dimensions);
// A one-dimensional object table whose elements are borrowed words: the
// array neither adds nor drops references on what it holds (its getter
// still gives the caller a reference). For snapshots such as the list of
// live objects.
const ArrayOps* BorrowedObjectTable();

// Is `ops` one of the cast wrapper's tables?
bool IsWrapperTable(const ArrayOps* ops);

// A one-dimensional array of `count` zeroed elements under a table of any
// kind but structures; for library code that fills the buffer itself.
// Tables of every kind but structures answer their element size for a nil
// array.
RuntimeArray* NewFilledArray(const ArrayOps* ops, int32_t count);

// What a caller that only knows "some array" needs: the record's fields
// wherever its layout keeps them. A wrapper is described by its inner array;
// nil describes nothing (`valid` false).
struct ArrayShape {
  bool valid = false;
  int32_t kind = -1;
  int32_t dimensions = 0;
  int32_t* upperBounds = nullptr;
  void** data = nullptr;
  size_t elementSize = 0;
};
ArrayShape DescribeArray(RuntimeArray* array);

// Number of elements in the shape given by `bounds`; 0 when any is empty.
inline uint64_t ElementCount(const int32_t* bounds, int32_t dimensions) {
  uint64_t count = 1;
  for (int32_t d = 0; d < dimensions; ++d) {
    if (bounds[d] < 0) return 0;
    count *= uint64_t(bounds[d]) + 1;
    if (count > kMaxBufferBytes) return kMaxBufferBytes + 1;  // no overflow
  }
  return count;
}

// Raises, kept out of the hot paths.
[[gnu::cold, gnu::noinline]] void RaiseOutOfBounds();
[[gnu::cold, gnu::noinline]] void RaiseNilObject();
[[gnu::cold, gnu::noinline]] void RaiseOutOfMemory();
[[gnu::cold, gnu::noinline]] void RaiseIllegalCast();

// A table slot as the function type it holds.
template <class F>
inline F SlotAs(void* slot) {
  return reinterpret_cast<F>(slot);
}
template <class F>
inline void* AsSlot(F function) {
  return reinterpret_cast<void*>(function);
}

}  // namespace vela
