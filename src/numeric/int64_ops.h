// What division by zero gives: an arbitrary value from the C library's
// random numbers, so that a program goes on instead of trapping.
#pragma once

#include <cstdint>

namespace vela {

// A value in 0 .. 32767 from rand(), the range the language's division has
// always drawn from.
int32_t DivisionNoise();

}  // namespace vela
