#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "kit/class_builder.h"
#include "kit/recording_reporter.h"
#include "object/class_list.h"

namespace {

using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::RecordingReporter;

intptr_t Offset(const void* from, const void* to) {
  return static_cast<const char*>(to) - static_cast<const char*>(from);
}

TEST(ClassRecord, OneZeroFilledBlockWithTheTablesInOrder) {
  RecordingReporter reporter;
  RuntimeClass* cls = RuntimeNewClass(nullptr, 2, 3, 1, 4, 2, 1);
  EXPECT_TRUE(reporter.Saw("0 == sTableSize"));
  EXPECT_EQ(reporter.reports()[0].path, "Common/ObjectModel/RuntimeObjectFoundation");
  // Head, interfaces, methods, events, properties, extras: 20+9+16+6+20+3 words.
  EXPECT_EQ(Offset(cls, cls->methods), 160 + 3 * 24);
  EXPECT_EQ(Offset(cls, cls->events), 160 + 3 * 24 + 2 * 64);
  EXPECT_EQ(Offset(cls, cls->properties), 160 + 3 * 24 + 2 * 64 + 48);
  EXPECT_EQ(Offset(cls, cls->extraItems), 160 + 3 * 24 + 2 * 64 + 48 + 2 * 80);
  const auto* bytes = reinterpret_cast<const unsigned char*>(cls->interfaceEntries);
  for (size_t i = 0; i < 3 * 24 + 2 * 64 + 48 + 2 * 80 + 24; ++i) ASSERT_EQ(bytes[i], 0) << i;
  EXPECT_EQ(cls->methodCount + cls->interfaceCount + cls->eventCount, 6u);
  EXPECT_EQ(cls->propertyCount + cls->extraCount, 3u);
  EXPECT_EQ(RuntimeGetClassList(), cls);
  RuntimeDestroyClass(cls);
}

TEST(ClassRecord, SubclassCopiesWhatItInheritsExceptTheExtraTable) {
  ClassScope classes;
  int slot = 0;
  RuntimeClass* interface = classes.Build(ClassBuilder("IShape").Interface());
  RuntimeClass* base = classes.Build(ClassBuilder("Base")
                                         .Method("Draw", "%%", &slot, nullptr)
                                         .Event("Opened")
                                         .Property("Width", "i4", 48, nullptr, nullptr)
                                         .Implements(interface, {&slot})
                                         .Extra(1, 2, 3));
  RuntimeClass* derived = RuntimeNewClass(base, 3, 2, 2, 0, 1, 1);
  EXPECT_EQ(derived->superClass, base);
  EXPECT_EQ(std::memcmp(derived->methods, base->methods, sizeof(RuntimeMethodMember)), 0);
  EXPECT_EQ(std::memcmp(derived->events, base->events, sizeof(RuntimeEventMember)), 0);
  EXPECT_EQ(std::memcmp(derived->properties, base->properties, sizeof(RuntimePropertyMember)), 0);
  EXPECT_EQ(
      std::memcmp(derived->interfaceEntries, base->interfaceEntries, sizeof(RuntimeInterfaceEntry)),
      0);
  EXPECT_EQ(derived->methods[1].head.name, nullptr);
  EXPECT_EQ(derived->extraItems[0].words[0], 0u);
  // Compiled code gives every class its own interface vtables.
  derived->interfaceEntries[0].vtable = RuntimeNewVtable(1);
  RuntimeDestroyClass(derived);

  RecordingReporter reporter;
  RuntimeClass* narrow = RuntimeNewClass(base, 0, 0, 0, 0, 0, 0);
  std::vector<std::string> conditions;
  for (const auto& r : reporter.reports()) conditions.push_back(r.condition);
  EXPECT_EQ(conditions,
            (std::vector<std::string>{"out->methods.count >= base->methods.count",
                                      "out->interfaceCount >= base->interfaceCount",
                                      "out->events.count >= base->events.count",
                                      "out->properties.count >= base->properties.count"}));
  RuntimeDestroyClass(narrow);  // nothing was copied past its tables
}

TEST(ClassRecord, VtablesAndAttributeTables) {
  EXPECT_EQ(RuntimeNewVtable(0), nullptr);
  EXPECT_EQ(RuntimeNewVtable(-5), nullptr);
  RuntimeClass* cls = RuntimeNewClass(nullptr, 2, 1, 0, 0, 0, 0);
  cls->vtable = RuntimeNewVtable(3);
  cls->vtable[2] = cls;
  cls->interfaceEntries[0].vtable = RuntimeNewVtable(1);
  RuntimeAttribute* table = RuntimeAllocateAttributeTable(cls, Offset(cls, &cls->methods[1]), 3);
  EXPECT_EQ(cls->methods[1].head.attributes, table);
  EXPECT_EQ(cls->methods[1].head.attributeCount, 3u);
  table[2].name = "Hidden";
  EXPECT_EQ(RuntimeAllocateAttributeTable(cls, Offset(cls, &cls->methods[0]), 0), nullptr);
  EXPECT_EQ(cls->methods[0].head.attributeCount, 0u);
  RuntimeDestroyClass(cls);  // frees all of them: the sanitizer build watches for leaks

  RecordingReporter reporter;
  EXPECT_EQ(RuntimeAllocateAttributeTable(nullptr, 64, 2), nullptr);
  RuntimeDestroyClass(nullptr);
  ASSERT_EQ(reporter.count(), 2u);
  EXPECT_EQ(reporter.reports()[0].condition, "buffer");
}

// Under the sanitizer build a double free or a leaked table fails this test.
TEST(ClassRecord, DestroyFreesOnlyTheAttributeTablesFromTheBaseCountUp) {
  ClassScope classes;
  RuntimeClass* base = classes.Build(ClassBuilder("Owner")
                                         .Method("M", "%%", nullptr, nullptr)
                                         .Attributes(2)
                                         .Event("E")
                                         .Attributes(1)
                                         .Property("P", "i4", 48, nullptr, nullptr)
                                         .Attributes(3));
  RuntimeClass* heir = classes.Build(ClassBuilder("Heir")
                                         .Base(base)
                                         .Method("N", "%%", nullptr, nullptr)
                                         .Attributes(1)
                                         .Event("F")
                                         .Attributes(2)
                                         .Property("Q", "i4", 56, nullptr, nullptr)
                                         .Attributes(1));
  ASSERT_EQ(heir->methods[0].head.attributes, base->methods[0].head.attributes);
  classes.Destroy(heir);
  base->methods[0].head.attributes[1].name = "StillMine";
  base->events[0].head.attributes[0].name = "StillMine";
  base->properties[0].head.attributes[2].name = "StillMine";
}

TEST(ClassList, NewestFirstFoundByNameWithoutCaseAndUnlinkedOnDestroy) {
  ClassScope classes;
  RuntimeClass* first = classes.Build(ClassBuilder("VelaTest.Widget"));
  RuntimeClass* second = classes.Build(ClassBuilder("Other"));
  RuntimeClass* third = classes.Build(ClassBuilder("velatest.WIDGET"));
  EXPECT_EQ(Introspection_ClassListHead(), third);
  EXPECT_EQ(third->nextClass, second);
  EXPECT_EQ(vela::FindClassByName("VELATEST.widget"), third);  // the newest wins
  EXPECT_EQ(vela::FindClassByName("VelaTest.Widge"), nullptr);
  EXPECT_EQ(vela::FindClassByName(nullptr), nullptr);
  classes.Destroy(second);  // from the middle
  EXPECT_EQ(third->nextClass, first);
  classes.Destroy(third);  // the head
  EXPECT_EQ(RuntimeGetClassList(), first);
  EXPECT_EQ(vela::FindClassByName("VelaTest.Widget"), first);
}

}  // namespace
