// Binding of the library's declarations to the image's class records. The
// binding runs once per process, so each scenario runs in a child.
#include <gtest/gtest.h>

#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/recording_reporter.h"
#include "object/class_decl.h"
#include "vela/application.h"

namespace vela {
namespace {

using testkit::ClassBuilder;

struct Gadget {
  RuntimeObject header;
  int32_t constructed;
  int32_t value;
  static void Construct(Gadget* g) { g->constructed = 1; }
};

DeclEvent gGadgetEvents[] = {{"Action", 0, 0}, {"Missing", 0, 0}};
NativeClassDecl<Gadget> gGadgetDecl(nullptr, "BindingGadget", gGadgetEvents);
NativeClassDecl<Gadget> gFancyGadgetDecl(&gGadgetDecl, "BindingFancyGadget");
InterfaceDecl gWatcherInterface("BindingWatcher");

int gActions = 0;
void OnAction(RuntimeObject*) { ++gActions; }

TEST(ClassBinding, NamesMatchWithoutCaseAndEventIdsComeFromTheClassOwnRange) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    RuntimeClass* root = ClassBuilder("Root").Event("Action").Build();
    RuntimeClass* gadget = ClassBuilder("bindinggadget")
                               .Base(root)
                               .Backwards()
                               .Event("Other")
                               .Event("ACTION", reinterpret_cast<void*>(OnAction))
                               .Build();
    RuntimeInitExternalClasses();
    EXPECT_EQ(gGadgetDecl.classPtr(), gadget);
    EXPECT_EQ(gadget->cppGlueDecl, &gGadgetDecl);
    // The inherited "Action" at index 0 is not this class's own event.
    EXPECT_EQ(gGadgetEvents[0].eventID, 3u);
    EXPECT_EQ(gGadgetEvents[1].eventID, 0u);  // not in the class: stays unbound

    RuntimeObject* object = RuntimeNewObject(gadget);
    EXPECT_EQ(reinterpret_cast<Gadget*>(object)->constructed, 1);
    auto handler = reinterpret_cast<void (*)(RuntimeObject*)>(
        gGadgetDecl.GetEventHandler(object, "action"));
    ASSERT_NE(handler, nullptr);
    handler(object);
    EXPECT_EQ(gActions, 1);
    EXPECT_EQ(gGadgetDecl.GetEventHandler(object, "NoSuchEvent"), nullptr);
    EXPECT_EQ(reporter.count(), 0u);
    // A declared event that the class lacks is a fault, not a missing handler.
    EXPECT_EQ(gGadgetDecl.GetEventHandler(object, "Missing"), nullptr);
    EXPECT_TRUE(reporter.Saw("eventID > 0"));
    RuntimeUnlockObject(object);

    RuntimeInitExternalClasses();  // a second call changes nothing
    EXPECT_EQ(gGadgetEvents[0].eventID, 3u);
  });
}

TEST(ClassBinding, UnboundDeclarationIsNoInstanceAndCannotMakeOne) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    RuntimeClass* plain = ClassBuilder("Plain").InstanceSize(48).Build();
    RuntimeInitExternalClasses();
    RuntimeObject* object = RuntimeNewObject(plain);
    EXPECT_FALSE(gGadgetDecl.IsInstance(object));
    EXPECT_EQ(reporter.count(), 0u);
    EXPECT_EQ(gGadgetDecl.New(), nullptr);
    ASSERT_TRUE(reporter.Saw("mClassPtr"));
    EXPECT_EQ(reporter.reports()[0].message, "BindingGadget");
    RuntimeUnlockObject(object);
  });
}

TEST(ClassBinding, SubclassWithoutDeclarationGetsTheNativePartOfItsBase) {
  VELA_EXPECT_CHILD_OK({
    RuntimeClass* gadget = ClassBuilder("BindingGadget").Backwards().Build();
    RuntimeClass* mine = ClassBuilder("MyGadget").Base(gadget).Backwards().InstanceSize(24).Build();
    RuntimeInitExternalClasses();
    EXPECT_EQ(mine->cppGlueDecl, nullptr);
    RuntimeObject* object = RuntimeNewObject(mine);
    EXPECT_TRUE(gGadgetDecl.IsInstance(object));
    Gadget* data = gGadgetDecl.Data(object);
    ASSERT_EQ(reinterpret_cast<RuntimeObject*>(data), object);
    EXPECT_EQ(data->constructed, 1);
    data->value = 5;  // the native part lies inside the block (ASan checks)
    RuntimeUnlockObject(object);
  });
}

TEST(ClassBinding, InterfaceAndClassKindsMustAgree) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    ClassBuilder("BindingGadget").Interface().Build();
    RuntimeClass* watcher = ClassBuilder("BindingWatcher").Build();
    RuntimeInitExternalClasses();
    EXPECT_TRUE(reporter.Saw("!isInterface"));
    EXPECT_TRUE(reporter.SawMessage("decl: BindingGadget"));
    EXPECT_TRUE(reporter.Saw("isInterface"));
    EXPECT_EQ(gWatcherInterface.mClassPtr, watcher);
  });
}

TEST(ClassBinding, SuperDeclarationMustBeBoundAndInherited) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    ClassBuilder("BindingFancyGadget").Backwards().Build();
    RuntimeInitExternalClasses();
    ASSERT_TRUE(reporter.Saw("super->mClassPtr"));
    EXPECT_TRUE(reporter.SawMessage("BindingFancyGadget is missing super BindingGadget"));
  });
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    ClassBuilder("BindingGadget").Backwards().Build();
    ClassBuilder("BindingFancyGadget").Backwards().Build();  // not below BindingGadget
    RuntimeInitExternalClasses();
    ASSERT_TRUE(reporter.Saw("isValidSuper"));
    EXPECT_TRUE(reporter.SawMessage(
        "BindingFancyGadget is does not inherit from super BindingGadget"));
  });
}

TEST(ClassBinding, ClassAlreadyCarryingADeclarationIsAFault) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    ClassBuilder("BindingGadget").Backwards().Decl(&gFancyGadgetDecl).Build();
    RuntimeInitExternalClasses();
    EXPECT_TRUE(reporter.Saw("!classPtr->cppGlueDecl"));
  });
}

TEST(ClassBinding, NativeDataWithoutBackwardsFlagIsReported) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    RuntimeClass* gadget = ClassBuilder("BindingGadget").InstanceSize(48).Build();
    RuntimeInitExternalClasses();
    RuntimeObject* object = RuntimeNewObject(gadget);
    ASSERT_TRUE(reporter.Saw("mClassPtr->flags & RuntimeClass::kPropertiesBackwardsFlag"));
    EXPECT_TRUE(reporter.SawMessage("Expected properties to be backwards for BindingGadget"));
    RuntimeUnlockObject(object);
  });
}

}  // namespace
}  // namespace vela
