// Lock files over flock(2). Deleting a lock file races with processes that
// opened it before the unlink and wait for its lock: they would lock a file
// that no longer has a name, while a newcomer makes and locks a new one
// under the same name. So a lock counts only when the locked descriptor and
// the path still name the same file; otherwise the open is dropped and
// tried again.
#include "platform/lock_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vela::platform {
namespace {

constexpr int kOpenFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
// Each retry follows a deletion by another holder; a path that keeps being
// replaced that often is as good as busy.
constexpr int kReplacedRetries = 64;

int OpenRetrying(const char* path, int flags) {
  int fd;
  do fd = open(path, flags, 0600);
  while (fd < 0 && errno == EINTR);
  return fd;
}

bool LockWithoutWaiting(int fd) {
  int result;
  do result = flock(fd, LOCK_EX | LOCK_NB);
  while (result != 0 && errno == EINTR);
  return result == 0;
}

// The descriptor's file is still the one that `path` names.
bool StillNamed(int fd, const char* path) {
  struct stat held, named;
  return fstat(fd, &held) == 0 && stat(path, &named) == 0 && held.st_dev == named.st_dev &&
         held.st_ino == named.st_ino;
}

}  // namespace

std::string TemporaryFolderPath() {
  const char* folder = getenv("TMPDIR");
  std::string path = folder && *folder ? folder : "/tmp/";
  if (path.back() != '/') path += '/';
  return path;
}

bool CreateLockFile(const std::string& path) {
  int fd = OpenRetrying(path.c_str(), kOpenFlags | O_CREAT);
  if (fd < 0) return false;
  close(fd);
  return true;
}

std::string CreateUniqueLockFile() {
  std::string path = TemporaryFolderPath() + "VelaMutex-XXXXXX";
  int fd = mkostemp(path.data(), O_CLOEXEC);
  if (fd < 0) return std::string();
  close(fd);
  return path;
}

int TryLockFile(const std::string& path) {
  for (int attempt = 0; attempt < kReplacedRetries; ++attempt) {
    int fd = OpenRetrying(path.c_str(), kOpenFlags | O_CREAT);
    if (fd < 0) return kLockFileUnusable;
    if (!LockWithoutWaiting(fd)) {
      close(fd);
      return kLockFileBusy;
    }
    if (StillNamed(fd, path.c_str())) return fd;
    close(fd);
  }
  return kLockFileBusy;
}

void UnlockFile(int descriptor) {
  if (descriptor >= 0) close(descriptor);  // the lock ends with the open file
}

bool DeleteLockFileIfFree(const std::string& path) {
  int fd = OpenRetrying(path.c_str(), kOpenFlags);
  if (fd < 0) return false;
  // Holding the lock while unlinking: a waiter that gets it afterwards sees
  // that the path no longer names its file and starts over.
  bool deleted = LockWithoutWaiting(fd) && StillNamed(fd, path.c_str()) &&
                 unlink(path.c_str()) == 0;
  close(fd);
  return deleted;
}

}  // namespace vela::platform
