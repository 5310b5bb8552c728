// Named mutexes: the name rules, the owner's recursion, the lock file's
// life, waiters in this process, and two processes that contend for one name.
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "exec/sync_test_support.h"
#include "kit/child_process.h"
#include "platform/lock_file.h"

namespace vela {
namespace {

using namespace synctest;

bool FileExists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

int64_t NowMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

void SleepMilliseconds(long ms) {
  timespec pause{ms / 1000, (ms % 1000) * 1000000L};
  nanosleep(&pause, nullptr);
}

// Each test's lock files go to a folder of its own.
class SyncMutex : public ::testing::Test {
 protected:
  void SetUp() override {
    char folder[] = "/tmp/vela-mutex-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    mFolder = folder;
    setenv("TMPDIR", mFolder.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    std::string command = "rm -rf '" + mFolder + "'";
    EXPECT_EQ(system(command.c_str()), 0);
  }
  std::string Path(const char* name) const { return mFolder + "/" + name; }
  std::string mFolder;
};

TEST_F(SyncMutex, NamesAreCheckedLiterally) {
  VELA_EXPECT_CHILD_OK({
    StartRuntimeWithLocks();
    const std::string longName(261 - platform::TemporaryFolderPath().size(), 'n');
    for (std::string refused : {".", "..", "a:b", "x/y", "x\\y", "q\"", "~home", "<", ">", "`",
                                longName.c_str()}) {
      RuntimeObject* mutex = NewMutex(refused.c_str());
      EXPECT_TRUE(LastRaiseIs("UnsupportedFormatException", 0,
                              "Invalid Mutex name (contains path separators or exceeds maximum "
                              "allowed length)"))
          << refused;
      EXPECT_EQ(MutexDataOf(mutex)->lockFile, nullptr);
      EXPECT_FALSE(MutexTryLock(mutex));
      RuntimeUnlockObject(mutex);
    }
    const size_t refusals = RaiseCount("UnsupportedFormatException");
    RuntimeObject* fine = NewMutex(longName.substr(1).c_str());  // one shorter passes
    RuntimeObject* dotted = NewMutex("my.lock");
    EXPECT_EQ(RaiseCount("UnsupportedFormatException"), refusals);
    EXPECT_TRUE(FileExists(Path("my.lock")));
    RuntimeUnlockObject(fine);
    RuntimeUnlockObject(dotted);
    EXPECT_FALSE(FileExists(Path("my.lock")));  // the finalizer deletes it
  });
}

TEST_F(SyncMutex, OwnerCountsUpAndTheLastUnlockFreesTheFile) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* mutex = NewMutex("shared");
    RuntimeObject* twin = NewMutex("shared");  // another open of the same file
    MutexLock(mutex);
    EXPECT_TRUE(MutexTryLock(mutex));
    EXPECT_EQ(MutexDataOf(mutex)->section.enterCount, 2);
    EXPECT_FALSE(MutexTryLock(twin));
    RuntimeUnlockObject(twin);  // held elsewhere: its end leaves the file
    EXPECT_TRUE(FileExists(Path("shared")));

    bool intruderDone = false;
    RuntimeObject* intruder = NewWorker(classes, [&](RuntimeObject*) {
      MutexUnlock(mutex);
      intruderDone = true;
    });
    threadRun(intruder);
    EXPECT_TRUE(YieldUntil([&] { return intruderDone; }));
    EXPECT_TRUE(LastRaiseIs("IllegalLockingException", 3,
                            "The thread which Signaled the Mutex must be the thread to Release "
                            "the Mutex"));
    MutexUnlock(mutex);
    twin = NewMutex("shared");
    EXPECT_FALSE(MutexTryLock(twin));
    MutexUnlock(mutex);
    EXPECT_TRUE(MutexTryLock(twin));
    MutexUnlock(twin);

    // Without a name each Mutex has a file of its own.
    RuntimeObject* loneA = NewMutex(nullptr);
    RuntimeObject* loneB = NewMutex(nullptr);
    const std::string fileA = MutexDataOf(loneA)->lockFile;
    EXPECT_NE(fileA, std::string(MutexDataOf(loneB)->lockFile));
    EXPECT_TRUE(MutexTryLock(loneA));
    EXPECT_TRUE(MutexTryLock(loneB));
    RuntimeUnlockObject(loneA);  // held by itself: the end unlocks and deletes
    EXPECT_FALSE(FileExists(fileA));
    RuntimeUnlockObject(loneB);
    RuntimeUnlockObject(mutex);
    RuntimeUnlockObject(twin);
    EXPECT_FALSE(FileExists(Path("shared")));
  });
}

TEST_F(SyncMutex, WaitersInThisProcessGetTheFileOnUnlockOrByPolling) {
  VELA_EXPECT_CHILD_OK({
    ThreadClasses classes = StartRuntimeWithLocks();
    RuntimeObject* mutex = NewMutex("local");
    RuntimeObject* twin = NewMutex("local");
    MutexLock(mutex);
    int64_t gotSame = 0, gotTwin = 0;
    RuntimeObject* sameObject = NewWorker(classes, [&](RuntimeObject*) {
      MutexLock(mutex);  // released by the unlock of this very object
      gotSame = NowMilliseconds();
      MutexUnlock(mutex);
    });
    RuntimeObject* otherObject = NewWorker(classes, [&](RuntimeObject*) {
      MutexLock(twin);  // no local hand-over: it finds the file free by polling
      gotTwin = NowMilliseconds();
      MutexUnlock(twin);
    });
    threadRun(sameObject);
    threadRun(otherObject);
    EXPECT_TRUE(YieldUntil([&] { return ThreadGetState(otherObject) == kThreadWaiting; }));
    auto* record = reinterpret_cast<RuntimeThread*>(ThreadGetID(otherObject));
    EXPECT_EQ(record->state, kThreadWaitingBit | kThreadMutexFileBit);
    const int64_t released = NowMilliseconds();
    MutexUnlock(mutex);
    EXPECT_TRUE(YieldUntil([&] { return Finished(sameObject) && Finished(otherObject); },
                           1000000000));
    EXPECT_LT(gotSame - released, 100);
    EXPECT_LT(gotTwin - released, 700);
    RuntimeUnlockObject(mutex);
    RuntimeUnlockObject(twin);
  });
}

// What the two processes tell each other.
struct Shared {
  std::atomic<int> parentHolds, peerWaits, peerHolds, peerDone;
  std::atomic<int> holders, mostHolders;
  std::atomic<int64_t> releasedAt, acquiredAt;
};

void EnterHeld(Shared* shared) {
  int now = ++shared->holders;
  for (int seen = shared->mostHolders; now > seen &&
                                       !shared->mostHolders.compare_exchange_weak(seen, now);) {
  }
}

template <class Done>
bool WaitFor(Done done) {
  for (int i = 0; i < 2000 && !done(); ++i) SleepMilliseconds(5);
  return done();
}

TEST_F(SyncMutex, TwoProcessesContendForOneName) {
  void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                      -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  Shared* shared = new (memory) Shared{};
  const std::string path = Path("contended");

  // The peer, started beside the first process: it waits in MutexLock, alone
  // in its process, polling the file.
  testkit::ChildResult peer;
  std::thread peerStarter([&] {
    peer = testkit::RunInChild([&]() -> int {
      StartRuntimeWithLocks();
      if (!WaitFor([&] { return shared->parentHolds.load() == 1; })) return 1;
      RuntimeObject* mutex = NewMutex("contended");
      EXPECT_FALSE(MutexTryLock(mutex));
      shared->peerWaits = 1;
      MutexLock(mutex);
      shared->acquiredAt = NowMilliseconds();
      EnterHeld(shared);
      shared->peerHolds = 1;
      SleepMilliseconds(100);
      --shared->holders;
      MutexUnlock(mutex);
      RuntimeUnlockObject(mutex);  // the last holder's end deletes the file
      shared->peerDone = 1;
      return 0;
    });
  });
  testkit::ChildResult first = testkit::RunInChild([&]() -> int {
    StartRuntimeWithLocks();
    RuntimeObject* mutex = NewMutex("contended");
    MutexLock(mutex);
    EnterHeld(shared);
    shared->parentHolds = 1;
    EXPECT_TRUE(WaitFor([&] { return shared->peerWaits.load() == 1; }));
    SleepMilliseconds(300);  // the peer polls meanwhile
    --shared->holders;
    shared->releasedAt = NowMilliseconds();
    MutexUnlock(mutex);
    EXPECT_TRUE(WaitFor([&] { return shared->peerHolds.load() == 1; }));
    if (!shared->peerDone) {
      EXPECT_FALSE(MutexTryLock(mutex));
    }
    EXPECT_TRUE(WaitFor([&] { return shared->peerDone.load() == 1; }));
    EXPECT_FALSE(FileExists(path));
    RuntimeUnlockObject(mutex);
    return 0;
  });
  peerStarter.join();
  EXPECT_TRUE(first.ok()) << first.Describe();
  EXPECT_TRUE(peer.ok()) << peer.Describe();
  EXPECT_EQ(shared->mostHolders.load(), 1);
  const int64_t handOver = shared->acquiredAt - shared->releasedAt;
  RecordProperty("handOverMilliseconds", std::to_string(handOver));
  EXPECT_GE(handOver, 0);
  EXPECT_LE(handOver, 400);  // one poll period, and some slack for a loaded machine
  EXPECT_FALSE(FileExists(path));
  munmap(memory, sizeof(Shared));
}

}  // namespace
}  // namespace vela
