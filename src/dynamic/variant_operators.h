// What the Variant operators share: the common type of two VarType codes.
#pragma once

#include <cstdint>

namespace vela {

// The promotion table: Nil with anything is 0, equal codes are themselves,
// an array with anything else is -1, otherwise the table's entry (-1 for no
// common type). Codes outside the table are an assertion and give -1.
int32_t CommonTypeOfCodes(int32_t a, int32_t b);

}  // namespace vela
