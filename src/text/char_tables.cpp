// Lookups over the generated character tables; see char_tables.h.
#include "text/char_tables.h"

#include <algorithm>
#include <array>
#include <iterator>


namespace vela {
namespace {

struct LeadByteRow {
  uint32_t base;
  LeadByteSet set;
};
constexpr LeadByteRow kLeadByteRows[] = {
#include "text/generated/lead_bytes.inc"
};

struct ScriptRow {
  uint32_t base;
  ScriptTable table;
};
constexpr ScriptRow kScriptRows[] = {
#include "text/generated/script_tables.inc"
};

struct CasePair {
  uint16_t lower, upper;
};
constexpr CasePair kCasePairs[] = {
#include "text/generated/unicode_case_pairs.inc"
};

template <typename Row, size_t N>
constexpr bool AscendingByBase(const Row (&rows)[N]) {
  for (size_t i = 1; i < N; ++i)
    if (rows[i - 1].base >= rows[i].base) return false;
  return true;
}
static_assert(AscendingByBase(kLeadByteRows), "lead-byte rows must ascend by base");
static_assert(AscendingByBase(kScriptRows), "script tables must ascend by base");

template <typename Row, size_t N>
const Row* FindByBase(const Row (&rows)[N], uint32_t encoding) {
  const uint32_t base = encoding & 0xFFFFu;
  const Row* it = std::lower_bound(std::begin(rows), std::end(rows), base,
                                   [](const Row& row, uint32_t b) { return row.base < b; });
  return it != std::end(rows) && it->base == base ? it : nullptr;
}

// Both directions of the case pairs over the Basic Multilingual Plane, as
// direct tables: two 128 KiB arrays built on first use, cheaper per lookup
// than the hash maps they stand for.
struct CaseMaps {
  std::array<uint16_t, 0x10000> upper, lower;
  std::array<bool, 0x10000> paired{};
  CaseMaps() {
    for (uint32_t c = 0; c < 0x10000; ++c) upper[c] = lower[c] = uint16_t(c);
    // Walking backwards lets the first pair of a lower form win.
    for (size_t i = std::size(kCasePairs); i-- > 0;) {
      const CasePair& p = kCasePairs[i];
      upper[p.lower] = p.upper;
      lower[p.upper] = p.lower;
      paired[p.lower] = paired[p.upper] = true;
    }
  }
};

const CaseMaps& Maps() {
  static const CaseMaps maps;
  return maps;
}

}  // namespace

const LeadByteSet* LeadByteSetFor(uint32_t encoding) {
  const LeadByteRow* row = FindByBase(kLeadByteRows, encoding);
  return row ? &row->set : nullptr;
}

const ScriptTable* FindScriptTable(uint32_t encoding) {
  const ScriptRow* row = FindByBase(kScriptRows, encoding);
  return row ? &row->table : nullptr;
}

uint32_t TableUpperCase(uint32_t codePoint) {
  return codePoint > 0xFFFF ? codePoint : Maps().upper[codePoint];
}

uint32_t TableLowerCase(uint32_t codePoint) {
  return codePoint > 0xFFFF ? codePoint : Maps().lower[codePoint];
}

bool HasCasePartner(uint32_t codePoint) {
  return codePoint <= 0xFFFF && Maps().paired[codePoint];
}

}  // namespace vela
