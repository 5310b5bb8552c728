// The Variant operators. Each binary operator finds the operands' common
// type in the promotion table, converts both to it through their
// conversion members, computes in that type and boxes the result;
// comparison and hashing follow the same common type.
#include "dynamic/variant_operators.h"

#include <cmath>
#include <cstring>

#include "dynamic/variant_box.h"
#include "dynamic/variant_convert.h"
#include "dynamic/variant_members.h"
#include "numeric/machine_convert.h"
#include "object/class_ref.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_compare.h"
#include "text/string_holder.h"
#include "text/text_value.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/runtimeVariant";

enum class Op { kAdd, kSubtract, kMultiply, kDivide, kIntegerDivide, kModulo, kPower };

bool IsStringType(int32_t type) {
  return type == kVarTypeString || (type >= kVarTypeCString && type <= kVarTypeCFStringRef);
}

// Both operands in T, or false after raising TypeMismatchException. The
// values are plain numbers: owned results (strings) use the holders below.
template <Target T>
bool BothAs(RuntimeObject* a, RuntimeObject* b, TargetType<T>* x, TargetType<T>* y) {
  if (TryConvert<T>(a, x) && TryConvert<T>(b, y)) return true;
  RaiseVariantMismatch();
  return false;
}

// Whole-number arithmetic wraps; division by zero gives 0 and the one
// quotient that overflows gives the dividend, so nothing traps.
template <class I>
I IntegerOp(Op op, I x, I y) {
  using U = std::make_unsigned_t<I>;
  switch (op) {
    case Op::kAdd: return I(U(x) + U(y));
    case Op::kSubtract: return I(U(x) - U(y));
    case Op::kMultiply: return I(U(x) * U(y));
    case Op::kIntegerDivide:
      if (y == 0) return 0;
      return y == -1 ? I(U(0) - U(x)) : I(x / y);
    case Op::kModulo:
      if (y == 0 || y == -1) return 0;
      return I(x % y);
    case Op::kDivide:
    case Op::kPower: break;
  }
  return 0;
}

template <class F>
F FloatOp(Op op, F x, F y) {
  switch (op) {
    case Op::kAdd: return x + y;
    case Op::kSubtract: return x - y;
    case Op::kMultiply: return x * y;
    case Op::kDivide: return x / y;
    case Op::kPower: return F(std::pow(double(x), double(y)));
    default: return 0;
  }
}

template <Target T, class Box>
RuntimeObject* Integers(Op op, RuntimeObject* a, RuntimeObject* b, Box box) {
  TargetType<T> x, y;
  if (!BothAs<T>(a, b, &x, &y)) return nullptr;
  if (op == Op::kPower) {
    const double power = std::pow(double(x), double(y));
    if constexpr (T == Target::kInt32) return box(TruncateToInt32(power));
    else return box(TruncateToInt64(power));
  }
  return box(IntegerOp(op, x, y));
}

template <Target T, class Box>
RuntimeObject* Floats(Op op, RuntimeObject* a, RuntimeObject* b, Box box) {
  TargetType<T> x, y;
  if (!BothAs<T>(a, b, &x, &y)) return nullptr;
  return box(FloatOp(op, x, y));
}

RuntimeObject* Concatenate(RuntimeObject* a, RuntimeObject* b) {
  StringHolder x, y;
  TESSstring s;
  if (!TryConvert<Target::kString>(a, &s)) return RaiseVariantMismatch(), nullptr;
  x.Reset(s);
  if (!TryConvert<Target::kString>(b, &s)) return RaiseVariantMismatch(), nullptr;
  y.Reset(s);
  return MakeBox<BoxKind::kString>(RuntimeAddString(x.get(), y.get()));
}

RuntimeObject* Pointers(Op op, RuntimeObject* a, RuntimeObject* b) {
  void *x, *y;
  if (!BothAs<Target::kPtr>(a, b, &x, &y)) return nullptr;
  auto u = [](void* p) { return int64_t(uintptr_t(p)); };
  if (op == Op::kPower)
    return PtrToVariant(reinterpret_cast<void*>(TruncateToUInt64(std::pow(double(u(x)), double(u(y))))));
  return PtrToVariant(reinterpret_cast<void*>(uintptr_t(IntegerOp(op, u(x), u(y)))));
}

RuntimeObject* Currencies(Op op, RuntimeObject* a, RuntimeObject* b) {
  VelaCurrency x, y;
  if (!BothAs<Target::kCurrency>(a, b, &x, &y)) return nullptr;
  switch (op) {
    case Op::kMultiply: return CurrencyToVariant(RuntimeMulCurrency(x, y));
    case Op::kDivide: return CurrencyToVariant(RuntimeDivCurrency(x, y));
    default: return CurrencyToVariant(IntegerOp(op, x, y));
  }
}

RuntimeObject* AsInt32(Op op, RuntimeObject* a, RuntimeObject* b) {
  return Integers<Target::kInt32>(op, a, b, Int32ToVariant);
}
RuntimeObject* AsInt64(Op op, RuntimeObject* a, RuntimeObject* b) {
  return Integers<Target::kInt64>(op, a, b, Int64ToVariant);
}
RuntimeObject* AsDouble(Op op, RuntimeObject* a, RuntimeObject* b) {
  return Floats<Target::kDouble>(op, a, b, DoubleToVariant);
}

RuntimeObject* Arithmetic(Op op, RuntimeObject* a, RuntimeObject* b) {
  if (!a || !b) {
    RaiseNilVariant();
    return nullptr;
  }
  const int32_t type = CommonTypeOfCodes(VariantTypeOf(a), VariantTypeOf(b));
  if (type < 0) {
    RaiseVariantMismatch();
    return nullptr;
  }
  switch (op) {
    case Op::kDivide:
      return type == kVarTypeCurrency ? Currencies(op, a, b) : AsDouble(op, a, b);
    case Op::kIntegerDivide:
      return type == kVarTypeInt64 || type == kVarTypeCurrency ? AsInt64(op, a, b)
                                                               : AsInt32(op, a, b);
    case Op::kModulo:
      return type == kVarTypeInt64 ? AsInt64(op, a, b) : AsInt32(op, a, b);
    default: break;
  }
  switch (type) {
    case kVarTypeInt32:
    case kVarTypeOSType: return AsInt32(op, a, b);
    case kVarTypeInt64: return AsInt64(op, a, b);
    case kVarTypeSingle: return Floats<Target::kSingle>(op, a, b, SingleToVariant);
    case kVarTypeDouble: return AsDouble(op, a, b);
    case kVarTypePtr: return Pointers(op, a, b);
    case kVarTypeCurrency:
      if (op != Op::kPower) return Currencies(op, a, b);
      break;
    default:
      if (op == Op::kAdd && IsStringType(type)) return Concatenate(a, b);
      // Subtraction and multiplication meet every other type in Double.
      if (op == Op::kSubtract || op == Op::kMultiply) return AsDouble(op, a, b);
      break;
  }
  RaiseVariantMismatch();
  return nullptr;
}

enum class Logic { kAnd, kOr, kXOr };

template <class I>
I LogicOp(Logic op, I x, I y) {
  switch (op) {
    case Logic::kAnd: return x & y;
    case Logic::kOr: return x | y;
    case Logic::kXOr: return x ^ y;
  }
  return 0;
}

template <Target T, class Box>
RuntimeObject* Bitwise(Logic op, RuntimeObject* a, RuntimeObject* b, Box box) {
  TargetType<T> x, y;
  if (!BothAs<T>(a, b, &x, &y)) return nullptr;
  return box(LogicOp(op, x, y));
}

RuntimeObject* Logical(Logic op, RuntimeObject* a, RuntimeObject* b) {
  if (!a || !b) {
    RaiseNilVariant();
    return nullptr;
  }
  switch (CommonTypeOfCodes(VariantTypeOf(a), VariantTypeOf(b))) {
    case kVarTypeInt32: return Bitwise<Target::kInt32>(op, a, b, Int32ToVariant);
    case kVarTypeInt64: return Bitwise<Target::kInt64>(op, a, b, Int64ToVariant);
    case kVarTypeBoolean:
      return Bitwise<Target::kBoolean>(op, a, b, [](VelaBoolean v) { return BooleanToVariant(v); });
    default:
      RaiseVariantMismatch();
      return nullptr;
  }
}

template <class V>
int32_t Order(V x, V y) {
  return x < y ? -1 : (y < x ? 1 : 0);  // NaN: equal to everything
}

template <Target T>
int32_t CompareAs(RuntimeObject* a, RuntimeObject* b) {
  TargetType<T> x, y;
  if (!BothAs<T>(a, b, &x, &y)) return 0;
  return Order(x, y);
}

int32_t CompareIdentity(RuntimeObject* a, RuntimeObject* b) {
  return Order(uintptr_t(a), uintptr_t(b));
}

int32_t CompareStrings(RuntimeObject* a, RuntimeObject* b) {
  TESSstring x, y;
  if (!BothAs<Target::kString>(a, b, &x, &y)) return 0;
  StringHolder hx = StringHolder::Adopt(x), hy = StringHolder::Adopt(y);
  return CompareStringText(x, y, true);
}

int32_t CompareTexts(RuntimeObject* a, RuntimeObject* b) {
  TextValue x, y;
  if (!BothAs<Target::kText>(a, b, &x, &y)) return 0;
  TextHolder hx = TextHolder::Adopt(x), hy = TextHolder::Adopt(y);
  return RuntimeCompareText(x, y);
}

int32_t CompareBooleans(RuntimeObject* a, RuntimeObject* b) {
  VelaBoolean x, y;
  if (!BothAs<Target::kBoolean>(a, b, &x, &y)) return 0;
  return int32_t(!x) - int32_t(!y);
}

// The vtable that the object's class gives `_Hashable`, or nil.
RuntimeVtableEntry* HashableVtable(RuntimeObject* value) {
  static ClassRef sHashable("_Hashable");
  RuntimeClass* hashable = sHashable.Get();
  VELA_ASSERT_TEXT(hashable, "sHashableInterface");
  if (!hashable) return nullptr;
  VELA_ASSERT_TEXT(hashable->flags & kInterfaceFlag,
                   "sHashableInterface->flags & RuntimeClass::kInterfaceFlag");
  VELA_ASSERT_TEXT(hashable->methodCount == 1, "impl.methods.count == 1");
  const RuntimeClass* cls = value->classPtr;
  for (uint32_t i = 0; i < cls->interfaceCount; ++i)
    if (cls->interfaceEntries[i].interface == hashable) return cls->interfaceEntries[i].vtable;
  return nullptr;
}

}  // namespace
}  // namespace vela

using namespace vela;

#define VELA_ARITHMETIC_EXPORT(Name, Operation)                                  \
  VELA_EXPORT RuntimeObject* Variant##Name(RuntimeObject* a, RuntimeObject* b) { \
    return Arithmetic(Op::Operation, a, b);                                      \
  }
#define VELA_ARITHMETIC_EXPORTS(Name, Operation)                                      \
  VELA_ARITHMETIC_EXPORT(Name, Operation)                                             \
  VELA_EXPORT RuntimeObject* Variant##Name##Right(RuntimeObject* a, RuntimeObject* b) { \
    return Arithmetic(Op::Operation, b, a);                                           \
  }
VELA_ARITHMETIC_EXPORTS(Add, kAdd)
VELA_ARITHMETIC_EXPORTS(Subtract, kSubtract)
VELA_ARITHMETIC_EXPORT(Multiply, kMultiply)
VELA_ARITHMETIC_EXPORTS(Divide, kDivide)
VELA_ARITHMETIC_EXPORTS(IntegerDivide, kIntegerDivide)
VELA_ARITHMETIC_EXPORTS(Modulo, kModulo)
VELA_ARITHMETIC_EXPORTS(Power, kPower)
#undef VELA_ARITHMETIC_EXPORTS
#undef VELA_ARITHMETIC_EXPORT

VELA_EXPORT RuntimeObject* VariantAnd(RuntimeObject* a, RuntimeObject* b) {
  return Logical(Logic::kAnd, a, b);
}
VELA_EXPORT RuntimeObject* VariantOr(RuntimeObject* a, RuntimeObject* b) {
  return Logical(Logic::kOr, a, b);
}
VELA_EXPORT RuntimeObject* VariantXOr(RuntimeObject* a, RuntimeObject* b) {
  return Logical(Logic::kXOr, a, b);
}

VELA_EXPORT RuntimeObject* VariantNegate(RuntimeObject* value) {
  switch (VariantTypeOf(value)) {
    case kVarTypeInt32:
      return Int32ToVariant(int32_t(0u - uint32_t(VariantToInt32(value))));
    case kVarTypeInt64:
      return Int64ToVariant(int64_t(0ull - uint64_t(VariantToInt64(value))));
    case kVarTypeSingle: {
      float f = VariantToSingle(value);
      uint32_t bits;
      std::memcpy(&bits, &f, sizeof bits);
      bits ^= 0x80000000u;
      std::memcpy(&f, &bits, sizeof bits);
      return SingleToVariant(f);
    }
    case kVarTypeCurrency:
      return CurrencyToVariant(int64_t(0ull - uint64_t(VariantToCurrency(value))));
    case kVarTypePtr:
      RaiseVariantMismatch();
      return nullptr;
    default: {
      double d;
      if (!TryConvert<Target::kDouble>(value, &d)) return RaiseVariantMismatch(), nullptr;
      return DoubleToVariant(-d);
    }
  }
}

// Whole numbers negate (the language's Not of an integer Variant is its
// arithmetic negation); everything else is complemented as a Boolean.
VELA_EXPORT RuntimeObject* VariantNot(RuntimeObject* value) {
  if (!value) return BooleanToVariant(true);
  switch (VariantTypeOf(value)) {
    case kVarTypeInt32:
      return Int32ToVariant(int32_t(0u - uint32_t(VariantToInt32(value))));
    case kVarTypeInt64:
      return Int64ToVariant(int64_t(0ull - uint64_t(VariantToInt64(value))));
    default: {
      VelaBoolean b;
      if (!TryConvert<Target::kBoolean>(value, &b)) return RaiseVariantMismatch(), nullptr;
      return BooleanToVariant(!b);
    }
  }
}

VELA_EXPORT int32_t VariantCompare(RuntimeObject* a, RuntimeObject* b) {
  const int32_t type = CommonTypeOfCodes(VariantTypeOf(a), VariantTypeOf(b));
  switch (type) {
    case kVarTypeNil: return int32_t(a == nullptr) - int32_t(b == nullptr);
    case kVarTypeInt32: case kVarTypeColor: case 17: case kVarTypeOSType:
      return CompareAs<Target::kInt32>(a, b);
    case kVarTypeInt64: return CompareAs<Target::kInt64>(a, b);
    case kVarTypeCurrency: return CompareAs<Target::kCurrency>(a, b);
    case kVarTypeSingle: return CompareAs<Target::kSingle>(a, b);
    case kVarTypeDouble: return CompareAs<Target::kDouble>(a, b);
    case kVarTypeDate:
      VELA_NOT_BUILT("Variant: comparison of Date values (the Date classes)");
      return CompareIdentity(a, b);
    case kVarTypeBoolean: return CompareBooleans(a, b);
    case kVarTypePtr: return CompareAs<Target::kPtr>(a, b);
    case kVarTypeText: return CompareTexts(a, b);
    default:
      if (IsStringType(type)) return CompareStrings(a, b);
      return CompareIdentity(a, b);
  }
}

VELA_EXPORT VelaBoolean VariantEqual(RuntimeObject* a, RuntimeObject* b) {
  return VariantCompare(a, b) == 0;
}

VELA_EXPORT uint32_t VariantHash(RuntimeObject* value) {
  if (!value) return 0;
  if (RuntimeVtableEntry* vtable = HashableVtable(value); vtable && vtable[0])
    return reinterpret_cast<uint32_t (*)(RuntimeObject*)>(vtable[0])(value);
  const int32_t type = VariantTypeOf(value);
  if (type == kVarTypeDate || type == kVarTypeDateTime)
    VELA_NOT_BUILT("Variant: hash of Date and DateTime values (the Date classes)");
  return WordHash(uintptr_t(value));
}
