// Event handlers, delegates and weak references.
#include <gtest/gtest.h>

#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object/weak_ref.h"
#include "object_test_support.h"
#include "vela/application.h"
#include "vela/events.h"

namespace {

using namespace objtest;
using vela::WeakReferenceCount;
using namespace vela::testkit;

// Code addresses as the runtime sees them: stored and compared, never called.
char gCode[4];
void *const kInvoker = &gCode[0], *const kOwnOpened = &gCode[1], *const kOnPressed = &gCode[2],
            *const kOnOther = &gCode[3];

RuntimeObject* NewDelegate(void* function, RuntimeObject* target, bool weak = false) {
  return RuntimeCreateDelegate(kInvoker, function, target, "%%o<Button>", weak);
}
RuntimeEventMember* Table(RuntimeObject* o) { return static_cast<RuntimeEventMember*>(o->eventTable); }
// A holder's weak reference variable is its first word behind the header.
RuntimeObject*& Word(RuntimeObject* holder) { return Field(holder, sizeof(RuntimeObject)); }

// Button implements "Opened" itself; FancyButton adds "Glowed" behind the
// inherited entries.
struct Classes {
  ClassScope scope;
  RuntimeClass* button =
      scope.Build(ClassBuilder("Button").Event("Opened", kOwnOpened).Event("Pressed"));
  RuntimeClass* fancy = scope.Build(ClassBuilder("FancyButton").Base(button).Event("Glowed"));
  RuntimeClass* holder = scope.Build(ClassBuilder("Holder").InstanceSize(8));
};

TEST(EventHandlers, FirstAddHandlerGivesThatObjectAlonePrivateTable) {
  Classes c;
  LeakCheck leaks;
  RuntimeObject *one = RuntimeNewObject(c.button), *other = RuntimeNewObject(c.button),
                *listener = RuntimeNewObject(c.button);
  RuntimeObject* handler = NewDelegate(kOnPressed, listener);
  RuntimeAddEventHandler(one, 1, kOnPressed, handler);
  RuntimeEventMember* table = Table(one);
  ASSERT_NE(table, c.button->events);
  EXPECT_EQ(other->eventTable, c.button->events);
  EXPECT_EQ(table[0].function, kOwnOpened);
  EXPECT_EQ(table[1].target, handler);
  EXPECT_EQ(c.button->events[1].function, nullptr);
  EXPECT_EQ(handler->objectRefCount, 2);

  // Handlers match by the delegate's function; its target is not compared.
  RuntimeObject* lookalike = NewDelegate(kOnPressed, other);
  RuntimeRemoveEventHandler(one, 1, kOnPressed, lookalike);
  EXPECT_EQ(table[1].function, nullptr);
  EXPECT_EQ(one->eventTable, table);
  EXPECT_EQ(handler->objectRefCount, 1);

  // The slot takes a handler again, and the object's death drops it, and
  // with it the listener that only the delegate still holds.
  RuntimeAddEventHandler(one, 1, kOnPressed, handler);
  for (RuntimeObject* o : {handler, lookalike, other, listener}) RuntimeUnlockObject(o);
  int32_t live = RuntimeDebugObjectCount();
  RuntimeUnlockObject(one);
  EXPECT_EQ(RuntimeDebugObjectCount(), live - 3);
}

TEST(EventHandlers, TakenSlotsAndMissingHandlersRaiseAndChangeNothing) {
  Classes c;
  LeakCheck leaks;
  RaiseRecorder raises;
  const std::string taken =
      "RuntimeException: Attempting to add a handler for an event that was already handled.";
  const std::string missing =
      "RuntimeException: The event handler you are trying to remove has not been added with "
      "AddHandler.";
  RuntimeObject* object = RuntimeNewObject(c.button);
  RuntimeObject* handler = NewDelegate(kOnPressed, nullptr);
  RuntimeObject* different = NewDelegate(kOnOther, nullptr);
  RuntimeRemoveEventHandler(object, 1, kOnPressed, handler);  // no table of its own yet
  RuntimeAddEventHandler(object, 0, kOnPressed, handler);     // the class implements it
  EXPECT_NE(object->eventTable, c.button->events);             // copied all the same
  RuntimeAddEventHandler(object, 1, kOnPressed, handler);
  RuntimeAddEventHandler(object, 1, kOnOther, different);
  RuntimeRemoveEventHandler(object, 1, kOnPressed, different);  // its delegate calls another
  EXPECT_EQ(raises.raises(), (Strings{missing, taken, taken, missing}));
  EXPECT_EQ(Table(object)[1].target, handler);
  for (RuntimeObject* o : {object, handler, different}) RuntimeUnlockObject(o);
}

std::vector<std::string> gCalls;
void RecordCallback(RuntimeObject*, const char* cls, const char* event, VelaBoolean added) {
  gCalls.push_back(std::string(cls) + "." + event + (added ? " added" : " removed"));
}

TEST(EventHandlers, AddHandlerCallbacksNameTheIntroducingClass) {
  Classes c;
  LeakCheck leaks;
  gCalls.clear();
  RuntimeSetAddHandlerCallback("BUTTON", &RecordCallback);
  RuntimeObject* fancy = RuntimeNewObject(c.fancy);
  RuntimeObject* handler = NewDelegate(kOnPressed, nullptr);
  RuntimeAddEventHandler(fancy, 1, kOnPressed, handler);
  RuntimeAddEventHandler(fancy, 2, kOnPressed, handler);  // FancyButton's own: not told
  RuntimeRemoveEventHandler(fancy, 1, kOnPressed, handler);
  RuntimeSetAddHandlerCallback("Button", nullptr);
  RuntimeAddEventHandler(fancy, 1, kOnPressed, handler);
  EXPECT_EQ(gCalls, (Strings{"Button.Pressed added", "Button.Pressed removed"}));
  for (RuntimeObject* o : {fancy, handler}) RuntimeUnlockObject(o);
}

TEST(EventHandlers, IsHandledQueriesIgnoreCaseOfClassAndEventNames) {
  Classes c;
  LeakCheck leaks;
  RecordingReporter reporter;
  RuntimeObject* fancy = RuntimeNewObject(c.fancy);
  RuntimeObject* handler = NewDelegate(kOnPressed, nullptr);
  RuntimeAddEventHandler(fancy, 2, kOnPressed, handler);
  auto handled = [&](auto query, const char* cls, const char* event) {
    TESSstring names[] = {StringFromCString(cls), StringFromCString(event)};
    bool answer = query(fancy, names[0], names[1]);
    for (TESSstring s : names) RuntimeUnlockString(s);
    return answer;
  };
  EXPECT_TRUE(handled(RuntimeIsEventHandled, "button", "OPENED"));  // via a base class
  EXPECT_FALSE(handled(RuntimeIsEventHandled, "FANCYBUTTON", "pressed"));
  EXPECT_TRUE(handled(RuntimeIsEventHandled, "fancyButton", "glowed"));
  EXPECT_TRUE(PluginIsEventHandled(fancy, "GLOWED"));
  EXPECT_FALSE(handled(RuntimeUserIsEventHandled, "Button", "Glowed"));  // not Button's
  EXPECT_FALSE(handled(RuntimeUserIsEventHandled, "Window", "Opened"));
  EXPECT_EQ(reporter.count(), 0u);
  EXPECT_FALSE(handled(RuntimeIsEventHandled, "Button", "Glowed"));
  EXPECT_TRUE(reporter.SawMessage("Button does not have an event named Glowed"));
  for (RuntimeObject* o : {fancy, handler}) RuntimeUnlockObject(o);
}

TEST(Delegates, CountStrongTargetsCastBySignatureAndCompareByTargetWord) {
  Classes c;
  LeakCheck leaks;
  RaiseRecorder raises;
  RuntimeObject *a = RuntimeNewObject(c.holder), *b = RuntimeNewObject(c.holder);
  RuntimeObject* strongA = NewDelegate(kOnPressed, a);
  RuntimeObject* weakA = NewDelegate(kOnPressed, a, true);
  RuntimeObject* weakB = NewDelegate(kOnPressed, b, true);
  EXPECT_EQ(a->objectRefCount, 2);
  EXPECT_EQ(RuntimeCheckDelegateCast(weakA, "%%o<Button>"), weakA);
  EXPECT_EQ(RuntimeCheckDelegateCast(weakA, "%%o<button>"), nullptr);
  EXPECT_EQ(RuntimeCreateDelegate(kInvoker, nullptr, a, "%%", false), nullptr);
  EXPECT_EQ(raises.raises(), (Strings{"IllegalCastException", "NilObjectException"}));
  EXPECT_TRUE(RuntimeCompareDelegates(nullptr, nullptr));
  EXPECT_FALSE(RuntimeCompareDelegates(nullptr, weakA));
  EXPECT_TRUE(RuntimeCompareDelegates(weakA, strongA));
  EXPECT_FALSE(RuntimeCompareDelegates(weakA, weakB));

  size_t registered = WeakReferenceCount();
  RuntimeUnlockObject(NewDelegate(kOnOther, b, true));  // a live target: unregisters
  EXPECT_EQ(WeakReferenceCount(), registered);
  // Dead weak delegates hold nil, compare equal, and unregister nothing.
  for (RuntimeObject* o : {strongA, a, b}) RuntimeUnlockObject(o);
  EXPECT_EQ(WeakReferenceCount(), registered - 2);
  EXPECT_TRUE(RuntimeCompareDelegates(weakA, weakB));
  for (RuntimeObject* o : {weakA, weakB, weakA}) RuntimeUnlockObject(o);  // one from the cast
  EXPECT_EQ(WeakReferenceCount(), registered - 2);
}

TEST(WeakReferences, EveryVariableClearsAtItsTargetsDeathAndNoOther) {
  Classes c;
  LeakCheck leaks;
  size_t before = WeakReferenceCount();
  RuntimeObject *target = RuntimeNewObject(c.button), *other = RuntimeNewObject(c.button), *h[3];
  for (RuntimeObject*& holder : h) holder = RuntimeNewObject(c.holder);
  for (RuntimeObject* holder : h) RegisterWeakRef(holder, holder == h[2] ? other : target);
  RuntimeObject* resolved = ResolveWeakRef(h[0]);
  EXPECT_EQ(resolved, target);
  EXPECT_EQ(target->objectRefCount, 2);
  RuntimeUnlockObject(resolved);
  UnregisterWeakRef(h[1]);
  EXPECT_EQ(Word(h[1]), nullptr);
  EXPECT_EQ(WeakReferenceCount(), before + 2);
  RegisterWeakRef(h[1], target);

  RuntimeUnlockObject(target);
  EXPECT_EQ(ResolveWeakRef(h[0]), nullptr);
  EXPECT_EQ(Word(h[1]), nullptr);
  EXPECT_EQ(Word(h[2]), other);
  RuntimeUnlockObject(other);
  EXPECT_EQ(Word(h[2]), nullptr);
  EXPECT_EQ(WeakReferenceCount(), before);
  for (RuntimeObject* holder : h) RuntimeUnlockObject(holder);
}

// Destruction clears weak references before the finalizers and drops the
// private event table's handlers only after the declaration's Destruct.
TestDecl gWatchedDecl("VelaTest.Watched");
RuntimeObject* gHolder = nullptr;
void LogWeakWord(RuntimeObject*) { LogEvent(Word(gHolder) ? "weak set" : "weak clear"); }

TEST(WeakReferences, DestructionClearsThemFirstAndDropsHandlersAfterDestruct) {
  Classes c;
  LeakCheck leaks;
  RuntimeObject* watched = RuntimeNewObject(c.scope.Build(
      ClassBuilder("Watched").Decl(&gWatchedDecl).Event("Changed").Finalizer(&LogWeakWord)));
  RuntimeObject* listener =
      RuntimeNewObject(c.scope.Build(ClassBuilder("Listener").Finalizer(&LogFinalizer<9>)));
  RuntimeObject* handler = NewDelegate(kOnPressed, listener);
  RuntimeAddEventHandler(watched, 0, kOnPressed, handler);
  for (RuntimeObject* o : {handler, listener}) RuntimeUnlockObject(o);
  RegisterWeakRef(gHolder = RuntimeNewObject(c.holder), watched);
  Log().clear();
  RuntimeUnlockObject(watched);
  EXPECT_EQ(Log(), (Strings{"weak clear", "destruct VelaTest.Watched", "final9"}));
  RuntimeUnlockObject(gHolder);
}

RuntimeObject* gSaved = nullptr;
void SaveOnce(RuntimeObject* self) {
  if (!gSaved) RuntimeLockObject(gSaved = self);
}

TEST(WeakReferences, SurviveADestructorHookThatSavesTheTarget) {
  Classes c;
  LeakCheck leaks;
  RuntimeObject* phoenix =
      RuntimeNewObject(c.scope.Build(ClassBuilder("Phoenix").DestructorHook(&SaveOnce)));
  RuntimeObject* holder = RuntimeNewObject(c.holder);
  RegisterWeakRef(holder, phoenix);
  RuntimeUnlockObject(phoenix);
  EXPECT_EQ(Word(holder), phoenix);
  RuntimeUnlockObject(gSaved);  // the hook has saved once already: it dies now
  EXPECT_EQ(Word(holder), nullptr);
  gSaved = nullptr;
  RuntimeUnlockObject(holder);
}

// WeakRef_Create needs vela.Core.WeakRef bound, which happens once a process.
TEST(WeakReferences, CoreWeakRefObjectsRegisterAndUnregisterTheirWord) {
  auto result = vela::testkit::RunInChild([] {
    RuntimeClass* core = ClassBuilder("VELA.core.weakref").Backwards().Build();
    RuntimeObject* target = RuntimeNewObject(ClassBuilder("Thing").Build());
    RuntimeInitExternalClasses();
    RuntimeObject* ref = WeakRef_Create(target);
    EXPECT_EQ(ref->classPtr, core);
    RuntimeObject* value = WeakRef_Value(ref);
    EXPECT_EQ(value, target);
    RuntimeUnlockObject(value);
    RuntimeUnlockObject(ref);  // its destructor never ran: Destruct unregisters
    EXPECT_EQ(WeakReferenceCount(), 0u);
    WeakRef_Destructor(ref = WeakRef_Create(target));
    EXPECT_EQ(WeakRef_Value(ref), nullptr);
    EXPECT_EQ(WeakReferenceCount(), 0u);
    for (RuntimeObject* o : {ref, target}) RuntimeUnlockObject(o);
    return 0;
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

}  // namespace
