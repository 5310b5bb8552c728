// What the element kinds hold and how they order: references, Sort,
// SortWith, SortDelegate, IndexOf, Shuffle, and the cast wrapper.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "array_test_support.h"
#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "vela/auto.h"
#include "vela/events.h"
#include "object_test_support.h"
#include "text/string_create.h"

namespace {

using namespace arraytest;
using objtest::RaiseRecorder;
using objtest::Strings;
using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::LeakCheck;
using vela::testkit::RecordingReporter;

TESSstring Str(const char* text) { return vela::NewString(text, -1, kEncodingUTF8); }
std::string Text(TESSstring s) { return s ? std::string(vela::StringText(s), s->mLength) : ""; }

// Reads element i as text, dropping the getter's reference.
std::string At(RuntimeArray* a, int32_t i) {
  TESSstring s = Get<TESSstring>(a, i);
  std::string text = Text(s);
  RuntimeUnlockString(s);
  return text;
}

std::vector<int32_t> Ints(RuntimeArray* a) {
  auto* p = static_cast<int32_t*>(a->data);
  return std::vector<int32_t>(p, p + RuntimeUBound(a) + 1);
}

Held IntArray(const std::vector<int32_t>& values) {
  RuntimeArray* a = CreateArray(1, kArrayInt32, int32_t(values.size()) - 1);
  std::copy(values.begin(), values.end(), static_cast<int32_t*>(a->data));
  return Held(a);
}

TEST(ArrayReferences, StringsAreReleasedByEveryOperationThatDropsThem) {
  LeakCheck leaks;
  {
    Held a(CreateArray(1, kArrayString, 3));
    for (int32_t i = 0; i <= 3; ++i) {
      TESSstring s = Str(("s" + std::to_string(i)).c_str());
      Set<TESSstring>(a, s, i);
      RuntimeUnlockString(s);  // the array holds the only reference now
    }
    TESSstring s1 = Get<TESSstring>(a, 1);
    EXPECT_EQ(s1->mRefCount, 2);
    RuntimeUnlockString(s1);
    TESSstring x = Str("x");
    Set<TESSstring>(a, x, 0);  // releases "s0"
    Insert<TESSstring>(a, 4, x);
    RuntimeUnlockString(x);
    EXPECT_EQ(x->mRefCount, 2);
    a->ops->remove(a, 1);  // releases "s1"
    EXPECT_EQ(leaks.StringDelta(), 3);
    Redim(a, 1);  // releases "s3" and one "x"
    EXPECT_EQ(leaks.StringDelta(), 2);
    EXPECT_EQ(At(a, 0) + At(a, 1), "xs2");
  }  // the finalizer releases the rest
  {
    Held grid(CreateArray(2, kArrayString, 1, 1));
    TESSstring s = Str("cell");
    for (int32_t i = 0; i < 4; ++i) Set<TESSstring>(grid, s, i % 2, i / 2);
    RuntimeUnlockString(s);
    using RedimMany = void (*)(RuntimeArray*, int32_t, ...);
    SlotAs<RedimMany>(grid->ops->redim)(grid, 0, 1);  // drops two cells
    EXPECT_EQ(s->mRefCount, 2);
  }
  EXPECT_TRUE(leaks.NothingLeaked());
}

TEST(ArrayReferences, ObjectsAreCountedAndWrappersCheckTheirClass) {
  ClassScope classes;
  RuntimeClass* base = classes.Build(ClassBuilder("Shape"));
  RuntimeClass* derived = classes.Build(ClassBuilder("Circle").Base(base));
  LeakCheck leaks;
  RaiseRecorder raises;
  RuntimeObject* circle = RuntimeNewObject(derived);
  RuntimeObject* shape = RuntimeNewObject(base);
  {
    Held circles(CreateArray(1, kArrayObject, 1));
    Set<RuntimeObject*>(circles, circle, 0);
    EXPECT_EQ(circle->objectRefCount, 2);

    Held shapes(RuntimeCreateArrayCastWrapper(circles, base));
    Held view(RuntimeCreateArrayCastWrapper(circles, derived));
    EXPECT_NE(view.a, circles.a);
    EXPECT_EQ(circles->header.objectRefCount, 3);
    EXPECT_EQ(Kind(view), kArrayObject);
    EXPECT_EQ(view->ops->elementSize(view), 8);
    RuntimeArray* again = RuntimeCreateArrayCastWrapper(view, base);
    EXPECT_EQ(again, view.a);  // a wrapper is not wrapped twice
    RuntimeUnlockArray(AsObject(again));

    Set<RuntimeObject*>(view, shape, 1);  // a Shape is no Circle
    Insert<RuntimeObject*>(view, 0, shape);
    EXPECT_EQ(raises.raises(), Strings(2, "IllegalCastException"));
    EXPECT_EQ(RuntimeUBound(circles), 1);
    Set<RuntimeObject*>(view, nullptr, 0);  // nil is fine
    Set<RuntimeObject*>(shapes, shape, 1);  // the base view admits both
    Insert<RuntimeObject*>(view, 2, circle);
    EXPECT_EQ(view->data, circles->data);
    RuntimeObject* read = Get<RuntimeObject*>(view, 2);
    EXPECT_EQ(read, circle);
    RuntimeUnlockObject(read);
    EXPECT_EQ(IndexOf<RuntimeObject*>(view, circle, 0), 2);
    EXPECT_EQ(circle->objectRefCount, 2);
    EXPECT_EQ(shape->objectRefCount, 2);
    EXPECT_EQ(raises.raises().size(), 2u);
  }
  EXPECT_EQ(circle->objectRefCount, 1);
  EXPECT_EQ(shape->objectRefCount, 1);
  RuntimeUnlockObject(circle);
  RuntimeUnlockObject(shape);
}

// Auto elements hold what their words hold and sort in the language's
// order of Autos (Nil last).
TEST(ArrayReferences, AutoElementsHoldTheirValues) {
  LeakCheck leaks;
  Held a(CreateArray(1, kArrayAuto, 2));
  EXPECT_EQ(a->ops->elementSize(a), 8);
  TESSstring s = vela::NewString("abc", 3, kEncodingUTF8);
  VelaAutoWord text = RuntimeCreateAutoFromString(s);
  Set<VelaAutoWord>(a, text, 0);
  EXPECT_EQ(s->mRefCount, 3);  // the caller, the word, the element
  RuntimeUnlockAuto(text);
  Set<VelaAutoWord>(a, RuntimeCreateAutoFromInt32(5), 1);
  Set<VelaAutoWord>(a, 0, 2);
  Insert<VelaAutoWord>(a, 0, RuntimeCreateAutoFromInt32(3));
  Set<VelaAutoWord>(a, RuntimeCreateAutoFromInt32(3), 0);
  EXPECT_EQ(IndexOf<VelaAutoWord>(a, RuntimeCreateAutoFromInt32(5), 0), 2);
  VelaAutoWord box = RuntimeCreateAutoFromDouble(4.5);
  Set<VelaAutoWord>(a, box, 1);  // the element holds its own reference to the box
  RuntimeUnlockAuto(box);
  a->ops->sort(a);
  EXPECT_EQ(RuntimeConvertAutoToInt32(Get<VelaAutoWord>(a, 0)), 3);
  VelaAutoWord second = Get<VelaAutoWord>(a, 1);  // given out with a reference
  EXPECT_EQ(RuntimeConvertAutoToDouble(second), 4.5);
  RuntimeUnlockAuto(second);
  EXPECT_EQ(Get<VelaAutoWord>(a, 3), 0u);  // Nil sorts last
  RuntimeUnlockString(s);
}

TEST(ArraySort, OrdersLikeStdSort) {
  LeakCheck leaks;
  std::mt19937 random(7);
  for (size_t n : {0, 1, 2, 31, 33, 129, 5000}) {
    std::vector<int32_t> values(n);
    for (auto& v : values) v = int32_t(random() % 200) - 100;
    Held a = IntArray(values);
    a->ops->sort(a);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(Ints(a), values) << n;
  }
  Held d(CreateArray(1, kArrayFloat64, 3));
  const double ds[] = {2.5, -1, 1e300, 0};
  std::copy(ds, ds + 4, static_cast<double*>(d->data));
  d->ops->sort(d);
  EXPECT_EQ(Get<double>(d, 0), -1);
  EXPECT_EQ(Get<double>(d, 3), 1e300);
  Held u(CreateArray(1, kArrayUInt32, 1));
  Set<uint32_t>(u, 0x80000000u, 0);
  Set<uint32_t>(u, 1, 1);
  u->ops->sort(u);
  EXPECT_EQ(Get<uint32_t>(u, 0), 1u);
}

TEST(ArraySort, StringsIgnoreCase) {
  LeakCheck leaks;
  Held a(CreateArray(1, kArrayString, -1));
  for (const char* text : {"b", "A", "C", "a"}) {
    TESSstring s = Str(text);
    Insert<TESSstring>(a, RuntimeUBound(a) + 1, s);
    RuntimeUnlockString(s);
  }
  a->ops->sort(a);
  std::string front = At(a, 0) + At(a, 1);
  EXPECT_TRUE(front == "aA" || front == "Aa") << front;
  EXPECT_EQ(At(a, 2) + At(a, 3), "bC");
  TESSstring key = Str("c");
  EXPECT_EQ(IndexOf<TESSstring>(a, key, 0), 3);
  RuntimeUnlockString(key);
  EXPECT_EQ(IndexOf<TESSstring>(a, nullptr, 0), -1);  // nil equals only nil
}

// Counts comparisons through SortDelegate to show n log n on the inputs
// that break naive quicksorts.
TEST(ArraySort, StaysNLogNOnSortedReversedEqualAndOrganPipeInput) {
  LeakCheck leaks;
  const int32_t n = 1 << 16;
  std::vector<std::pair<std::string, std::vector<int32_t>>> inputs(4);
  for (int32_t i = 0; i < n; ++i) {
    inputs[0].second.push_back(i);
    inputs[1].second.push_back(n - i);
    inputs[2].second.push_back(7);
    inputs[3].second.push_back(i < n / 2 ? i : n - i);
  }
  inputs[0].first = "sorted", inputs[1].first = "reversed", inputs[2].first = "equal",
  inputs[3].first = "organ pipe";
  CountingComparator<int32_t> comparator;
  for (auto& [name, values] : inputs) {
    Held a = IntArray(values);
    comparator.calls = 0;
    a->ops->sortDelegate(a, comparator.object());
    std::sort(values.begin(), values.end());
    EXPECT_EQ(Ints(a), values) << name;
    EXPECT_LT(comparator.calls, uint64_t(5 * n * 16)) << name;  // 5 n log2 n
  }
  RaiseRecorder raises;
  Held a = IntArray({3, 1});
  a->ops->sortDelegate(a, nullptr);
  EXPECT_EQ(raises.raises(), Strings{"NilObjectException"});
}

// A comparison that contradicts itself gives an arbitrary order but never
// loses, duplicates or reaches past an element.
int32_t Coin(RuntimeObject*, int32_t, int32_t) {
  static std::mt19937 random(3);
  return int32_t(random() % 3) - 1;
}

TEST(ArraySort, ContradictoryComparisonKeepsTheElements) {
  LeakCheck leaks;
  struct {
    RuntimeObject header{};
    void* invoker = reinterpret_cast<void*>(&Coin);
  } delegate;
  std::vector<int32_t> values(20000);
  for (size_t i = 0; i < values.size(); ++i) values[i] = int32_t(i);
  Held a = IntArray(values);
  a->ops->sortDelegate(a, &delegate.header);
  std::vector<int32_t> after = Ints(a);
  std::sort(after.begin(), after.end());
  EXPECT_EQ(after, values);

  Held f(CreateArray(1, kArrayFloat32, 99));
  for (int32_t i = 0; i < 100; ++i) Set<float>(f, i % 7 ? float(i % 13) : NAN, i);
  f->ops->sort(f);
  EXPECT_EQ(std::count_if(static_cast<float*>(f->data), static_cast<float*>(f->data) + 100,
                          [](float v) { return std::isnan(v); }),
            15);
}

TEST(ArraySortWith, PermutesEveryCompanionOrChangesNothing) {
  LeakCheck leaks;
  RaiseRecorder raises;
  Held keys = IntArray({3, 1, 2});
  Held names(CreateArray(1, kArrayString, 2));
  for (int32_t i = 0; i < 3; ++i) {
    TESSstring s = Str(std::to_string(i).c_str());
    Set<TESSstring>(names, s, i);
    RuntimeUnlockString(s);
  }
  Held pairs(RuntimeCreateStructureArray("Pair", 1, 16, 2));
  for (int i = 0; i < 48; ++i) static_cast<char*>(pairs->data)[i] = char(i / 16);
  Held shortOne = IntArray({1, 2});
  Held flat(CreateArray(2, kArrayInt32, 2, 0));

  keys->ops->sortWith(keys, names.a, shortOne.a, nullptr);
  keys->ops->sortWith(keys, names.a, flat.a, nullptr);
  EXPECT_EQ(raises.raises(), Strings(2, "OutOfBoundsException"));
  EXPECT_EQ(Ints(keys), (std::vector<int32_t>{3, 1, 2}));
  EXPECT_EQ(At(names, 0), "0");

  keys->ops->sortWith(keys, names.a, pairs.a, nullptr);
  EXPECT_EQ(Ints(keys), (std::vector<int32_t>{1, 2, 3}));
  EXPECT_EQ(At(names, 0) + At(names, 1) + At(names, 2), "120");
  EXPECT_EQ(static_cast<char*>(pairs->data)[0], 1);
  EXPECT_EQ(static_cast<char*>(pairs->data)[47], 0);
}

TEST(ArrayIndexOf, ScansUpFromTheStart) {
  LeakCheck leaks;
  RaiseRecorder raises;
  Held a = IntArray({5, 6, 5, 7});
  EXPECT_EQ(IndexOf<int32_t>(a, 5, -1), 0);  // -1 scans from the first element
  EXPECT_EQ(IndexOf<int32_t>(a, 5, 1), 2);
  EXPECT_EQ(IndexOf<int32_t>(a, 8, 0), -1);
  EXPECT_TRUE(raises.raises().empty());
  EXPECT_EQ(IndexOf<int32_t>(a, 5, 4), -1);
  EXPECT_EQ(IndexOf<int32_t>(a, 5, -2), -1);
  EXPECT_EQ(raises.raises(), Strings(2, "OutOfBoundsException"));
  Held empty(CreateArray(1, kArrayInt32, -1));
  EXPECT_EQ(IndexOf<int32_t>(empty, 5, 9), -1);

  // Delegates to the same function and target are equal.
  int function, invoker;
  RuntimeObject* d1 = RuntimeCreateDelegate(&invoker, &function, nullptr, "%%", 0);
  RuntimeObject* d2 = RuntimeCreateDelegate(&invoker, &function, nullptr, "%%", 0);
  Held list(CreateArray(1, kArrayObject, 0));
  Set<RuntimeObject*>(list, d1, 0);
  EXPECT_EQ(IndexOf<RuntimeObject*>(list, d2, 0), 0);
  RuntimeObject* d3 = RuntimeCreateDelegate(&invoker, &invoker, nullptr, "%%", 0);
  EXPECT_EQ(IndexOf<RuntimeObject*>(list, d3, 0), -1);
  list->ops->clear(list);
  for (RuntimeObject* d : {d1, d2, d3}) RuntimeUnlockObject(d);
}

TEST(ArrayShuffle, EveryOrderIsEquallyLikely) {
  LeakCheck leaks;
  Held a = IntArray({0, 1, 2});
  std::map<std::vector<int32_t>, int> seen;
  const int rounds = 24000;
  for (int r = 0; r < rounds; ++r) {
    a->ops->shuffle(a);
    ++seen[Ints(a)];
  }
  ASSERT_EQ(seen.size(), 6u);
  // Each order expects 4000 (standard deviation about 58); the classic
  // biased shuffle gives 3556 or 4444.
  for (auto& [order, count] : seen) EXPECT_NEAR(count, rounds / 6, 300);

  Held grid(CreateArray(2, kArrayInt64, 9, 9));
  for (int i = 0; i < 100; ++i) static_cast<int64_t*>(grid->data)[i] = i;
  grid->ops->shuffle(grid);
  std::vector<int64_t> cells(static_cast<int64_t*>(grid->data),
                             static_cast<int64_t*>(grid->data) + 100);
  int moved = 0;  // beyond the first row too: the whole grid is shuffled
  for (int i = 10; i < 100; ++i) moved += cells[i] != i;
  EXPECT_GT(moved, 50);
  std::sort(cells.begin(), cells.end());
  for (int i = 0; i < 100; ++i) EXPECT_EQ(cells[i], i);
}

}  // namespace
