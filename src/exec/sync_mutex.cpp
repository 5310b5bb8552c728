// The Mutex class: a lock between processes, named by a file in the
// temporary folder. Holding it is holding the lock of an open descriptor of
// that file; the owner may lock it again. A waiter in the turn waits
// cooperatively: a local unlock releases it at once, and it polls the file
// every 250 ms for a holder in another process (or in a thread beside the
// turn). A thread beside the turn polls natively.
#include <stdlib.h>
#include <time.h>

#include <cstring>
#include <string>

#include "exec/sync_objects.h"
#include "exec/sync_wait.h"
#include "object/class_decl.h"
#include "object/raise.h"
#include "platform/lock_file.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "vela/sync.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ClassLib/RuntimeThread";

TrailingDataDecl<MutexData> gMutexDecl(&gCriticalSectionDecl, "Mutex");

// Names longer than this, with the folder's path, are refused.
constexpr size_t kMaximumPathLength = 0x105;
// How often a thread beside the turn looks at the lock file again.
constexpr long kDetachedPollNanoseconds = 10 * 1000000L;

// The fields of a Mutex are the turn's, but a thread beside the turn may
// lock too: while such threads exist the section's native mutex guards them.
class FieldGuard {
 public:
  explicit FieldGuard(MutexData* data) : mMutex(&data->section.mutex), mHeld(LocksInForce()) {
    if (mHeld) pthread_mutex_lock(mMutex);
  }
  ~FieldGuard() { Release(); }
  void Release() {
    if (mHeld) pthread_mutex_unlock(mMutex);
    mHeld = false;
  }
  FieldGuard(const FieldGuard&) = delete;
  FieldGuard& operator=(const FieldGuard&) = delete;

 private:
  pthread_mutex_t* mMutex;
  bool mHeld;
};

size_t CodePointCount(const std::string& utf8) {
  size_t count = 0;
  for (unsigned char byte : utf8) count += (byte & 0xC0) != 0x80;
  return count;
}

// The rules a Mutex name must pass: no path separators or other characters
// that file names of the platform family refuse, not a folder's self or
// parent, and short enough for a path.
bool IsValidMutexName(const std::string& name, const std::string& folder) {
  if (CodePointCount(name) + CodePointCount(folder) >= kMaximumPathLength) return false;
  if (name == "." || name == "..") return false;
  return name.find_first_of("\\/\":~<>`") == std::string::npos;
}

std::string Utf8Of(TESSstring name) {
  TESSstring utf8 = ConvertString(name, kEncodingUTF8);
  TESSstring source = utf8 ? utf8 : name;
  std::string text(StringText(source), size_t(StringLength(source)));
  RuntimeUnlockString(utf8);
  return text;
}

char* CopyPath(const std::string& path) {
  char* copy = static_cast<char*>(std::malloc(path.size() + 1));
  if (copy) std::memcpy(copy, path.c_str(), path.size() + 1);
  return copy;
}

// Answers true when `me` now holds the Mutex: again as its owner, or by
// taking the file's lock. Under the field guard.
bool TakeOrReenter(MutexData* data, RuntimeThread* me) {
  if (data->section.owner == me && data->lockHandle >= 0) {
    ++data->section.enterCount;
    return true;
  }
  if (!data->lockFile) return false;
  int fd = platform::TryLockFile(data->lockFile);
  if (fd < 0) return false;
  data->lockHandle = fd;
  if (me) me->state.fetch_and(~(kThreadWaitingBit | kThreadMutexFileBit));
  ++data->section.enterCount;
  data->section.owner = me;
  return true;
}

void CloseLockHandle(MutexData* data) {
  if (data->lockHandle < 0) return;
  platform::UnlockFile(int(data->lockHandle));
  data->lockHandle = -1;
}

void SleepNatively(long nanoseconds) {
  timespec delay{0, nanoseconds};
  while (nanosleep(&delay, &delay) != 0) {
  }
}

}  // namespace

void MutexData::Construct(MutexData* data) {
  CriticalSectionData::Construct(&data->section);
  data->lockHandle = -1;
}

void MutexData::Destruct(MutexData* data) {
  CloseLockHandle(data);  // when the finalizer did not run
  std::free(data->lockFile);
  data->lockFile = nullptr;
  CriticalSectionData::Destruct(&data->section);
}

MutexData* MutexDataOf(RuntimeObject* self) { return self ? gMutexDecl.Data(self) : nullptr; }

}  // namespace vela

using namespace vela;

VELA_EXPORT void MutexInitializer(RuntimeObject* self) {
  MutexData* data = MutexDataOf(self);
  if (!data) return;
  data->section.enterCount = 0;
  data->section.owner = nullptr;
  std::free(data->lockFile);
  data->lockFile = nullptr;
  if (!data->section.waiters) data->section.waiters = NewWaiterQueue();
}

VELA_EXPORT void MutexFinalizer(RuntimeObject* self) {
  MutexData* data = MutexDataOf(self);
  if (!data || !data->lockFile) return;
  CloseLockHandle(data);
  data->section.owner = nullptr;
  data->section.enterCount = 0;
  // Another Mutex of this name, here or in another process, may hold the
  // file: then its holder deletes it at its own end.
  platform::DeleteLockFileIfFree(data->lockFile);
  std::free(data->lockFile);
  data->lockFile = nullptr;
}

VELA_EXPORT void MutexContructor(RuntimeObject* self, TESSstring name) {
  MutexData* data = MutexDataOf(self);
  if (!data) return;
  const std::string folder = platform::TemporaryFolderPath();
  std::string path;
  if (!name) {
    path = platform::CreateUniqueLockFile();  // works only within this process
  } else {
    const std::string text = Utf8Of(name);
    if (!IsValidMutexName(text, folder)) {
      RaiseNamedException("UnsupportedFormatException", 0,
                          "Invalid Mutex name (contains path separators or exceeds maximum "
                          "allowed length)");
      return;
    }
    // A name with a null character names no file.
    if (text.find('\0') == std::string::npos && platform::CreateLockFile(folder + text))
      path = folder + text;
  }
  FieldGuard guard(data);
  CloseLockHandle(data);
  data->section.owner = nullptr;
  data->section.enterCount = 0;
  std::free(data->lockFile);
  data->lockFile = path.empty() ? nullptr : CopyPath(path);
}

VELA_EXPORT void MutexLock(RuntimeObject* self) {
  MutexData* data = MutexDataOf(self);
  if (!data) return;
  SelfReference keep(self);
  RuntimeThread* me = LockingThread();
  const bool detached = OnDetachedThread();
  for (;;) {
    {
      FieldGuard guard(data);
      if (TakeOrReenter(data, me)) return;
      // Nothing would ever release the caller.
      VELA_ASSERT_TEXT(data->lockFile, "mutex.mLockFile");
      if (!data->lockFile) return;
    }
    if (detached) {
      if (me && me->killed) {
        RaiseThreadEnd();
        return;
      }
      SleepNatively(kDetachedPollNanoseconds);
      continue;
    }
    WaitForHandOver(data->section.waiters, kThreadWaitingBit | kThreadMutexFileBit);
    if (me && me->killed) return;
  }
}

VELA_EXPORT VelaBoolean MutexTryLock(RuntimeObject* self) {
  MutexData* data = MutexDataOf(self);
  if (!data) return false;
  FieldGuard guard(data);
  return TakeOrReenter(data, LockingThread());
}

VELA_EXPORT void MutexUnlock(RuntimeObject* self) {
  MutexData* data = MutexDataOf(self);
  if (!data) return;
  {
    FieldGuard guard(data);
    if (data->section.owner != LockingThread() || data->lockHandle < 0) {
      RaiseIllegalLocking(3,
                          "The thread which Signaled the Mutex must be the thread to Release the "
                          "Mutex");
      return;
    }
    --data->section.enterCount;
    VELA_ASSERT(data->section.enterCount >= 0);
    if (data->section.enterCount > 0) return;
    data->section.enterCount = 0;
    CloseLockHandle(data);
    data->section.owner = nullptr;
  }
  // The queue belongs to the turn: a thread beside it leaves its waiters to
  // their next poll. A released waiter tries the file again itself.
  if (!OnDetachedThread()) ReleaseFirstWaiter(data->section.waiters, [](RuntimeThread*) {});
}
