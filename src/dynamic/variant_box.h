// The boxed Variant classes: one native record per primitive type, the
// header followed by the value, declared to the object system by name and
// bound to the class records that compiled code makes. Also the internal
// API that other dynamic-value code uses to ask a Variant for its type and
// to box a value of a known kind.
#pragma once

#include <cstdint>

#include "object/class_decl.h"
#include "vela/variant.h"

namespace vela {

// A structure in a Variant: its name and its bytes, both as strings owned by
// the box (the bytes in the raw encoding).
struct StructureValue {
  TESSstring name;
  TESSstring bytes;
};

// X(Kind, value type, class name, VarType code). The table order is the
// order of BoxKind.
#define VELA_VARIANT_BOXES(X)                                   \
  X(Int32, int32_t, "_VariantInt32", 2)                         \
  X(UInt32, uint32_t, "_VariantUInt32", 2)                      \
  X(Int64, int64_t, "_VariantInt64", 3)                         \
  X(UInt64, uint64_t, "_VariantUInt64", 3)                      \
  X(Single, float, "_VariantSingle", 4)                         \
  X(Double, double, "_VariantDouble", 5)                        \
  X(Currency, int64_t, "_VariantCurrency", 6)                   \
  X(String, TESSstring, "_VariantString", 8)                    \
  X(Boolean, VelaBoolean, "_VariantBoolean", 11)                \
  X(Color, uint32_t, "_VariantColor", 16)                       \
  X(CString, char*, "_VariantCString", 18)                      \
  X(WString, uint16_t*, "_VariantWString", 19)                  \
  X(PString, unsigned char*, "_VariantPString", 20)             \
  X(CFStringRef, void*, "_VariantCFStringRef", 21)              \
  X(WindowPtr, void*, "_VariantWindowPtr", 22)                  \
  X(OSType, uint32_t, "_VariantOSType", 23)                     \
  X(Ptr, void*, "_VariantPtr", 26)                              \
  X(Structure, StructureValue, "_VariantStructure", 36)         \
  X(Text, TextValue, "_VariantText", 37)

enum class BoxKind : int32_t {
#define VELA_BOX_ENUM(Kind, Type, Name, Code) k##Kind,
  VELA_VARIANT_BOXES(VELA_BOX_ENUM)
#undef VELA_BOX_ENUM
  kCount,
  kNone = kCount
};
constexpr int32_t kBoxKindCount = int32_t(BoxKind::kCount);

template <BoxKind K>
struct BoxTraits;
#define VELA_BOX_TRAITS(Kind, Type, Name, Code)     \
  template <>                                       \
  struct BoxTraits<BoxKind::k##Kind> {              \
    using Value = Type;                             \
    static constexpr const char* kClassName = Name; \
    static constexpr int32_t kVarType = Code;       \
  };
VELA_VARIANT_BOXES(VELA_BOX_TRAITS)
#undef VELA_BOX_TRAITS

template <BoxKind K>
using BoxValue = typename BoxTraits<K>::Value;

// Drops what a box's value holds.
void ReleaseBoxValue(TESSstring& value);
void ReleaseBoxValue(TextValue& value);
void ReleaseBoxValue(char*& value);
void ReleaseBoxValue(uint16_t*& value);
void ReleaseBoxValue(unsigned char*& value);
void ReleaseBoxValue(StructureValue& value);
template <class V>
void ReleaseBoxValue(V&) {}

// The native record of a box: the object header, then the value.
template <BoxKind K>
struct VariantBox {
  RuntimeObject header;
  BoxValue<K> value;
  static void Destruct(VariantBox* box) { ReleaseBoxValue(box->value); }
};

template <BoxKind K>
using BoxDecl = NativeClassDecl<VariantBox<K>>;

// The declaration of each boxed class.
template <BoxKind K>
BoxDecl<K>& DeclOf();

// The class record bound to a kind, or nil while none is bound.
RuntimeClass* BoxClass(BoxKind kind);
const char* BoxClassName(BoxKind kind);
ClassDecl* BoxClassDecl(BoxKind kind);
int32_t BoxVarType(BoxKind kind);

// The value of a box of kind K. `box` must be an instance of that kind's
// class (its record lies at the object pointer whatever the subclass).
template <BoxKind K>
inline BoxValue<K>& BoxedValue(RuntimeObject* box) {
  return reinterpret_cast<VariantBox<K>*>(box)->value;
}

// A new box of kind K that takes over `owned` (a string, text or raw text
// passed here belongs to the box afterwards). Zero values of the kinds that
// have one come from a shared box. Nil when the class is not bound (after
// the declaration's assertion) — `owned` is released then.
template <BoxKind K>
RuntimeObject* MakeBox(BoxValue<K> owned);

// The kind of box `value` is (of its class or a base class), or kNone for
// Nil and for every other object.
BoxKind BoxKindOf(RuntimeObject* value);

// VarType of a Variant.
int32_t VariantTypeOf(RuntimeObject* value);

// The class records of the framework's Date and DateTime, or nil.
RuntimeClass* DateClass();
RuntimeClass* DateTimeClass();

}  // namespace vela
