// What the thread tests share: a started runtime with the Thread class as an
// image builds it, thread objects whose "Run" runs a C++ body, and the view
// of the exceptions they raise. Compiled code would unwind at a raised
// ThreadEndException; a C++ body asks EndRaisedHere() at its yield points
// and returns instead. Every scenario runs in a child process.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "exec/app_fixture.h"
#include "exec/thread_record.h"
#include "kit/class_builder.h"
#include "object/raise.h"
#include "vela/threads.h"

namespace vela::threadtest {

struct Raise {
  std::string className;
  int32_t errorNumber;
  std::string message;  // "(none)" when nil
};

inline std::mutex gRaisesLock;  // detached threads raise too
inline std::vector<Raise> gRaises;
inline thread_local bool tEndRaised = false;

inline void ObserveRaise(const char* className, int32_t errorNumber, const char* message) {
  std::lock_guard<std::mutex> lock(gRaisesLock);
  gRaises.push_back({className ? className : "", errorNumber, message ? message : "(none)"});
  if (className && std::string(className) == "ThreadEndException") tEndRaised = true;
}

inline bool EndRaisedHere() { return tEndRaised; }

inline size_t RaiseCount(const std::string& className) {
  std::lock_guard<std::mutex> lock(gRaisesLock);
  size_t n = 0;
  for (const Raise& r : gRaises) n += r.className == className;
  return n;
}

using Body = std::function<void(RuntimeObject*)>;
inline std::map<RuntimeObject*, Body> gBodies;  // read under the turn only

inline void RunTrampoline(RuntimeObject* self) {
  Body body = gBodies[self];
  if (body) body(self);
}

struct ThreadClasses {
  RuntimeClass* thread = nullptr;  // "Thread": no Run handler
  RuntimeClass* worker = nullptr;  // its subclass whose Run is the trampoline
  testkit::AppClasses app;         // the desktop application classes
};

// RuntimeInit, the application classes, Thread and a worker subclass, the
// exception classes that the threads raise, all bound; the raise observer
// installed. ThreadAlreadyRunningException has no class: its raises are
// only observed. `moreClasses` builds further classes before the binding.
inline ThreadClasses StartRuntime(void (*moreClasses)() = nullptr) {
  RuntimeInit();
  testkit::ClassBuilder threadBuilder("Thread");
  // The header and no properties: the native data follow it.
  threadBuilder.InstanceSize(sizeof(RuntimeObject)).Initializer(ThreadInitializer).Event("Run");
  ThreadClasses classes;
  classes.thread = threadBuilder.Build();
  testkit::ClassBuilder workerBuilder("Worker");
  workerBuilder.Base(classes.thread).InstanceSize(sizeof(RuntimeObject));
  classes.worker = workerBuilder.Build();
  // The exceptions that the scheduler raises for real, so that they reach
  // the unhandled-exception helper as they would in an application.
  constexpr uint32_t kHeader = sizeof(RuntimeObject);
  RuntimeClass* root = testkit::ClassBuilder("RuntimeException").InstanceSize(kHeader).Build();
  testkit::ClassBuilder("ThreadEndException").Base(root).InstanceSize(kHeader).Build();
  testkit::ClassBuilder("StackOverflowException").Base(root).InstanceSize(kHeader).Build();
  if (moreClasses) moreClasses();
  classes.app = testkit::MakeAppClasses(testkit::AppFlavour::kDesktop);  // binds them all
  testkit::SetEventHandler(classes.worker, "Run", reinterpret_cast<void*>(&RunTrampoline));
  SetRaiseObserver(ObserveRaise);
  return classes;
}

inline RuntimeObject* NewWorker(const ThreadClasses& classes, Body body) {
  RuntimeObject* object = RuntimeNewObject(classes.worker);
  gBodies[object] = std::move(body);
  return object;
}

// Yields from the main thread until `done` or `limit` yields have passed.
template <class Done>
bool YieldUntil(Done done, int limit = 100000) {
  for (int i = 0; i < limit && !done(); ++i) YieldToNextThread();
  return done();
}

}  // namespace vela::threadtest
