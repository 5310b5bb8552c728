#include "kit/class_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <set>

namespace vela::testkit {
namespace {

std::mutex& KitMutex() {
  static std::mutex* mutex = new std::mutex;
  return *mutex;
}

// Vtable sizes of the records built here: a subclass copies its base's
// vtables, and only the builder knows how long they are.
struct VtableSizes {
  size_t own = 0;
  std::map<const RuntimeClass*, size_t> interfaces;
};
std::map<const RuntimeClass*, VtableSizes>& Registry() {
  static auto* registry = new std::map<const RuntimeClass*, VtableSizes>;
  return *registry;
}

RuntimeVtableEntry* NewVtableFrom(const std::vector<void*>& entries) {
  RuntimeVtableEntry* vtable = RuntimeNewVtable(int32_t(entries.size()));
  std::copy(entries.begin(), entries.end(), vtable);
  return vtable;
}

intptr_t OffsetIn(const RuntimeClass* cls, const void* field) {
  return static_cast<const char*>(field) - reinterpret_cast<const char*>(cls);
}

}  // namespace

const char* Intern(std::string_view text) {
  static auto* pool = new std::set<std::string, std::less<>>;
  std::lock_guard<std::mutex> lock(KitMutex());
  auto it = pool->find(text);
  if (it == pool->end()) it = pool->emplace(text).first;
  return it->c_str();
}

size_t BuiltVtableSize(const RuntimeClass* cls, const RuntimeClass* interface) {
  std::lock_guard<std::mutex> lock(KitMutex());
  auto it = Registry().find(cls);
  if (it == Registry().end()) return 0;
  if (!interface) return it->second.own;
  auto found = it->second.interfaces.find(interface);
  return found == it->second.interfaces.end() ? 0 : found->second;
}

ClassBuilder::ClassBuilder(std::string_view name) : mName(Intern(name)) {}

ClassBuilder& ClassBuilder::Base(RuntimeClass* base) {
  mBase = base;
  return *this;
}
ClassBuilder& ClassBuilder::InstanceSize(uint32_t size) {
  mInstanceSize = size;
  return *this;
}
ClassBuilder& ClassBuilder::Flags(uint32_t flags) {
  mFlags = flags;
  return *this;
}
ClassBuilder& ClassBuilder::Backwards() {
  mFlags |= kPropertiesBackwardsFlag;
  return *this;
}
ClassBuilder& ClassBuilder::Interface() {
  mFlags |= kInterfaceFlag;
  return *this;
}
ClassBuilder& ClassBuilder::Decl(ClassDecl* decl) {
  mDecl = decl;
  return *this;
}
ClassBuilder& ClassBuilder::Initializer(RuntimeHook hook) {
  mInitializer = hook;
  return *this;
}
ClassBuilder& ClassBuilder::DestructorHook(RuntimeHook hook) {
  mDestructorHook = hook;
  return *this;
}
ClassBuilder& ClassBuilder::Finalizer(RuntimeHook hook) {
  mFinalizer = hook;
  return *this;
}

ClassBuilder& ClassBuilder::VtableSlot(uintptr_t slot, void* function) {
  mSlots.emplace_back(slot, function);
  return *this;
}

std::vector<ClassBuilder::Member>& ClassBuilder::Table(Kind kind) {
  switch (kind) {
    case Kind::kMethod:
      return mMethods;
    case Kind::kEvent:
      return mEvents;
    case Kind::kProperty:
      break;
  }
  return mProperties;
}

ClassBuilder& ClassBuilder::Method(std::string_view name, std::string_view signature,
                                   void* function, void* invoker, uint32_t flags) {
  Member m{Kind::kMethod, Intern(name), flags};
  m.text = Intern(signature);
  m.function = function;
  m.second = invoker;
  mMethods.push_back(m);
  mLastKind = Kind::kMethod;
  mLastIndex = mMethods.size() - 1;
  return *this;
}

ClassBuilder& ClassBuilder::VirtualMethod(std::string_view name, std::string_view signature,
                                          uintptr_t slot, void* function, void* invoker,
                                          uint32_t flags) {
  Method(name, signature, function, invoker, flags | kMemberVirtual);
  mMethods.back().word = intptr_t(slot);
  if (!(mFlags & kInterfaceFlag)) VtableSlot(slot, function);
  return *this;
}

ClassBuilder& ClassBuilder::Event(std::string_view name, void* function, RuntimeObject* target,
                                  uint32_t flags) {
  Member m{Kind::kEvent, Intern(name), flags};
  m.function = function;
  m.second = target;
  mEvents.push_back(m);
  mLastKind = Kind::kEvent;
  mLastIndex = mEvents.size() - 1;
  return *this;
}

ClassBuilder& ClassBuilder::Property(std::string_view name, std::string_view declaration,
                                     intptr_t parameter, void* getter, void* setter,
                                     uint32_t flags) {
  Member m{Kind::kProperty, Intern(name), flags};
  m.text = Intern(declaration);
  m.function = getter;
  m.second = setter;
  m.word = parameter;
  mProperties.push_back(m);
  mLastKind = Kind::kProperty;
  mLastIndex = mProperties.size() - 1;
  return *this;
}

ClassBuilder& ClassBuilder::Attributes(uint32_t count) {
  if (mLastIndex == SIZE_MAX) {
    ADD_FAILURE() << "ClassBuilder::Attributes needs a member to attach to";
    return *this;
  }
  Table(mLastKind)[mLastIndex].attributes = count;
  return *this;
}

ClassBuilder& ClassBuilder::Implements(RuntimeClass* interface, std::vector<void*> vtable) {
  mInterfaces.push_back({interface, std::move(vtable)});
  return *this;
}

ClassBuilder& ClassBuilder::Extra(uintptr_t a, uintptr_t b, uintptr_t c) {
  mExtras.push_back(RuntimeExtraEntry{{a, b, c}});
  return *this;
}

RuntimeClass* ClassBuilder::Build() {
  const uint32_t baseMethods = mBase ? mBase->methodCount : 0;
  const uint32_t baseEvents = mBase ? mBase->eventCount : 0;
  const uint32_t baseProperties = mBase ? mBase->propertyCount : 0;
  const uint32_t baseInterfaces = mBase ? mBase->interfaceCount : 0;

  // Interfaces the base implements already keep their index; new ones go
  // behind them.
  std::vector<const OwnInterface*> added;
  std::map<uint32_t, const OwnInterface*> replaced;
  for (const OwnInterface& own : mInterfaces) {
    uint32_t index = baseInterfaces;
    for (uint32_t i = 0; i < baseInterfaces; ++i)
      if (mBase->interfaceEntries[i].interface == own.interface) index = i;
    if (index < baseInterfaces)
      replaced[index] = &own;
    else
      added.push_back(&own);
  }

  RuntimeClass* cls = RuntimeNewClass(
      mBase, baseMethods + uint32_t(mMethods.size()), baseInterfaces + uint32_t(added.size()),
      baseEvents + uint32_t(mEvents.size()), 0, baseProperties + uint32_t(mProperties.size()),
      uint32_t(mExtras.size()));
  if (!cls) return nullptr;

  cls->name = mName;
  cls->instanceSize = mInstanceSize;
  cls->flags = mFlags;
  cls->cppGlueDecl = mDecl;
  cls->initializer = mInitializer;
  cls->destructorHook = mDestructorHook;
  cls->finalizer = mFinalizer;

  VtableSizes sizes;
  // The class's own vtable: the base's slots, then this class's.
  std::vector<void*> slots;
  if (mBase && mBase->vtable) {
    size_t baseSize = BuiltVtableSize(mBase);
    slots.assign(mBase->vtable, mBase->vtable + baseSize);
  }
  for (auto [slot, function] : mSlots) {
    if (slot >= slots.size()) slots.resize(slot + 1, nullptr);
    slots[slot] = function;
  }
  cls->vtable = slots.empty() ? nullptr : NewVtableFrom(slots);
  sizes.own = slots.size();

  auto fillHead = [cls](RuntimeClassMember& head, const Member& m) {
    head.name = m.name;
    head.flags = m.flags;
    if (m.attributes) RuntimeAllocateAttributeTable(cls, OffsetIn(cls, &head), m.attributes);
  };
  for (size_t i = 0; i < mMethods.size(); ++i) {
    RuntimeMethodMember& e = cls->methods[baseMethods + i];
    const Member& m = mMethods[i];
    fillHead(e.head, m);
    e.signature = m.text;
    e.function = m.function;
    e.invoker = m.second;
    e.vtableSlot = uintptr_t(m.word);
  }
  for (size_t i = 0; i < mEvents.size(); ++i) {
    RuntimeEventMember& e = cls->events[baseEvents + i];
    const Member& m = mEvents[i];
    fillHead(e.head, m);
    e.function = m.function;
    e.target = static_cast<RuntimeObject*>(m.second);
  }
  for (size_t i = 0; i < mProperties.size(); ++i) {
    RuntimePropertyMember& e = cls->properties[baseProperties + i];
    const Member& m = mProperties[i];
    fillHead(e.head, m);
    e.declaration = m.text;
    e.parameter = m.word;
    e.getter = m.function;
    e.setter = m.second;
  }

  // Every interface entry gets a vtable of its own, inherited ones a copy of
  // the base's, so that destroying a class never frees its base's vtables.
  for (uint32_t i = 0; i < baseInterfaces; ++i) {
    RuntimeInterfaceEntry& entry = cls->interfaceEntries[i];
    std::vector<void*> entries;
    if (auto it = replaced.find(i); it != replaced.end()) {
      entries = it->second->vtable;
    } else {
      size_t n = BuiltVtableSize(mBase, entry.interface);
      entries.assign(entry.vtable, entry.vtable + n);
    }
    entry.vtable = entries.empty() ? nullptr : NewVtableFrom(entries);
    sizes.interfaces[entry.interface] = entries.size();
  }
  for (size_t i = 0; i < added.size(); ++i) {
    RuntimeInterfaceEntry& entry = cls->interfaceEntries[baseInterfaces + i];
    entry.interface = added[i]->interface;
    entry.vtable = added[i]->vtable.empty() ? nullptr : NewVtableFrom(added[i]->vtable);
    sizes.interfaces[entry.interface] = added[i]->vtable.size();
  }
  std::copy(mExtras.begin(), mExtras.end(), cls->extraItems);

  std::lock_guard<std::mutex> lock(KitMutex());
  Registry()[cls] = std::move(sizes);
  return cls;
}

ClassScope::~ClassScope() {
  while (!mClasses.empty()) Destroy(mClasses.back());
}

RuntimeClass* ClassScope::Adopt(RuntimeClass* cls) {
  if (cls) mClasses.push_back(cls);
  return cls;
}

void ClassScope::Destroy(RuntimeClass* cls) {
  auto it = std::find(mClasses.begin(), mClasses.end(), cls);
  if (it != mClasses.end()) mClasses.erase(it);
  {
    std::lock_guard<std::mutex> lock(KitMutex());
    Registry().erase(cls);
  }
  RuntimeDestroyClass(cls);
}

}  // namespace vela::testkit
