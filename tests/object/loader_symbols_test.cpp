#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "object/loader.h"
#include "text/string_create.h"

namespace vela {
namespace {

// A symbol table in the stored form: count, (offset, name offset) pairs, names.
std::vector<uint8_t> SymbolTable(const std::vector<std::pair<uint32_t, std::string>>& rows) {
  std::vector<uint8_t> table(4 + 8 * rows.size());
  uint32_t count = uint32_t(rows.size());
  std::memcpy(table.data(), &count, 4);
  std::string names;
  for (size_t i = 0; i < rows.size(); ++i) {
    uint32_t nameOffset = uint32_t(names.size());
    std::memcpy(&table[4 + 8 * i], &rows[i].first, 4);
    std::memcpy(&table[8 + 8 * i], &nameOffset, 4);
    names += rows[i].second + '\0';
  }
  table.insert(table.end(), names.begin(), names.end());
  return table;
}

class LoaderSymbols : public ::testing::Test {
 protected:
  void TearDown() override { Loader::Instance().AdoptImageForTesting(nullptr, 0, nullptr, 0); }
  uint8_t code[256] = {};
};

TEST_F(LoaderSymbols, AddressAheadOfTheFirstSymbolIsInCodeWithoutName) {
  auto table = SymbolTable({{16, "Main"}, {64, "Helper"}});
  Loader& loader = Loader::Instance();
  loader.AdoptImageForTesting(code, sizeof code, table.data(), uint32_t(table.size()));
  TESSstring name = reinterpret_cast<TESSstring>(1);
  int32_t offset = -1;
  EXPECT_TRUE(loader.SymbolForAddress(reinterpret_cast<uintptr_t>(code + 8), &name, &offset));
  EXPECT_EQ(name, nullptr);
  EXPECT_EQ(offset, 0);
  EXPECT_STREQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code + 8)), "");
}

TEST_F(LoaderSymbols, TheLastRowAtOrBelowTheAddressAnswers) {
  auto table = SymbolTable({{0, "Entry"}, {16, "Main"}, {64, "Helper"}});
  Loader& loader = Loader::Instance();
  loader.AdoptImageForTesting(code, sizeof code, table.data(), uint32_t(table.size()));
  TESSstring name = nullptr;
  int32_t offset = -1;
  ASSERT_TRUE(loader.SymbolForAddress(reinterpret_cast<uintptr_t>(code), &name, &offset));
  EXPECT_STREQ(StringText(name), "Entry");
  EXPECT_EQ(name->mEncoding, kEncodingUTF8);
  EXPECT_EQ(offset, 0);
  RuntimeUnlockString(name);
  EXPECT_STREQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code + 64)), "Helper");
  EXPECT_STREQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code + 63)), "Main");
  ASSERT_TRUE(loader.SymbolForAddress(reinterpret_cast<uintptr_t>(code + 255), &name, &offset));
  EXPECT_EQ(offset, 255 - 64);
  RuntimeUnlockString(name);
}

TEST_F(LoaderSymbols, OutsideTheCodeOrWithoutTableThereIsNoAnswer) {
  Loader& loader = Loader::Instance();
  loader.AdoptImageForTesting(code, sizeof code, nullptr, 0);
  EXPECT_FALSE(loader.SymbolForAddress(reinterpret_cast<uintptr_t>(code), nullptr, nullptr));
  EXPECT_EQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code)), nullptr);
  auto table = SymbolTable({{0, "Entry"}});
  loader.AdoptImageForTesting(code, sizeof code, table.data(), uint32_t(table.size()));
  EXPECT_FALSE(loader.SymbolForAddress(reinterpret_cast<uintptr_t>(code + 256), nullptr, nullptr));
  EXPECT_EQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code) - 1), nullptr);
}

TEST_F(LoaderSymbols, UnsortedRowsGiveTheAnswerOfAFullWalk) {
  // The walk takes the last row in table order whose offset fits.
  auto table = SymbolTable({{64, "Late"}, {16, "Early"}});
  Loader& loader = Loader::Instance();
  loader.AdoptImageForTesting(code, sizeof code, table.data(), uint32_t(table.size()));
  EXPECT_STREQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code + 100)), "Early");
}

TEST_F(LoaderSymbols, DamagedTablesNeverReadOutsideThemselves) {
  auto table = SymbolTable({{0, "Entry"}, {8, "Next"}});
  uint32_t hugeCount = 0x40000000;
  std::memcpy(table.data(), &hugeCount, 4);  // more rows than the table holds
  uint32_t badName = 0x7FFFFFFF;
  std::memcpy(&table[8], &badName, 4);  // a name far outside
  Loader& loader = Loader::Instance();
  loader.AdoptImageForTesting(code, sizeof code, table.data(), uint32_t(table.size()));
  uint32_t count = 0;
  loader.Symbols(&count);
  EXPECT_LE(count, 3u);  // as many whole entries as the table holds
  EXPECT_STREQ(loader.SymbolNameForAddress(reinterpret_cast<uintptr_t>(code + 4)), "");
}

}  // namespace
}  // namespace vela
