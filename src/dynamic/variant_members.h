// The members that each boxed class's record carries: one "Operator_Convert"
// per target it supports (the exports named Source + "ObjectTo" + Target)
// and the one method of its `_Hashable` implementation (Source +
// "ObjectHash"). Compiled code builds the records from this list; the tests
// and benchmarks play that part from the same table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dynamic/variant_box.h"
#include "dynamic/variant_convert.h"

namespace vela {

struct ConversionMember {
  Target target;
  void* function;  // TargetType<target> (*)(RuntimeObject* box)
};

struct BoxedClassMembers {
  BoxKind kind;
  const ConversionMember* conversions;
  int32_t conversionCount;
  void* hash;  // uint32_t (*)(RuntimeObject* box)
};

// One entry per BoxKind, in that order.
const BoxedClassMembers& BoxedClassMembersOf(BoxKind kind);

// The method signature of a conversion member: "%" + code + "%".
std::string ConversionSignature(Target target);

// Double and Single as text: the scientific form with `digits` significant
// digits, the exponent's leading zeros dropped and a zero exponent left
// out, trailing mantissa zeros dropped but one kept behind the point
// ("1.0", "1.0e+20", "1.25e-7").
std::string ScientificText(double value, int digits);

// The hash of a byte string: from 0, hash × 31 + each byte as a signed
// 8-bit value, bytes 'a' to 'z' taken as upper case.
uint32_t ByteStringHash(std::string_view bytes);

// The hash of a 64-bit pattern: the low word rotated by 16, exclusive-or
// the high word.
inline uint32_t WordHash(uint64_t bits) {
  const uint32_t low = uint32_t(bits);
  return ((low << 16) | (low >> 16)) ^ uint32_t(bits >> 32);
}

}  // namespace vela
