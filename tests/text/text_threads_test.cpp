// Text counts under the Text mutex: while a thread runs beside the turn
// (as a detached thread does, raising the detached-thread count), native
// threads that lock, unlock and read shared Texts leave exact counts and
// free a record exactly once. Run under ThreadSanitizer as well.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/object_lock.h"
#include "text/text_value.h"
#include "vela/text.h"

namespace vela {
namespace {

std::atomic<int> gFrees{0};
TextValue gDying = nullptr;

TEST(TextThreads, CountsStayExactWhileDetachedThreadsRun) {
  constexpr int kThreads = 4, kRounds = 20000, kShared = 6;
  std::vector<TextValue> shared;
  for (int i = 0; i < kShared; ++i) shared.push_back(NewText(u"shared e\u0301 text", 14));
  gDying = NewText(u"last one out", 12);
  for (int i = 1; i < kThreads; ++i) RuntimeLockText(gDying);
  TextFreeHookFn previous = SetTextFreeHook([](TextValue t) {
    if (t == gDying) gFrees.fetch_add(1);
  });

  gDetachedThreadCount.fetch_add(1);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&shared, t] {
      for (int r = 0; r < kRounds; ++r) {
        TextValue a = shared[size_t((r + t) % kShared)];
        TextValue b = shared[size_t((r + 1) % kShared)];
        RuntimeLockText(a);
        RuntimeLockUnlockText(b, a);  // a's reference moves to b
        if (r % 512 == 0) {
          EXPECT_EQ(RuntimeTextLen(b), 13);
          TextValue sum = RuntimeConcatText(a, b);
          RuntimeUnlockText(sum);
        }
        RuntimeUnlockText(b);
      }
      RuntimeUnlockText(gDying);
    });
  }
  for (std::thread& thread : threads) thread.join();
  gDetachedThreadCount.fetch_sub(1);
  SetTextFreeHook(previous);

  EXPECT_EQ(gFrees.load(), 1);
  for (TextValue t : shared) {
    EXPECT_EQ(t->mRefCount, 1);
    RuntimeUnlockText(t);
  }
}

}  // namespace
}  // namespace vela
