// ObjectLock: the process-wide recursive mutex over class records, the live
// list, the pending-destruction list, weak references and event tables. It is
// only taken while some thread runs beside the cooperative turn (a detached
// or preemptive thread); otherwise the turn itself excludes everyone else.
#pragma once

#include <pthread.h>

#include <atomic>

namespace vela {

// Number of threads that run beside the turn. Threads register here when
// they detach and leave when they end.
extern std::atomic<int> gDetachedThreadCount;

inline bool LocksInForce() { return gDetachedThreadCount.load(std::memory_order_acquire) != 0; }

// A recursive POSIX mutex: unlike the C++ wrappers it cannot throw, and no
// C++ exception may leave an export.
pthread_mutex_t* ObjectLockMutex() noexcept;

// Decides once at entry whether the lock is in force, so that the release
// matches the acquisition even if the count changes meanwhile.
class ObjectLockGuard {
 public:
  ObjectLockGuard() noexcept : mHeld(LocksInForce()) {
    if (mHeld) pthread_mutex_lock(ObjectLockMutex());
  }
  ~ObjectLockGuard() { Release(); }
  void Release() noexcept {
    if (mHeld) {
      mHeld = false;
      pthread_mutex_unlock(ObjectLockMutex());
    }
  }
  ObjectLockGuard(const ObjectLockGuard&) = delete;
  ObjectLockGuard& operator=(const ObjectLockGuard&) = delete;

 private:
  bool mHeld;
};

}  // namespace vela
