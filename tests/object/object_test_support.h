// Shared helpers of the object-model tests: a log of hook calls, hooks that
// write to it, a raise recorder, a watching allocator and a test declaration.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "object/class_decl.h"
#include "object/instance_layout.h"
#include "object/raise.h"
#include "vela/object.h"

namespace objtest {

using Strings = std::vector<std::string>;

inline Strings& Log() {
  static Strings log;
  return log;
}
inline void LogEvent(std::string what) { Log().push_back(std::move(what)); }

// One hook function per number, so that a chain shows whose hook ran.
template <int N>
void LogInitializer(RuntimeObject*) {
  LogEvent("init" + std::to_string(N));
}
template <int N>
void LogFinalizer(RuntimeObject*) {
  LogEvent("final" + std::to_string(N));
}
template <int N>
void LogDestructorHook(RuntimeObject*) {
  LogEvent("hook" + std::to_string(N));
}

// The value at a signed byte offset from the object pointer.
template <typename T = RuntimeObject*>
T& Field(RuntimeObject* object, intptr_t offset) {
  return *reinterpret_cast<T*>(reinterpret_cast<char*>(object) + offset);
}

// Records every raise while in scope, as "Class" or "Class: message".
class RaiseRecorder {
 public:
  RaiseRecorder() : mPrevious(vela::SetRaiseObserver(&Observe)) { Raised().clear(); }
  ~RaiseRecorder() { vela::SetRaiseObserver(mPrevious); }
  const Strings& raises() const { return Raised(); }

 private:
  static Strings& Raised() {
    static Strings raised;
    return raised;
  }
  static void Observe(const char* className, int32_t errorNumber, const char* message) {
    std::string text = className;
    if (errorNumber) text += " #" + std::to_string(errorNumber);
    if (message) text += std::string(": ") + message;
    Raised().push_back(text);
  }
  vela::RaiseObserver mPrevious;
};

// Passes to the default strategy, logs, and can fail the next allocation.
class RecordingAllocator final : public vela::AllocationStrategy {
 public:
  RecordingAllocator() : mPrevious(vela::SetObjectAllocator(this)) {}
  ~RecordingAllocator() override { vela::SetObjectAllocator(mPrevious); }

  void* Allocate(RuntimeClass* cls, size_t prefix, size_t size) override {
    LogEvent("allocate " + std::to_string(prefix) + "+" + std::to_string(size));
    void* object = failNext ? nullptr : vela::DefaultObjectAllocator().Allocate(cls, prefix, size);
    failNext = false;
    return object;
  }
  void Free(RuntimeObject* object, size_t prefix) override {
    // Unlinked before the free: the count no longer includes it.
    LogEvent("free " + std::to_string(prefix) + " live " +
             std::to_string(RuntimeDebugObjectCount()));
    vela::DefaultObjectAllocator().Free(object, prefix);
  }
  bool failNext = false;

 private:
  vela::AllocationStrategy* mPrevious;
};

// A declaration with a chosen prefix and size growth that logs Construct and
// Destruct. Declarations stay on the library's list: make them static.
class TestDecl final : public vela::ClassDecl {
 public:
  TestDecl(const char* name, size_t prefix = 0, size_t grow = 0)
      : ClassDecl(nullptr, name, nullptr, 0), mPrefix(prefix), mGrow(grow) {}
  size_t PrefixSize() const override { return mPrefix; }
  size_t AdjustInstanceSize(size_t size) const override { return size + mGrow; }
  void Construct(RuntimeObject*) const override { LogEvent(std::string("construct ") + name()); }
  void Destruct(RuntimeObject*) const override { LogEvent(std::string("destruct ") + name()); }

 private:
  size_t mPrefix, mGrow;
};

}  // namespace objtest
