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

}  // namespace vela
