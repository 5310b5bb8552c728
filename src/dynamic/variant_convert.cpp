// Looking up and calling a Variant's conversion members, and the unboxing
// exports built on them.
#include "dynamic/variant_convert.h"

#include <cstring>

#include "dynamic/variant_box.h"
#include "dynamic/variant_class_cache.h"
#include "object/class_ref.h"
#include "object/raise.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/runtimeVariant";

constexpr const char* kTargetCodes[] = {
#define VELA_TARGET_CODE(Name, Type, Code) Code,
    VELA_VARIANT_TARGETS(VELA_TARGET_CODE)
#undef VELA_TARGET_CODE
};

ClassCache<void*> gConversions[int32_t(Target::kCount)];

// Does the signature "%<result>%<parameters>" give `code` as its result?
bool ResultCodeIs(const char* signature, const char* code) {
  if (!signature || signature[0] != '%') return false;
  const char* result = signature + 1;
  const char* end = std::strchr(result, '%');
  if (!end) return false;
  const size_t length = std::strlen(code);
  return size_t(end - result) == length && std::memcmp(result, code, length) == 0;
}

void* SearchConversion(RuntimeClass* cls, const char* code) {
  for (RuntimeClass* c = cls; c; c = c->superClass) {
    for (uint32_t i = 0; i < c->methodCount; ++i) {
      const RuntimeMethodMember& member = c->methods[i];
      if (!member.head.name || !AsciiEqualNoCase(member.head.name, "Operator_Convert")) continue;
      if (!ResultCodeIs(member.signature, code)) continue;
      if ((member.head.flags & kMemberVirtual) && cls->vtable) return cls->vtable[member.vtableSlot];
      return member.function;
    }
  }
  return nullptr;
}

// A Date or DateTime object converts through its seconds, which needs the
// Date classes.
bool IsDateObject(RuntimeObject* value) {
  const int32_t type = VariantTypeOf(value);
  return type == kVarTypeDate || type == kVarTypeDateTime;
}

}  // namespace

const char* TargetCode(Target target) { return kTargetCodes[int32_t(target)]; }

void* FindConversion(RuntimeClass* cls, Target target) {
  ClassCache<void*>& cache = gConversions[int32_t(target)];
  void* function = nullptr;
  if (cache.Find(cls, &function)) return function;
  function = SearchConversion(cls, TargetCode(target));
  cache.Store(cls, function);
  return function;
}

void RaiseVariantMismatch() { RaiseNamedException("TypeMismatchException", 0, nullptr); }
void RaiseNilVariant() { RaiseNamedException("NilObjectException", 0, nullptr); }

template <Target T>
bool TryConvert(RuntimeObject* value, TargetType<T>* out) {
  *out = TargetType<T>{};
  if (!value) return true;
  if (void* function = FindConversion(value->classPtr, T)) {
    *out = reinterpret_cast<TargetType<T> (*)(RuntimeObject*)>(function)(value);
    return true;
  }
  if (IsDateObject(value)) {
    VELA_NOT_BUILT("Variant: conversion of Date and DateTime values (the Date classes)");
    return true;
  }
  return false;
}

template <Target T>
TargetType<T> ConvertOrRaise(RuntimeObject* value) {
  TargetType<T> result;
  if (!TryConvert<T>(value, &result)) RaiseVariantMismatch();
  return result;
}

#define VELA_CONVERT_INSTANCES(Name, Type, Code)                                        \
  template bool TryConvert<Target::k##Name>(RuntimeObject*, TargetType<Target::k##Name>*); \
  template TargetType<Target::k##Name> ConvertOrRaise<Target::k##Name>(RuntimeObject*);
VELA_VARIANT_TARGETS(VELA_CONVERT_INSTANCES)
#undef VELA_CONVERT_INSTANCES

}  // namespace vela

using namespace vela;

#define VELA_UNBOX_EXPORT(Name, Type, Code) \
  VELA_EXPORT Type VariantTo##Name(RuntimeObject* value) { return ConvertOrRaise<Target::k##Name>(value); }
VELA_VARIANT_TARGETS(VELA_UNBOX_EXPORT)
#undef VELA_UNBOX_EXPORT

VELA_EXPORT RuntimeObject* VariantToObject(RuntimeObject* value) {
  RuntimeLockObject(value);
  return value;
}

namespace {

// The date forms: an object of the class passes as it is; anything else
// would be converted by the Date classes.
RuntimeObject* DateOf(RuntimeObject* value, RuntimeClass* cls, const char* piece) {
  if (!value) return nullptr;
  for (RuntimeClass* c = value->classPtr; c && cls; c = c->superClass) {
    if (c == cls) {
      RuntimeLockObject(value);
      return value;
    }
  }
  VELA_NOT_BUILT(piece);
  return nullptr;
}

}  // namespace

VELA_EXPORT RuntimeObject* VariantToDate(RuntimeObject* value) {
  return DateOf(value, DateClass(), "Variant: conversion to Date (the Date classes)");
}

VELA_EXPORT RuntimeObject* VariantToDateTime(RuntimeObject* value) {
  return DateOf(value, DateTimeClass(), "Variant: conversion to DateTime (the Date classes)");
}

VELA_EXPORT RuntimeObject* VariantToVelaCoreDate(RuntimeObject* value) {
  static ClassRef sCoreDate("vela.Core.Date");
  return DateOf(value, sCoreDate.Get(),
                "Variant: conversion to vela.Core.Date (the Date classes)");
}
