// The file format of application images on x86-64 Linux, shared by the
// loader, vela-link, vela-pack and the tests that write images of their own.
// docs/ABI.md ("Application images") is the contract; the constants here are
// its numbers.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace vela::image {

// The stub's section that holds the image offset: "PICK" until vela-pack
// writes the file offset of the appended image over it.
inline constexpr const char kOffsetSection[] = "velaimg";
inline constexpr uint8_t kUnpackedMark[4] = {'P', 'I', 'C', 'K'};

// Code and data share one mapping below 2 GiB: the code at its start, the
// data at the next multiple of this behind the code.
inline constexpr uint32_t kDataAlignment = 4096;
inline constexpr uint64_t DataStart(uint64_t codeLength) {
  return (codeLength + kDataAlignment - 1) / kDataAlignment * kDataAlignment;
}

// Relocation record tags.
enum Tag : uint8_t {
  kTagImport = 1,         // a function of the framework, through a chain
  kTagData32 = 2,         // 32-bit place += data base
  kTagCode32 = 3,         // 32-bit place += code base
  kTagLibraryImport = 4,  // a function of another library, through a chain
  kTagDataRecord = 5,     // 32-bit data offset of a data record
  kTagStringRecord = 6,   // 32-bit data offset of a string record
  kTagData64 = 7,         // 64-bit place += data base
};

// Kinds of a framework import (tag 1).
enum ImportKind : uint8_t {
  kImportAbsolute = 0,  // 64-bit place: the function's address
  kImportCall = 1,      // 32-bit place: distance to the function's jump stub
  kImportStub32 = 2,    // 32-bit place: address of the function's jump stub
};

// Where the second word of a fixed-up record points: a string record's
// length byte lies at 33 when the record is 8-byte aligned (the text behind
// it is then even); a data record of tag 5 has one more word in front.
inline constexpr uint32_t kStringRecordBufferOffset = 33;
inline constexpr uint32_t kDataRecordBufferOffset = 41;

// Resources that start-up reads: the version strings, named by their key.
inline constexpr uint32_t FourCharCode(const char (&code)[5]) {
  return uint32_t(uint8_t(code[0])) << 24 | uint32_t(uint8_t(code[1])) << 16 |
         uint32_t(uint8_t(code[2])) << 8 | uint32_t(uint8_t(code[3]));
}
inline constexpr uint32_t kVersionResourceType = FourCharCode("vers");

// ---- writing ---------------------------------------------------------------

inline void PutWord(std::vector<uint8_t>& out, uint32_t value) {
  uint8_t bytes[4];
  std::memcpy(bytes, &value, 4);
  out.insert(out.end(), bytes, bytes + 4);
}

inline void PutName(std::vector<uint8_t>& out, std::string_view name) {
  out.push_back(uint8_t(name.size()));
  out.insert(out.end(), name.begin(), name.end());
  out.push_back(0);
}

// A relocation stream, record by record. Names are at most 255 bytes.
struct RelocationStream {
  std::vector<uint8_t> bytes;

  void Import(uint8_t kind, uint32_t chainHead, std::string_view name) {
    bytes.push_back(kTagImport);
    bytes.push_back(kind);
    PutWord(bytes, chainHead);
    PutName(bytes, name);
  }
  void LibraryImport(uint32_t chainHead, std::string_view function, std::string_view library) {
    bytes.push_back(kTagLibraryImport);
    PutWord(bytes, chainHead);
    PutName(bytes, function);
    PutName(bytes, library);
  }
  void At(uint8_t tag, uint32_t offset) {
    bytes.push_back(tag);
    PutWord(bytes, offset);
  }
};

struct SymbolRow {
  uint32_t codeOffset;
  std::string name;
};

// The stored symbol table: count, (code offset, name offset) pairs, names.
inline std::vector<uint8_t> SymbolTable(const std::vector<SymbolRow>& rows) {
  std::vector<uint8_t> table;
  PutWord(table, uint32_t(rows.size()));
  std::string names;
  for (const SymbolRow& row : rows) {
    PutWord(table, row.codeOffset);
    PutWord(table, uint32_t(names.size()));
    names += row.name;
    names += '\0';
  }
  table.insert(table.end(), names.begin(), names.end());
  return table;
}

// One entry of the resource section.
inline void AppendResource(std::vector<uint8_t>& section, uint32_t type, std::string_view name,
                           std::string_view data) {
  PutWord(section, type);
  section.push_back(0);
  section.push_back(0);
  PutWord(section, uint32_t(data.size()));
  PutWord(section, uint32_t(name.size()));
  section.insert(section.end(), name.begin(), name.end());
  section.insert(section.end(), data.begin(), data.end());
}

struct ImageParts {
  std::vector<uint8_t> code;
  uint32_t entryOffset = 0;
  std::vector<uint8_t> data;
  std::vector<uint8_t> relocations;
  std::vector<uint8_t> symbols;
  std::vector<uint8_t> resources;
};

// The image as it is appended to the stub: each part behind its length.
inline std::vector<uint8_t> Serialize(const ImageParts& parts) {
  std::vector<uint8_t> out;
  auto part = [&out](const std::vector<uint8_t>& bytes) {
    PutWord(out, uint32_t(bytes.size()));
    out.insert(out.end(), bytes.begin(), bytes.end());
  };
  part(parts.code);
  PutWord(out, parts.entryOffset);
  part(parts.data);
  part(parts.relocations);
  part(parts.symbols);
  part(parts.resources);
  return out;
}

}  // namespace vela::image
