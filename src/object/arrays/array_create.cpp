// The "Array" class, the making of array records, and the creation exports.
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "object/arrays/array_record.h"
#include "object/instance_layout.h"
#include "object/live_list.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "support/simple_vector.h"

namespace vela {
namespace {

constexpr const char* kReportPath = kArrayReportPath;

// An array's finalizer clears it through its own table, which releases its
// elements (or, for a cast wrapper, its inner array) and frees its buffer.
void ArrayFinalizer(RuntimeObject* object) {
  VELA_ASSERT_TEXT(object, "array");
  if (!object) return;
  auto* array = reinterpret_cast<RuntimeArray*>(object);
  if (array->ops && array->ops->clear) array->ops->clear(array);
}

constinit RuntimeClass sArrayClass = [] {
  RuntimeClass cls{};
  cls.name = "Array";
  cls.finalizer = &ArrayFinalizer;
  return cls;
}();

// What a record needs besides its kind: where its bounds start, and for a
// structure array its name and element size.
struct RecordPlan {
  const ArrayOps* ops;
  int32_t dimensions;
  const int32_t* bounds;
  size_t elementSize;
  bool structure;
  const char* structureName;
};

RuntimeArray* BuildArray(const RecordPlan& plan) {
  const bool structure = plan.structure;
  const size_t fixed = structure ? sizeof(RuntimeStructureArray) : sizeof(RuntimeArray);
  // The fixed words and one word per dimension.
  RuntimeObject* object = NewArrayObject(fixed + size_t(plan.dimensions) * sizeof(void*));
  if (!object) return nullptr;

  int32_t* bounds;
  void** data;
  uint32_t* bufferLength;
  auto* array = reinterpret_cast<RuntimeArray*>(object);
  array->ops = plan.ops;
  if (structure) {
    auto* s = reinterpret_cast<RuntimeStructureArray*>(object);
    s->structureName = plan.structureName ? strdup(plan.structureName) : nullptr;
    s->elementSize = plan.elementSize;
    s->dimensions = plan.dimensions;
    s->growthStep = kFirstGrowthStep;
    bounds = s->upperBounds;
    data = &s->data;
    bufferLength = &s->bufferLength;
  } else {
    array->dimensions = plan.dimensions;
    array->growthStep = kFirstGrowthStep;
    bounds = array->upperBounds;
    data = &array->data;
    bufferLength = &array->bufferLength;
  }
  for (int32_t d = 0; d < plan.dimensions; ++d) bounds[d] = plan.bounds[d];

  const uint64_t bytes = ElementCount(bounds, plan.dimensions) * plan.elementSize;
  VELA_ASSERT_TEXT(bytes <= kMaxBufferBytes, "val <= std::numeric_limits<NewT>::max()");
  void* buffer = nullptr;
  if (bytes && bytes <= kMaxBufferBytes) buffer = std::calloc(1, size_t(bytes));
  if (buffer) {
    *data = buffer;
    *bufferLength = uint32_t(bytes);
  } else if (bytes) {
    // No buffer: the array exists and is empty.
    for (int32_t d = 0; d < plan.dimensions; ++d) bounds[d] = -1;
  }
  PublishArray(object);
  return array;
}

// Gathers one bound per dimension, the first given, the rest from `rest`,
// and builds the record. Bounds below -1 raise.
RuntimeArray* BuildFromArguments(RecordPlan plan, int32_t first, va_list rest) {
  VELA_ASSERT_TEXT(plan.dimensions > 0, "dimensions > 0");
  if (plan.dimensions <= 0) return nullptr;
  SimpleVector<int32_t> bounds{};
  bool valid = true;
  for (int32_t d = 0; d < plan.dimensions; ++d) {
    const int32_t bound = d == 0 ? first : va_arg(rest, int32_t);
    valid = valid && bound >= -1;
    bounds.Append(bound);
  }
  RuntimeArray* array = nullptr;
  if (int32_t(bounds.Count()) != plan.dimensions) {
    VELA_ASSERT_TEXT(false, "bounds");
  } else if (!valid) {
    RaiseOutOfBounds();
  } else {
    plan.bounds = bounds.items;
    array = BuildArray(plan);
  }
  bounds.Free();
  return array;
}

}  // namespace

RuntimeClass* ArrayClass() { return &sArrayClass; }

RuntimeObject* NewArrayObject(size_t bytes) {
  auto* object = static_cast<RuntimeObject*>(AllocateInstance(&sArrayClass, 0, bytes));
  VELA_ASSERT_TEXT(object, "array allocation");
  if (!object) return nullptr;
  object->classPtr = &sArrayClass;
  object->vtable = nullptr;
  object->eventTable = nullptr;
  object->objectRefCount = 1;
  return object;
}

void PublishArray(RuntimeObject* object) {
  ObjectLockGuard guard;
  LiveListPrepend(object);
}

RuntimeArray* NewFilledArray(const ArrayOps* ops, int32_t count) {
  const int32_t bound = count - 1;
  RecordPlan plan{ops, 1, &bound, size_t(ops->elementSize(nullptr)), false, nullptr};
  return BuildArray(plan);
}

ArrayShape DescribeArray(RuntimeArray* array) {
  ArrayShape shape;
  if (array && array->ops && IsWrapperTable(array->ops))
    array = reinterpret_cast<RuntimeArrayCastWrapper*>(array)->inner;
  if (!array || !array->ops || !array->ops->elementKind || !array->ops->elementSize) return shape;
  shape.valid = true;
  shape.kind = array->ops->elementKind(array);
  shape.elementSize = size_t(array->ops->elementSize(array));
  if (shape.kind == kArrayStructure) {
    auto* s = reinterpret_cast<RuntimeStructureArray*>(array);
    shape.dimensions = s->dimensions;
    shape.upperBounds = s->upperBounds;
    shape.data = &s->data;
  } else {
    shape.dimensions = array->dimensions;
    shape.upperBounds = array->upperBounds;
    shape.data = &array->data;
  }
  return shape;
}

void RaiseOutOfBounds() { RaiseNamedException("OutOfBoundsException", 0, nullptr); }
void RaiseNilObject() { RaiseNamedException("NilObjectException", 0, nullptr); }
void RaiseOutOfMemory() { RaiseNamedException("OutOfMemoryException", 0, nullptr); }
void RaiseIllegalCast() { RaiseNamedException("IllegalCastException", 0, nullptr); }

}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeArray* CreateArray(int32_t dimensions, int32_t kind, int32_t bound, ...) {
  const ArrayOps* ops = TableFor(kind, dimensions);
  VELA_ASSERT_MSG(ops && kind != kArrayStructure, "false", "Unknown array type %li", long(kind));
  if (!ops || kind == kArrayStructure) return nullptr;
  RecordPlan plan{ops, dimensions, nullptr, size_t(ops->elementSize(nullptr)), false, nullptr};
  va_list rest;
  va_start(rest, bound);
  RuntimeArray* array = BuildFromArguments(plan, bound, rest);
  va_end(rest);
  return array;
}

VELA_EXPORT RuntimeArray* RuntimeCreateStructureArray(const char* name, int32_t dimensions,
                                                      int32_t elementSize, int32_t bound, ...) {
  VELA_ASSERT_TEXT(elementSize > 0, "elementSize > 0");
  if (elementSize <= 0) return nullptr;
  RecordPlan plan{StructureTableFor(dimensions), dimensions, nullptr, size_t(elementSize), true,
                  name};
  va_list rest;
  va_start(rest, bound);
  RuntimeArray* array = BuildFromArguments(plan, bound, rest);
  va_end(rest);
  return array;
}

VELA_EXPORT RuntimeArray* RuntimeArrayCreateSingleDimBoundedArray(int32_t kind, int32_t bound) {
  return CreateArray(1, kind, bound);
}

VELA_EXPORT RuntimeArray* RuntimeCreateByteArrayFromBuffer(const void* buffer, int32_t length) {
  RuntimeArray* array = CreateArray(1, kArrayUInt8, length - 1);
  if (array && array->data && buffer) std::memcpy(array->data, buffer, size_t(length));
  return array;
}
