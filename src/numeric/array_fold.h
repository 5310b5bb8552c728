// The fold of the language's ParamArray functions (Max, Min, the folding
// bit operations): the two fixed arguments first, then each element of the
// optional array in order, read through the array's own element getter.
#pragma once

#include "vela/arrays.h"

namespace vela {

template <typename T, typename Combine>
T FoldWithArray(T first, T second, RuntimeArray* more, Combine combine) {
  T result = combine(first, second);
  if (!more) return result;
  using Getter = T (*)(RuntimeArray*, int32_t);
  const auto get = reinterpret_cast<Getter>(more->ops->get);
  const int32_t last = RuntimeUBound(more);
  for (int32_t i = 0; i <= last; ++i) result = combine(result, get(more, i));
  return result;
}

}  // namespace vela
