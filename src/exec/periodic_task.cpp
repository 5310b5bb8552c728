#include "exec/periodic_task.h"

#include "exec/main_loop.h"
#include "exec/pollable.h"
#include "exec/thread_record.h"
#include "platform/clock.h"
#include "support/simple_vector.h"

namespace vela {
namespace {

// Both lists belong to the main thread.
SimpleVector<PeriodicTask*> gTasks{};
SimpleVector<PeriodicTask*> gRunning{};  // tasks whose Action is on the stack
bool gInRun = false;                     // the reentry guard

bool Contains(SimpleVector<PeriodicTask*>& list, PeriodicTask* task) {
  for (PeriodicTask* entry : list)
    if (entry == task) return true;
  return false;
}

// The one callback of every task's platform timer: the task that owns the
// record acts, whatever its period and whether it is running already.
void OnTaskTimer(PlatformTimer* record) {
  for (uint32_t i = gTasks.count; i-- > 0;)
    if (gTasks.items[i]->timer() == record) {
      gTasks.items[i]->Action();
      return;
    }
}

}  // namespace

PeriodicTask::PeriodicTask(uint32_t period, bool platformTimer) : mPeriod(period) {
  if (platformTimer) Restart();
  gTasks.Append(this);
}

PeriodicTask::~PeriodicTask() {
  Stop();
  gTasks.RemoveAll(this);
}

void PeriodicTask::Restart() {
  Stop();
  mTimer = WinTimerStart(OnTaskTimer, mPeriod, this);
}

void PeriodicTask::Stop() {
  WinTimerStop(mTimer);
  mTimer = nullptr;
}

void RunPeriodicTasks(bool onlyWithoutTimer) {
  if (CurrentThreadState().detached || gInRun) return;
  if (gTasks.Empty() || (onlyWithoutTimer && !AnyTaskWithoutTimer())) return;
  gInRun = true;
  const uint32_t now = platform::ClockTicks60();
  // A snapshot: an Action may add or destroy tasks, its own included, so
  // each entry is looked up in the live list before it is touched.
  SimpleVector<PeriodicTask*> snapshot{};
  for (PeriodicTask* task : gTasks) snapshot.Append(task);
  for (uint32_t i = snapshot.count; i-- > 0;) {
    PeriodicTask* task = snapshot.items[i];
    if (!Contains(gTasks, task)) continue;
    if (onlyWithoutTimer && task->mTimer) continue;
    if (task->mLastRun + task->mPeriod > now) continue;
    if (Contains(gRunning, task)) continue;
    gRunning.Append(task);
    task->mLastRun = platform::ClockTicks60();
    task->Action();  // may destroy the task: not touched afterwards
    gRunning.RemoveAll(task);
  }
  snapshot.Free();
  gInRun = false;
}

bool AnyTaskWithoutTimer() {
  for (PeriodicTask* task : gTasks)
    if (!task->timer()) return true;
  return false;
}

size_t PeriodicTaskCount() { return gTasks.count; }

namespace {

class PollTask final : public PeriodicTask {
 public:
  PollTask() : PeriodicTask(5) {}
  void Action() override {
    PollPollList();
    PollSocketsAndSerialPorts();
  }
};

PollTask* gPollTask = nullptr;
int gPollTaskUsers = 0;

class SweepTask final : public PeriodicTask {
 public:
  SweepTask() : PeriodicTask(5000) {}
  void Action() override { SweepNow(); }
};

SweepTask* gSweepTask = nullptr;
SimpleVector<SweepItem*> gSweepList{};

}  // namespace

void AddPollTaskUser() {
  if (++gPollTaskUsers == 1 && !gPollTask) gPollTask = new PollTask;
}

void RemovePollTaskUser() {
  if (--gPollTaskUsers < 1) {
    gPollTaskUsers = 0;
    delete gPollTask;
    gPollTask = nullptr;
  }
}

int PollTaskUserCount() { return gPollTaskUsers; }
bool PollTaskExists() { return gPollTask != nullptr; }

void AddToSweepList(SweepItem* item) {
  gSweepList.Append(item);
  if (!gSweepTask) gSweepTask = new SweepTask;
}

void SweepNow() {
  for (uint32_t i = gSweepList.count; i-- > 0;) {
    if (i >= gSweepList.count) continue;
    SweepItem* item = gSweepList.items[i];
    if (item->IsAlive()) continue;
    gSweepList.RemoveAt(i);
    delete item;
  }
}

size_t SweepListCount() { return gSweepList.count; }

}  // namespace vela
