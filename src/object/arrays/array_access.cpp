// Exports that reach an array through its table for callers that do not
// call the table themselves: bounds, byte buffers, and the direct access of
// plug-ins.
#include <bit>
#include <cstring>
#include <type_traits>

#include "object/arrays/array_record.h"
#include "support/assert.h"
#include "support/export.h"

namespace vela {
namespace {

constexpr const char* kReportPath = kArrayReportPath;

template <class T>
intptr_t ReadAs(void* get, RuntimeArray* array, int32_t index) {
  T value = SlotAs<T (*)(RuntimeArray*, int32_t)>(get)(array, index);
  if constexpr (std::is_floating_point_v<T>) {
    // A floating point element comes back as its bits.
    using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
    return intptr_t(std::bit_cast<Bits>(value));
  } else {
    return intptr_t(value);
  }
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t RuntimeUBound2Param(RuntimeArray* array, int32_t dimension) {
  if (!array) {
    RaiseNilObject();
    return 0;
  }
  VELA_ASSERT_TEXT(array->ops && array->ops->ubound, "array->ops->ubound");
  if (!array->ops || !array->ops->ubound) return 0;
  return array->ops->ubound(array, dimension);
}

VELA_EXPORT int32_t RuntimeUBound(RuntimeArray* array) { return RuntimeUBound2Param(array, 1); }

VELA_EXPORT void RuntimeCopyByteArrayToBuffer(void* buffer, int32_t length, RuntimeArray* array) {
  if (!array) {
    RaiseNilObject();
    return;
  }
  VELA_ASSERT_TEXT(array->dimensions == 1, "1 == src->dimensions");
  if (array->dimensions != 1 || !buffer || length <= 0) return;
  const size_t elementSize = size_t(array->ops->elementSize(array));
  const size_t srcBytes = (size_t(array->upperBounds[0]) + 1) * elementSize;
  VELA_ASSERT_TEXT(array->bufferLength >= srcBytes, "src->bufferLength >= srcBytes");
  size_t copied = srcBytes < size_t(length) ? srcBytes : size_t(length);
  if (copied > array->bufferLength) copied = array->bufferLength;
  if (copied) std::memcpy(buffer, array->data, copied);
  std::memset(static_cast<char*>(buffer) + copied, 0, size_t(length) - copied);
}

VELA_EXPORT void RuntimeLockUnlockArrays(RuntimeArray* newValue, RuntimeArray* oldValue) {
  if (newValue == oldValue) return;
  RuntimeLockObject(reinterpret_cast<RuntimeObject*>(newValue));
  RuntimeUnlockObject(reinterpret_cast<RuntimeObject*>(oldValue));
}

VELA_EXPORT void RuntimeLockUnlockObjects(RuntimeObject* newValue, RuntimeObject* oldValue)
    __attribute__((alias("RuntimeLockUnlockArrays")));

VELA_EXPORT void* RuntimeArrayDirectGetGetProc(RuntimeArray* array) {
  return array ? array->ops->get : nullptr;
}

VELA_EXPORT void* RuntimeArrayDirectGetSetProc(RuntimeArray* array) {
  return array ? array->ops->set : nullptr;
}

VELA_EXPORT void* RuntimeArrayDirectGetInsertProc(RuntimeArray* array) {
  return array ? array->ops->insert : nullptr;
}

// Slot 0 with (array, index). The element comes back in one word: narrower
// integers widened by their sign, references and addresses as they are.
VELA_EXPORT intptr_t RuntimeDirectReadIntArray(RuntimeArray* array, int32_t index) {
  if (!array) {
    RaiseNilObject();
    return 0;
  }
  void* get = array->ops->get;
  VELA_ASSERT_TEXT(get, "array->ops->get");
  if (!get) return 0;
  switch (array->ops->elementKind(array)) {
    case kArrayInt32: return ReadAs<int32_t>(get, array, index);
    case kArrayUInt32:
    case kArrayColor: return ReadAs<uint32_t>(get, array, index);
    case kArrayInt16: return ReadAs<int16_t>(get, array, index);
    case kArrayUInt16: return ReadAs<uint16_t>(get, array, index);
    case kArrayInt8: return ReadAs<int8_t>(get, array, index);
    case kArrayUInt8:
    case kArrayBoolean: return ReadAs<uint8_t>(get, array, index);
    case kArrayFloat32: return ReadAs<float>(get, array, index);
    case kArrayFloat64: return ReadAs<double>(get, array, index);
    default: return ReadAs<intptr_t>(get, array, index);
  }
}

VELA_EXPORT intptr_t RuntimeDirectReadStringArray(RuntimeArray* array, int32_t index)
    __attribute__((alias("RuntimeDirectReadIntArray")));
VELA_EXPORT intptr_t RuntimeDirectReadObjectArray(RuntimeArray* array, int32_t index)
    __attribute__((alias("RuntimeDirectReadIntArray")));

VELA_EXPORT void RuntimeDirectReadStructureArray(RuntimeArray* array, int32_t index, void* out) {
  const bool structure =
      array && array->ops->elementKind && array->ops->elementKind(array) == kArrayStructure;
  VELA_ASSERT(structure);
  if (!structure) return;
  void* element = SlotAs<void* (*)(RuntimeArray*, int32_t)>(array->ops->get)(array, index);
  if (element && out) std::memcpy(out, element, size_t(array->ops->elementSize(array)));
}

// Slot 1 with (array, value, index): an object, or the address of a
// structure's bytes.
VELA_EXPORT void RuntimeDirectWriteObjectArray(RuntimeArray* array, void* value, int32_t index) {
  if (!array) {
    RaiseNilObject();
    return;
  }
  VELA_ASSERT_TEXT(array->ops->set, "array->ops->set");
  if (array->ops->set)
    SlotAs<void (*)(RuntimeArray*, void*, int32_t)>(array->ops->set)(array, value, index);
}

VELA_EXPORT void RuntimeDirectWriteStructureArray(RuntimeArray* array, void* value, int32_t index)
    __attribute__((alias("RuntimeDirectWriteObjectArray")));

VELA_EXPORT void RuntimeIntArrayAppend(RuntimeArray* array, int32_t value) {
  if (!array) {
    RaiseNilObject();
    return;
  }
  VELA_ASSERT_TEXT(array->ops->insert, "array->ops->insert");
  if (!array->ops->insert) return;
  SlotAs<void (*)(RuntimeArray*, int32_t, int32_t)>(array->ops->insert)(
      array, RuntimeUBound(array) + 1, value);
}
