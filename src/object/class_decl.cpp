#include "object/class_decl.h"

#include "support/ascii.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

// The list is filled by static constructors at load, newest first. A
// function-local static keeps the head valid whatever order the translation
// units are initialised in.
ClassDecl*& DeclListHead() {
  static ClassDecl* head = nullptr;
  return head;
}

size_t RoundUp(size_t value, size_t alignment) {
  return (value + alignment - 1) / alignment * alignment;
}
}  // namespace

ClassDecl::ClassDecl(ClassDecl* super, const char* name, DeclEvent* events, uint32_t eventCount)
    : mSuper(super), mName(name), mEventTable(events), mEventCount(eventCount),
      mNextDecl(DeclListHead()) {
  DeclListHead() = this;
}

ClassDecl* ClassDecl::ListHead() { return DeclListHead(); }

size_t ClassDecl::PrefixSize() const { return 0; }

// A declaration without native data adds nothing to the instance.
size_t ClassDecl::AdjustInstanceSize(size_t size) const { return size; }

void ClassDecl::Construct(RuntimeObject* obj) const { VELA_ASSERT(obj); }

void ClassDecl::Destruct(RuntimeObject* obj) const { VELA_ASSERT(obj); }

bool ClassDecl::IsInstance(RuntimeObject* object) const {
  return mClassPtr && RuntimeObjectIsa(object, mClassPtr);
}

RuntimeObject* ClassDecl::New() const {
  VELA_ASSERT_MSG(mClassPtr, "mClassPtr", "%s", mName);
  if (!mClassPtr) return nullptr;
  return RuntimeNewObject(mClassPtr);
}

void* ClassDecl::Instance(RuntimeObject* obj) const {
  VELA_ASSERT(obj);
  VELA_ASSERT(mClassPtr);
  VELA_ASSERT(RuntimeObjectIsa(obj, mClassPtr));
  if (!obj) return nullptr;
  RuntimeClass* cls = obj->classPtr;
  auto* base = reinterpret_cast<unsigned char*>(obj);
  if (cls->flags & kPropertiesBackwardsFlag) return base + sizeof(RuntimeObject);
  return base + RoundUp(cls->instanceSize, mAlignment);
}

void* ClassDecl::GetEventHandler(RuntimeObject* object, const char* name) const {
  if (!object || !name) return nullptr;
  for (const ClassDecl* decl = this; decl; decl = decl->mSuper)
    for (uint32_t i = 0; i < decl->mEventCount; ++i)
      if (AsciiEqualNoCase(decl->mEventTable[i].name, name))
        return GetEventHandler(object, decl->mEventTable[i]);
  return nullptr;
}

void* ClassDecl::GetEventHandler(RuntimeObject* object, const DeclEvent& event) const {
  if (!object) return nullptr;
  uint32_t eventID = event.eventID;
  VELA_ASSERT_MSG(eventID > 0, "eventID > 0", "%s", event.name);
  VELA_ASSERT_TEXT(object->classPtr->eventCount >= eventID, "eventCount >= eventID");
  VELA_ASSERT_TEXT(object->eventTable, "object->eventTable");
  if (eventID == 0 || eventID > object->classPtr->eventCount || !object->eventTable)
    return nullptr;
  auto* table = static_cast<RuntimeEventMember*>(object->eventTable);
  return table[eventID - 1].function;
}

ClassDecl* NearestDecl(RuntimeClass* cls) {
  for (; cls; cls = cls->superClass)
    if (cls->cppGlueDecl) return static_cast<ClassDecl*>(cls->cppGlueDecl);
  return nullptr;
}

}  // namespace vela

namespace vela {

void ClassDecl::CheckBackwards(size_t nativeSize, size_t instanceSize) const {
  RuntimeClass* cls = mClassPtr;
  VELA_ASSERT_MSG(cls && (cls->flags & kPropertiesBackwardsFlag),
                  "mClassPtr->flags & RuntimeClass::kPropertiesBackwardsFlag",
                  "Expected properties to be backwards for %s", cls ? cls->name : mName);
  VELA_ASSERT_TEXT(nativeSize >= instanceSize, "sizeof(T) >= instanceSize");
}

void* DualEvent(RuntimeObject* object, const ClassDecl& newDecl, const char* newName,
                const ClassDecl& oldDecl, const char* oldName) {
  if (!object) return nullptr;
  if (newDecl.IsInstance(object)) return newDecl.GetEventHandler(object, newName);
  if (!oldDecl.IsInstance(object)) {
    VELA_ASSERT_TEXT(false, "decl2.IsInstance(obj)");
    return nullptr;
  }
  return oldDecl.GetEventHandler(object, oldName);
}

namespace {
InterfaceDecl*& InterfaceListHead() {
  static InterfaceDecl* head = nullptr;
  return head;
}
}  // namespace

InterfaceDecl::InterfaceDecl(const char* interfaceName)
    : next(InterfaceListHead()), mClassPtr(nullptr), name(interfaceName) {
  InterfaceListHead() = this;
}

InterfaceDecl* InterfaceDecl::ListHead() { return InterfaceListHead(); }

}  // namespace vela

namespace vela {
// The declaration records are read by position by plug-ins and the debugger.
static_assert(offsetof(DeclEvent, eventID) == 8 && sizeof(DeclEvent) == 16);
static_assert(sizeof(InterfaceDecl) == 24 && offsetof(InterfaceDecl, name) == 16);
}  // namespace vela
