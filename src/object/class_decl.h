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
  // Byte offsets of the record's fields, for the layout checks.
  static constexpr size_t kSuperOffset = 8, kNameOffset = 16, kEventTableOffset = 24,
                          kEventCountOffset = 32, kClassPtrOffset = 40, kNextDeclOffset = 48;
  // Binds this declaration to `cls` (used by RuntimeInitExternalClasses).
  void Bind(RuntimeClass* cls) { mClassPtr = cls; }

 protected:
  void SetNativeAlignment(size_t alignment) { mAlignment = alignment < 8 ? 8 : alignment; }
  // The backwards-layout checks shared by every declaration whose native
  // structure sits at the object pointer.
  void CheckBackwards(size_t nativeSize, size_t instanceSize) const;

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

namespace vela {

// The dual lookup of a classic/`Desktop` pair of declarations over one
// native structure: the newer declaration's event name when the object is an
// instance of it, else the classic one's. An object of neither class is the
// assertion "decl2.IsInstance(obj)".
void* DualEvent(RuntimeObject* object, const ClassDecl& newDecl, const char* newName,
                const ClassDecl& oldDecl, const char* oldName);

// Native structures that own something provide static Construct(T*) and
// Destruct(T*); the others need nothing beyond the zero-filled block.
template <class T>
void ConstructNative(T* data) {
  if constexpr (requires { T::Construct(data); })
    if (data) T::Construct(data);
}
template <class T>
void DestructNative(T* data) {
  if constexpr (requires { T::Destruct(data); })
    if (data) T::Destruct(data);
}

// A declaration whose native structure T begins with the RuntimeObject header
// and sits at the object pointer: the class must keep its properties in the
// prefix (kPropertiesBackwardsFlag). T may provide static Construct(T*) and
// Destruct(T*) for members that own something.
template <class T>
class NativeClassDecl : public ClassDecl {
  static_assert(std::is_standard_layout_v<T>, "native structures are read by position");

 public:
  NativeClassDecl(ClassDecl* super, const char* name, DeclEvent* events, uint32_t eventCount)
      : ClassDecl(super, name, events, eventCount) {
    SetNativeAlignment(alignof(T));
  }
  NativeClassDecl(ClassDecl* super, const char* name)
      : NativeClassDecl(super, name, nullptr, 0) {}
  template <size_t N>
  NativeClassDecl(ClassDecl* super, const char* name, DeclEvent (&events)[N])
      : NativeClassDecl(super, name, events, uint32_t(N)) {}

  size_t AdjustInstanceSize(size_t instanceSize) const override {
    CheckBackwards(sizeof(T), instanceSize);
    // After a failed check the block still holds what the caller asked for.
    return sizeof(T) > instanceSize ? sizeof(T) : instanceSize;
  }
  void Construct(RuntimeObject* obj) const override {
    ClassDecl::Construct(obj);
    if (obj) ConstructNative(reinterpret_cast<T*>(obj));
  }
  void Destruct(RuntimeObject* obj) const override {
    ClassDecl::Destruct(obj);
    if (obj) DestructNative(reinterpret_cast<T*>(obj));
  }
  // The native structure of `obj`, with the checks of Instance.
  T* Data(RuntimeObject* obj) const {
    return Instance(obj) ? reinterpret_cast<T*>(obj) : nullptr;
  }
};

// A declaration whose native data T lie behind the properties of the object's
// most derived class (the exception classes are the model).
template <class T>
class TrailingDataDecl : public ClassDecl {
 public:
  TrailingDataDecl(ClassDecl* super, const char* name, DeclEvent* events, uint32_t eventCount)
      : ClassDecl(super, name, events, eventCount) {
    SetNativeAlignment(alignof(T));
  }
  TrailingDataDecl(ClassDecl* super, const char* name)
      : TrailingDataDecl(super, name, nullptr, 0) {}
  template <size_t N>
  TrailingDataDecl(ClassDecl* super, const char* name, DeclEvent (&events)[N])
      : TrailingDataDecl(super, name, events, uint32_t(N)) {}
  size_t AdjustInstanceSize(size_t size) const override {
    size_t alignment = NativeAlignment();
    return (size + alignment - 1) / alignment * alignment + sizeof(T);
  }
  void Construct(RuntimeObject* obj) const override {
    ClassDecl::Construct(obj);
    if (obj) ConstructNative(Data(obj));
  }
  void Destruct(RuntimeObject* obj) const override {
    ClassDecl::Destruct(obj);
    if (obj) DestructNative(Data(obj));
  }
  T* Data(RuntimeObject* obj) const { return static_cast<T*>(Instance(obj)); }
};

// An interface declaration: three words, chained at load like classes.
struct InterfaceDecl {
  InterfaceDecl* next;
  RuntimeClass* mClassPtr;
  const char* name;

  explicit InterfaceDecl(const char* interfaceName);
  static InterfaceDecl* ListHead();
};

}  // namespace vela
