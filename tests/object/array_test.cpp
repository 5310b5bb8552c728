// Array records, shapes, bounds, growth and the creation and access exports.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "array_test_support.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object_test_support.h"

namespace {

using namespace arraytest;
using objtest::RaiseRecorder;
using objtest::Strings;
using vela::testkit::LeakCheck;
using vela::testkit::RecordingReporter;

TEST(ArrayCreate, EmptyArrayHasNoBufferAndTakesAnAppend) {
  LeakCheck leaks;
  Held a(CreateArray(1, kArrayInt32, -1));
  EXPECT_EQ(a->data, nullptr);
  EXPECT_EQ(a->bufferLength, 0u);
  EXPECT_EQ(RuntimeUBound(a), -1);
  EXPECT_EQ(a->header.classPtr->name, std::string("Array"));
  EXPECT_EQ(a->header.objectRefCount, 1);
  Insert<int32_t>(a, 0, 42);
  EXPECT_EQ(RuntimeUBound(a), 0);
  EXPECT_EQ(Get<int32_t>(a, 0), 42);
  EXPECT_EQ(a->bufferLength, 16u * 4);
}

TEST(ArrayCreate, BuffersAreZeroedAndSizedByEveryDimension) {
  LeakCheck leaks;
  Held a(CreateArray(3, kArrayInt16, 1, 2, 3));
  EXPECT_EQ(a->dimensions, 3);
  EXPECT_EQ(a->bufferLength, 2u * 3 * 4 * 2);
  EXPECT_EQ(a->growthStep, 16);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(static_cast<int16_t*>(a->data)[i], 0);
  Held empty(CreateArray(2, kArrayInt16, 5, -1));
  EXPECT_EQ(empty->data, nullptr);

  RecordingReporter reporter;
  EXPECT_EQ(CreateArray(1, 99, 3), nullptr);
  ASSERT_EQ(reporter.count(), 1u);
  EXPECT_EQ(reporter.reports()[0].condition, "false");
  EXPECT_EQ(reporter.reports()[0].message, "Unknown array type 99");
  // 2 GB and more: reported, and the array exists but is empty.
  Held huge(CreateArray(2, kArrayInt64, 99999, 99999));
  EXPECT_TRUE(reporter.Saw("val <= std::numeric_limits<NewT>::max()"));
  EXPECT_EQ(Bound(huge, 1), -1);
  EXPECT_EQ(Bound(huge, 2), -1);
  EXPECT_EQ(huge->data, nullptr);
}

TEST(ArrayKinds, EveryKindHasItsSizeKindAndValues) {
  LeakCheck leaks;
  const int32_t sizes[] = {4, 4, 8, 8, 8, 1, 1, 2, 2, 4, 8, 8, -1, 8, 4, 8, 1, 8, 8, 8};
  for (int32_t kind = 0; kind < 20; ++kind) {
    if (kind == kArrayStructure) continue;
    for (int32_t dims = 1; dims <= 3; ++dims) {
      Held a(CreateArray(dims, kind, 2, 2, 2));
      EXPECT_EQ(a->ops->elementSize(a), sizes[kind]) << kind;
      EXPECT_EQ(Kind(a), kind == kArrayObjectAlias ? kArrayObject : kind);
      EXPECT_EQ(a->bufferLength, uint32_t(sizes[kind]) * (dims == 1 ? 3 : dims == 2 ? 9 : 27));
      EXPECT_EQ(a->ops->insert == nullptr, dims > 1);
    }
  }
  // Values keep their width and sign through the table.
  Held i8(CreateArray(1, kArrayInt8, 0)), u16(CreateArray(1, kArrayUInt16, 0)),
      f32(CreateArray(1, kArrayFloat32, 0)), f64(CreateArray(1, kArrayFloat64, 0)),
      cur(CreateArray(1, kArrayCurrency, 0));
  Set<int8_t>(i8, -5, 0);
  Set<uint16_t>(u16, 65535, 0);
  Set<float>(f32, 1.5f, 0);
  Set<double>(f64, -2.25, 0);
  Set<int64_t>(cur, int64_t(1) << 40, 0);
  EXPECT_EQ(Get<int8_t>(i8, 0), -5);
  EXPECT_EQ(Get<uint16_t>(u16, 0), 65535);
  EXPECT_EQ(Get<float>(f32, 0), 1.5f);
  EXPECT_EQ(Get<double>(f64, 0), -2.25);
  EXPECT_EQ(Get<int64_t>(cur, 0), int64_t(1) << 40);
  EXPECT_EQ(RuntimeDirectReadIntArray(i8, 0), -5);
  EXPECT_EQ(RuntimeDirectReadIntArray(u16, 0), 65535);
}

TEST(ArrayBounds, OutsideRaisesAndChangesNothing) {
  LeakCheck leaks;
  RaiseRecorder raises;
  Held a(CreateArray(1, kArrayInt32, 2));
  Set<int32_t>(a, 7, 2);
  EXPECT_EQ(Get<int32_t>(a, 3), 0);
  EXPECT_EQ(Get<int32_t>(a, -1), 0);
  Set<int32_t>(a, 9, 3);
  Set<int32_t>(a, 9, -1);
  EXPECT_EQ(raises.raises(), Strings(4, "OutOfBoundsException"));
  EXPECT_EQ(Get<int32_t>(a, 2), 7);

  Held b(CreateArray(2, kArrayInt32, 1, 4));
  EXPECT_EQ(a->ops->ubound(a, -1), 1);
  EXPECT_EQ(RuntimeUBound2Param(b, -1), 2);
  EXPECT_EQ(RuntimeUBound2Param(b, 2), 4);
  EXPECT_EQ(b->ops->lbound(b, 2), 0);
  EXPECT_EQ(RuntimeUBound2Param(b, 0), -1);
  EXPECT_EQ(RuntimeUBound2Param(b, 3), -1);
  EXPECT_EQ(b->ops->lbound(b, 3), -1);
  EXPECT_EQ(RuntimeUBound(nullptr), 0);
  EXPECT_EQ(raises.raises().size(), 8u);
  EXPECT_EQ(raises.raises().back(), "NilObjectException");
}

TEST(ArrayShapes, TwoAndMoreDimensionsIndexFirstFastest) {
  LeakCheck leaks;
  Held a(CreateArray(2, kArrayInt32, 3, 2));  // 4 x 3
  Set<int32_t>(a, 11, 3, 0);
  Set<int32_t>(a, 22, 0, 1);
  Set<int32_t>(a, 33, 3, 2);
  auto* flat = static_cast<int32_t*>(a->data);
  EXPECT_EQ(flat[3], 11);   // first index at its bound, second at 0
  EXPECT_EQ(flat[4], 22);
  EXPECT_EQ(flat[11], 33);
  EXPECT_EQ(Get<int32_t>(a, 3, 2), 33);

  Held c(CreateArray(3, kArrayInt64, 1, 2, 3));  // 2 x 3 x 4
  using Set3 = void (*)(RuntimeArray*, int64_t, int32_t, ...);
  using Get3 = int64_t (*)(RuntimeArray*, int32_t, ...);
  SlotAs<Set3>(c->ops->set)(c, 5, 1, 2, 3);
  SlotAs<Set3>(c->ops->set)(c, 6, 1, 0, 1);
  EXPECT_EQ(static_cast<int64_t*>(c->data)[1 + 2 * 2 + 3 * 6], 5);
  EXPECT_EQ(SlotAs<Get3>(c->ops->get)(c, 1, 0, 1), 6);
  RaiseRecorder raises;
  EXPECT_EQ(SlotAs<Get3>(c->ops->get)(c, 0, 3, 0), 0);
  EXPECT_EQ(raises.raises(), Strings{"OutOfBoundsException"});
}

TEST(ArrayGrowth, StepDoublesFrom16UpTo0x20000) {
  LeakCheck leaks;
  Held a(CreateArray(1, kArrayUInt8, 15));
  std::vector<int32_t> steps;  // growth added at each overflow, in elements
  uint32_t capacity = a->bufferLength;
  for (int32_t i = 16; i < 600000; ++i) {
    Insert<uint8_t>(a, RuntimeUBound(a) + 1, uint8_t(i));
    if (a->bufferLength != capacity) {
      steps.push_back(int32_t(a->bufferLength - capacity));
      capacity = a->bufferLength;
    }
  }
  std::vector<int32_t> expected;
  for (int32_t step = 16; step <= 0x20000; step *= 2) expected.push_back(step);
  expected.push_back(0x20000);
  expected.push_back(0x20000);
  ASSERT_GE(steps.size(), expected.size());
  steps.resize(expected.size());
  EXPECT_EQ(steps, expected);
  EXPECT_EQ(a->growthStep, 0x20000);
  EXPECT_EQ(Get<uint8_t>(a, 599999), uint8_t(599999));

  Redim(a, RuntimeUBound(a));  // the same bound changes nothing
  EXPECT_EQ(a->growthStep, 0x20000);
  Redim(a, 9);
  EXPECT_EQ(a->growthStep, 16);
  EXPECT_EQ(a->bufferLength, 10u);
}

TEST(ArrayRedim, OneDimensionKeepsTheFrontAndZeroesTheRest) {
  LeakCheck leaks;
  RaiseRecorder raises;
  Held a(CreateArray(1, kArrayInt32, 9));
  for (int32_t i = 0; i <= 9; ++i) Set<int32_t>(a, i + 100, i);
  Redim(a, 4);
  Redim(a, 7);
  for (int32_t i = 0; i <= 4; ++i) EXPECT_EQ(Get<int32_t>(a, i), i + 100);
  for (int32_t i = 5; i <= 7; ++i) EXPECT_EQ(Get<int32_t>(a, i), 0) << i;
  Redim(a, -2);
  EXPECT_EQ(raises.raises(), Strings{"OutOfBoundsException"});
  EXPECT_EQ(RuntimeUBound(a), 7);
  Redim(a, -1);
  EXPECT_EQ(a->data, nullptr);
  EXPECT_EQ(RuntimeUBound(a), -1);
}

TEST(ArrayRedim, ManyDimensionsKeepEveryElementValidInBothShapes) {
  LeakCheck leaks;
  Held a(CreateArray(3, kArrayInt32, 2, 3, 1));  // 3 x 4 x 2
  using Set3 = void (*)(RuntimeArray*, int32_t, int32_t, ...);
  using Get3 = int32_t (*)(RuntimeArray*, int32_t, ...);
  using RedimMany = void (*)(RuntimeArray*, int32_t, ...);
  auto code = [](int i, int j, int k) { return 100 * i + 10 * j + k + 1; };
  for (int i = 0; i <= 2; ++i)
    for (int j = 0; j <= 3; ++j)
      for (int k = 0; k <= 1; ++k) SlotAs<Set3>(a->ops->set)(a, code(i, j, k), i, j, k);
  SlotAs<RedimMany>(a->ops->redim)(a, 4, 1, 2);  // 5 x 2 x 3
  EXPECT_EQ(a->bufferLength, 5u * 2 * 3 * 4);
  for (int i = 0; i <= 4; ++i)
    for (int j = 0; j <= 1; ++j)
      for (int k = 0; k <= 2; ++k)
        EXPECT_EQ(SlotAs<Get3>(a->ops->get)(a, i, j, k), i <= 2 && k <= 1 ? code(i, j, k) : 0)
            << i << j << k;

  Held b(CreateArray(2, kArrayInt32, 2, 2));
  Set<int32_t>(b, 9, 2, 2);
  SlotAs<RedimMany>(b->ops->redim)(b, 2, -1);
  EXPECT_EQ(b->data, nullptr);
  EXPECT_EQ(Bound(b, 1), 2);
  EXPECT_EQ(Bound(b, 2), -1);
}

TEST(ArrayInsertRemove, ShiftAndTrimExactly) {
  LeakCheck leaks;
  RaiseRecorder raises;
  Held a(CreateArray(1, kArrayInt32, -1));
  for (int32_t v : {1, 2, 4}) RuntimeIntArrayAppend(a, v);
  Insert<int32_t>(a, 2, 3);
  Insert<int32_t>(a, 0, 0);
  Insert<int32_t>(a, 6, 9);  // beyond the end
  for (int32_t i = 0; i <= 4; ++i) EXPECT_EQ(Get<int32_t>(a, i), i);
  a->ops->remove(a, 0);
  EXPECT_EQ(a->bufferLength, 4u * 4);
  EXPECT_EQ(a->growthStep, 16);
  EXPECT_EQ(Get<int32_t>(a, 0), 1);
  EXPECT_EQ(Get<int32_t>(a, 3), 4);
  a->ops->remove(a, 4);
  a->ops->remove(nullptr, 0);
  EXPECT_EQ(raises.raises(), Strings(3, "OutOfBoundsException"));
  for (int n = 0; n < 4; ++n) a->ops->remove(a, RuntimeUBound(a));
  EXPECT_EQ(RuntimeUBound(a), -1);
  EXPECT_EQ(a->data, nullptr);

  RecordingReporter reporter;
  Held two(CreateArray(2, kArrayInt32, 1, 1));
  SlotAs<void (*)(RuntimeArray*, int32_t, int32_t)>(a->ops->insert)(two, 0, 1);
  EXPECT_TRUE(reporter.Saw("1 == array->dimensions"));
}

TEST(ArrayStructures, ElementsAreInlineBytesOfTheGivenSize) {
  LeakCheck leaks;
  struct Point {
    int32_t x, y, z;
  };
  Held a(RuntimeCreateStructureArray("Point", 1, sizeof(Point), 1));
  auto* s = reinterpret_cast<RuntimeStructureArray*>(a.a);
  EXPECT_EQ(s->elementSize, sizeof(Point));
  EXPECT_EQ(s->bufferLength, 2 * sizeof(Point));
  auto* table = reinterpret_cast<const StructureArrayOps*>(a->ops);
  EXPECT_STREQ(table->structureName(a), "Point");
  EXPECT_EQ(Kind(a), kArrayStructure);
  EXPECT_EQ(a->ops->sort, nullptr);
  EXPECT_EQ(a->ops->sortWith, nullptr);
  EXPECT_EQ(a->ops->indexOf, nullptr);
  EXPECT_EQ(a->ops->sortDelegate, nullptr);

  Point p{1, 2, 3}, q{4, 5, 6};
  Set<const void*>(a, &p, 1);
  Insert<const void*>(a, 0, &q);
  auto* first = Get<Point*>(a, 0);
  EXPECT_EQ(first, s->data);  // the element itself, not a copy
  EXPECT_EQ(first->z, 6);
  Point out{};
  RuntimeDirectReadStructureArray(a, 2, &out);
  EXPECT_EQ(out.y, 2);
  RuntimeDirectWriteStructureArray(a, &p, 0);
  EXPECT_EQ(Get<Point*>(a, 0)->x, 1);

  a->ops->clear(a);
  EXPECT_EQ(table->structureName(a), nullptr);
  EXPECT_EQ(RuntimeUBound(a), -1);
}

TEST(ArrayExports, ByteBuffersCopyTheSmallerAndZeroFill) {
  LeakCheck leaks;
  const unsigned char bytes[] = {1, 2, 3, 4, 5};
  Held a(RuntimeCreateByteArrayFromBuffer(bytes, 5));
  EXPECT_EQ(Kind(a), kArrayUInt8);
  EXPECT_EQ(RuntimeUBound(a), 4);
  unsigned char wide[8], narrow[3];
  std::memset(wide, 0xEE, sizeof wide);
  RuntimeCopyByteArrayToBuffer(wide, 8, a);
  EXPECT_EQ(std::memcmp(wide, "\1\2\3\4\5\0\0\0", 8), 0);
  RuntimeCopyByteArrayToBuffer(narrow, 3, a);
  EXPECT_EQ(std::memcmp(narrow, "\1\2\3", 3), 0);
  Held empty(RuntimeCreateByteArrayFromBuffer(nullptr, 0));
  EXPECT_EQ(RuntimeUBound(empty), -1);

  EXPECT_EQ(RuntimeArrayDirectGetGetProc(a), a->ops->get);
  EXPECT_EQ(RuntimeArrayDirectGetSetProc(a), a->ops->set);
  EXPECT_EQ(RuntimeArrayDirectGetInsertProc(a), a->ops->insert);
  EXPECT_EQ(RuntimeDirectReadIntArray(a, 4), 5);

  RuntimeArray* other = CreateArray(1, kArrayInt32, 0);
  RuntimeLockArray(AsObject(a));
  RuntimeLockUnlockArrays(other, a);
  EXPECT_EQ(other->header.objectRefCount, 2);
  EXPECT_EQ(a->header.objectRefCount, 1);
  RuntimeLockUnlockObjects(AsObject(other), AsObject(other));  // the same value: nothing
  EXPECT_EQ(other->header.objectRefCount, 2);
  RuntimeUnlockArray(AsObject(other));
  RuntimeUnlockArray(AsObject(other));
}

TEST(ArrayDiagnostics, ObjectListIsASnapshotWithoutReferences) {
  LeakCheck leaks;
  Held a(CreateArray(1, kArrayInt32, 0)), b(CreateArray(1, kArrayInt32, 0)),
      c(CreateArray(1, kArrayInt32, 0));
  const int32_t live = RuntimeDebugObjectCount();
  auto* list = reinterpret_cast<RuntimeArray*>(RuntimeDebugCopyObjectList());
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Kind(list), kArrayObject);
  ASSERT_EQ(RuntimeUBound(list), live - 2);  // the oldest object is left out
  RuntimeObject* newest = Get<RuntimeObject*>(list, 0);
  EXPECT_EQ(newest, AsObject(c));
  EXPECT_EQ(c->header.objectRefCount, 2);  // the getter's reference
  RuntimeUnlockObject(newest);
  EXPECT_EQ(static_cast<RuntimeObject**>(list->data)[1], AsObject(b));
  RuntimeUnlockArray(AsObject(list));
  for (RuntimeArray* x : {a.a, b.a, c.a}) EXPECT_EQ(x->header.objectRefCount, 1);
}

}  // namespace
