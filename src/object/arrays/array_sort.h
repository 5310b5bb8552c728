// The arrays' sort: a quicksort that falls back on heap sort when it has
// used up a depth budget and sorts short ranges by insertion. Not stable.
//
// The budget starts at the element count and shrinks to three quarters at
// each level of partitioning; a range met with no budget left is heap
// sorted. That bounds the work by O(n log n) whatever the input, including
// inputs built against the pivot choice.
//
// The comparison may be supplied by user code (a delegate) and may be
// inconsistent, so every scan is bounded by the range: a bad comparison
// gives a bad order, never a read or write outside the range. Only an order
// known to be total on the bits (integers) may scan without the bounds.
#pragma once

#include <cstddef>
#include <utility>

namespace vela::arrays {

constexpr size_t kInsertionSortLimit = 32;
// Ranges above this take the pivot as the median of three medians.
constexpr size_t kNintherLimit = 128;

template <class T, class Less>
void InsertionSort(T* a, size_t n, Less& less) {
  for (size_t i = 1; i < n; ++i) {
    T value = a[i];
    size_t j = i;
    for (; j > 0 && less(value, a[j - 1]); --j) a[j] = a[j - 1];
    a[j] = value;
  }
}

template <class T, class Less>
void SiftDown(T* a, size_t root, size_t n, Less& less) {
  T value = a[root];
  for (;;) {
    size_t child = 2 * root + 1;
    if (child >= n) break;
    if (child + 1 < n && less(a[child], a[child + 1])) ++child;
    if (!less(value, a[child])) break;
    a[root] = a[child];
    root = child;
  }
  a[root] = value;
}

template <class T, class Less>
void HeapSort(T* a, size_t n, Less& less) {
  if (n < 2) return;
  for (size_t i = n / 2; i-- > 0;) SiftDown(a, i, n, less);
  for (size_t end = n - 1; end > 0; --end) {
    std::swap(a[0], a[end]);
    SiftDown(a, 0, end, less);
  }
}

// Orders the three elements so that *x <= *y <= *z.
template <class T, class Less>
inline void Sort3(T* x, T* y, T* z, Less& less) {
  if (less(*y, *x)) std::swap(*x, *y);
  if (less(*z, *y)) {
    std::swap(*y, *z);
    if (less(*y, *x)) std::swap(*x, *y);
  }
}

// Hoare partition of a[0, n) around the median of a sample, which ends up
// at the middle. Returns the size of the left part; both parts are
// non-empty for any comparison that never says an element is less than
// itself, since the scan from the left stops at the pivot's own place.
template <bool kUnbounded, class T, class Less>
size_t Partition(T* a, size_t n, Less& less) {
  const size_t mid = n / 2;
  if (n > kNintherLimit) {
    Sort3(a, a + mid, a + n - 1, less);
    Sort3(a + 1, a + mid - 1, a + n - 2, less);
    Sort3(a + 2, a + mid + 1, a + n - 3, less);
    Sort3(a + mid - 1, a + mid, a + mid + 1, less);
  } else {
    Sort3(a, a + mid, a + n - 1, less);
  }
  const T pivot = a[mid];
  ptrdiff_t i = -1, j = ptrdiff_t(n);
  const ptrdiff_t last = ptrdiff_t(n) - 1;
  for (;;) {
    if constexpr (kUnbounded) {
      // A total order stops both scans at an element equal to the pivot or
      // at one that an earlier swap put there.
      do ++i; while (less(a[i], pivot));
      do --j; while (less(pivot, a[j]));
    } else {
      do ++i; while (i < last && less(a[i], pivot));
      do --j; while (j > 0 && less(pivot, a[j]));
    }
    if (i >= j) return size_t(j) + 1;
    std::swap(a[i], a[j]);
  }
}

template <bool kTotalOrder, class T, class Less>
void SortRange(T* a, size_t n, size_t budget, Less& less) {
  while (n > kInsertionSortLimit) {
    if (budget == 0) {
      HeapSort(a, n, less);
      return;
    }
    budget = budget / 4 * 3 + budget % 4 * 3 / 4;
    size_t left = Partition<kTotalOrder>(a, n, less);
    // Recurse into the smaller part, go on with the larger one: the stack
    // stays logarithmic even where the budget is generous.
    if (left < n - left) {
      SortRange<kTotalOrder>(a, left, budget, less);
      a += left;
      n -= left;
    } else {
      SortRange<kTotalOrder>(a + left, n - left, budget, less);
      n = left;
    }
  }
  InsertionSort(a, n, less);
}

// Sorts a[0, n) by `less`. kTotalOrder may only be true for a comparison
// that is a strict total order on the values (the integer kinds).
template <bool kTotalOrder, class T, class Less>
void Sort(T* a, size_t n, Less less) {
  SortRange<kTotalOrder>(a, n, n, less);
}

}  // namespace vela::arrays
