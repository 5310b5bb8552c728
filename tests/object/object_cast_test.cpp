#include <gtest/gtest.h>

#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object_test_support.h"

namespace {

using namespace objtest;
using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::LeakCheck;

// Owns one object for the length of a test.
struct Held {
  RuntimeObject* object;
  explicit Held(RuntimeClass* cls) : object(RuntimeNewObject(cls)) {}
  ~Held() { RuntimeUnlockObject(object); }
};

struct Classes {
  ClassScope scope;
  int slot = 0;
  RuntimeClass* root = scope.Build(ClassBuilder("Root"));
  RuntimeClass* leaf =
      scope.Build(ClassBuilder("Leaf").Base(scope.Build(ClassBuilder("Mid").Base(root))));
  RuntimeClass* other = scope.Build(ClassBuilder("Other"));
  RuntimeClass* twin = scope.Build(ClassBuilder("Leaf"));  // same name, another class
  RuntimeClass* iBase = scope.Build(ClassBuilder("IBase").Interface());
  RuntimeClass* iDerived = scope.Build(ClassBuilder("IDerived").Interface().Base(iBase));
  RuntimeClass* iOther = scope.Build(ClassBuilder("IOther").Interface());
  RuntimeClass* impl = scope.Build(ClassBuilder("Impl").Implements(iDerived, {&slot}));
  RuntimeClass* heir = scope.Build(ClassBuilder("Heir").Base(impl));
};

TEST(ObjectIsa, ClassesByRecordAndInterfacesThroughWhatTheyExtend) {
  Classes c;
  LeakCheck leaks;
  Held leaf(c.leaf), heir(c.heir);
  EXPECT_TRUE(RuntimeObjectIsa(leaf.object, c.root));
  EXPECT_TRUE(RuntimeObjectIsa(leaf.object, c.leaf));
  EXPECT_FALSE(RuntimeObjectIsa(leaf.object, c.other));
  EXPECT_FALSE(RuntimeObjectIsa(leaf.object, c.twin));
  EXPECT_FALSE(RuntimeObjectIsa(nullptr, c.root));
  EXPECT_TRUE(RuntimeObjectIsa(heir.object, c.iDerived));  // inherited from Impl
  EXPECT_TRUE(RuntimeObjectIsa(heir.object, c.iBase));     // extended by IDerived
  EXPECT_FALSE(RuntimeObjectIsa(heir.object, c.iOther));
  EXPECT_EQ(Introspection_ObjectClass(leaf.object), c.leaf);
  EXPECT_EQ(RuntimeClassOf(nullptr), nullptr);

  vela::testkit::RecordingReporter reporter;
  EXPECT_FALSE(RuntimeObjectIsa(leaf.object, nullptr));
  EXPECT_TRUE(reporter.Saw("classrec"));
}

TEST(InterfaceVtable, OnlyTheExactInterfaceHasOne) {
  Classes c;
  LeakCheck leaks;
  Held impl(c.impl);
  RaiseRecorder raises;
  RuntimeVtableEntry* vtable = RuntimeLookupInterfaceVtable(impl.object, c.iDerived);
  ASSERT_NE(vtable, nullptr);
  EXPECT_EQ(vtable[0], &c.slot);
  EXPECT_EQ(impl.object->objectRefCount, 1);  // no reference added
  // Isa says yes for the extended interface, but there is no vtable for it.
  EXPECT_EQ(RuntimeLookupInterfaceVtable(impl.object, c.iBase), nullptr);
  EXPECT_EQ(RuntimeLookupInterfaceVtable(nullptr, c.iBase), nullptr);
  EXPECT_EQ(RuntimeLookupInterfaceVtable(impl.object, nullptr), nullptr);
  EXPECT_EQ(RuntimeLookupInterfaceVtable(impl.object, c.root), nullptr);
  EXPECT_EQ(raises.raises(),
            (Strings{"IllegalCastException: Impl does not implement the IBase interface",
                     "NilObjectException", "NilObjectException", "IllegalCastException"}));
}

TEST(CheckCast, NilCasesSuccessAndFailure) {
  Classes c;
  LeakCheck leaks;
  Held leaf(c.leaf);
  RaiseRecorder raises;
  EXPECT_EQ(RuntimeCheckCast(nullptr, c.root), nullptr);
  EXPECT_EQ(RuntimeCheckCast(leaf.object, nullptr), leaf.object);
  EXPECT_EQ(leaf.object->objectRefCount, 1);
  EXPECT_TRUE(raises.raises().empty());

  EXPECT_EQ(RuntimeCheckCast(leaf.object, c.root), leaf.object);
  EXPECT_EQ(leaf.object->objectRefCount, 2);
  RuntimeUnlockObject(leaf.object);
  EXPECT_EQ(RuntimeCheckCast(leaf.object, c.other), nullptr);
  EXPECT_EQ(leaf.object->objectRefCount, 1);
  EXPECT_EQ(raises.raises(), (Strings{"IllegalCastException: Leaf cannot be cast to Other"}));
}

TEST(CheckCast, PlainOLEObjectPassesForEveryClassDirectlyBelowIt) {
  ClassScope classes;
  LeakCheck leaks;
  RuntimeClass* ole = classes.Build(ClassBuilder("OLEObject"));
  RuntimeClass* word = classes.Build(ClassBuilder("Word").Base(ole));
  RuntimeClass* document = classes.Build(ClassBuilder("Document").Base(word));
  RuntimeClass* excel = classes.Build(ClassBuilder("Excel").Base(ole));
  RuntimeClass* lowerOle = classes.Build(ClassBuilder("oleobject"));
  RuntimeClass* lowerHeir = classes.Build(ClassBuilder("Automation").Base(lowerOle));
  Held plain(ole), excelObject(excel), lowerPlain(lowerOle);
  RaiseRecorder raises;
  EXPECT_EQ(RuntimeCheckCast(plain.object, word), plain.object);
  EXPECT_EQ(plain.object->objectRefCount, 2);
  RuntimeUnlockObject(plain.object);
  EXPECT_EQ(RuntimeCheckCast(plain.object, document), nullptr);        // two levels below
  EXPECT_EQ(RuntimeCheckCast(excelObject.object, word), nullptr);      // not a plain OLEObject
  EXPECT_EQ(RuntimeCheckCast(lowerPlain.object, lowerHeir), nullptr);  // names compare with case
  EXPECT_EQ(raises.raises().size(), 3u);
  EXPECT_EQ(plain.object->objectRefCount, 1);
}

}  // namespace
