// Framework class declarations: the native side of a class whose record the
// compiled code makes. A declaration names the class, owns the layout and
// construction of the native structure, and lists the events the library
// fires. Declarations chain themselves at library load and are bound to the
// class records by name when the image calls RuntimeInitExternalClasses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

#include "vela/object.h"

namespace vela {

// An event name and its 1-based index in the class's event table (0 until
// bound). Two words.
struct DeclEvent {
  const char* name;
  uint32_t eventID;
  uint32_t eventIDPad;
};

// The record layout is read by position (see docs/ABI.md): the vtable
// pointer, super, name, eventTable, eventCount, mClassPtr, nextDecl. The four
// virtual operations are the only virtual functions, in this order, so that
// their slots stay fixed; declarations are static and never deleted.
class ClassDecl {
 public:
  ClassDecl(ClassDecl* super, const char* name, DeclEvent* events, uint32_t eventCount);

  virtual size_t PrefixSize() const;
  virtual size_t AdjustInstanceSize(size_t size) const;
  virtual void Construct(RuntimeObject* object) const;
  virtual void Destruct(RuntimeObject* object) const;

  bool IsInstance(RuntimeObject* object) const;
  // A new instance of the bound class, owned by the caller.
  RuntimeObject* New() const;
  // The address of the native part of `object`.
  void* Instance(RuntimeObject* object) const;
  // The handler word of the event `name` for `object`, or nil.
  void* GetEventHandler(RuntimeObject* object, const char* name) const;
  // The same for a known event: skips the search.
  void* GetEventHandler(RuntimeObject* object, const DeclEvent& event) const;

  ClassDecl* super() const { return mSuper; }
  const char* name() const { return mName; }
  RuntimeClass* classPtr() const { return mClassPtr; }
  DeclEvent* events() const { return mEventTable; }
  uint32_t eventCount() const { return mEventCount; }
  ClassDecl* next() const { return mNextDecl; }

  // Alignment of the native structure, at least 8; AdjustInstanceSize and
  // Instance round the property block to it.
  size_t NativeAlignment() const { return mAlignment; }

  static ClassDecl* ListHead();
  // Binds this declaration to `cls` (used by RuntimeInitExternalClasses).
  void Bind(RuntimeClass* cls) { mClassPtr = cls; }

 protected:
  void SetNativeAlignment(size_t alignment) { mAlignment = alignment < 8 ? 8 : alignment; }

 private:
  // Declared in record order; the fields behind mNextDecl are our own.
  ClassDecl* mSuper;
  const char* mName;
  DeclEvent* mEventTable;
  uint32_t mEventCount;
  uint32_t mEventCountPad = 0;
  RuntimeClass* mClassPtr = nullptr;
  ClassDecl* mNextDecl;
  size_t mAlignment = 8;
};

// The declaration of the class that owns `object`'s native part: the first
// declaration met walking up from the object's class, or nil.
ClassDecl* NearestDecl(RuntimeClass* cls);

}  // namespace vela
