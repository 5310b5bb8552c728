#include "object/class_ref.h"

#include "object/class_list.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeObjectFoundation";
}

RuntimeClass* ClassRef::Get() {
  // Two threads may both look the class up; they store the same value.
  if (!cls) cls = FindClassByName(name);
  return cls;
}

RuntimeObject* ClassRef::New() {
  RuntimeClass* defn = Get();
  VELA_ASSERT_MSG(defn, "defn", "%s", name);
  if (!defn) return nullptr;
  return RuntimeNewObject(defn);
}

}  // namespace vela
