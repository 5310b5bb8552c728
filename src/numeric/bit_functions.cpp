// Bit operations of the language: the plain and folding And, Or and Xor,
// shifts inside a field of the low bits, and the IEEE class tests.
#include <cmath>
#include <string>

#include "object/raise.h"
#include "numeric/array_fold.h"
#include "support/export.h"
#include "vela/numbers.h"

namespace {

uint64_t And(uint64_t a, uint64_t b) { return a & b; }
uint64_t Or(uint64_t a, uint64_t b) { return a | b; }
uint64_t Xor(uint64_t a, uint64_t b) { return a ^ b; }

// Shifts the field of the low `numBits` bits; the bits above it keep their
// values and bits shifted out of the field are lost.
template <bool kLeft>
uint64_t ShiftField(uint64_t value, int32_t shift, int32_t numBits) {
  if (numBits < 1) return 0;
  if (numBits > 64) {
    const std::string message =
        "Specifying " + std::to_string(numBits) + " as the number of bits is not supported";
    vela::RaiseNamedException("UnsupportedFormatException", 0, message.c_str());
    return 0;
  }
  if (shift < 0 || shift > numBits - 1) return 0;
  const uint64_t above = numBits == 64 ? 0 : ~uint64_t(0) << numBits;
  const uint64_t field = value & ~above;
  const uint64_t moved = (kLeft ? field << shift : field >> shift) & ~above;
  return moved | (value & above);
}

}  // namespace

VELA_EXPORT uint64_t BitwiseAnd(uint64_t a, uint64_t b) { return a & b; }
VELA_EXPORT uint64_t BitwiseOr(uint64_t a, uint64_t b) { return a | b; }
VELA_EXPORT uint64_t BitwiseXor(uint64_t a, uint64_t b) { return a ^ b; }

VELA_EXPORT uint64_t RuntimeBitwiseAnd(uint64_t a, uint64_t b, RuntimeArray* more) {
  return vela::FoldWithArray(a, b, more, And);
}
VELA_EXPORT uint64_t RuntimeBitwiseOr(uint64_t a, uint64_t b, RuntimeArray* more) {
  return vela::FoldWithArray(a, b, more, Or);
}
VELA_EXPORT uint64_t RuntimeBitwiseXor(uint64_t a, uint64_t b, RuntimeArray* more) {
  return vela::FoldWithArray(a, b, more, Xor);
}

VELA_EXPORT uint64_t RuntimeBitwiseShiftLeft(uint64_t value, int32_t shift, int32_t numBits) {
  return ShiftField<true>(value, shift, numBits);
}
VELA_EXPORT uint64_t RuntimeBitwiseShiftRight(uint64_t value, int32_t shift, int32_t numBits) {
  return ShiftField<false>(value, shift, numBits);
}

VELA_EXPORT VelaBoolean Double_IsInf(double value) { return std::isinf(value); }
VELA_EXPORT VelaBoolean Double_IsNaN(double value) { return std::isnan(value); }
VELA_EXPORT VelaBoolean Single_IsInf(float value) { return std::isinf(value); }
VELA_EXPORT VelaBoolean Single_IsNaN(float value) { return std::isnan(value); }
