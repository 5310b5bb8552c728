// Where an instance lives: how many bytes lie in front of the header (the
// prefix) and from the header on (the size), and the allocation strategy
// that hands out and takes back those blocks.
#pragma once

#include <cstddef>

#include "object/class_decl.h"
#include "vela/object.h"

namespace vela {

struct InstanceLayout {
  size_t prefix = 0;
  size_t size = 0;
  ClassDecl* decl = nullptr;  // nearest declaration of the class chain, or nil
};

// Computed the same way at creation and at destruction:
//  - with kPropertiesBackwardsFlag the compiled properties make the prefix and
//    the header the size; otherwise the size is instanceSize plus the header
//    and there is no prefix;
//  - the nearest declaration up the chain, if any, then adjusts the size and,
//    without the backwards flag, supplies the prefix.
inline InstanceLayout ComputeInstanceLayout(RuntimeClass* cls) {
  InstanceLayout layout;
  const bool backwards = (cls->flags & kPropertiesBackwardsFlag) != 0;
  if (backwards) {
    layout.size = sizeof(RuntimeObject);
    layout.prefix = cls->instanceSize;
  } else {
    layout.size = size_t(cls->instanceSize) + sizeof(RuntimeObject);
  }
  for (RuntimeClass* c = cls; c; c = c->superClass) {
    if (c->cppGlueDecl) {
      layout.decl = static_cast<ClassDecl*>(c->cppGlueDecl);
      break;
    }
  }
  if (layout.decl) {
    if (!backwards) layout.prefix = layout.decl->PrefixSize();
    layout.size = layout.decl->AdjustInstanceSize(layout.size);
  }
  return layout;
}

// A prefix is laid out in whole words.
constexpr size_t RoundPrefix(size_t prefix) { return (prefix + 7) & ~size_t(7); }

class AllocationStrategy {
 public:
  virtual ~AllocationStrategy() = default;
  // Zero-filled memory for `prefix` (rounded to 8) plus `size` bytes; returns
  // the address behind the prefix, or nil when memory is exhausted.
  virtual void* Allocate(RuntimeClass* cls, size_t prefix, size_t size) = 0;
  // Gives back a block that Allocate returned for the same prefix.
  virtual void Free(RuntimeObject* object, size_t prefix) = 0;
};

// The strategy in force. The default one (calloc and free) is created on
// first use.
AllocationStrategy& ObjectAllocator();

// Replaces the strategy in force and returns the previous one; nil restores
// the default. For tests that watch or fail allocations; no object may be
// alive across the switch unless both strategies agree on the blocks.
AllocationStrategy* SetObjectAllocator(AllocationStrategy* strategy);

// The default strategy, for a replacement that wants to pass calls through.
AllocationStrategy& DefaultObjectAllocator();

// Allocate and Free of the strategy in force; the default strategy is
// called without going through its virtual table.
void* AllocateInstance(RuntimeClass* cls, size_t prefix, size_t size);
void FreeInstance(RuntimeObject* object, size_t prefix);

}  // namespace vela
