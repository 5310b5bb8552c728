// The array operations, written once over an element policy (see
// array_elements.h) and turned into the three tables of each kind: one,
// two and more dimensions.
//
// Reference rules: the array holds one reference on every element of a
// counted kind. A write takes the new value's reference before it drops the
// old one; an operation that drops elements first brings the array into its
// new state and releases afterwards, so that code run by a release finds a
// consistent array.
#pragma once

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <random>

#include "object/arrays/array_elements.h"
#include "object/arrays/array_record.h"
#include "object/arrays/array_sort.h"
#include "support/assert.h"
#include "support/simple_vector.h"
#include "vela/events.h"

namespace vela::arrays {

constexpr const char* kReportPath = kArrayReportPath;

// Resizes a buffer, keeping its contents up to the smaller size; 0 bytes
// frees it. False, with the buffer unchanged, when memory is exhausted.
inline bool ResizeBuffer(void*& data, size_t bytes) {
  if (bytes == 0) {
    std::free(data);
    data = nullptr;
    return true;
  }
  void* resized = std::realloc(data, bytes);
  if (!resized) return false;
  data = resized;
  return true;
}

// Exchanges two elements of `size` bytes; the size is a constant for all
// kinds but structures.
template <size_t kSize>
inline void SwapBytes(char* a, char* b, size_t size) {
  if constexpr (kSize != 0) {
    (void)size;
    unsigned char t[kSize];
    std::memcpy(t, a, kSize);
    std::memcpy(a, b, kSize);
    std::memcpy(b, t, kSize);
  } else {
    unsigned char t[64];
    for (size_t done = 0; done < size; done += sizeof t) {
      const size_t chunk = size - done < sizeof t ? size - done : sizeof t;
      std::memcpy(t, a + done, chunk);
      std::memcpy(a + done, b + done, chunk);
      std::memcpy(b + done, t, chunk);
    }
  }
}

// The random source of Shuffle: a Mersenne Twister seeded from the system's
// random device.
std::mt19937 NewShuffleGenerator();

// A uniform pick from 0 to `bound` inclusive: draws that would favour the
// low results are rejected.
inline uint32_t UniformUpTo(std::mt19937& generator, uint32_t bound) {
  const uint32_t range = bound + 1;
  if (range == 0) return generator();
  const uint32_t threshold = uint32_t(-range) % range;  // 2^32 mod range
  uint32_t draw;
  do draw = generator();
  while (draw < threshold);
  return draw % range;
}

template <class E>
struct Ops {
  using R = typename E::Record;
  using V = typename E::Value;
  // What Set, Insert and IndexOf take: the value, or the bytes' address.
  using In = std::conditional_t<E::kStructure, const void*, V>;

  static R* Rec(RuntimeArray* a) { return reinterpret_cast<R*>(a); }
  static size_t Size(R* r) {
    if constexpr (E::kStructure)
      return E::Size(r);
    else
      return sizeof(V);
  }
  static constexpr size_t kFixedSize = E::kStructure ? 0 : sizeof(V);
  static char* At(R* r, size_t flat) { return static_cast<char*>(r->data) + flat * Size(r); }
  static V& Item(R* r, size_t flat) { return static_cast<V*>(r->data)[flat]; }

  static bool InBounds(int32_t index, int32_t bound) {
    return uint32_t(index) < uint32_t(bound) + 1u;
  }

  // --- element access at a flat position that is known to be valid ---

  static V Read(R* r, size_t flat) {
    if constexpr (E::kStructure) {
      return At(r, flat);
    } else {
      V value = Item(r, flat);
      E::GiveOut(value);
      return value;
    }
  }

  static void Write(R* r, size_t flat, In value) {
    if constexpr (E::kStructure) {
      if (value)
        std::memcpy(At(r, flat), value, Size(r));
      else
        std::memset(At(r, flat), 0, Size(r));
    } else {
      V& slot = Item(r, flat);
      V old = slot;
      E::Hold(value);
      slot = value;
      E::Drop(old);
    }
  }

  // Drops the references of `count` elements of a buffer that the array no
  // longer uses.
  static void DropAll(void* buffer, size_t count) {
    if constexpr (E::kCounted) {
      V* items = static_cast<V*>(buffer);
      for (size_t i = 0; i < count; ++i) E::Drop(items[i]);
    } else {
      (void)buffer, (void)count;
    }
  }

  // --- one dimension ---

  static V Get1(RuntimeArray* a, int32_t index) {
    R* r = Rec(a);
    if (__builtin_expect(!InBounds(index, r->upperBounds[0]), 0)) {
      RaiseOutOfBounds();
      return V{};
    }
    return Read(r, size_t(index));
  }

  static void Set1(RuntimeArray* a, In value, int32_t index) {
    R* r = Rec(a);
    if (__builtin_expect(!InBounds(index, r->upperBounds[0]), 0)) {
      RaiseOutOfBounds();
      return;
    }
    Write(r, size_t(index), value);
  }

  static void Redim1(RuntimeArray* a, int32_t bound) {
    VELA_ASSERT_TEXT(a, "array");
    if (!a) return;
    R* r = Rec(a);
    VELA_ASSERT_TEXT(r->dimensions == 1, "1 == array->dimensions");
    if (r->dimensions != 1) return;
    const int32_t old = r->upperBounds[0];
    if (bound == old) return;
    if (bound < -1) {
      RaiseOutOfBounds();
      return;
    }
    const size_t size = Size(r);
    const uint64_t bytes = uint64_t(int64_t(bound) + 1) * size;
    if (bytes > kMaxBufferBytes) {
      RaiseOutOfMemory();
      return;
    }
    const size_t oldUsed = size_t(int64_t(old) + 1) * size;
    if (bound > old) {
      if (!ResizeBuffer(r->data, bytes)) {
        RaiseOutOfMemory();
        return;
      }
      std::memset(static_cast<char*>(r->data) + oldUsed, 0, size_t(bytes) - oldUsed);
      r->upperBounds[0] = bound;
      r->bufferLength = uint32_t(bytes);
      r->growthStep = kFirstGrowthStep;
      return;
    }
    // Shrinking: the kept elements move to an exact buffer; those that fall
    // away are released once the array no longer lists them.
    void* oldData = r->data;
    void* kept = nullptr;
    if (bytes) {
      kept = std::malloc(bytes);
      if (!kept) {
        RaiseOutOfMemory();
        return;
      }
      std::memcpy(kept, oldData, bytes);
    }
    r->data = kept;
    r->upperBounds[0] = bound;
    r->bufferLength = uint32_t(bytes);
    r->growthStep = kFirstGrowthStep;
    DropAll(static_cast<char*>(oldData) + bytes, size_t(old - bound));
    std::free(oldData);
  }

  // Adds the growth step to the buffer; false after raising when that is
  // not possible.
  [[gnu::noinline]] static bool Grow(R* r, uint64_t minimum, size_t size) {
    uint64_t bytes = uint64_t(r->bufferLength) + uint64_t(r->growthStep) * size;
    VELA_ASSERT_TEXT(bytes >= minimum, "array->bufferLength >= minimumBufferSize");
    if (bytes < minimum) bytes = minimum;
    if (bytes > kMaxBufferBytes || !ResizeBuffer(r->data, size_t(bytes))) {
      RaiseOutOfMemory();
      return false;
    }
    r->bufferLength = uint32_t(bytes);
    if (r->growthStep < kLastGrowthStep) r->growthStep *= 2;
    return true;
  }

  static void Insert1(RuntimeArray* a, int32_t index, In value) {
    if (__builtin_expect(!a, 0)) {
      RaiseNilObject();
      return;
    }
    R* r = Rec(a);
    VELA_ASSERT_TEXT(r->dimensions == 1, "1 == array->dimensions");
    if (__builtin_expect(r->dimensions != 1, 0)) return;
    const int32_t bound = r->upperBounds[0];
    if (__builtin_expect(uint32_t(index) > uint32_t(bound + 1), 0)) {
      RaiseOutOfBounds();
      return;
    }
    const size_t size = Size(r);
    const uint64_t minimum = uint64_t(int64_t(bound) + 2) * size;
    if (__builtin_expect(r->bufferLength < minimum, 0) && !Grow(r, minimum, size)) return;
    if (index <= bound)
      std::memmove(At(r, size_t(index) + 1), At(r, size_t(index)),
                   size_t(bound - index + 1) * size);
    r->upperBounds[0] = bound + 1;
    if constexpr (E::kStructure) {
      if (value)
        std::memcpy(At(r, size_t(index)), value, size);
      else
        std::memset(At(r, size_t(index)), 0, size);
    } else {
      E::Hold(value);
      Item(r, size_t(index)) = value;
    }
  }

  static void Remove1(RuntimeArray* a, int32_t index) {
    if (!a || !InBounds(index, Rec(a)->upperBounds[0])) {
      RaiseOutOfBounds();
      return;
    }
    R* r = Rec(a);
    VELA_ASSERT_TEXT(r->dimensions == 1, "1 == array->dimensions");
    if (r->dimensions != 1) return;
    const int32_t bound = r->upperBounds[0];
    const size_t size = Size(r);
    V removed{};
    if constexpr (E::kCounted) removed = Item(r, size_t(index));
    std::memmove(At(r, size_t(index)), At(r, size_t(index) + 1), size_t(bound - index) * size);
    const size_t bytes = size_t(bound) * size;
    // A failed shrink keeps the larger block, which still holds everything.
    (void)ResizeBuffer(r->data, bytes);
    r->bufferLength = uint32_t(bytes);
    r->growthStep = kFirstGrowthStep;
    r->upperBounds[0] = bound - 1;
    if constexpr (E::kCounted) E::Drop(removed);
  }

  static void Sort1(RuntimeArray* a) {
    if (!a) return;
    R* r = Rec(a);
    if (!r->data || r->upperBounds[0] < 0) return;
    VELA_ASSERT_TEXT(r->dimensions == 1, "1 == array->dimensions");
    if (r->dimensions != 1) return;
    Sort<E::kTotalOrder>(static_cast<V*>(r->data), size_t(r->upperBounds[0]) + 1,
                         [](V x, V y) { return E::Less(x, y); });
  }

  // SortWith over a list of companion arrays.
  static void SortWithList(RuntimeArray* a, RuntimeArray* const* list, size_t listCount) {
    if (!a) return;
    R* r = Rec(a);
    const int32_t bound = r->upperBounds[0];
    if (bound <= 0 || !r->data) return;
    VELA_ASSERT_TEXT(r->dimensions == 1, "1 == array->dimensions");
    if (r->dimensions != 1) return;

    // Every companion is checked before anything moves.
    SimpleVector<ArrayShape> others{};
    bool fits = true;
    size_t widest = sizeof(V);
    for (size_t k = 0; k < listCount; ++k) {
      ArrayShape shape = DescribeArray(list[k]);
      if (!shape.valid || shape.dimensions != 1 || shape.upperBounds[0] != bound) fits = false;
      if (shape.elementSize > widest) widest = shape.elementSize;
      others.Append(shape);
    }
    if (!fits) {
      others.Free();
      RaiseOutOfBounds();
      return;
    }

    const size_t n = size_t(bound) + 1;
    V* items = static_cast<V*>(r->data);
    auto** order = static_cast<V**>(std::malloc(n * sizeof(V*)));
    auto* scratch = static_cast<char*>(std::malloc(n * widest));
    if (others.Count() != listCount || !order || !scratch) {
      std::free(order);
      std::free(scratch);
      others.Free();
      RaiseOutOfMemory();
      return;
    }
    // The key array is sorted through a list of its element addresses; the
    // sorted list is the permutation for every array.
    for (size_t i = 0; i < n; ++i) order[i] = items + i;
    Sort<false>(order, n, [](V* x, V* y) { return E::Less(*x, *y); });
    auto permute = [&](void* data, size_t size) {
      for (size_t i = 0; i < n; ++i)
        std::memcpy(scratch + i * size, static_cast<char*>(data) + size_t(order[i] - items) * size,
                    size);
      std::memcpy(data, scratch, n * size);
    };
    for (ArrayShape& other : others) permute(*other.data, other.elementSize);
    permute(items, sizeof(V));
    std::free(order);
    std::free(scratch);
    others.Free();
  }

  static void SortWith1(RuntimeArray* a, ...) {
    SimpleVector<RuntimeArray*> list{};
    bool stored = true;
    va_list args;
    va_start(args, a);
    while (RuntimeArray* other = va_arg(args, RuntimeArray*)) {
      const uint32_t before = list.Count();
      list.Append(other);
      stored = stored && list.Count() != before;
    }
    va_end(args);
    if (stored)
      SortWithList(a, list.items, list.Count());
    else
      RaiseOutOfMemory();
    list.Free();
  }

  static int32_t IndexOf1(RuntimeArray* a, In value, int32_t start) {
    if (!a) return -1;
    R* r = Rec(a);
    const int32_t bound = r->upperBounds[0];
    if (bound < 0 || !r->data) return -1;
    if (start < -1 || start > bound) {
      RaiseOutOfBounds();
      return -1;
    }
    // A start of -1 passes the check and scans from the first element.
    for (int32_t i = start < 0 ? 0 : start; i <= bound; ++i)
      if (E::Equal(Item(r, size_t(i)), value)) return i;
    return -1;
  }

  static void SortDelegate1(RuntimeArray* a, RuntimeObject* delegate) {
    if (!a) return;
    R* r = Rec(a);
    if (!r->data || r->upperBounds[0] < 0) return;
    VELA_ASSERT_TEXT(r->dimensions == 1, "1 == array->dimensions");
    if (r->dimensions != 1) return;
    if (!delegate) {
      RaiseNilObject();
      return;
    }
    using Invoker = int32_t (*)(RuntimeObject*, V, V);
    // Compiled code passes a delegate of the comparison's signature.
    auto invoker = SlotAs<Invoker>(reinterpret_cast<RuntimeDelegate*>(delegate)->invoker);
    Sort<false>(static_cast<V*>(r->data), size_t(r->upperBounds[0]) + 1,
                [invoker, delegate](V x, V y) { return invoker(delegate, x, y) < 0; });
  }

  // --- two dimensions: (bound0 + 1) * j + i ---

  static bool Flat2(R* r, int32_t i, int32_t j, size_t& flat) {
    if (!InBounds(i, r->upperBounds[0]) || !InBounds(j, r->upperBounds[1])) return false;
    flat = (size_t(r->upperBounds[0]) + 1) * size_t(j) + size_t(i);
    return true;
  }

  static V Get2(RuntimeArray* a, int32_t i, int32_t j) {
    R* r = Rec(a);
    size_t flat;
    if (!Flat2(r, i, j, flat)) {
      RaiseOutOfBounds();
      return V{};
    }
    return Read(r, flat);
  }

  static void Set2(RuntimeArray* a, In value, int32_t i, int32_t j) {
    R* r = Rec(a);
    size_t flat;
    if (!Flat2(r, i, j, flat)) {
      RaiseOutOfBounds();
      return;
    }
    Write(r, flat, value);
  }

  // --- any number of dimensions: the first index changes fastest ---

  // `next()` gives the index of each dimension in turn.
  template <class Next>
  static bool Flat(R* r, Next next, size_t& flat) {
    size_t stride = 1;
    flat = 0;
    for (int32_t d = 0; d < r->dimensions; ++d) {
      const int32_t index = next();
      if (!InBounds(index, r->upperBounds[d])) return false;
      flat += size_t(index) * stride;
      stride *= size_t(r->upperBounds[d]) + 1;
    }
    return true;
  }

  static V GetN(RuntimeArray* a, int32_t first, ...) {
    R* r = Rec(a);
    va_list args;
    va_start(args, first);
    bool atFirst = true;
    size_t flat;
    const bool valid = Flat(
        r, [&] { return atFirst ? (atFirst = false, first) : va_arg(args, int32_t); }, flat);
    va_end(args);
    if (!valid) {
      RaiseOutOfBounds();
      return V{};
    }
    return Read(r, flat);
  }

  static void SetN(RuntimeArray* a, In value, int32_t first, ...) {
    R* r = Rec(a);
    va_list args;
    va_start(args, first);
    bool atFirst = true;
    size_t flat;
    const bool valid = Flat(
        r, [&] { return atFirst ? (atFirst = false, first) : va_arg(args, int32_t); }, flat);
    va_end(args);
    if (!valid) {
      RaiseOutOfBounds();
      return;
    }
    Write(r, flat, value);
  }

  // The same with the indexes in a list, one per dimension.
  static V GetAt(RuntimeArray* a, const int32_t* indexes) {
    size_t flat;
    if (!Flat(Rec(a), [&] { return *indexes++; }, flat)) {
      RaiseOutOfBounds();
      return V{};
    }
    return Read(Rec(a), flat);
  }

  static void SetAt(RuntimeArray* a, In value, const int32_t* indexes) {
    size_t flat;
    if (!Flat(Rec(a), [&] { return *indexes++; }, flat)) {
      RaiseOutOfBounds();
      return;
    }
    Write(Rec(a), flat, value);
  }

  // Reshapes an array of two or more dimensions. Every element whose
  // indexes are valid in both shapes keeps its place by index; the others
  // are released. The buffer is exact for the new shape.
  static void RedimMany(R* r, const int32_t* bounds) {
    const int32_t dims = r->dimensions;
    bool same = true;
    for (int32_t d = 0; d < dims; ++d) {
      if (bounds[d] < -1) {
        RaiseOutOfBounds();
        return;
      }
      same = same && bounds[d] == r->upperBounds[d];
    }
    if (same) return;
    const size_t size = Size(r);
    const uint64_t count = ElementCount(bounds, dims);
    if (count * size > kMaxBufferBytes) {
      RaiseOutOfMemory();
      return;
    }
    const size_t bytes = size_t(count * size);
    char* fresh = nullptr;
    if (bytes) {
      fresh = static_cast<char*>(std::calloc(1, bytes));
      if (!fresh) {
        RaiseOutOfMemory();
        return;
      }
    }
    char* old = static_cast<char*>(r->data);
    const uint64_t oldCount = ElementCount(r->upperBounds, dims);
    SimpleVector<int32_t> oldBounds{};
    for (int32_t d = 0; d < dims; ++d) oldBounds.Append(r->upperBounds[d]);
    if (int32_t(oldBounds.Count()) != dims) {
      std::free(fresh);
      RaiseOutOfMemory();
      return;
    }
    r->data = fresh;
    r->bufferLength = uint32_t(bytes);
    r->growthStep = kFirstGrowthStep;
    for (int32_t d = 0; d < dims; ++d) r->upperBounds[d] = bounds[d];

    // Walk the old shape with an odometer, first index fastest; each
    // element is copied to its new place or released.
    if (oldCount) {
      SimpleVector<int32_t> index{};
      index.Reserve(uint32_t(dims));
      for (int32_t d = 0; d < dims; ++d) index.Append(0);
      for (uint64_t flat = 0; flat < oldCount && int32_t(index.Count()) == dims; ++flat) {
        bool kept = true;
        size_t target = 0, stride = 1;
        for (int32_t d = 0; d < dims; ++d) {
          if (index.items[d] > bounds[d]) kept = false;
          target += size_t(index.items[d]) * stride;
          stride *= size_t(bounds[d] < 0 ? 0 : bounds[d]) + 1;
        }
        char* element = old + flat * size;
        if (kept)
          std::memcpy(fresh + target * size, element, size);
        else
          DropAll(element, 1);
        for (int32_t d = 0; d < dims && ++index.items[d] > oldBounds.items[d]; ++d)
          index.items[d] = 0;
      }
      index.Free();
    }
    oldBounds.Free();
    std::free(old);
  }

  static void RedimAt(RuntimeArray* a, const int32_t* bounds) {
    VELA_ASSERT_TEXT(a, "array");
    if (a) RedimMany(Rec(a), bounds);
  }

  static void RedimN(RuntimeArray* a, int32_t first, ...) {
    VELA_ASSERT_TEXT(a, "array");
    if (!a) return;
    R* r = Rec(a);
    SimpleVector<int32_t> bounds{};
    va_list args;
    va_start(args, first);
    for (int32_t d = 0; d < r->dimensions; ++d) bounds.Append(d == 0 ? first : va_arg(args, int32_t));
    va_end(args);
    if (int32_t(bounds.Count()) == r->dimensions)
      RedimMany(r, bounds.items);
    else
      RaiseOutOfMemory();
    bounds.Free();
  }

  // --- every shape ---

  static int32_t UBound(RuntimeArray* a, int32_t dimension) {
    if (!a) {
      RaiseNilObject();
      return -1;
    }
    R* r = Rec(a);
    if (dimension == -1) return r->dimensions;
    if (dimension < 1 || dimension > r->dimensions) {
      RaiseOutOfBounds();
      return -1;
    }
    return r->upperBounds[dimension - 1];
  }

  static int32_t LBound(RuntimeArray* a, int32_t dimension) {
    if (!a) {
      RaiseNilObject();
      return -1;
    }
    R* r = Rec(a);
    if (dimension != -1 && (dimension < 1 || dimension > r->dimensions)) {
      RaiseOutOfBounds();
      return -1;
    }
    return 0;
  }

  static void Shuffle(RuntimeArray* a) {
    if (!a) return;
    R* r = Rec(a);
    if (r->upperBounds[0] < 1 || !r->data) return;
    const uint64_t count = ElementCount(r->upperBounds, r->dimensions);
    const size_t size = Size(r);
    std::mt19937 generator = NewShuffleGenerator();
    char* base = static_cast<char*>(r->data);
    for (uint64_t i = 1; i < count; ++i) {
      const uint64_t j = UniformUpTo(generator, uint32_t(i));
      if (j != i) SwapBytes<kFixedSize>(base + i * size, base + j * size, size);
    }
  }

  static void Clear(RuntimeArray* a) {
    VELA_ASSERT_TEXT(a, "array");
    if (!a) return;
    R* r = Rec(a);
    void* old = r->data;
    const uint64_t count = old ? ElementCount(r->upperBounds, r->dimensions) : 0;
    r->data = nullptr;
    r->bufferLength = 0;
    for (int32_t d = 0; d < r->dimensions; ++d) r->upperBounds[d] = -1;
    if constexpr (E::kStructure) {
      std::free(r->structureName);
      r->structureName = nullptr;
    }
    DropAll(old, size_t(count));
    std::free(old);
  }

  // Every kind but structures answers without looking at the array.
  static int32_t ElementSize(RuntimeArray* a) {
    if constexpr (E::kStructure)
      return a ? int32_t(Size(Rec(a))) : 0;
    else
      return int32_t(sizeof(V));
  }
  static int32_t ElementKind(RuntimeArray*) { return E::kKind; }
  static const char* StructureName(RuntimeArray* a) {
    if constexpr (E::kStructure)
      return a ? Rec(a)->structureName : nullptr;
    else
      return nullptr;
  }

  // --- the tables ---

  static ArrayOps Table(int shape) {
    ArrayOps t{};
    if (shape == 1) {
      t.get = t.getAny = AsSlot(&Get1);
      t.set = t.setAny = AsSlot(&Set1);
      t.redim = AsSlot(&Redim1);
      t.insert = AsSlot(&Insert1);
      t.remove = &Remove1;
      if constexpr (E::kOrdered) {
        t.sort = &Sort1;
        t.sortWith = &SortWith1;
        t.indexOf = AsSlot(&IndexOf1);
        t.sortDelegate = &SortDelegate1;
      }
    } else if (shape == 2) {
      t.get = t.getAny = AsSlot(&Get2);
      t.set = t.setAny = AsSlot(&Set2);
      t.redim = AsSlot(&RedimN);
    } else {
      t.get = t.getAny = AsSlot(&GetN);
      t.set = t.setAny = AsSlot(&SetN);
      t.redim = AsSlot(&RedimN);
    }
    t.shuffle = &Shuffle;
    t.ubound = &UBound;
    t.lbound = &LBound;
    t.clear = &Clear;
    t.elementSize = &ElementSize;
    t.elementKind = &ElementKind;
    return t;
  }
};

}  // namespace vela::arrays
