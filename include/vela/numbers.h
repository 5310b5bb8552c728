/* Numbers: the conversions and 64-bit operations that compiled code calls
 * instead of inline instructions, Currency arithmetic, comparison by units
 * in the last place, the language's mathematical and bit functions, and the
 * text forms of numbers that need no locale.
 *
 * Currency is a signed 64-bit integer holding the amount times 10,000.
 * Conversions from floating point truncate toward zero with the machine's
 * conversion instruction: NaN and values out of range give its "indefinite"
 * result (the lowest value of the signed width) instead of undefined
 * behaviour. Integer and Currency division by zero never traps; it gives an
 * arbitrary value. Strings received are borrowed; strings returned are
 * owned by the caller. */
#ifndef VELA_NUMBERS_H
#define VELA_NUMBERS_H

#include "vela/arrays.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

typedef int64_t VelaCurrency;

/* Floating point to integers: toward zero. The unsigned 32-bit and the
 * Single to UInt64 forms take the low half of the signed 64-bit result;
 * Double to UInt64 covers the whole unsigned range. */
VELA_API int32_t RuntimeCvtReal64ToSInt32(double value);
VELA_API int32_t RuntimeCvtReal32ToSInt32(float value);
VELA_API int64_t RuntimeCvtReal64ToSInt64(double value);
VELA_API uint32_t RuntimeCvtReal64ToUInt32(double value);
VELA_API int64_t RuntimeCvtReal32ToSInt64(float value);
VELA_API uint32_t RuntimeCvtReal32ToUInt32(float value);
VELA_API uint64_t RuntimeCvtReal32ToUInt64(float value);
VELA_API uint64_t RuntimeCvtReal64ToUInt64(double value);

/* Integers to floating point: the nearest representable value. */
VELA_API double RuntimeCvtSInt32ToReal64(int32_t value);
VELA_API double RuntimeCvtUInt32ToReal64(uint32_t value);
VELA_API float RuntimeCvtUInt32ToReal32(uint32_t value);
VELA_API double RuntimeCvtSInt64ToReal64(int64_t value);
VELA_API double RuntimeCvtUInt64ToReal64(uint64_t value);
VELA_API float RuntimeCvtInt64ToReal32(int64_t value);
VELA_API float RuntimeCvtUInt64ToReal32(uint64_t value);

/* To and from Currency: integers times 10,000 (wrapping in 64 bits),
 * floating point rounded half away from zero, Currency to integers
 * truncated, to Double exactly divided. */
VELA_API VelaCurrency RuntimeCvtSInt32ToCurrency(int32_t value);
VELA_API VelaCurrency RuntimeCvtUInt32ToCurrency(uint32_t value);
VELA_API VelaCurrency RuntimeCvtSInt64ToCurrency(int64_t value);
VELA_API VelaCurrency RuntimeCvtUInt64ToCurrency(uint64_t value);
VELA_API VelaCurrency RuntimeCvtReal64ToCurrency(double value);
VELA_API VelaCurrency RuntimeCvtReal32ToCurrency(float value);
VELA_API int32_t RuntimeCvtCurrencyToSInt32(VelaCurrency value);
VELA_API int64_t RuntimeCvtCurrencyToSInt64(VelaCurrency value);
VELA_API uint32_t RuntimeCvtCurrencyToUInt32(VelaCurrency value);
VELA_API uint64_t RuntimeCvtCurrencyToUInt64(VelaCurrency value);
VELA_API double RuntimeCvtCurrencyToReal64(VelaCurrency value);

/* 64-bit arithmetic: wrapping products, quotients and remainders that
 * truncate toward zero (the remainder takes the dividend's sign), shifts
 * that give 0 (left) or the sign fill (right, arithmetic) from 64 on. */
VELA_API int64_t RuntimeMulSInt64(int64_t a, int64_t b);
VELA_API uint64_t RuntimeMulUInt64(uint64_t a, uint64_t b);
VELA_API int64_t RuntimeDivSInt64(int64_t a, int64_t b);
VELA_API uint64_t RuntimeDivUInt64(uint64_t a, uint64_t b);
VELA_API int64_t RuntimeModSInt64(int64_t a, int64_t b);
VELA_API uint64_t RuntimeModUInt64(uint64_t a, uint64_t b);
VELA_API int64_t RuntimeShiftLeftInt64(int64_t value, int32_t count);
VELA_API int64_t RuntimeShiftRightInt64(int64_t value, int32_t count);

/* Currency product and quotient, rounded as the language rounds them;
 * results beyond 64 bits raise RuntimeException. */
VELA_API VelaCurrency RuntimeMulCurrency(VelaCurrency a, VelaCurrency b);
VELA_API VelaCurrency RuntimeDivCurrency(VelaCurrency a, VelaCurrency b);

/* True when the two values are at most maxUlps representable values apart
 * (0.0 and -0.0 are equal). maxUlps must lie in 1 .. 4 Mi - 1. */
VELA_API VelaBoolean RuntimeSingleAlmostEquals(float a, float b, int32_t maxUlps);
VELA_API VelaBoolean RuntimeDoubleAlmostEquals(double a, double b, int32_t maxUlps);

/* The language's mathematical functions. */
VELA_API double RuntimeACos(double value);
VELA_API double RuntimeASin(double value);
VELA_API double RuntimeATan(double value);
VELA_API double RuntimeATan2(double y, double x);
VELA_API double RuntimeCos(double value);
VELA_API double RuntimeSin(double value);
VELA_API double RuntimeTan(double value);
VELA_API double RuntimeExp(double value);
VELA_API double RuntimeLog(double value);
VELA_API double RuntimePow(double base, double exponent);
VELA_API double RuntimeSqrt(double value);
VELA_API double RuntimeCeil(double value);
VELA_API double RuntimeFloor(double value);
VELA_API double RuntimeRound(double value);
VELA_API double RuntimeAbs(double value);
VELA_API int32_t RuntimeSign(double value);
/* Max and Min of two or more Doubles; `more` is a Double array or Nil. */
VELA_API double RuntimeMax(double value1, double value2, RuntimeArray *more);
VELA_API double RuntimeMin(double value1, double value2, RuntimeArray *more);

/* Bit operations. The Runtime forms fold further values from an Int64 or
 * UInt64 array (or Nil). The shifts move only the low numBits bits. */
VELA_API uint64_t BitwiseAnd(uint64_t a, uint64_t b);
VELA_API uint64_t BitwiseOr(uint64_t a, uint64_t b);
VELA_API uint64_t BitwiseXor(uint64_t a, uint64_t b);
VELA_API uint64_t RuntimeBitwiseAnd(uint64_t a, uint64_t b, RuntimeArray *more);
VELA_API uint64_t RuntimeBitwiseOr(uint64_t a, uint64_t b, RuntimeArray *more);
VELA_API uint64_t RuntimeBitwiseXor(uint64_t a, uint64_t b, RuntimeArray *more);
VELA_API uint64_t RuntimeBitwiseShiftLeft(uint64_t value, int32_t shift, int32_t numBits);
VELA_API uint64_t RuntimeBitwiseShiftRight(uint64_t value, int32_t shift, int32_t numBits);
VELA_API VelaBoolean Double_IsInf(double value);
VELA_API VelaBoolean Double_IsNaN(double value);
VELA_API VelaBoolean Single_IsInf(float value);
VELA_API VelaBoolean Single_IsNaN(float value);

VELA_END_DECLS

#endif
