#include "platform/event_queue.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

#include "platform/clock.h"

namespace vela::platform {
namespace {

constexpr uint32_t kLongestPeriod = 0x7FFFFFFF;

uint32_t MillisecondsUntil(uint64_t deadline, uint64_t now) {
  if (deadline <= now) return 0;
  uint64_t ms = (deadline - now + 999) / 1000;  // never wake before the deadline
  return ms >= kNoTimeout ? kNoTimeout - 1 : uint32_t(ms);
}

void DrainEventDescriptor(int fd) {
  uint64_t count;
  while (read(fd, &count, sizeof count) == sizeof count) {
  }
}

}  // namespace

bool MessageFilter::Accepts(const Message& m) const {
  if (window && m.window != window) return false;
  if (first == 0 && last == 0) return true;
  return m.message >= first && m.message <= last;
}

EventQueue::EventQueue(EventSource* source)
    : mSource(source), mWakeDescriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

EventQueue::~EventQueue() {
  if (mWakeDescriptor >= 0) close(mWakeDescriptor);
}

Message EventQueue::Stamp(NativeWindow window, uint32_t message, uintptr_t word,
                          intptr_t lng) const {
  Message m{};
  m.window = window;
  m.message = message;
  m.wordParameter = word;
  m.longParameter = lng;
  m.time = ClockMilliseconds();
  m.x = mPointerX;
  m.y = mPointerY;
  return m;
}

void EventQueue::WakeLocked() {
  // Only a sleeping waiter needs the descriptor, and one write is enough
  // for its sleep: the common post costs no system call.
  if (!mWaiting || mWakeWritten) return;
  mWakeWritten = true;
  const uint64_t one = 1;
  ssize_t written = write(mWakeDescriptor, &one, sizeof one);
  (void)written;  // a full counter is already a wake
}

void EventQueue::Post(NativeWindow window, uint32_t message, uintptr_t wordParameter,
                      intptr_t longParameter) {
  std::lock_guard<std::mutex> lock(mLock);
  mPosted.push_back(Stamp(window, message, wordParameter, longParameter));
  WakeLocked();
}

void EventQueue::PostQuit(int exitCode) {
  std::lock_guard<std::mutex> lock(mLock);
  mQuitPosted = true;
  mQuitCode = exitCode;
  WakeLocked();
}

void EventQueue::PushInput(const Message& input) {
  std::lock_guard<std::mutex> lock(mLock);
  Message m = input;
  if (!m.time) m.time = ClockMilliseconds();
  if (m.message >= kFirstMouseMessage && m.message <= kLastMouseMessage) {
    mPointerX = m.x;
    mPointerY = m.y;
  } else {
    m.x = mPointerX;
    m.y = mPointerY;
  }
  mInput.push_back(m);
  WakeLocked();
}

void EventQueue::Invalidate(NativeWindow window) {
  std::lock_guard<std::mutex> lock(mLock);
  if (std::find(mPaint.begin(), mPaint.end(), window) != mPaint.end()) return;
  mPaint.push_back(window);
  WakeLocked();
}

void EventQueue::PushDeadlineLocked(const TimerKey& key, Timer& timer) {
  timer.generation = mNextGeneration++;
  mDeadlines.push({timer.deadline, key, timer.generation});
}

bool EventQueue::SetTimer(NativeWindow window, uintptr_t id, uint32_t milliseconds,
                          TimerProc proc) {
  if (!window) return false;
  const uint32_t period = std::clamp<uint32_t>(milliseconds, 1, kLongestPeriod);
  std::lock_guard<std::mutex> lock(mLock);
  TimerKey key{window, id};
  Timer& timer = mTimers[key];
  timer.period = period;
  timer.deadline = ClockMicroseconds() + uint64_t(period) * 1000u;
  timer.proc = proc;
  PushDeadlineLocked(key, timer);
  WakeLocked();  // a sleeping wait recomputes its time-out
  return true;
}

bool EventQueue::KillTimer(NativeWindow window, uintptr_t id) {
  std::lock_guard<std::mutex> lock(mLock);
  // The heap entry goes stale and is dropped when it reaches the top.
  return mTimers.erase({window, id}) != 0;
}

const EventQueue::Timer* EventQueue::EarliestTimerLocked() {
  while (!mDeadlines.empty()) {
    const Deadline& top = mDeadlines.top();
    auto it = mTimers.find(top.key);
    if (it != mTimers.end() && it->second.generation == top.generation) return &it->second;
    mDeadlines.pop();
  }
  return nullptr;
}

bool EventQueue::HasWorkLocked(uint64_t now) {
  if (!mPosted.empty() || !mInput.empty() || mQuitPosted || !mPaint.empty()) return true;
  const Timer* timer = EarliestTimerLocked();
  return timer && timer->deadline <= now;
}

bool EventQueue::TakeLocked(Message* out, const MessageFilter& filter, bool remove,
                            uint64_t now) {
  for (std::deque<Message>* list : {&mPosted, &mInput}) {
    for (auto it = list->begin(); it != list->end(); ++it) {
      if (!filter.Accepts(*it)) continue;
      *out = *it;
      if (remove) list->erase(it);
      return true;
    }
  }
  if (mQuitPosted) {
    Message quit = Stamp(0, kQuitMessage, uintptr_t(mQuitCode), 0);
    if (filter.Accepts(quit)) {
      *out = quit;
      if (remove) mQuitPosted = false;
      return true;
    }
  }
  for (auto it = mPaint.begin(); it != mPaint.end(); ++it) {
    Message paint = Stamp(*it, kPaintMessage, 0, 0);
    if (!filter.Accepts(paint)) continue;
    *out = paint;
    if (remove) mPaint.erase(it);
    return true;
  }
  // The due timer that has waited longest; a filter that refuses it leaves
  // the others to their own deadlines.
  const Timer* earliest = EarliestTimerLocked();
  if (!earliest || earliest->deadline > now) return false;
  const Deadline top = mDeadlines.top();
  Timer& timer = mTimers[top.key];
  Message tick = Stamp(top.key.window, kTimerMessage, top.key.id,
                       reinterpret_cast<intptr_t>(timer.proc));
  if (!filter.Accepts(tick)) return false;
  *out = tick;
  if (remove) {
    // The next period counts from this deadline, so a repeating timer does
    // not drift; deadlines missed meanwhile are skipped, not queued.
    mDeadlines.pop();
    timer.deadline += uint64_t(timer.period) * 1000u;
    if (timer.deadline <= now) timer.deadline = now + uint64_t(timer.period) * 1000u;
    PushDeadlineLocked(top.key, timer);
  }
  return true;
}

bool EventQueue::Peek(Message* out, const MessageFilter& filter, bool remove) {
  if (mSource) mSource->Drain(*this);
  std::lock_guard<std::mutex> lock(mLock);
  if (!TakeLocked(out, filter, remove, ClockMicroseconds())) return false;
  if (remove) mLastMessageTime = out->time;
  return true;
}

bool EventQueue::Get(Message* out) {
  while (!Peek(out, MessageFilter{}, true)) Wait(kNoTimeout);
  return out->message != kQuitMessage;
}

bool EventQueue::HasWork() {
  if (mSource) mSource->Drain(*this);
  std::lock_guard<std::mutex> lock(mLock);
  return HasWorkLocked(ClockMicroseconds());
}

uint32_t EventQueue::MillisecondsToNextTimer() {
  std::lock_guard<std::mutex> lock(mLock);
  const Timer* timer = EarliestTimerLocked();
  return timer ? MillisecondsUntil(timer->deadline, ClockMicroseconds()) : kNoTimeout;
}

bool EventQueue::Wait(uint32_t timeoutMs) {
  if (mSource) mSource->Drain(*this);
  const uint64_t now = ClockMicroseconds();
  constexpr uint64_t kForever = ~uint64_t(0);
  uint64_t waitUs = timeoutMs == kNoTimeout ? kForever : uint64_t(timeoutMs) * 1000u;
  {
    std::lock_guard<std::mutex> lock(mLock);
    if (HasWorkLocked(now)) return true;
    if (const Timer* timer = EarliestTimerLocked())
      waitUs = std::min(waitUs, timer->deadline > now ? timer->deadline - now : 0);
    if (ManualClockActive() && waitUs != kForever) {
      // Virtual time passes only here; posts from other threads, the only
      // thing that could arrive meanwhile, were looked at first.
      AdvanceManualClock(uint32_t((waitUs + 999) / 1000));
      return HasWorkLocked(ClockMicroseconds());
    }
    mWaiting = true;
  }
  // Posts made between the test above and the poll below write the
  // eventfd, since mWaiting is set under the same lock: no wake is lost.
  pollfd fds[2] = {{mWakeDescriptor, POLLIN, 0}, {-1, POLLIN, 0}};
  nfds_t count = 1;
  if (mSource && mSource->Descriptor() >= 0) {
    fds[1].fd = mSource->Descriptor();
    count = 2;
  }
  // The time-out in microseconds: a timer's wait ends at its deadline, not
  // at the next millisecond.
  timespec limit{time_t(waitUs / 1000000u), long(waitUs % 1000000u) * 1000L};
  int ready = ppoll(fds, count, waitUs == kForever ? nullptr : &limit, nullptr);
  {
    std::lock_guard<std::mutex> lock(mLock);
    mWaiting = false;
    if (mWakeWritten) {
      DrainEventDescriptor(mWakeDescriptor);
      mWakeWritten = false;
    }
  }
  if (ready > 0 && count == 2 && (fds[1].revents & POLLIN)) mSource->Drain(*this);
  std::lock_guard<std::mutex> lock(mLock);
  return HasWorkLocked(ClockMicroseconds());
}

uint32_t EventQueue::LastMessageTime() const {
  std::lock_guard<std::mutex> lock(mLock);
  return mLastMessageTime;
}

void EventQueue::PointerPosition(int32_t* x, int32_t* y) const {
  std::lock_guard<std::mutex> lock(mLock);
  *x = mPointerX;
  *y = mPointerY;
}

size_t EventQueue::TimerCount() const {
  std::lock_guard<std::mutex> lock(mLock);
  return mTimers.size();
}

size_t EventQueue::PostedCount() const {
  std::lock_guard<std::mutex> lock(mLock);
  return mPosted.size();
}

}  // namespace vela::platform
