// The promotion table: the type in which two Variants meet.
#include "dynamic/variant_operators.h"

#include "dynamic/variant_box.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/runtimeVariant";

// Row/column index of each VarType code below 39; -1 for codes without one.
constexpr int8_t kIndexOfCode[39] = {
    -1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  -1, 9,  -1, -1, -1, -1, 10, 11, 12, 13,
    14, 15, 16, 17, -1, -1, 18, -1, -1, -1, -1, -1, -1, -1, -1, -1, 19, 20, 21};

constexpr int8_t X = -1;

// The lower triangle, row by the larger index, column by the smaller; row
// and column 0 (code 1) are all 0. Columns: 2 3 4 5 6 7 8 9 11 16 17 18 19
// 20 21 22 23 26 36 37.
constexpr int8_t kTriangle[22][21] = {
    /*  1 */ {0},
    /*  2 */ {0},
    /*  3 */ {0, 3},
    /*  4 */ {0, 5, 5},
    /*  5 */ {0, 5, 5, 5},
    /*  6 */ {0, 6, 6, 6, 5},
    /*  7 */ {0, 3, 3, 5, 5, X},
    /*  8 */ {0, 8, 8, 8, 8, 8, 8},
    /*  9 */ {0, X, X, X, X, X, 9, X},
    /* 11 */ {0, 2, 3, 4, 5, X, X, 8, X},
    /* 16 */ {0, 2, 3, 4, 5, X, X, 8, X, 16},
    /* 17 */ {0, 2, 3, 4, 5, 6, 3, 8, X, 17, 16},
    /* 18 */ {0, 8, 8, 8, 8, 8, 8, 8, X, 8, 8, 8},
    /* 19 */ {0, 8, 8, 8, 8, 8, 8, 8, X, 8, 8, 8, 8},
    /* 20 */ {0, 8, 8, 8, 8, 8, 8, 8, X, 8, 8, 8, 8, 8},
    /* 21 */ {0, 8, 8, 8, 8, 8, 8, 8, X, 8, 8, 8, 8, 8, 8},
    /* 22 */ {0, X, X, X, X, X, X, 8, X, X, X, X, X, X, X, X},
    /* 23 */ {0, 2, 3, X, X, X, X, 8, X, X, X, X, X, X, X, X, X},
    /* 26 */ {0, 26, 3, X, X, X, X, 8, X, X, X, X, 26, 26, 26, 26, X, X},
    /* 36 */ {0, X, X, X, X, X, X, 8, X, X, X, X, X, X, X, X, X, X, X},
    /* 37 */ {0, 37, 37, 4, 5, 37, 37, 8, X, 37, 37, X, X, X, X, X, X, X, X, X},
    /* 38 */ {0, 3, 3, 5, 5, X, 38, 8, 9, X, X, X, 8, 8, X, X, X, X, X, X, 37},
};

}  // namespace

int32_t CommonTypeOfCodes(int32_t a, int32_t b) {
  if (a == kVarTypeNil || b == kVarTypeNil) return kVarTypeNil;
  if (a == b) return a;
  if ((a | b) & kVarTypeArray) return -1;
  VELA_ASSERT(a >= 0 && a <= 38);
  VELA_ASSERT(b >= 0 && b <= 38);
  if (a < 0 || a > 38 || b < 0 || b > 38) return -1;
  const int32_t aindex = kIndexOfCode[a], bindex = kIndexOfCode[b];
  VELA_ASSERT(aindex >= 0 && aindex <= 21);
  VELA_ASSERT(bindex >= 0 && bindex <= 21);
  if (aindex < 0 || bindex < 0) return -1;
  return aindex > bindex ? kTriangle[aindex][bindex] : kTriangle[bindex][aindex];
}

}  // namespace vela
