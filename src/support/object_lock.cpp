#include "support/object_lock.h"

namespace vela {

std::atomic<int> gDetachedThreadCount{0};

std::recursive_mutex& ObjectLockMutex() {
  static std::recursive_mutex* mutex = new std::recursive_mutex;  // never destroyed
  return *mutex;
}

}  // namespace vela
