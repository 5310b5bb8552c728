// Compiled code and plug-ins read the object header and the class record by
// position, so every offset is part of the binary interface. A word is 8
// bytes; a 32-bit field sits in the low half of its word.
#include <cstddef>

#include "vela/object.h"

namespace {

constexpr size_t kWord = 8;

// The object header: six words.
static_assert(offsetof(RuntimeObject, vtable) == 0 * kWord);
static_assert(offsetof(RuntimeObject, classPtr) == 1 * kWord);
static_assert(offsetof(RuntimeObject, eventTable) == 2 * kWord);
static_assert(offsetof(RuntimeObject, objectRefCount) == 3 * kWord);
static_assert(offsetof(RuntimeObject, liveListPrev) == 4 * kWord);
static_assert(offsetof(RuntimeObject, liveListNext) == 5 * kWord);
static_assert(sizeof(RuntimeObject) == 48);

// The class record's head: twenty words, the interface entries right behind.
static_assert(offsetof(RuntimeClass, nextClass) == 0 * kWord);
static_assert(offsetof(RuntimeClass, superClass) == 1 * kWord);
static_assert(offsetof(RuntimeClass, name) == 2 * kWord);
static_assert(offsetof(RuntimeClass, instanceSize) == 3 * kWord);
static_assert(offsetof(RuntimeClass, flags) == 4 * kWord);
static_assert(offsetof(RuntimeClass, cppGlueDecl) == 5 * kWord);
static_assert(offsetof(RuntimeClass, initializer) == 6 * kWord);
static_assert(offsetof(RuntimeClass, destructorHook) == 7 * kWord);
static_assert(offsetof(RuntimeClass, finalizer) == 8 * kWord);
static_assert(offsetof(RuntimeClass, compiledWord) == 9 * kWord);
static_assert(offsetof(RuntimeClass, vtable) == 10 * kWord);
static_assert(offsetof(RuntimeClass, methodCount) == 11 * kWord);
static_assert(offsetof(RuntimeClass, methods) == 12 * kWord);
static_assert(offsetof(RuntimeClass, eventCount) == 13 * kWord);
static_assert(offsetof(RuntimeClass, events) == 14 * kWord);
static_assert(offsetof(RuntimeClass, propertyCount) == 15 * kWord);
static_assert(offsetof(RuntimeClass, properties) == 16 * kWord);
static_assert(offsetof(RuntimeClass, extraCount) == 17 * kWord);
static_assert(offsetof(RuntimeClass, extraItems) == 18 * kWord);
static_assert(offsetof(RuntimeClass, interfaceCount) == 19 * kWord);
static_assert(offsetof(RuntimeClass, interfaceEntries) == 20 * kWord);
static_assert(sizeof(RuntimeClass) == 160);

// The member head shared by methods, events and properties: four words.
static_assert(offsetof(RuntimeClassMember, name) == 0 * kWord);
static_assert(offsetof(RuntimeClassMember, flags) == 1 * kWord);
static_assert(offsetof(RuntimeClassMember, attributeCount) == 2 * kWord);
static_assert(offsetof(RuntimeClassMember, attributes) == 3 * kWord);
static_assert(sizeof(RuntimeClassMember) == 32);

// A method entry: eight words.
static_assert(offsetof(RuntimeMethodMember, head) == 0);
static_assert(offsetof(RuntimeMethodMember, signature) == 4 * kWord);
static_assert(offsetof(RuntimeMethodMember, function) == 5 * kWord);
static_assert(offsetof(RuntimeMethodMember, invoker) == 6 * kWord);
static_assert(offsetof(RuntimeMethodMember, vtableSlot) == 7 * kWord);
static_assert(sizeof(RuntimeMethodMember) == 64);

// An event entry: six words.
static_assert(offsetof(RuntimeEventMember, head) == 0);
static_assert(offsetof(RuntimeEventMember, function) == 4 * kWord);
static_assert(offsetof(RuntimeEventMember, target) == 5 * kWord);
static_assert(sizeof(RuntimeEventMember) == 48);

// A property entry: ten words.
static_assert(offsetof(RuntimePropertyMember, head) == 0);
static_assert(offsetof(RuntimePropertyMember, declaration) == 4 * kWord);
static_assert(offsetof(RuntimePropertyMember, parameter) == 5 * kWord);
static_assert(offsetof(RuntimePropertyMember, getter) == 6 * kWord);
static_assert(offsetof(RuntimePropertyMember, setter) == 7 * kWord);
static_assert(offsetof(RuntimePropertyMember, compiled) == 8 * kWord);
static_assert(sizeof(RuntimePropertyMember) == 80);

// Interface, attribute and extra entries: three words each.
static_assert(offsetof(RuntimeInterfaceEntry, interface) == 0 * kWord);
static_assert(offsetof(RuntimeInterfaceEntry, compiled) == 1 * kWord);
static_assert(offsetof(RuntimeInterfaceEntry, vtable) == 2 * kWord);
static_assert(sizeof(RuntimeInterfaceEntry) == 24);
static_assert(offsetof(RuntimeAttribute, name) == 0 * kWord);
static_assert(offsetof(RuntimeAttribute, value) == 1 * kWord);
static_assert(offsetof(RuntimeAttribute, reserved) == 2 * kWord);
static_assert(sizeof(RuntimeAttribute) == 24);
static_assert(sizeof(RuntimeExtraEntry) == 24);

// A property accessor's parameter is a signed offset from the object pointer.
static_assert(sizeof(intptr_t) == kWord && static_cast<intptr_t>(-1) < 0);

}  // namespace
