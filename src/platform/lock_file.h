// Lock files: a lock that works between processes, held as an exclusive
// advisory lock on an open file in the temporary folder. The lock belongs
// to the open file, not to the process, so two opens in one process exclude
// each other as two processes do; it ends with the descriptor, even when the
// holder dies.
#pragma once

#include <string>

namespace vela::platform {

// The temporary folder, ending in a slash: $TMPDIR when it is set, else /tmp/.
std::string TemporaryFolderPath();

// Makes sure a file exists at `path` without changing one that does. False
// when it can be neither opened nor made (a symbolic link is refused).
bool CreateLockFile(const std::string& path);

// Makes a new file of a unique name in the temporary folder; its path, or
// empty when none could be made.
std::string CreateUniqueLockFile();

enum : int {
  kLockFileBusy = -1,       // another open file holds the lock
  kLockFileUnusable = -2,   // the file can be neither opened nor made
};

// Takes the lock of `path` if it is free: opens the file (making it when it
// is missing), locks it without waiting, and answers the descriptor that
// now holds the lock; else kLockFileBusy or kLockFileUnusable. A file that
// a releasing holder deleted while this call waited for it is let go, and
// the call starts over with the file that the path names now.
int TryLockFile(const std::string& path);

// Gives up a lock that TryLockFile took.
void UnlockFile(int descriptor);

// Deletes the file at `path` unless some open file holds its lock. Answers
// whether it was deleted.
bool DeleteLockFileIfFree(const std::string& path);

}  // namespace vela::platform
