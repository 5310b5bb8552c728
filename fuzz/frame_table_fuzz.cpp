// Registers arbitrary bytes as frame tables and looks return addresses up in
// them. Malformed tables may only be reported: the parser's reads are
// confined to the input, so the sanitizers catch any read outside it, and
// the index must answer as the linear scan does.
//
// Input: one byte n (1 to 4 entries), n little-endian 16-bit offsets of FDEs,
// one byte k (lookups), then the bytes of the tables. Lookups go to
// addresses at offsets from the tables taken from the tables' own bytes,
// and to the 8-byte values found there.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "object/frame_table.h"
#include "support/assert.h"

namespace {

class QuietReporter final : public vela::AssertReporter {
 public:
  void Report(const char*, int, const char* condition, const char*) override {
    if (!condition || !*condition) std::abort();  // every report names its condition
  }
};

void Compare(uintptr_t address) {
  if (vela::frametable::LandingPadFor(address) !=
      vela::frametable::LandingPadByLinearScan(address))
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const size_t entries = 1 + data[0] % 4;
  if (size < 2 + 2 * entries) return 0;
  const uint8_t* offsets = data + 1;
  const size_t lookups = data[1 + 2 * entries] % 32;
  // An exact-size heap copy: a read past the end hits the redzone at once.
  std::vector<uint8_t> tables(data + 2 + 2 * entries, data + size);
  if (tables.empty()) return 0;

  static QuietReporter reporter;
  vela::AssertReporter* previous = vela::SetAssertReporter(&reporter);
  vela::frametable::ConfineReadsForTesting(tables.data(), tables.size());
  std::vector<const uint8_t*> registered;
  for (size_t i = 0; i < entries; ++i) {
    uint16_t offset;
    std::memcpy(&offset, offsets + 2 * i, 2);
    registered.push_back(tables.data() + offset % tables.size());
    vela::frametable::Register(registered.back());
  }
  const auto base = reinterpret_cast<uintptr_t>(tables.data());
  for (size_t i = 0; i < lookups && i < tables.size(); ++i) {
    Compare(base + tables[i] * 4u);
    Compare(base - tables[i]);
    if (i * 8 + 8 <= tables.size()) {
      uint64_t value;
      std::memcpy(&value, tables.data() + i * 8, 8);
      Compare(uintptr_t(value));
    }
  }
  for (const uint8_t* entry : registered) vela::frametable::Unregister(entry);
  if (vela::frametable::RegisteredCount() != 0) std::abort();
  vela::frametable::ConfineReadsForTesting(nullptr, 0);
  vela::SetAssertReporter(previous);
  return 0;
}
