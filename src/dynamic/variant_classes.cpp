// The boxed classes' declarations, their shared zero boxes, and the type of a
// Variant: VarType, the array and structure checks and the inspection
// exports.
#include <atomic>
#include <string>
#include <utility>
#include <cstring>
#include <type_traits>

#include "dynamic/variant_box.h"
#include "dynamic/variant_class_cache.h"
#include "object/arrays/array_record.h"
#include "object/class_ref.h"
#include "object/delegate.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"
#include "text/text_value.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/runtimeVariant";
}  // namespace

#define VELA_BOX_DECL(Kind, Type, Name, Code)            \
  BoxDecl<BoxKind::k##Kind> gVariant##Kind##Decl(nullptr, Name); \
  template <>                                            \
  BoxDecl<BoxKind::k##Kind>& DeclOf<BoxKind::k##Kind>() { \
    return gVariant##Kind##Decl;                         \
  }
VELA_VARIANT_BOXES(VELA_BOX_DECL)
#undef VELA_BOX_DECL

namespace {

ClassDecl* const kDecls[] = {
#define VELA_BOX_DECL_POINTER(Kind, Type, Name, Code) &gVariant##Kind##Decl,
    VELA_VARIANT_BOXES(VELA_BOX_DECL_POINTER)
#undef VELA_BOX_DECL_POINTER
};
constexpr int32_t kVarTypes[] = {
#define VELA_BOX_CODE(Kind, Type, Name, Code) Code,
    VELA_VARIANT_BOXES(VELA_BOX_CODE)
#undef VELA_BOX_CODE
};

// One shared box per kind for its zero value, made on first use and kept
// for the life of the process.
std::atomic<RuntimeObject*> gZeroBoxes[kBoxKindCount];

template <class V>
bool IsZeroValue(const V& value) {
  if constexpr (std::is_same_v<V, StructureValue>) {
    return false;
  } else if constexpr (std::is_pointer_v<V>) {
    return value == nullptr;
  } else {
    // By bits: -0.0 is a value of its own and gets its own box.
    static const V kZero{};
    return std::memcmp(&value, &kZero, sizeof(V)) == 0;
  }
}

template <BoxKind K>
RuntimeObject* NewBox(BoxValue<K> owned) {
  RuntimeObject* box = DeclOf<K>().New();
  if (!box) {
    ReleaseBoxValue(owned);
    return nullptr;
  }
  BoxedValue<K>(box) = owned;
  return box;
}

// The order in which an object of unknown class is tested against the
// value classes; the first class it descends from decides.
enum class Probe { kBox, kDate, kDateTime };
struct ProbeStep {
  Probe probe;
  BoxKind kind;
};
constexpr ProbeStep kProbeOrder[] = {
    {Probe::kBox, BoxKind::kInt32},     {Probe::kBox, BoxKind::kUInt32},
    {Probe::kBox, BoxKind::kInt64},     {Probe::kBox, BoxKind::kUInt64},
    {Probe::kBox, BoxKind::kString},    {Probe::kBox, BoxKind::kSingle},
    {Probe::kBox, BoxKind::kDouble},    {Probe::kBox, BoxKind::kBoolean},
    {Probe::kBox, BoxKind::kColor},     {Probe::kDate, BoxKind::kNone},
    {Probe::kDateTime, BoxKind::kNone}, {Probe::kBox, BoxKind::kCurrency},
    {Probe::kBox, BoxKind::kStructure}, {Probe::kBox, BoxKind::kPtr},
    {Probe::kBox, BoxKind::kCString},   {Probe::kBox, BoxKind::kWString},
    {Probe::kBox, BoxKind::kPString},   {Probe::kBox, BoxKind::kWindowPtr},
    {Probe::kBox, BoxKind::kOSType},    {Probe::kBox, BoxKind::kCFStringRef},
    {Probe::kBox, BoxKind::kText}};

// What the probe found for a class: its VarType and its box kind.
struct ClassType {
  int32_t varType;
  BoxKind kind;
};
ClassCache<ClassType> gClassTypes;

bool Descends(RuntimeClass* cls, RuntimeClass* base) {
  if (!base) return false;
  for (; cls; cls = cls->superClass)
    if (cls == base) return true;
  return false;
}

ClassType ProbeClass(RuntimeObject* object) {
  RuntimeClass* cls = object->classPtr;
  for (const ProbeStep& step : kProbeOrder) {
    switch (step.probe) {
      case Probe::kBox:
        if (Descends(cls, BoxClass(step.kind)))
          return {kVarTypes[int32_t(step.kind)], step.kind};
        break;
      case Probe::kDate:
        if (Descends(cls, DateClass())) return {kVarTypeDate, BoxKind::kNone};
        break;
      case Probe::kDateTime:
        if (Descends(cls, DateTimeClass())) return {kVarTypeDateTime, BoxKind::kNone};
        break;
    }
  }
  return {IsDelegate(object) ? int32_t(kVarTypeDelegate) : int32_t(kVarTypeObject),
          BoxKind::kNone};
}

ClassType TypeOfObject(RuntimeObject* object) {
  RuntimeClass* cls = object->classPtr;
  ClassType type;
  if (gClassTypes.Find(cls, &type)) return type;
  type = ProbeClass(object);
  gClassTypes.Store(cls, type);
  return type;
}

// The array's element kind as a VarType with the array bit.
int32_t ArrayVarType(RuntimeObject* object) {
  auto* array = reinterpret_cast<RuntimeArray*>(object);
  VELA_ASSERT_TEXT(array->ops && array->ops->elementKind, "elementTypeGetter");
  if (!array->ops || !array->ops->elementKind) return kVarTypeArray;
  return kVarTypeArray | MapArrayElementTypeToVarType(array->ops->elementKind(array));
}

}  // namespace

template <BoxKind K>
RuntimeObject* MakeBox(BoxValue<K> owned) {
  if (!IsZeroValue(owned)) return NewBox<K>(owned);
  std::atomic<RuntimeObject*>& slot = gZeroBoxes[int32_t(K)];
  RuntimeObject* zero = slot.load(std::memory_order_acquire);
  if (!zero) {
    RuntimeObject* made = NewBox<K>(owned);
    if (!made) return nullptr;
    // Two threads may race to make it; the loser's box goes.
    if (slot.compare_exchange_strong(zero, made, std::memory_order_acq_rel)) {
      zero = made;
    } else {
      RuntimeUnlockObject(made);
    }
  } else {
    ReleaseBoxValue(owned);
  }
  RuntimeLockObject(zero);
  return zero;
}

#define VELA_MAKE_BOX_INSTANCE(Kind, Type, Name, Code) \
  template RuntimeObject* MakeBox<BoxKind::k##Kind>(BoxValue<BoxKind::k##Kind>);
VELA_VARIANT_BOXES(VELA_MAKE_BOX_INSTANCE)
#undef VELA_MAKE_BOX_INSTANCE

void ReleaseBoxValue(TESSstring& value) { RuntimeUnlockString(std::exchange(value, nullptr)); }
void ReleaseBoxValue(TextValue& value) { UnlockText(std::exchange(value, nullptr)); }
void ReleaseBoxValue(char*& value) { RuntimeUnlockCString(std::exchange(value, nullptr)); }
void ReleaseBoxValue(uint16_t*& value) { UnlockWString(std::exchange(value, nullptr)); }
void ReleaseBoxValue(unsigned char*& value) {
  RuntimeUnlockPString(std::exchange(value, nullptr));
}
void ReleaseBoxValue(StructureValue& value) {
  ReleaseBoxValue(value.name);
  ReleaseBoxValue(value.bytes);
}

RuntimeClass* BoxClass(BoxKind kind) {
  return kind < BoxKind::kCount ? kDecls[int32_t(kind)]->classPtr() : nullptr;
}
const char* BoxClassName(BoxKind kind) {
  return kind < BoxKind::kCount ? kDecls[int32_t(kind)]->name() : "";
}
ClassDecl* BoxClassDecl(BoxKind kind) {
  return kind < BoxKind::kCount ? kDecls[int32_t(kind)] : nullptr;
}
int32_t BoxVarType(BoxKind kind) {
  return kind < BoxKind::kCount ? kVarTypes[int32_t(kind)] : kVarTypeObject;
}

RuntimeClass* DateClass() {
  static ClassRef sDate("Date");
  return sDate.Get();
}
RuntimeClass* DateTimeClass() {
  static ClassRef sDateTime("DateTime");
  return sDateTime.Get();
}

BoxKind BoxKindOf(RuntimeObject* value) {
  if (!value || value->classPtr == ArrayClass()) return BoxKind::kNone;
  return TypeOfObject(value).kind;
}

int32_t VariantTypeOf(RuntimeObject* value) {
  if (!value) return kVarTypeNil;
  if (value->classPtr == ArrayClass()) return ArrayVarType(value);
  return TypeOfObject(value).varType;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t VarType(RuntimeObject* value, int32_t) { return VariantTypeOf(value); }

VELA_EXPORT VelaBoolean IsNull(RuntimeObject* value) { return value == nullptr; }

VELA_EXPORT VelaBoolean VariantIsArray(RuntimeObject* value) {
  return value && value->classPtr == ArrayClass();
}

VELA_EXPORT int32_t VariantGetArrayElementType(RuntimeObject* value) {
  if (!VariantIsArray(value)) return -1;
  return VariantTypeOf(value) & ~int32_t(kVarTypeArray);
}

VELA_EXPORT int32_t MapArrayElementTypeToVarType(int32_t kind) {
  switch (kind) {
    case kArrayInt32: case kArrayUInt8: case kArrayInt8: case kArrayUInt16: case kArrayInt16:
    case kArrayUInt32:
      return kVarTypeInt32;
    case kArrayFloat32: return kVarTypeSingle;
    case kArrayFloat64: return kVarTypeDouble;
    case kArrayString: return kVarTypeString;
    case kArrayObject: return kVarTypeObject;
    case kArrayUInt64: case kArrayInt64: return kVarTypeInt64;
    case kArrayStructure: return kVarTypeStructure;
    case kArrayPtr: return kVarTypePtr;
    case kArrayColor: return kVarTypeColor;
    case kArrayCurrency: return kVarTypeCurrency;
    case kArrayBoolean: return kVarTypeBoolean;
    case kArrayText: return kVarTypeText;
    case kArrayObjectAlias: return kVarTypeDelegate;
    default: return kind;
  }
}

namespace {

RuntimeObject* PassOrMismatch(RuntimeObject* value, bool matches) {
  if (!value) return nullptr;
  if (!matches) {
    RaiseNamedException("TypeMismatchException", 0, nullptr);
    return nullptr;
  }
  RuntimeLockObject(value);
  return value;
}

// The element kind of an array Variant, 4 and 19 being one kind; -1 for
// anything else.
int32_t ElementKindOf(RuntimeObject* value) {
  if (!VariantIsArray(value)) return -1;
  ArrayShape shape = DescribeArray(reinterpret_cast<RuntimeArray*>(value));
  if (!shape.valid) return -1;
  return shape.kind == kArrayObjectAlias ? kArrayObject : shape.kind;
}

const char* StructureArrayName(RuntimeObject* value) {
  if (ElementKindOf(value) != kArrayStructure) return nullptr;
  auto* array = reinterpret_cast<RuntimeArray*>(value);
  auto* ops = reinterpret_cast<const StructureArrayOps*>(array->ops);
  return ops->structureName ? ops->structureName(array) : nullptr;
}

bool SameName(const char* a, const char* b) { return a && b && std::strcmp(a, b) == 0; }

}  // namespace

VELA_EXPORT RuntimeObject* VariantArrayAssignmentWithTypeCheck(int32_t kind, RuntimeObject* value) {
  const int32_t wanted = kind == kArrayObjectAlias ? kArrayObject : kind;
  return PassOrMismatch(value, ElementKindOf(value) == wanted);
}

VELA_EXPORT RuntimeObject* VariantStructureArrayAssignmentWithTypeCheck(RuntimeObject* value,
                                                                        const char* name) {
  return PassOrMismatch(value, SameName(StructureArrayName(value), name));
}

VELA_EXPORT RuntimeObject* VariantStructureTypeCheck(RuntimeObject* value, const char* name) {
  bool matches = false;
  if (BoxKindOf(value) == BoxKind::kStructure) {
    TESSstring stored = BoxedValue<BoxKind::kStructure>(value).name;
    const std::string storedName = stored ? std::string(StringText(stored), size_t(StringLength(stored))) : "";
    matches = name && storedName == name;
  }
  return PassOrMismatch(value, matches);
}

// The release hooks of the boxes that hold counted values. The boxes'
// declarations release the same values when they are destroyed; a release
// clears the field, so a record that also names these hooks releases once.
#define VELA_BOX_RELEASE_HOOK(Name, Kind)                                  \
  VELA_EXPORT void Name(RuntimeObject* box) {                               \
    if (box && BoxKindOf(box) == BoxKind::Kind)                             \
      ReleaseBoxValue(BoxedValue<BoxKind::Kind>(box));                      \
  }
VELA_BOX_RELEASE_HOOK(StringObjectFinalizer, kString)
VELA_BOX_RELEASE_HOOK(StringObjectDestructor, kString)
VELA_BOX_RELEASE_HOOK(StructureObjectFinalizer, kStructure)
VELA_BOX_RELEASE_HOOK(StructureObjectDestructor, kStructure)
VELA_BOX_RELEASE_HOOK(TextObjectDestructor, kText)
#undef VELA_BOX_RELEASE_HOOK
