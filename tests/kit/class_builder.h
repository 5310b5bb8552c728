// Builds class records the way the compiler's start-up code does: through
// RuntimeNewClass, then filling in the name, layout, hooks, vtables and the
// member entries behind the inherited ones.
//
//   ClassScope classes;
//   RuntimeClass* shape = classes.Build(ClassBuilder("Shape").InstanceSize(64)
//                                           .Finalizer(&OnFinal)
//                                           .Method("Area", "%f8%", &Area, &InvokeF8));
//   RuntimeClass* circle = classes.Build(ClassBuilder("Circle").Base(shape));
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vela/object.h"

namespace vela {
class ClassDecl;
}

namespace vela::testkit {

// Text that a class record points at (names, signatures, declarations)
// must outlive the record; interned text lives to the end of the process.
const char* Intern(std::string_view text);

class ClassBuilder {
 public:
  explicit ClassBuilder(std::string_view name);

  ClassBuilder& Base(RuntimeClass* base);
  ClassBuilder& InstanceSize(uint32_t size);
  ClassBuilder& Flags(uint32_t flags);
  ClassBuilder& Backwards();  // adds kPropertiesBackwardsFlag
  ClassBuilder& Interface();  // adds kInterfaceFlag
  ClassBuilder& Decl(ClassDecl* decl);
  ClassBuilder& Initializer(RuntimeHook hook);
  ClassBuilder& DestructorHook(RuntimeHook hook);
  ClassBuilder& Finalizer(RuntimeHook hook);

  // The class's own vtable starts as a copy of the base's (when the base
  // was built here) and takes these entries on top; slots beyond grow it.
  ClassBuilder& VtableSlot(uintptr_t slot, void* function);

  // Member entries behind the inherited ones, in this order.
  ClassBuilder& Method(std::string_view name, std::string_view signature, void* function,
                       void* invoker, uint32_t flags = kScopePublic);
  // A method reached through the vtable: flag bit 8, the slot, and the
  // function stored in that slot of the class's vtable.
  ClassBuilder& VirtualMethod(std::string_view name, std::string_view signature, uintptr_t slot,
                              void* function, void* invoker, uint32_t flags = kScopePublic);
  ClassBuilder& Event(std::string_view name, void* function = nullptr,
                      RuntimeObject* target = nullptr, uint32_t flags = kScopePublic);
  ClassBuilder& Property(std::string_view name, std::string_view declaration, intptr_t parameter,
                         void* getter, void* setter, uint32_t flags = kScopePublic);
  // Gives the member added last an attribute table of `count` entries.
  ClassBuilder& Attributes(uint32_t count);

  // An implemented interface with this class's vtable for it. Naming an
  // interface that the base implements replaces the inherited vtable.
  ClassBuilder& Implements(RuntimeClass* interface, std::vector<void*> vtable);
  ClassBuilder& Extra(uintptr_t a, uintptr_t b, uintptr_t c);

  // Makes the record; the caller destroys it with RuntimeDestroyClass (or
  // lets a ClassScope do it).
  RuntimeClass* Build();

 private:
  enum class Kind { kMethod, kEvent, kProperty };
  struct Member {
    Kind kind;
    const char* name;
    uint32_t flags;
    uint32_t attributes = 0;
    const char* text = nullptr;  // signature or declaration
    void* function = nullptr;    // method function, event function, getter
    void* second = nullptr;      // invoker, event target, setter
    intptr_t word = 0;           // vtable slot or property parameter
  };
  struct OwnInterface {
    RuntimeClass* interface;
    std::vector<void*> vtable;
  };

  std::vector<Member>& Table(Kind kind);

  const char* mName;
  RuntimeClass* mBase = nullptr;
  uint32_t mInstanceSize = 0;
  uint32_t mFlags = 0;
  ClassDecl* mDecl = nullptr;
  RuntimeHook mInitializer = nullptr;
  RuntimeHook mDestructorHook = nullptr;
  RuntimeHook mFinalizer = nullptr;
  std::vector<std::pair<uintptr_t, void*>> mSlots;
  std::vector<Member> mMethods, mEvents, mProperties;
  // The member that Attributes applies to: its table and index.
  Kind mLastKind = Kind::kMethod;
  size_t mLastIndex = SIZE_MAX;
  std::vector<OwnInterface> mInterfaces;
  std::vector<RuntimeExtraEntry> mExtras;
};

// Owns class records for the length of a test and destroys them newest
// first, so that a subclass goes before its base.
class ClassScope {
 public:
  ClassScope() = default;
  ~ClassScope();
  ClassScope(const ClassScope&) = delete;
  ClassScope& operator=(const ClassScope&) = delete;

  RuntimeClass* Build(ClassBuilder& builder) { return Adopt(builder.Build()); }
  RuntimeClass* Build(ClassBuilder&& builder) { return Adopt(builder.Build()); }
  RuntimeClass* Adopt(RuntimeClass* cls);
  // Destroys one record now (it leaves the scope).
  void Destroy(RuntimeClass* cls);

 private:
  std::vector<RuntimeClass*> mClasses;
};

// The number of slots of a vtable that ClassBuilder made for `cls` (its own
// vtable, or the one it gives `interface`); 0 when unknown.
size_t BuiltVtableSize(const RuntimeClass* cls, const RuntimeClass* interface = nullptr);

}  // namespace vela::testkit
