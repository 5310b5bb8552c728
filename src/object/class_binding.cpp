// Binding of the library's class declarations to the class records that the
// compiled image made, by name, once all records exist.
#include "object/class_decl.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";

ClassDecl* FindDecl(const char* name) {
  for (ClassDecl* decl = ClassDecl::ListHead(); decl; decl = decl->next())
    if (AsciiEqualNoCase(decl->name(), name)) return decl;
  return nullptr;
}

InterfaceDecl* FindInterfaceDecl(const char* name) {
  for (InterfaceDecl* decl = InterfaceDecl::ListHead(); decl; decl = decl->next)
    if (AsciiEqualNoCase(decl->name, name)) return decl;
  return nullptr;
}

// Event IDs come from the class's own part of its event table: the entries
// behind those inherited from the base class.
void BindEvents(ClassDecl* decl, RuntimeClass* cls) {
  uint32_t first = cls->superClass ? cls->superClass->eventCount : 0;
  for (uint32_t e = 0; e < decl->eventCount(); ++e) {
    DeclEvent& event = decl->events()[e];
    for (uint32_t i = first; i < cls->eventCount; ++i) {
      if (AsciiEqualNoCase(cls->events[i].head.name, event.name)) {
        event.eventID = i + 1;
        break;
      }
    }
  }
}

bool InheritsFrom(RuntimeClass* cls, RuntimeClass* base) {
  for (; cls; cls = cls->superClass)
    if (cls == base) return true;
  return false;
}

bool gBound = false;
}  // namespace

}  // namespace vela

VELA_EXPORT void RuntimeInitExternalClasses(void) {
  using namespace vela;
  if (gBound) return;
  gBound = true;

  for (RuntimeClass* cls = RuntimeGetClassList(); cls; cls = cls->nextClass) {
    ClassDecl* decl = FindDecl(cls->name);
    if (!decl) continue;
    VELA_ASSERT_MSG(!(cls->flags & kInterfaceFlag), "!isInterface", "decl: %s", decl->name());
    decl->Bind(cls);
    VELA_ASSERT_MSG(!cls->cppGlueDecl, "!classPtr->cppGlueDecl", "decl: %s", decl->name());
    cls->cppGlueDecl = decl;
    BindEvents(decl, cls);
  }

  for (RuntimeClass* cls = RuntimeGetClassList(); cls; cls = cls->nextClass) {
    InterfaceDecl* decl = FindInterfaceDecl(cls->name);
    if (!decl) continue;
    VELA_ASSERT_TEXT(cls->flags & kInterfaceFlag, "isInterface");
    decl->mClassPtr = cls;
  }

  for (ClassDecl* decl = ClassDecl::ListHead(); decl; decl = decl->next()) {
    ClassDecl* super = decl->super();
    if (!decl->classPtr() || !super) continue;
    VELA_ASSERT_MSG(super->classPtr(), "super->mClassPtr", "%s is missing super %s",
                    decl->name(), super->name());
    if (!super->classPtr()) continue;
    VELA_ASSERT_MSG(InheritsFrom(decl->classPtr(), super->classPtr()), "isValidSuper",
                    "%s is does not inherit from super %s", decl->name(), super->name());
  }
}
