// Class records: made by compiled code at start-up through RuntimeNewClass,
// kept on one global list, found by name, and destroyed with what they own.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "object/class_list.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "vela/object.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

// Head of the class list, newest first. Changed under ObjectLock.
RuntimeClass* sClassListHead = nullptr;

template <typename Entry>
Entry* TableAt(unsigned char* block, size_t& offset, uint32_t count) {
  auto* table = reinterpret_cast<Entry*>(block + offset);
  offset += size_t(count) * sizeof(Entry);
  return table;
}

// Frees the attribute tables of entries [first, count) of a member table.
template <typename Member>
void FreeAttributeTables(Member* members, uint32_t first, uint32_t count) {
  for (uint32_t i = first; i < count; ++i) {
    std::free(members[i].head.attributes);
    members[i].head.attributes = nullptr;
    members[i].head.attributeCount = 0;
  }
}

}  // namespace

RuntimeClass* FindClassByName(const char* name) {
  if (!name) return nullptr;
  ObjectLockGuard guard;
  for (RuntimeClass* cls = sClassListHead; cls; cls = cls->nextClass)
    if (AsciiEqualNoCase(cls->name, name)) return cls;
  return nullptr;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeClass* RuntimeNewClass(RuntimeClass* base, uint32_t methodCount,
                                          uint32_t interfaceCount, uint32_t eventCount,
                                          uint32_t tableSize, uint32_t propertyCount,
                                          uint32_t extraCount) {
  VELA_ASSERT_TEXT(tableSize == 0, "0 == sTableSize");

  // The record and its five tables are one zero-filled block, allocated
  // before the lock is taken.
  size_t bytes = sizeof(RuntimeClass) + size_t(interfaceCount) * sizeof(RuntimeInterfaceEntry) +
                 size_t(methodCount) * sizeof(RuntimeMethodMember) +
                 size_t(eventCount) * sizeof(RuntimeEventMember) +
                 size_t(propertyCount) * sizeof(RuntimePropertyMember) +
                 size_t(extraCount) * sizeof(RuntimeExtraEntry);
  auto* block = static_cast<unsigned char*>(std::calloc(1, bytes));
  if (!block) return nullptr;

  ObjectLockGuard guard;
  auto* out = reinterpret_cast<RuntimeClass*>(block);
  out->interfaceCount = interfaceCount;
  out->methodCount = methodCount;
  out->eventCount = eventCount;
  out->propertyCount = propertyCount;
  out->extraCount = extraCount;
  size_t offset = sizeof(RuntimeClass) + size_t(interfaceCount) * sizeof(RuntimeInterfaceEntry);
  out->methods = TableAt<RuntimeMethodMember>(block, offset, methodCount);
  out->events = TableAt<RuntimeEventMember>(block, offset, eventCount);
  out->properties = TableAt<RuntimePropertyMember>(block, offset, propertyCount);
  out->extraItems = TableAt<RuntimeExtraEntry>(block, offset, extraCount);

  if (base) {
    // Inheritance by copy: the base's entries come first, at the same
    // indexes, so that an index found for the base holds in every subclass.
    // The extra table belongs to each class alone. A failed assertion copies
    // what fits.
    VELA_ASSERT_TEXT(out->methodCount >= base->methodCount,
                     "out->methods.count >= base->methods.count");
    std::memcpy(out->methods, base->methods,
                std::min(out->methodCount, base->methodCount) * sizeof(RuntimeMethodMember));
    VELA_ASSERT_TEXT(out->interfaceCount >= base->interfaceCount,
                     "out->interfaceCount >= base->interfaceCount");
    std::memcpy(
        out->interfaceEntries, base->interfaceEntries,
        std::min(out->interfaceCount, base->interfaceCount) * sizeof(RuntimeInterfaceEntry));
    VELA_ASSERT_TEXT(out->eventCount >= base->eventCount,
                     "out->events.count >= base->events.count");
    std::memcpy(out->events, base->events,
                std::min(out->eventCount, base->eventCount) * sizeof(RuntimeEventMember));
    VELA_ASSERT_TEXT(out->propertyCount >= base->propertyCount,
                     "out->properties.count >= base->properties.count");
    std::memcpy(out->properties, base->properties,
                std::min(out->propertyCount, base->propertyCount) * sizeof(RuntimePropertyMember));
  }

  out->superClass = base;
  out->nextClass = sClassListHead;
  sClassListHead = out;
  return out;
}

VELA_EXPORT void RuntimeDestroyClass(RuntimeClass* cls) {
  VELA_ASSERT(cls);
  if (!cls) return;
  ObjectLockGuard guard;
  for (RuntimeClass** link = &sClassListHead; *link; link = &(*link)->nextClass) {
    if (*link == cls) {
      *link = cls->nextClass;
      break;
    }
  }

  // Entries below the base's counts were copied from the base: their
  // attribute tables belong to it.
  const RuntimeClass* base = cls->superClass;
  FreeAttributeTables(cls->methods, base ? std::min(base->methodCount, cls->methodCount) : 0,
                      cls->methodCount);
  FreeAttributeTables(cls->events, base ? std::min(base->eventCount, cls->eventCount) : 0,
                      cls->eventCount);
  FreeAttributeTables(cls->properties, base ? std::min(base->propertyCount, cls->propertyCount) : 0,
                      cls->propertyCount);

  // Every interface vtable, inherited or not, belongs to this record: the
  // compiled code gives each class its own.
  for (uint32_t i = 0; i < cls->interfaceCount; ++i) std::free(cls->interfaceEntries[i].vtable);
  std::free(cls->vtable);
  std::free(cls);
}

VELA_EXPORT RuntimeVtableEntry* RuntimeNewVtable(int32_t count) {
  if (count < 1) return nullptr;
  return static_cast<RuntimeVtableEntry*>(std::malloc(size_t(count) * sizeof(RuntimeVtableEntry)));
}

VELA_EXPORT RuntimeAttribute* RuntimeAllocateAttributeTable(void* buffer, intptr_t offset,
                                                            uint32_t count) {
  VELA_ASSERT_TEXT(buffer, "buffer");
  if (!buffer) return nullptr;
  auto* member =
      reinterpret_cast<RuntimeClassMember*>(static_cast<unsigned char*>(buffer) + offset);
  auto* table = count ? static_cast<RuntimeAttribute*>(std::calloc(count, sizeof(RuntimeAttribute)))
                      : nullptr;
  member->attributeCount = table ? count : 0;
  member->attributes = table;
  return table;
}

VELA_EXPORT RuntimeClass* RuntimeGetClassList(void) {
  ObjectLockGuard guard;
  return sClassListHead;
}

VELA_EXPORT RuntimeClass* Introspection_ClassListHead(void)
    __attribute__((alias("RuntimeGetClassList")));
