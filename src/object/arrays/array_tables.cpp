// The tables of every element kind, made from the operation templates.
#include <chrono>

#include "object/arrays/array_ops.h"

namespace vela {
namespace arrays {

std::mt19937 NewShuffleGenerator() {
  uint32_t seed;
  try {
    seed = std::random_device{}();
  } catch (...) {
    // No random device: the clock is the next best source of one value.
    seed = uint32_t(std::chrono::steady_clock::now().time_since_epoch().count());
  }
  return std::mt19937(seed);
}

namespace {

// One table per shape: index 0 for one dimension, 1 for two, 2 for more.
template <class E>
struct KindTables {
  ArrayOps shapes[3] = {Ops<E>::Table(1), Ops<E>::Table(2), Ops<E>::Table(3)};
};

template <class E>
const ArrayOps* TableOf(int32_t dimensions) {
  static const KindTables<E> tables;
  return &tables.shapes[dimensions == 1 ? 0 : dimensions == 2 ? 1 : 2];
}

struct StructureTables {
  StructureArrayOps shapes[3];
  StructureTables() {
    for (int shape = 1; shape <= 3; ++shape)
      shapes[shape - 1] = {Ops<StructureElement>::Table(shape),
                           &Ops<StructureElement>::StructureName};
  }
};

}  // namespace
}  // namespace arrays

const ArrayOps* TableFor(int32_t kind, int32_t dimensions) {
  using namespace arrays;
  switch (kind) {
    case kArrayInt32: return TableOf<Int32Element>(dimensions);
    case kArrayFloat32: return TableOf<Float32Element>(dimensions);
    case kArrayFloat64: return TableOf<Float64Element>(dimensions);
    case kArrayString: return TableOf<StringElement>(dimensions);
    case kArrayObject:
    case kArrayObjectAlias: return TableOf<ObjectElement>(dimensions);
    case kArrayUInt8: return TableOf<UInt8Element>(dimensions);
    case kArrayInt8: return TableOf<Int8Element>(dimensions);
    case kArrayUInt16: return TableOf<UInt16Element>(dimensions);
    case kArrayInt16: return TableOf<Int16Element>(dimensions);
    case kArrayUInt32: return TableOf<UInt32Element>(dimensions);
    case kArrayUInt64: return TableOf<UInt64Element>(dimensions);
    case kArrayInt64: return TableOf<Int64Element>(dimensions);
    case kArrayStructure: return StructureTableFor(dimensions);
    case kArrayPtr: return TableOf<PtrElement>(dimensions);
    case kArrayColor: return TableOf<ColorElement>(dimensions);
    case kArrayCurrency: return TableOf<CurrencyElement>(dimensions);
    case kArrayBoolean: return TableOf<BooleanElement>(dimensions);
    case kArrayText: return TableOf<TextElement>(dimensions);
    case kArrayAuto: return TableOf<AutoElement>(dimensions);
    default: return nullptr;
  }
}

const ArrayOps* StructureTableFor(int32_t dimensions) {
  static const arrays::StructureTables tables;
  return &tables.shapes[dimensions == 1 ? 0 : dimensions == 2 ? 1 : 2].ops;
}

const ArrayOps* BorrowedObjectTable() {
  return arrays::TableOf<arrays::BorrowedObjectElement>(1);
}

}  // namespace vela
