#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object/lifetime_hooks.h"
#include "object/live_list.h"
#include "object_test_support.h"
#include "support/object_lock.h"

namespace {

using namespace objtest;
using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::LeakCheck;

constexpr intptr_t kFirst = sizeof(RuntimeObject);  // offset of the first property
TestDecl gRootDecl("VelaTest.RootDecl");
TestDecl gMidDecl("VelaTest.MidDecl");

// A weak-reference clearer and a debugger hook that log, while in scope.
struct LoggingLifetimeHooks {
  vela::ObjectHook weak =
      vela::SetClearWeakReferencesHook([](RuntimeObject*) { LogEvent("weak"); });
  vela::ObjectHook debug =
      vela::SetObjectDestructionHook([](RuntimeObject*) { LogEvent("debugger"); });
  ~LoggingLifetimeHooks() {
    vela::SetClearWeakReferencesHook(weak);
    vela::SetObjectDestructionHook(debug);
  }
};

// Root (declared) <- Mid (declared) <- Leaf, every class with hooks.
struct Chain {
  ClassScope classes;
  RuntimeClass* root = classes.Build(ClassBuilder("Root")
                                         .Decl(&gRootDecl)
                                         .InstanceSize(56)
                                         .Initializer(&LogInitializer<0>)
                                         .Finalizer(&LogFinalizer<0>)
                                         .DestructorHook(&LogDestructorHook<0>));
  RuntimeClass* mid = classes.Build(ClassBuilder("Mid")
                                        .Base(root)
                                        .Decl(&gMidDecl)
                                        .Event("Opened")
                                        .Initializer(&LogInitializer<1>)
                                        .Finalizer(&LogFinalizer<1>)
                                        .VtableSlot(0, &gMidDecl));
  RuntimeClass* leaf = classes.Build(ClassBuilder("Leaf")
                                         .Base(mid)
                                         .InstanceSize(72)
                                         .Initializer(&LogInitializer<2>)
                                         .Finalizer(&LogFinalizer<2>)
                                         .DestructorHook(&LogDestructorHook<2>));
};

TEST(ObjectLifetime, CreationAndDestructionFollowTheirFixedOrder) {
  Chain chain;
  LeakCheck leaks;
  RecordingAllocator allocator;
  LoggingLifetimeHooks hooks;
  RuntimeObject* older = RuntimeNewObject(chain.root);
  int32_t live = RuntimeDebugObjectCount();
  Log().clear();
  RuntimeObject* object = RuntimeNewObject(chain.leaf);
  // Construct once, from the nearest declaration; initializers root first.
  EXPECT_EQ(Log(),
            (Strings{"allocate 0+120", "construct VelaTest.MidDecl", "init0", "init1", "init2"}));
  EXPECT_EQ(object->vtable, chain.leaf->vtable);
  EXPECT_EQ(object->eventTable, chain.leaf->events);  // the shared table, not a copy
  EXPECT_EQ(object->objectRefCount, 1);
  // Prepended to the live list, with complemented links.
  EXPECT_EQ(vela::gLiveListHead, object);
  EXPECT_EQ(object->liveListPrev, ~uintptr_t(0));
  EXPECT_EQ(object->liveListNext, ~reinterpret_cast<uintptr_t>(older));
  EXPECT_EQ(older->liveListPrev, ~reinterpret_cast<uintptr_t>(object));

  Log().clear();
  RuntimeUnlockObject(object);
  EXPECT_EQ(Log(), (Strings{"hook2", "hook0", "weak", "final2", "final1", "final0",
                            "destruct VelaTest.MidDecl", "debugger",
                            "free 0 live " + std::to_string(live)}));
  RuntimeUnlockObject(older);
}

TEST(ObjectLifetime, CreationFailures) {
  Chain chain;
  LeakCheck leaks;
  RecordingAllocator allocator;
  RaiseRecorder raises;
  vela::testkit::RecordingReporter reporter;
  Log().clear();
  EXPECT_EQ(RuntimeNewObject(nullptr), nullptr);
  allocator.failNext = true;
  EXPECT_EQ(RuntimeNewObject(chain.leaf), nullptr);  // no hook runs
  EXPECT_EQ(Log(), (Strings{"allocate 0+120"}));
  EXPECT_EQ(raises.raises(), (Strings{"NilObjectException", "NilObjectException"}));
  EXPECT_EQ(RuntimeNewObject(chain.classes.Build(ClassBuilder("IClosable").Interface())), nullptr);
  EXPECT_TRUE(reporter.Saw("!(parent->flags & RuntimeClass::kInterfaceFlag)"));
}

void LockAndUnlockWhileDying(RuntimeObject* self) {
  RuntimeLockObject(self);  // count 0: the add undoes itself
  LogEvent("after lock " + std::to_string(self->objectRefCount));
  RuntimeUnlockObject(self);  // 0 to -1: starts nothing
  LogEvent("after unlock " + std::to_string(self->objectRefCount));
}

TEST(ReferenceCount, CountsByOneAndNeverRevivesADyingObject) {
  ClassScope classes;
  LeakCheck leaks;
  RecordingAllocator allocator;
  RuntimeLockObject(nullptr);
  RuntimeUnlockArray(nullptr);
  RuntimeObject* object =
      RuntimeNewObject(classes.Build(ClassBuilder("Dying").Finalizer(&LockAndUnlockWhileDying)));
  RuntimeLockObject(object);
  RuntimeLockArray(object);
  EXPECT_EQ(object->objectRefCount, 3);
  RuntimeUnlockArray(object);
  RuntimeUnlockObject(object);
  Log().clear();
  RuntimeUnlockObject(object);
  EXPECT_EQ(Log().size(), 3u);  // one destruction, one free
  EXPECT_EQ(Log()[0], "after lock 0");
  EXPECT_EQ(Log()[1], "after unlock -1");
}

// Resurrection: the hook stores the object in a global while it has budget.
RuntimeObject* gSaved = nullptr;
int gSaveBudget = 0;
void SaveInGlobal(RuntimeObject* self) {
  LogEvent("save");
  if (gSaveBudget-- > 0) {
    RuntimeLockObject(self);
    gSaved = self;
  }
}

TEST(Resurrection, HookKeepsTheObjectUntilTheGlobalIsClearedAndSkipsBaseHooks) {
  ClassScope classes;
  LeakCheck leaks;
  LoggingLifetimeHooks hooks;
  RuntimeClass* base = classes.Build(ClassBuilder("Base").DestructorHook(&LogDestructorHook<0>));
  RuntimeClass* phoenix = classes.Build(
      ClassBuilder("Phoenix").Base(base).DestructorHook(&SaveInGlobal).Finalizer(&LogFinalizer<1>));
  RuntimeObject* object = RuntimeNewObject(phoenix);
  int32_t live = RuntimeDebugObjectCount();
  gSaveBudget = 1;
  Log().clear();
  RuntimeUnlockObject(object);
  // Alive with a count of 1; the base hook and the destruction (weak
  // references included) did not run.
  EXPECT_EQ(gSaved, object);
  EXPECT_EQ(object->objectRefCount, 1);
  EXPECT_EQ(RuntimeDebugObjectCount(), live);
  EXPECT_EQ(Log(), (Strings{"save"}));

  gSaved = nullptr;
  RuntimeUnlockObject(object);
  EXPECT_EQ(Log(), (Strings{"save", "save", "hook0", "weak", "final1", "debugger"}));
  EXPECT_EQ(RuntimeDebugObjectCount(), live - 1);
}

// Objects holding others in their first two properties, dropped when finalized.
void ReleaseHeld(RuntimeObject* self) {
  LogEvent(self->classPtr->name);
  RuntimeUnlockObject(Field(self, kFirst));
  RuntimeUnlockObject(Field(self, kFirst + 8));
}

TEST(PendingDestruction, ObjectsReleasedDuringADestructionDieLastInFirstOut) {
  ClassScope classes;
  LeakCheck leaks;
  RuntimeObject* objects[4];
  for (int i = 0; i < 4; ++i)
    objects[i] = RuntimeNewObject(classes.Build(ClassBuilder(std::string(1, char('A' + i)))
                                                    .InstanceSize(kFirst + 16)
                                                    .Finalizer(&ReleaseHeld)));
  Field(objects[0], kFirst) = objects[1];  // A holds B and C, C holds D
  Field(objects[0], kFirst + 8) = objects[2];
  Field(objects[2], kFirst) = objects[3];
  Log().clear();
  RuntimeUnlockObject(objects[0]);
  // A queues B, then C; C is taken first and queues D, which goes before B.
  EXPECT_EQ(Log(), (Strings{"A", "C", "D", "B"}));
}

// A chain of a million objects, each held only by its predecessor.
struct ChainStats {
  size_t finalized = 0;
  bool inOrder = true;
  uintptr_t lowestFrame = UINTPTR_MAX, highestFrame = 0;
} gChain;

void ReleaseNext(RuntimeObject* self) {
  auto frame = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  gChain.lowestFrame = std::min(gChain.lowestFrame, frame);
  gChain.highestFrame = std::max(gChain.highestFrame, frame);
  gChain.inOrder &= Field<size_t>(self, kFirst + 8) == gChain.finalized++;
  RuntimeUnlockObject(Field(self, kFirst));
}

void* UnlockOnThread(void* object) {
  RuntimeUnlockObject(static_cast<RuntimeObject*>(object));
  return nullptr;
}

class MillionObjectChain : public ::testing::Test {
 protected:
  void SetUp() override {
    RuntimeClass* cls =
        mClasses.Build(ClassBuilder("Link").InstanceSize(kFirst + 16).Finalizer(&ReleaseNext));
    for (size_t i = kLength; i-- > 0;) {
      RuntimeObject* object = RuntimeNewObject(cls);
      Field(object, kFirst) = head;  // takes over the creator's reference
      Field<size_t>(object, kFirst + 8) = i;
      head = object;
    }
    gChain = {};
  }
  void TearDown() override {
    EXPECT_EQ(gChain.finalized, kLength);
    EXPECT_TRUE(gChain.inOrder);
  }
  static constexpr size_t kLength = 1000000;
  ClassScope mClasses;
  LeakCheck mLeaks;
  RuntimeObject* head = nullptr;
};

TEST_F(MillionObjectChain, DiesWithEveryFinalizerAtTheSameStackDepth) {
  RuntimeUnlockObject(head);
  EXPECT_LT(gChain.highestFrame - gChain.lowestFrame, 1024u);
}

TEST_F(MillionObjectChain, DiesOnA64KiBThreadStack) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, 64 * 1024);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attr, &UnlockOnThread, head), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
}

TEST(ObjectLifetime, PrivateEventTableDropsItsHandlersAndIsFreed) {
  ClassScope classes;
  LeakCheck leaks;
  RuntimeClass* button = classes.Build(ClassBuilder("Button").Event("Pressed").Event("Released"));
  RuntimeObject* object = RuntimeNewObject(button);
  // What adding a handler to this one object does: a private copy that holds
  // the handler object (the creator's reference passes to it).
  auto* copy = static_cast<RuntimeEventMember*>(std::malloc(2 * sizeof(RuntimeEventMember)));
  std::memcpy(copy, button->events, 2 * sizeof(RuntimeEventMember));
  copy[0].target =
      RuntimeNewObject(classes.Build(ClassBuilder("Handler").Finalizer(&LogFinalizer<7>)));
  object->eventTable = copy;
  Log().clear();
  RuntimeUnlockObject(object);  // the sanitizer build checks the copy was freed
  EXPECT_EQ(Log(), (Strings{"final7"}));
}

TEST(ReferenceCount, ConcurrentThreadsWhileObjectLockIsInForce) {
  ClassScope classes;
  LeakCheck leaks;
  RuntimeClass* scratch = classes.Build(ClassBuilder("Scratch").InstanceSize(kFirst + 16));
  RuntimeObject* shared =
      RuntimeNewObject(classes.Build(ClassBuilder("Shared").Finalizer(&LogFinalizer<3>)));
  vela::gDetachedThreadCount.fetch_add(1);
  Log().clear();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 50000; ++i) {
        RuntimeLockObject(shared);
        if (i % 16 == 0) RuntimeUnlockObject(RuntimeNewObject(scratch));  // live-list traffic
        RuntimeUnlockObject(shared);
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(shared->objectRefCount, 1);
  RuntimeUnlockObject(shared);
  EXPECT_EQ(Log(), (Strings{"final3"}));
  vela::gDetachedThreadCount.fetch_sub(1);
}

}  // namespace
