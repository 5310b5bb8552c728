#include "support/object_lock.h"

namespace vela {

std::atomic<int> gDetachedThreadCount{0};

pthread_mutex_t* ObjectLockMutex() noexcept {
  static pthread_mutex_t* mutex = [] {
    static pthread_mutex_t storage;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&storage, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return &storage;
  }();
  return mutex;
}

}  // namespace vela
