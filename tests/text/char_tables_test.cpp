// The generated character tables: lead-byte sets and the case pairs.
#include <gtest/gtest.h>

#include <set>

#include "text/char_tables.h"
#include "text/string_chars.h"

namespace {

std::set<int> Leads(uint32_t encoding) {
  std::set<int> out;
  const vela::LeadByteSet* set = vela::LeadByteSetFor(encoding);
  if (!set) return out;
  for (int b = 0; b < 256; ++b)
    if (set->Has(static_cast<unsigned char>(b))) out.insert(b);
  return out;
}

std::set<int> Range(std::initializer_list<std::pair<int, int>> ranges) {
  std::set<int> out;
  for (auto [first, last] : ranges)
    for (int b = first; b <= last; ++b) out.insert(b);
  return out;
}

TEST(CharTables, LeadByteSetsFollowTheCharacterSets) {
  const std::set<int> shiftJis = Range({{0x81, 0x9F}, {0xE0, 0xFC}});
  EXPECT_EQ(Leads(0xA01), shiftJis);
  EXPECT_EQ(Leads(0x420), shiftJis);
  EXPECT_EQ(Leads(0x0A01 | 0x10000), shiftJis);  // chosen by the base alone
  EXPECT_EQ(Leads(0x421), Range({{0x81, 0xFE}}));  // GBK
  EXPECT_EQ(Leads(0xA03), Range({{0x81, 0xFE}}));  // Big5
  EXPECT_EQ(Leads(0x940), Range({{0xA1, 0xFE}}));  // EUC-KR
  EXPECT_EQ(Leads(0x920), Range({{0x8E, 0x8F}, {0xA1, 0xFE}}));  // EUC-JP with its shifts
  // Every double-byte base has a set; no other code has one.
  for (uint32_t base : {0x1u, 0x2u, 0x3u, 0x19u, 0x420u, 0x421u, 0x422u, 0x423u, 0x622u, 0x630u,
                        0x631u, 0x640u, 0x820u, 0x830u, 0x840u, 0x920u, 0x930u, 0x931u, 0x940u,
                        0xA01u, 0xA03u, 0xA05u})
    EXPECT_FALSE(Leads(base).empty()) << std::hex << base;
  for (uint32_t other : {0x0u, 0x500u, 0x600u, 0x100u, 0x08000100u, 0xFFFFu, 0x510u})
    EXPECT_EQ(vela::LeadByteSetFor(other), nullptr) << std::hex << other;
}

TEST(CharTables, CasePairsWorkBothWays) {
  EXPECT_EQ(vela::TableUpperCase(0xE9), 0xC9u);
  EXPECT_EQ(vela::TableLowerCase(0xC9), 0xE9u);
  EXPECT_EQ(vela::TableUpperCase(0x3C3), 0x3A3u);   // σ: Σ comes before ς
  EXPECT_EQ(vela::TableLowerCase(0x3C2), 0x3C3u);   // ς folds to σ
  EXPECT_EQ(vela::TableUpperCase(0xFF41), 0xFF21u);  // fullwidth a
  EXPECT_EQ(vela::TableUpperCase(0x24D0), 0x24B6u);  // circled a
  EXPECT_EQ(vela::TableUpperCase(0x2170), 0x2160u);  // small Roman numeral one
  EXPECT_EQ(vela::TableUpperCase(0x10428), 0x10428u);  // beyond the plane: unchanged
  EXPECT_TRUE(vela::HasCasePartner(0x212A));
  EXPECT_FALSE(vela::HasCasePartner('1'));
}

}  // namespace
