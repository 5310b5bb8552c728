// Periodic tasks: objects that run an action again and again, either from a
// platform timer of their own or, when they have none, from each iteration of
// the main loop once their period (in 1/60 s ticks) has passed. The presence
// of a task without a platform timer keeps the main loop from blocking.
#pragma once

#include <cstddef>
#include <cstdint>

#include "exec/platform_timer.h"

namespace vela {

class PeriodicTask {
 public:
  // Stores the period (milliseconds for the platform timer, ticks for the
  // main loop) and joins the task list. With `platformTimer` the task also
  // starts its platform timer; without, only the main loop runs it.
  explicit PeriodicTask(uint32_t period, bool platformTimer = true);
  virtual ~PeriodicTask();  // stops the timer and leaves the list
  virtual void Restart();   // Stop, then a new platform timer with the period
  virtual void Stop();      // stops and forgets the platform timer
  virtual void Action() {}

  PlatformTimer* timer() const { return mTimer; }
  uint32_t period() const { return mPeriod; }
  uint32_t lastRun() const { return mLastRun; }

  PeriodicTask(const PeriodicTask&) = delete;
  PeriodicTask& operator=(const PeriodicTask&) = delete;

 private:
  friend void RunPeriodicTasks(bool onlyWithoutTimer);
  PlatformTimer* mTimer = nullptr;
  uint32_t mLastRun = 0;  // tick of the last run
  uint32_t mPeriod;
};

// Runs the due tasks, newest first; with `onlyWithoutTimer` only those that
// have no platform timer. Not re-entered, never on a detached thread, and a
// task whose Action is on the stack is passed over.
void RunPeriodicTasks(bool onlyWithoutTimer);

// True when some task has no platform timer: the main loop must poll.
bool AnyTaskWithoutTimer();
size_t PeriodicTaskCount();

// A task that calls a plain function with a context.
class FunctionTask final : public PeriodicTask {
 public:
  using Function = void (*)(void* context);
  FunctionTask(Function function, uint32_t period, void* context)
      : PeriodicTask(period), mFunction(function), mContext(context) {}
  void Action() override { mFunction(mContext); }

 private:
  Function mFunction;
  void* mContext;
};

// The poll task: one process-wide task of period 5 with its own platform
// timer, alive while it has users. Every member of the poll list is a user,
// and so is every socket and serial port from its initializer to its
// finalizer. Its Action polls the poll list, then the sockets if the socket
// layer has been started, then the serial ports.
void AddPollTaskUser();
void RemovePollTaskUser();
int PollTaskUserCount();
bool PollTaskExists();

// What the sweep task deletes: an object that answers false to IsAlive.
class SweepItem {
 public:
  virtual ~SweepItem() = default;
  virtual bool IsAlive() = 0;
};

// The sweep task: every 5 seconds, the items of its list, last first,
// whose IsAlive answers false are deleted. Created with the first item.
void AddToSweepList(SweepItem* item);
// Runs the sweep now (what the task's Action does).
void SweepNow();
size_t SweepListCount();

}  // namespace vela
