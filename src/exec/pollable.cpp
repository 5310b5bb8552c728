#include "exec/pollable.h"

#include "exec/periodic_task.h"
#include "object/class_decl.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/simple_vector.h"
#include "vela/main_loop.h"

namespace vela {

extern InterfaceDecl gPollableInterface;

namespace {
constexpr const char* kReportPath = "Common/runctl";

using PollFunction = void (*)(RuntimeObject* self);

// Both lists belong to the main thread.
SimpleVector<Pollable*> gPollList{};

// An object of compiled code on the poll list: a counted reference and the
// poll function of its `_Pollable` implementation, or nil.
class PollableWrapper final : public Pollable {
 public:
  PollableWrapper(RuntimeObject* object, PollFunction poll) : mObject(object), mPoll(poll) {
    RuntimeLockObject(object);
  }
  ~PollableWrapper() override { RuntimeUnlockObject(mObject); }
  void Poll() override {
    // The poll may remove this wrapper, and with it the last reference to
    // the object: the call holds one of its own, and touches no member
    // afterwards.
    RuntimeObject* object = mObject;
    PollFunction poll = mPoll;
    if (!poll) return;
    RuntimeLockObject(object);
    poll(object);
    RuntimeUnlockObject(object);
  }
  RuntimeObject* object() const { return mObject; }

 private:
  RuntimeObject* mObject;
  PollFunction mPoll;
};

SimpleVector<PollableWrapper*> gWrappers{};

PollFunction PollFunctionOf(RuntimeObject* object) {
  RuntimeClass* pollable = gPollableInterface.mClassPtr;
  if (!pollable || !RuntimeObjectIsa(object, pollable)) return nullptr;
  RuntimeVtableEntry* vtable = RuntimeLookupInterfaceVtable(object, pollable);
  return vtable ? reinterpret_cast<PollFunction>(vtable[0]) : nullptr;
}

// Removes the wrappers that `matches` picks, last first, from both lists.
template <class Matches>
void RemoveWrappers(Matches matches) {
  for (uint32_t i = gWrappers.count; i-- > 0;) {
    if (i >= gWrappers.count) continue;  // a destructor removed others
    PollableWrapper* wrapper = gWrappers.items[i];
    if (!matches(wrapper)) continue;
    gWrappers.RemoveAt(i);
    RemoveFromPollList(wrapper);
    delete wrapper;
  }
}

}  // namespace

void AddToPollList(Pollable* member) {
  gPollList.Append(member);
  AddPollTaskUser();
}

void RemoveFromPollList(Pollable* member) {
  uint32_t removed = gPollList.RemoveAll(member);
  while (removed--) RemovePollTaskUser();
}

size_t PollListCount() { return gPollList.count; }

void PollPollList() {
  for (uint32_t i = gPollList.count; i > 0; --i) {
    if (i > gPollList.count) i = gPollList.count;
    if (i == 0) break;
    gPollList.items[i - 1]->Poll();
  }
}

void RemovePollableObject(RuntimeObject* object) {
  RemoveWrappers([object](PollableWrapper* w) { return w->object() == object; });
}

void RemoveAllPollableObjects() {
  RemoveWrappers([](PollableWrapper*) { return true; });
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void ApplicationAddPollableObject(RuntimeObject*, RuntimeObject* object) {
  VELA_ASSERT_TEXT(object, "base");
  if (!object) return;
  auto* wrapper = new PollableWrapper(object, PollFunctionOf(object));
  AddToPollList(wrapper);
  gWrappers.Append(wrapper);
}

VELA_EXPORT void ApplicationRemovePollableObject(RuntimeObject*, RuntimeObject* object) {
  RemovePollableObject(object);
}

VELA_EXPORT void ApplicationRemoveAllPollableObjects(void) { RemoveAllPollableObjects(); }
