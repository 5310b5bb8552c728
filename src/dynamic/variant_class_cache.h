// A process-wide map from class record to what the Variant code learnt about
// that class (its VarType, a conversion function). Class records live to the
// end of the process, so an entry never goes stale. Lookups take ObjectLock
// when threads run beside the turn, like every other class operation.
#pragma once

#include <unordered_map>

#include "support/object_lock.h"
#include "vela/object.h"

namespace vela {

template <class V>
class ClassCache {
 public:
  bool Find(const RuntimeClass* cls, V* out) const {
    ObjectLockGuard guard;
    auto found = mEntries.find(cls);
    if (found == mEntries.end()) return false;
    *out = found->second;
    return true;
  }
  void Store(const RuntimeClass* cls, V value) {
    ObjectLockGuard guard;
    mEntries[cls] = value;
  }

 private:
  std::unordered_map<const RuntimeClass*, V> mEntries;
};

}  // namespace vela
