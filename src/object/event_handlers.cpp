// Handlers added to one object's events (AddHandler, RemoveHandler), the
// callbacks that classes register to hear about them, and the queries whether
// an event has an implementation.
//
// An object starts with its class's shared event table. The first handler
// added to it gives it a private copy of that table (one malloc block of the
// class's events.count entries) that lives until the object dies; destruction
// drops the handler references the copy holds and frees it.
#include <cstdlib>
#include <cstring>
#include <map>

#include "object/class_list.h"
#include "object/delegate.h"
#include "object/raise.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/message_text.h"
#include "support/object_lock.h"
#include "text/string_create.h"
#include "vela/events.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

constexpr const char* kAlreadyHandled =
    "Attempting to add a handler for an event that was already handled.";
constexpr const char* kNotAdded =
    "The event handler you are trying to remove has not been added with AddHandler.";

// Class -> callback, under ObjectLock. Entries are keyed by the record's
// address: a class that is destroyed should have its callback cleared first.
using CallbackMap = std::map<RuntimeClass*, RuntimeAddHandlerCallback>;

CallbackMap& Callbacks() {
  static CallbackMap* callbacks = new CallbackMap;
  return *callbacks;
}

RuntimeEventMember* EventTable(RuntimeObject* object) {
  return static_cast<RuntimeEventMember*>(object->eventTable);
}

// Gives `target` its private copy of the class's table.
bool MakePrivateTable(RuntimeObject* target) {
  RuntimeClass* cls = target->classPtr;
  size_t bytes = size_t(cls->eventCount) * sizeof(RuntimeEventMember);
  auto* copy = static_cast<RuntimeEventMember*>(std::malloc(bytes));
  VELA_ASSERT_TEXT(copy, "private event table");
  if (!copy) return false;
  std::memcpy(copy, cls->events, bytes);
  for (uint32_t ctr = 0; ctr < cls->eventCount; ++ctr) {
    VELA_ASSERT_TEXT(copy[ctr].target == nullptr, "target->eventTable[ctr].delegate == nullptr");
    // The copy's words are dropped at destruction; one that the class's
    // table held must be counted for that to balance.
    RuntimeLockObject(copy[ctr].target);
  }
  target->eventTable = copy;
  return true;
}

// Tells the callback of the class that introduced event `index`: the highest
// class in the chain whose table already has the entry.
void TellAddHandlerCallback(RuntimeObject* target, uint32_t index, bool added) {
  ObjectLockGuard guard;
  CallbackMap& callbacks = Callbacks();
  if (callbacks.empty()) return;
  RuntimeClass* cls = target->classPtr;
  while (cls->superClass && cls->superClass->eventCount > index) cls = cls->superClass;
  auto found = callbacks.find(cls);
  if (found != callbacks.end())
    found->second(target, cls->name, cls->events[index].head.name, added ? 1 : 0);
}

// Handlers are matched by the function each delegate calls, not its target.
bool SameDelegateFunction(RuntimeObject* a, RuntimeObject* b) {
  RuntimeDelegate* da = AsDelegate(a);
  RuntimeDelegate* db = AsDelegate(b);
  return da && db ? da->function == db->function : a == b;
}

bool CheckTarget(RuntimeObject* target) {
  VELA_ASSERT(target);
  if (!target) return false;
  VELA_ASSERT_TEXT(target->classPtr, "target->classPtr");
  return target->classPtr != nullptr;
}

bool CheckIndex(RuntimeObject* target, uint32_t index) {
  bool inRange = target->classPtr->eventCount > index;
  VELA_ASSERT_TEXT(inRange, "target->classPtr->events.count > index");
  return inRange;
}

bool NameIs(const char* name, TESSstring wanted) {
  return AsciiEqualNoCase(StringText(wanted), size_t(StringLength(wanted)), name);
}

const char* Printable(TESSstring s) { return s ? StringText(s) : ""; }

// The index of `eventName` in the table of the class in `target`'s chain named
// `className`, searched last to first; -1 when either is missing, reported
// when `report` is set.
int64_t FindEvent(RuntimeObject* target, TESSstring className, TESSstring eventName,
                  bool report) {
  RuntimeClass* cls = target->classPtr;
  while (cls && !NameIs(cls->name, className)) cls = cls->superClass;
  if (!cls) {
    if (report)
      VELA_ASSERT_MSG(false, "classPtr", "Object does not inherit from %s", Printable(className));
    return -1;
  }
  for (uint32_t i = cls->eventCount; i-- > 0;)
    if (NameIs(cls->events[i].head.name, eventName)) return i;
  if (report)
    VELA_ASSERT_MSG(false, "false", "%s does not have an event named %s",
                    NameForMessage(cls->name), Printable(eventName));
  return -1;
}

bool Handled(RuntimeObject* target, int64_t index) {
  return index >= 0 && target->eventTable && EventTable(target)[index].function != nullptr;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT void RuntimeAddEventHandler(RuntimeObject* target, uint32_t index, void* function,
                                        RuntimeObject* delegate) {
  if (!CheckTarget(target) || !CheckIndex(target, index)) return;
  ObjectLockGuard guard;
  if (target->eventTable == target->classPtr->events && !MakePrivateTable(target)) return;
  // A slot with a function is taken, also when the class implements the
  // event itself; the object keeps its private table all the same.
  RuntimeEventMember& entry = EventTable(target)[index];
  if (entry.function) {
    RaiseNamedException("RuntimeException", 0, kAlreadyHandled);
    return;
  }
  RuntimeLockObject(delegate);
  entry.function = function;
  entry.target = delegate;
  TellAddHandlerCallback(target, index, true);
}

VELA_EXPORT void RuntimeRemoveEventHandler(RuntimeObject* target, uint32_t index, void* function,
                                           RuntimeObject* delegate) {
  if (!CheckTarget(target)) return;
  ObjectLockGuard guard;
  // An object that still uses the shared table has no handlers.
  if (target->eventTable == target->classPtr->events) {
    RaiseNamedException("RuntimeException", 0, kNotAdded);
    return;
  }
  if (!CheckIndex(target, index)) return;
  RuntimeEventMember& entry = EventTable(target)[index];
  if (entry.function != function || !entry.target || !delegate ||
      !SameDelegateFunction(entry.target, delegate)) {
    RaiseNamedException("RuntimeException", 0, kNotAdded);
    return;
  }
  // Cleared before the release, so that whatever the release destroys never
  // sees the slot in use.
  RuntimeObject* old = entry.target;
  entry.function = nullptr;
  entry.target = nullptr;
  RuntimeUnlockObject(old);
  TellAddHandlerCallback(target, index, false);
}

VELA_EXPORT VelaBoolean RuntimeIsEventHandled(RuntimeObject* target, TESSstring className,
                                              TESSstring eventName) {
  VELA_ASSERT(target);
  return target && Handled(target, FindEvent(target, className, eventName, true));
}

VELA_EXPORT VelaBoolean RuntimeUserIsEventHandled(RuntimeObject* target, TESSstring className,
                                                  TESSstring eventName) {
  return target && Handled(target, FindEvent(target, className, eventName, false));
}

// Plug-ins know an event by name only: the first class up the chain with an
// event of that name decides, its table searched last to first.
VELA_EXPORT VelaBoolean PluginIsEventHandled(RuntimeObject* target, const char* eventName) {
  if (!target || !eventName) return false;
  for (RuntimeClass* cls = target->classPtr; cls; cls = cls->superClass)
    for (uint32_t i = cls->eventCount; i-- > 0;)
      if (AsciiEqualNoCase(cls->events[i].head.name, eventName)) return Handled(target, i);
  return false;
}

// A nil callback removes the class's entry.
VELA_EXPORT void RuntimeSetAddHandlerCallback(const char* className,
                                              RuntimeAddHandlerCallback callback) {
  RuntimeClass* theClass = className ? FindClassByName(className) : nullptr;
  VELA_ASSERT_MSG(theClass, "theClass", "Couldn't find runtime class named '%s'",
                  NameForMessage(className));
  if (!theClass) return;
  ObjectLockGuard guard;
  try {
    if (callback)
      Callbacks()[theClass] = callback;
    else
      Callbacks().erase(theClass);
  } catch (...) {
    VELA_ASSERT_TEXT(false, "add-handler callback map");
  }
}
