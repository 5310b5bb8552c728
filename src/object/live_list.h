// The live-object list: every instance, newest first, doubly linked through
// the last two header words. A link never holds a plain pointer but the
// bitwise complement of the neighbour's address, so that a stray scan of
// memory does not take the list for references. Both 0 and all ones (the
// complement of nil) mean "no neighbour"; the debugger decodes the links the
// same way.
//
// Every function here expects the caller to hold ObjectLockGuard.
#pragma once

#include <cstdint>

#include "vela/object.h"

namespace vela {

constexpr uintptr_t kNoLiveNeighbour = ~uintptr_t(0);

inline uintptr_t EncodeLiveLink(const RuntimeObject* object) {
  return ~reinterpret_cast<uintptr_t>(object);
}

inline RuntimeObject* DecodeLiveLink(uintptr_t link) {
  if (link == 0 || link == kNoLiveNeighbour) return nullptr;
  return reinterpret_cast<RuntimeObject*>(~link);
}

// The list head and a counter that changes with every insertion and removal,
// so that a remembered position can tell that it went stale.
extern RuntimeObject* gLiveListHead;
extern uint64_t gLiveListGeneration;

inline void LiveListPrepend(RuntimeObject* object) {
  RuntimeObject* oldHead = gLiveListHead;
  object->liveListPrev = kNoLiveNeighbour;
  object->liveListNext = EncodeLiveLink(oldHead);
  if (oldHead) oldHead->liveListPrev = EncodeLiveLink(object);
  gLiveListHead = object;
  ++gLiveListGeneration;
}

inline void LiveListUnlink(RuntimeObject* object) {
  RuntimeObject* previous = DecodeLiveLink(object->liveListPrev);
  RuntimeObject* next = DecodeLiveLink(object->liveListNext);
  if (gLiveListHead == object) {
    gLiveListHead = next;
  } else if (previous) {
    // The older neighbour is passed on in its encoded form; a field of 0 is
    // normalised to the all-ones form of "no neighbour".
    previous->liveListNext = object->liveListNext ? object->liveListNext : kNoLiveNeighbour;
  }
  if (next) next->liveListPrev = EncodeLiveLink(previous);
  ++gLiveListGeneration;
}

}  // namespace vela
