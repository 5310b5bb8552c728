// Conversion of a Variant to a primitive type. The object is asked for a
// member "Operator_Convert" whose result type code is the target's; the
// boxed classes declare one for each target they support, and application
// classes take part in the same way. The function found for a class (or
// its absence) is cached per target.
#pragma once

#include <cstdint>

#include "vela/variant.h"

namespace vela {

// X(Target, C type, result type code in a method signature).
#define VELA_VARIANT_TARGETS(X)           \
  X(Int32, int32_t, "i4")                 \
  X(UInt32, uint32_t, "u4")               \
  X(Int64, int64_t, "i8")                 \
  X(UInt64, uint64_t, "u8")               \
  X(Single, float, "f4")                  \
  X(Double, double, "f8")                 \
  X(Currency, VelaCurrency, "e")          \
  X(String, TESSstring, "s")              \
  X(Boolean, VelaBoolean, "b")            \
  X(Color, uint32_t, "c")                 \
  X(Text, TextValue, "y")                 \
  X(Ptr, void*, "p")                      \
  X(CString, char*, "?<CString>")         \
  X(WString, uint16_t*, "?<WString>")     \
  X(PString, unsigned char*, "?<PString>") \
  X(CFStringRef, void*, "?<CFStringRef>") \
  X(WindowPtr, void*, "?<WindowPtr>")     \
  X(OSType, uint32_t, "?<OSType>")

enum class Target : int32_t {
#define VELA_TARGET_ENUM(Name, Type, Code) k##Name,
  VELA_VARIANT_TARGETS(VELA_TARGET_ENUM)
#undef VELA_TARGET_ENUM
  kCount
};

template <Target T>
struct TargetTraits;
#define VELA_TARGET_TRAITS(Name, Type, Code)   \
  template <>                                  \
  struct TargetTraits<Target::k##Name> {       \
    using Type_ = Type;                        \
    static constexpr const char* kCode = Code; \
  };
VELA_VARIANT_TARGETS(VELA_TARGET_TRAITS)
#undef VELA_TARGET_TRAITS

template <Target T>
using TargetType = typename TargetTraits<T>::Type_;

// The signature code of a target ("i4", "?<OSType>"...).
const char* TargetCode(Target target);

// The conversion function of `cls` for `target`, or nil: a member named
// "Operator_Convert" of the class or a base whose result code is the
// target's; a virtual member is taken from the class's vtable.
void* FindConversion(RuntimeClass* cls, Target target);

// Converts `value` (borrowed) to T into `*out` (owned by the caller for
// strings, texts and raw text). Nil converts to zero. False when the value
// has no such conversion; nothing is raised.
template <Target T>
bool TryConvert(RuntimeObject* value, TargetType<T>* out);

// The same, raising TypeMismatchException and giving zero on failure.
template <Target T>
TargetType<T> ConvertOrRaise(RuntimeObject* value);

void RaiseVariantMismatch();
void RaiseNilVariant();

}  // namespace vela
