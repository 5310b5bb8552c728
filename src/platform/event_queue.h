// The main thread's message queue, platform-neutral: messages posted from
// any thread, input from the backend, paint requests and timers, fetched in
// the classic order, and the wait that the main loop sleeps in. A backend
// plugs in as an EventSource: a descriptor that becomes readable when it has
// native events, and a drain that turns them into queued input.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <queue>
#include <set>
#include <vector>

#include "vela/main_loop.h"

namespace vela::platform {

using NativeWindow = uintptr_t;  // 0 is no window
using Message = VelaMessage;

// Message numbers that the core generates or that every layer knows.
constexpr uint32_t kPaintMessage = 0x000F;
constexpr uint32_t kQuitMessage = 0x0012;
constexpr uint32_t kTimerMessage = 0x0113;
constexpr uint32_t kFirstKeyMessage = 0x0100, kLastKeyMessage = 0x0109;
constexpr uint32_t kFirstMouseMessage = 0x0200, kLastMouseMessage = 0x020E;
constexpr uint32_t kNoTimeout = 0xFFFFFFFFu;

// Called by the dispatch of a timer message: the window, kTimerMessage, the
// timer's id and the message time.
using TimerProc = void (*)(NativeWindow window, uint32_t message, uintptr_t id, uint32_t time);

class EventQueue;

// The backend's side of the queue.
class EventSource {
 public:
  virtual ~EventSource() = default;
  // A descriptor that polls readable while native events wait; -1 for none.
  virtual int Descriptor() const = 0;
  // Moves the waiting native events into `queue` (PushInput, Invalidate)
  // without blocking. Called on the main thread.
  virtual void Drain(EventQueue& queue) = 0;
};

// Which messages a fetch takes: window 0 takes any window's (and the
// thread's); first = last = 0 takes every number.
struct MessageFilter {
  NativeWindow window = 0;
  uint32_t first = 0;
  uint32_t last = 0;
  bool Accepts(const Message& m) const;
};

class EventQueue {
 public:
  explicit EventQueue(EventSource* source);  // the source may be nil
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  // --- any thread -------------------------------------------------------
  // A posted message; window 0 addresses the main thread itself.
  void Post(NativeWindow window, uint32_t message, uintptr_t wordParameter,
            intptr_t longParameter);
  // The quit message, taken once posted messages and input are done.
  void PostQuit(int exitCode);
  // Input in arrival order (the backend's drain, or a test's injection).
  // Mouse messages also move the pointer position.
  void PushInput(const Message& input);
  // Asks for one paint message for `window`; repeated requests merge.
  void Invalidate(NativeWindow window);
  // Arms (or re-arms) timer `id` of `window`: a timer message every
  // `milliseconds` (at least 1), dispatched to `proc`. Timers never queue up:
  // one due timer gives one message, and the next period counts from the
  // fetch. False for a window of 0.
  bool SetTimer(NativeWindow window, uintptr_t id, uint32_t milliseconds, TimerProc proc);
  bool KillTimer(NativeWindow window, uintptr_t id);

  // --- the main thread --------------------------------------------------
  // Takes (or with `remove` false, looks at) the next message in the classic
  // order: posted, input, quit, paint, timers. False when none is there.
  bool Peek(Message* out, const MessageFilter& filter, bool remove);
  // Waits until a message is there; false for the quit message.
  bool Get(Message* out);
  // Waits at most `timeoutMs` (kNoTimeout: without limit) until a message is
  // there or a timer is due; true when one is. Under the manual clock a wait
  // with nothing to do advances the clock to the earliest deadline instead
  // of sleeping.
  bool Wait(uint32_t timeoutMs);
  // A message or a due timer is there (drains the backend first).
  bool HasWork();
  // Milliseconds until the earliest timer is due (0 when due, kNoTimeout
  // when there is none).
  uint32_t MillisecondsToNextTimer();

  uint32_t LastMessageTime() const;
  void PointerPosition(int32_t* x, int32_t* y) const;
  size_t TimerCount() const;
  size_t PostedCount() const;

 private:
  struct TimerKey {
    NativeWindow window;
    uintptr_t id;
    auto operator<=>(const TimerKey&) const = default;
  };
  struct Timer {
    uint32_t period;  // milliseconds
    uint64_t deadline;  // microseconds
    TimerProc proc;
    uint64_t generation;
  };
  struct Deadline {
    uint64_t when;
    TimerKey key;
    uint64_t generation;
    bool operator>(const Deadline& other) const { return when > other.when; }
  };

  Message Stamp(NativeWindow window, uint32_t message, uintptr_t word, intptr_t lng) const;
  bool HasWorkLocked(uint64_t now);
  const Timer* EarliestTimerLocked();  // drops stale heap entries
  bool TakeLocked(Message* out, const MessageFilter& filter, bool remove, uint64_t now);
  void WakeLocked();
  void PushDeadlineLocked(const TimerKey& key, Timer& timer);

  EventSource* mSource;
  int mWakeDescriptor = -1;  // eventfd: posts from other threads end a wait
  mutable std::mutex mLock;
  std::deque<Message> mPosted;
  std::deque<Message> mInput;
  std::vector<NativeWindow> mPaint;  // invalidated windows, oldest first
  bool mQuitPosted = false;
  int mQuitCode = 0;
  std::map<TimerKey, Timer> mTimers;
  std::priority_queue<Deadline, std::vector<Deadline>, std::greater<Deadline>> mDeadlines;
  uint64_t mNextGeneration = 1;
  bool mWaiting = false;     // the main thread sleeps in Wait
  bool mWakeWritten = false;  // the eventfd holds a wake for that sleep
  uint32_t mLastMessageTime = 0;
  int32_t mPointerX = 0, mPointerY = 0;
};

}  // namespace vela::platform
