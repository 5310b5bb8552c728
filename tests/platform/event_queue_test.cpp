// The event queue: the classic order of its messages, timers that neither
// queue up nor drift, the manual clock's waits, and wake-ups from other
// threads that are never lost.
#include "platform/event_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "kit/child_process.h"
#include "platform/clock.h"

namespace vela::platform {
namespace {

class ManualClock {
 public:
  ManualClock() { StartManualClock(1000); }
  ~ManualClock() { StopManualClock(); }
};

std::vector<uint32_t> Drain(EventQueue& queue, const MessageFilter& filter = {}) {
  std::vector<uint32_t> numbers;
  Message m;
  while (queue.Peek(&m, filter, true)) numbers.push_back(m.message);
  return numbers;
}

void Tick(NativeWindow, uint32_t, uintptr_t, uint32_t) {}

TEST(EventQueue, ClassicOrderAndFilters) {
  ManualClock clock;
  EventQueue queue(nullptr);
  queue.SetTimer(7, 1, 10, Tick);
  AdvanceManualClock(10);
  queue.Invalidate(7);
  queue.Invalidate(7);  // merges with the first request
  queue.PostQuit(3);
  Message click{};
  click.window = 7;
  click.message = 0x201;
  click.x = 40;
  click.y = 50;
  queue.PushInput(click);
  queue.Post(0, 0x400, 1, 2);
  queue.Post(7, 0xBD0, 0, 0xBD0);

  // A filter takes only what it names and leaves the rest in order.
  Message m;
  ASSERT_TRUE(queue.Peek(&m, MessageFilter{0, 0xBD0, 0xBD0}, true));
  EXPECT_EQ(m.window, 7u);
  EXPECT_FALSE(queue.Peek(&m, MessageFilter{0, 0xBD0, 0xBD0}, true));
  ASSERT_TRUE(queue.Peek(&m, MessageFilter{}, false));  // looking does not take
  EXPECT_EQ(m.message, 0x400u);
  EXPECT_EQ(Drain(queue), (std::vector<uint32_t>{0x400, 0x201, kQuitMessage, kPaintMessage,
                                                 kTimerMessage}));
  int32_t x, y;
  queue.PointerPosition(&x, &y);
  EXPECT_EQ(x, 40);
  EXPECT_EQ(y, 50);
  EXPECT_EQ(queue.LastMessageTime(), 1010u);
}

TEST(EventQueue, TimersNeitherQueueUpNorDriftAndWaitsAdvanceTheManualClock) {
  ManualClock clock;
  EventQueue queue(nullptr);
  EXPECT_FALSE(queue.SetTimer(0, 1, 100, Tick));  // a timer needs a window
  queue.SetTimer(7, 1, 100, Tick);
  queue.SetTimer(7, 2, 0, Tick);  // a period of 0 is 1 ms
  EXPECT_EQ(queue.TimerCount(), 2u);
  EXPECT_TRUE(queue.KillTimer(7, 2));
  EXPECT_FALSE(queue.KillTimer(7, 2));

  // The wait jumps to the deadline instead of sleeping.
  EXPECT_TRUE(queue.Wait(kNoTimeout));
  EXPECT_EQ(ClockMilliseconds(), 1100u);
  Message m;
  ASSERT_TRUE(queue.Get(&m));
  EXPECT_EQ(m.message, kTimerMessage);
  EXPECT_EQ(m.wordParameter, 1u);
  EXPECT_EQ(reinterpret_cast<TimerProc>(m.longParameter), &Tick);
  // Fetched late, the next period still counts from the deadline.
  AdvanceManualClock(30);
  EXPECT_EQ(queue.MillisecondsToNextTimer(), 70u);
  // Three periods missed give one message, not three.
  AdvanceManualClock(320);
  EXPECT_EQ(Drain(queue), std::vector<uint32_t>{kTimerMessage});
  EXPECT_EQ(queue.MillisecondsToNextTimer(), 100u);
  // A wait shorter than the deadline ends empty after its time-out.
  EXPECT_FALSE(queue.Wait(40));
  EXPECT_EQ(queue.MillisecondsToNextTimer(), 60u);
}

// In a child: a lost wake-up hangs, and the child's time limit ends it.
TEST(EventQueue, PostsFromAnotherThreadWakeTheWaitAndNoneIsLost) {
  VELA_EXPECT_CHILD_OK({
    EventQueue queue(nullptr);
    using Clock = std::chrono::steady_clock;
    Clock::time_point posted;
    std::thread late([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      posted = Clock::now();
      queue.Post(0, 0x401, 0, 0);
    });
    Message m;
    ASSERT_TRUE(queue.Get(&m));
    const auto woke = Clock::now();
    late.join();
    EXPECT_EQ(m.message, 0x401u);
    EXPECT_LT(woke - posted, std::chrono::milliseconds(10));

    // Many posts racing the waits: every one arrives, in order.
    constexpr uint32_t kPosts = 20000;
    std::thread poster([&] {
      for (uint32_t i = 0; i < kPosts; ++i) queue.Post(0, 0x400, i, 0);
      queue.PostQuit(0);
    });
    uint32_t expected = 0;
    while (queue.Get(&m)) EXPECT_EQ(m.wordParameter, expected++);
    poster.join();
    EXPECT_EQ(expected, kPosts);
  });
}

}  // namespace
}  // namespace vela::platform
