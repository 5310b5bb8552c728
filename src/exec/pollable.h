// The poll list: objects polled on every iteration of the main loop and by
// the poll task's own 5 ms timer. Members are wrappers of the objects that
// compiled code adds with ApplicationAddPollableObject, and the library's own
// one-shot pollables (the debugger's pending break).
#pragma once

#include <cstddef>

#include "vela/object.h"

namespace vela {

class Pollable {
 public:
  virtual ~Pollable() = default;
  // May remove this or any other member, and destroy it.
  virtual void Poll() = 0;
};

// Joining and leaving the poll list; each member is a user of the poll task.
void AddToPollList(Pollable* member);
void RemoveFromPollList(Pollable* member);
size_t PollListCount();

// Polls every member from last to first. A Poll that removes members does
// not disturb the walk: the index is held to the current count at each
// step, so each member still listed is polled at most once.
void PollPollList();

// The wrappers of compiled code's objects: removes and destroys every one
// (of `object`, or all of them). Also run by the application's finalizer.
void RemovePollableObject(RuntimeObject* object);
void RemoveAllPollableObjects();

}  // namespace vela
