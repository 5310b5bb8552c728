// The language's integer types as one table, so that each family of
// exports over them is written once: X(word, C type) for each type word of
// the export names.
#pragma once

#include <cstdint>

#define VELA_INTEGER_TYPES(X)                                                          \
  X(Int8, int8_t) X(Int16, int16_t) X(Int32, int32_t) X(Int64, int64_t) X(UInt8, uint8_t) \
  X(UInt16, uint16_t) X(UInt32, uint32_t) X(UInt64, uint64_t)

// The same with the names Integer and UInteger, which some families add.
#define VELA_INTEGER_TYPES_WITH_ALIASES(X) \
  VELA_INTEGER_TYPES(X) X(Integer, int32_t) X(UInteger, uint32_t)
