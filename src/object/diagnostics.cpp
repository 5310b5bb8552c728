// The language's runtime-debug functions: counts and views of the live-object
// list, and the process's memory use.
#include "object/diagnostics.h"

#include <atomic>

#include "object/arrays/array_record.h"
#include "object/live_list.h"
#include "platform/process.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "text/string_create.h"
#include "vela/object.h"
#include "vela/string.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

// The position lookup remembers the last position and the object there, so
// that a caller stepping through the list one position at a time does not
// walk it again for every step. The memory is only trusted while the list is
// unchanged since it was taken.
struct RememberedPosition {
  int32_t index = -1;
  RuntimeObject* object = nullptr;
  uint64_t generation = 0;
};
RememberedPosition sRemembered;
uint64_t sPositionWalks = 0;

// Caller holds ObjectLockGuard.
RuntimeObject* ObjectAtPosition(int32_t index) {
  if (index < 0) return nullptr;
  RuntimeObject* found = nullptr;
  const RememberedPosition& last = sRemembered;
  if (last.object && last.generation == gLiveListGeneration && index >= last.index - 1 &&
      index <= last.index + 1) {
    if (index == last.index)
      found = last.object;
    else if (index == last.index + 1)
      found = DecodeLiveLink(last.object->liveListNext);
    else
      found = DecodeLiveLink(last.object->liveListPrev);
  } else {
    ++sPositionWalks;
    found = gLiveListHead;
    for (int32_t i = 0; found && i < index; ++i) found = DecodeLiveLink(found->liveListNext);
  }
  if (found)
    sRemembered = {index, found, gLiveListGeneration};
  else
    sRemembered = {};
  return found;
}

}  // namespace

uint64_t DebugPositionWalkCount() {
  ObjectLockGuard guard;
  return sPositionWalks;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t RuntimeDebugObjectCount(void) {
  ObjectLockGuard guard;
  int32_t count = 0;
  for (RuntimeObject* o = gLiveListHead; o; o = DecodeLiveLink(o->liveListNext)) ++count;
  return count;
}

VELA_EXPORT RuntimeObject* RuntimeDebugCopyObjectList(void) {
  ObjectLockGuard guard;
  // Newest first, without references; the walk ends at the object that has
  // no older neighbour, which is itself left out. The array holds borrowed
  // words, so releasing it releases none of the objects; it is made after
  // the count and is not in its own list.
  RuntimeObject* head = gLiveListHead;
  int32_t count = 0;
  for (RuntimeObject* o = head; o && DecodeLiveLink(o->liveListNext);
       o = DecodeLiveLink(o->liveListNext))
    ++count;
  RuntimeArray* list = NewFilledArray(BorrowedObjectTable(), count);
  if (!list) return nullptr;
  auto** items = static_cast<RuntimeObject**>(list->data);
  int32_t filled = 0;
  for (RuntimeObject* o = head; items && filled < count; o = DecodeLiveLink(o->liveListNext))
    items[filled++] = o;
  return reinterpret_cast<RuntimeObject*>(list);
}

VELA_EXPORT TESSstring RuntimeDebugObjectClass(int32_t index) {
  ObjectLockGuard guard;
  RuntimeObject* object = ObjectAtPosition(index);
  if (!object) return nullptr;
  RuntimeClass* cls = object->classPtr;
  VELA_ASSERT_TEXT(cls, "classPtr");
  if (!cls) return nullptr;
  VELA_ASSERT_TEXT(cls->name, "classPtr->name");
  if (!cls->name) return nullptr;
  return NewString(cls->name, -1, kEncodingUTF8);
}

VELA_EXPORT int32_t RuntimeDebugObjectRefs(int32_t index) {
  ObjectLockGuard guard;
  RuntimeObject* object = ObjectAtPosition(index);
  return object ? std::atomic_ref<int32_t>(object->objectRefCount).load(std::memory_order_relaxed)
                : 0;
}

VELA_EXPORT int64_t RuntimeDebugMemoryUsed(void) { return platform::WorkingSetBytes(); }
