// The loader's answers about the loaded image: the bounds of its sections and
// the symbol that covers an address. Exception dispatch, stack crawls and the
// debugger ask these from any thread that holds the turn.
#include <algorithm>
#include <cstring>

#include "object/loader.h"
#include "text/string_create.h"

namespace vela {
namespace {

uint32_t ReadWord(const uint8_t* at) {
  uint32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

// Reads the stored symbol table: a count, (code offset, name offset) pairs,
// then the names. Entries whose name lies outside the table get an empty
// name; a name without terminator ends at the table's end.
uint32_t ParseSymbolTable(const uint8_t* table, uint32_t length, ImageSymbol** rowsOut) {
  *rowsOut = nullptr;
  if (!table || length < 4) return 0;
  uint64_t count = ReadWord(table);
  uint64_t namesStart = 4 + 8 * count;
  if (namesStart > length) count = (length - 4) / 8, namesStart = 4 + 8 * count;
  if (count == 0) return 0;
  auto* rows = new ImageSymbol[count];
  const uint8_t* names = table + namesStart;
  uint64_t namesLength = length - namesStart;
  for (uint64_t i = 0; i < count; ++i) {
    rows[i].codeOffset = ReadWord(table + 4 + 8 * i);
    uint32_t nameOffset = ReadWord(table + 8 + 8 * i);
    rows[i].name = nullptr;
    if (nameOffset < namesLength) {
      const uint8_t* name = names + nameOffset;
      const void* end = std::memchr(name, 0, namesLength - nameOffset);
      size_t nameLength = end ? size_t(static_cast<const uint8_t*>(end) - name)
                              : size_t(namesLength - nameOffset);
      rows[i].name = NewString(name, int32_t(nameLength), kEncodingASCII);
    }
  }
  *rowsOut = rows;
  return uint32_t(count);
}

bool Ascending(const ImageSymbol* rows, uint32_t count) {
  for (uint32_t i = 1; i < count; ++i)
    if (rows[i].codeOffset < rows[i - 1].codeOffset) return false;
  return true;
}

}  // namespace

Loader& Loader::Instance() {
  static Loader* loader = new Loader;  // lives to the end of the process
  return *loader;
}

uint8_t* Loader::CodeBase() const { return mCodeSection.data; }
uint32_t Loader::CodeLength() const { return mCodeSection.length; }
uint8_t* Loader::DataBase() const { return mDataSection.data; }
uintptr_t Loader::AlwaysZero() const { return 0; }

const ImageSymbol* Loader::Symbols(uint32_t* countOut) {
  if (!mSymbolsBuilt && mSymbolTableSection.data) {
    mSymbolCount = ParseSymbolTable(mSymbolTableSection.data, mSymbolTableSection.length,
                                    &mSymbolRows);
    mSymbolsSorted = Ascending(mSymbolRows, mSymbolCount);
    mSymbolsBuilt = true;
  }
  if (countOut) *countOut = mSymbolCount;
  return mSymbolRows;
}

// The row that covers `address`, as a walk over all rows finds it: the last
// row whose offset is at or below the address's offset. Rows in ascending
// order (the normal case) are searched by halves with the same answer.
const ImageSymbol* Loader::CoveringSymbol(uintptr_t address, bool* inCode) {
  *inCode = false;
  uint32_t count = 0;
  const ImageSymbol* rows = Symbols(&count);
  uintptr_t base = reinterpret_cast<uintptr_t>(mCodeSection.data);
  if (!rows || !base || address < base || address - base >= mCodeSection.length) return nullptr;
  *inCode = true;
  uintptr_t offset = address - base;
  if (mSymbolsSorted) {
    const ImageSymbol* after = std::upper_bound(
        rows, rows + count, offset,
        [](uintptr_t value, const ImageSymbol& row) { return value < row.codeOffset; });
    return after == rows ? nullptr : after - 1;
  }
  const ImageSymbol* answer = nullptr;
  for (uint32_t i = 0; i < count; ++i)
    if (rows[i].codeOffset <= offset) answer = &rows[i];
  return answer;
}

bool Loader::SymbolForAddress(uintptr_t address, TESSstring* nameOut, int32_t* offsetOut) {
  if (nameOut) *nameOut = nullptr;
  if (offsetOut) *offsetOut = 0;
  bool inCode = false;
  const ImageSymbol* row = CoveringSymbol(address, &inCode);
  if (!inCode) return false;
  if (row) {
    if (nameOut && row->name)
      *nameOut = NewString(StringText(row->name), StringLength(row->name), kEncodingUTF8);
    if (offsetOut)
      *offsetOut = int32_t(address - reinterpret_cast<uintptr_t>(mCodeSection.data) -
                           row->codeOffset);
  }
  return true;
}

const char* Loader::SymbolNameForAddress(uintptr_t address) {
  bool inCode = false;
  const ImageSymbol* row = CoveringSymbol(address, &inCode);
  if (!inCode) return nullptr;
  return row && row->name ? StringText(row->name) : "";
}

void Loader::ForgetSymbolRows() {
  for (uint32_t i = 0; i < mSymbolCount; ++i) RuntimeUnlockString(mSymbolRows[i].name);
  delete[] mSymbolRows;
  mSymbolRows = nullptr;
  mSymbolCount = 0;
  mSymbolsBuilt = false;
  mSymbolsSorted = false;
}

void Loader::AdoptImageForTesting(uint8_t* code, uint32_t codeLength, const uint8_t* symbolTable,
                                  uint32_t symbolTableLength) {
  ReleaseImage();
  mCodeSection = {code, codeLength, 0, 0};
  if (code && symbolTable && symbolTableLength) {
    auto* copy = new uint8_t[symbolTableLength];
    std::memcpy(copy, symbolTable, symbolTableLength);
    mSymbolTableSection = {copy, symbolTableLength, 0, 0};
  }
}

}  // namespace vela
