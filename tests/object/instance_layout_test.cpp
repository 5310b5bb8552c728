#include <gtest/gtest.h>
#include <malloc.h>

#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "object_test_support.h"

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer allocator's own queries (its header does not ship with g++).
extern "C" int __sanitizer_get_ownership(const volatile void* p);
extern "C" size_t __sanitizer_get_allocated_size(const volatile void* p);
#endif

namespace {

using namespace objtest;
using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::LeakCheck;

constexpr size_t kHeader = sizeof(RuntimeObject);
TestDecl gPrefix13Decl("VelaTest.Prefix13", 13);
TestDecl gGrowDecl("VelaTest.Grow", 0, 32);
TestDecl gInnerDecl("VelaTest.Inner", 0, 8);

// True when `p` starts a live heap block of at least `size` bytes.
bool IsBlockStart(void* p, size_t size) {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_ownership(p) && __sanitizer_get_allocated_size(p) >= size;
#else
  return malloc_usable_size(p) >= size;
#endif
}

TEST(InstanceLayout, WithoutDeclarationPlainAndBackwardsClasses) {
  ClassScope classes;
  LeakCheck leaks;
  RecordingAllocator allocator;
  RuntimeClass* plain = classes.Build(ClassBuilder("Plain").InstanceSize(40));
  RuntimeClass* backwards = classes.Build(ClassBuilder("Back").Backwards().InstanceSize(24));
  Log().clear();
  RuntimeUnlockObject(RuntimeNewObject(plain));
  RuntimeObject* object = RuntimeNewObject(backwards);
  // Backwards properties sit at negative offsets, zero-filled and writable.
  EXPECT_TRUE(IsBlockStart(reinterpret_cast<char*>(object) - 24, 24 + kHeader));
  for (intptr_t offset = -24; offset < 0; offset += 8)
    EXPECT_EQ(Field<uintptr_t>(object, offset), 0u);
  Field<uintptr_t>(object, -24) = ~uintptr_t(0);
  RuntimeUnlockObject(object);
  int32_t live = RuntimeDebugObjectCount();
  std::string free0 = "free 0 live " + std::to_string(live);
  std::string free24 = "free 24 live " + std::to_string(live);
  EXPECT_EQ(Log(), (Strings{"allocate 0+88", free0, "allocate 24+48", free24}));
}

TEST(InstanceLayout, NearestDeclarationAdjustsTheSizeAndGivesThePrefix) {
  ClassScope classes;
  RuntimeClass* root = classes.Build(ClassBuilder("Root").Decl(&gGrowDecl).InstanceSize(56));
  RuntimeClass* mid =
      classes.Build(ClassBuilder("Mid").Base(root).Decl(&gInnerDecl).InstanceSize(64));
  RuntimeClass* leaf = classes.Build(ClassBuilder("Leaf").Base(mid).InstanceSize(80));
  RuntimeClass* back =
      classes.Build(ClassBuilder("BackDecl").Backwards().Decl(&gPrefix13Decl).InstanceSize(40));
  vela::InstanceLayout layout = vela::ComputeInstanceLayout(leaf);
  EXPECT_EQ(layout.decl, &gInnerDecl);  // the first one up the chain, not the root's
  EXPECT_EQ(layout.size, 80 + kHeader + 8);
  EXPECT_EQ(vela::ComputeInstanceLayout(root).size, 56 + kHeader + 32);
  // A backwards class takes its prefix from the class, never the declaration.
  layout = vela::ComputeInstanceLayout(back);
  EXPECT_EQ(layout.prefix, 40u);
  EXPECT_EQ(layout.size, kHeader);
}

TEST(InstanceLayout, PrefixOf13StartsTheBlock16BytesInFront) {
  ClassScope classes;
  LeakCheck leaks;
  RuntimeClass* cls = classes.Build(ClassBuilder("Prefixed").Decl(&gPrefix13Decl).InstanceSize(16));
  Log().clear();
  RuntimeObject* object = RuntimeNewObject(cls);
  auto* block = reinterpret_cast<unsigned char*>(object) - 16;
  EXPECT_TRUE(IsBlockStart(block, 16 + 16 + kHeader));
  for (size_t i = 0; i < 16; ++i) EXPECT_EQ(block[i], 0) << "prefix byte " << i;
  EXPECT_EQ(Log(), (Strings{"construct VelaTest.Prefix13"}));
  RuntimeUnlockObject(object);  // a wrong block start fails the sanitizer build here

  vela::AllocationStrategy& heap = vela::DefaultObjectAllocator();
  for (size_t prefix : {1u, 8u, 9u}) {
    void* other = heap.Allocate(nullptr, prefix, kHeader);
    EXPECT_TRUE(IsBlockStart(static_cast<char*>(other) - (prefix + 7) / 8 * 8, kHeader)) << prefix;
    heap.Free(static_cast<RuntimeObject*>(other), prefix);
  }
}

}  // namespace
