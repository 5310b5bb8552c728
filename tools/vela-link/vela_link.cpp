// vela-link: turns a relocatable x86-64 object, compiled by gcc as C with
// -fno-pic, into an application image.
//
//   vela-link [options] -o IMAGE OBJECT
//     --entry NAME            the function the loader enters (default VelaMain)
//     --library NAME          a shared library (as dlopen names it) that
//                             imports may come from; repeatable
//     --version KEY=VALUE     a version string ("FileVersion", "Release",
//                             "ProductVersion", "LongVersion", "PackageInfo")
//     --resource TYPE:NAME=FILE  a resource of the four-character TYPE
//
// Executable sections become the code, every other allocated section the
// data, which the loader maps at the first page boundary behind the code;
// references between them are resolved here. Absolute addresses become
// relocation records, and each undefined function becomes one import chain
// per way it is referenced: from the first --library that defines it, else
// from the framework. Records in the section "velastr" are string constants
// (mRefCount 0); the loader points their mBuffer at their length byte.
#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "object/loader_format.h"
#include "support/elf_image.h"

namespace {

using namespace vela;
using namespace vela::image;

struct LinkError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] void Fail(const std::string& message) { throw LinkError(message); }

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) Fail("cannot read " + path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

template <typename T>
T ReadAt(std::span<const uint8_t> bytes, uint64_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

uint64_t AlignUp(uint64_t value, uint64_t alignment) {
  return alignment > 1 ? (value + alignment - 1) / alignment * alignment : value;
}

struct Options {
  std::string output, input, entry = "VelaMain";
  std::vector<std::string> libraries;
  std::vector<std::pair<std::string, std::string>> versions;
  struct Resource {
    uint32_t type;
    std::string name, file;
  };
  std::vector<Resource> resources;
};

// Where a loaded section of the object lies in the image.
struct Placement {
  bool loaded = false;
  bool code = false;
  uint64_t offset = 0;  // from the start of the code section (block offset)
};

struct Symbol {
  std::string name;
  uint8_t type = 0, binding = 0;
  uint16_t section = 0;
  uint64_t value = 0;
};

// An import and the places that reference it, in one chain.
struct ChainKey {
  std::string library;  // empty: the framework
  std::string name;
  uint8_t kind;
  auto operator<=>(const ChainKey&) const = default;
};

class Linker {
 public:
  explicit Linker(const Options& options) : mOptions(options) {}

  std::vector<uint8_t> Link() {
    mBytes = ReadFile(mOptions.input);
    ElfImage elf = ElfImage::Parse(mBytes);
    if (!elf.ok()) Fail(mOptions.input + ": " + elf.error());
    if (elf.fileType() != ET_REL) Fail(mOptions.input + " is not a relocatable object");
    mSections = &elf.sections();
    OpenLibraries();
    LayOut(elf);
    ReadSymbols(elf);
    for (const ElfSection& section : *mSections) {
      if (section.type == SHT_REL)
        Fail("REL relocations are not expected on x86-64 (section " + section.name + ")");
      // Relocations of sections outside the image (unwind tables, debug
      // information) are not needed.
      if (section.type == SHT_RELA && section.info < mPlacements.size() &&
          mPlacements[section.info].loaded)
        Relocate(elf, section);
    }
    return Finish();
  }

 private:
  void OpenLibraries() {
    for (const std::string& name : mOptions.libraries) {
      void* handle = dlopen(name.c_str(), RTLD_LAZY | RTLD_LOCAL);
      if (!handle) Fail("cannot open library " + name + ": " + dlerror());
      mLibraryHandles.push_back(handle);
    }
  }

  void LayOut(const ElfImage& elf) {
    const auto& sections = *mSections;
    mPlacements.assign(sections.size(), {});
    std::vector<size_t> dataSections;
    for (size_t i = 0; i < sections.size(); ++i) {
      const ElfSection& s = sections[i];
      if (!(s.flags & SHF_ALLOC) || s.size == 0) continue;
      if (s.type == SHT_INIT_ARRAY || s.type == SHT_FINI_ARRAY || s.type == SHT_PREINIT_ARRAY)
        Fail("section " + s.name + ": constructors and destructors cannot run in an image");
      if (s.name == "velainit")
        Fail(
            "section velainit: RuntimePerformInitializers reads it from the stub, not from an "
            "image; call the initialisers from the entry");
      if (s.flags & SHF_TLS) Fail("section " + s.name + ": thread-local data is not supported");
      if (s.type == SHT_NOTE || s.name == ".eh_frame" || s.type == SHT_X86_64_UNWIND) continue;
      if (s.type != SHT_PROGBITS && s.type != SHT_NOBITS)
        Fail("section " + s.name + " of type " + std::to_string(s.type) + " is not supported");
      if (s.flags & SHF_EXECINSTR) {
        uint64_t at = AlignUp(mCode.size(), s.alignment);
        mPlacements[i] = {true, true, at};
        mCode.resize(at + s.size, 0xCC);
        Copy(elf, s, mCode.data() + at);
      } else {
        dataSections.push_back(i);
      }
    }
    if (mCode.empty()) Fail(mOptions.input + " has no code");
    mDataStart = DataStart(mCode.size());
    for (size_t i : dataSections) {
      const ElfSection& s = sections[i];
      // String records are aligned to a word, so their text lies on an even address.
      uint64_t alignment = s.name == "velastr" ? std::max<uint64_t>(s.alignment, 8) : s.alignment;
      uint64_t at = AlignUp(mData.size(), alignment);
      mPlacements[i] = {true, false, mDataStart + at};
      mData.resize(at + s.size, 0);
      Copy(elf, s, mData.data() + at);
      if (s.name == "velastr") mStringSections.insert(i);
    }
    if (mDataStart + mData.size() >= (uint64_t(1) << 30))
      Fail("the image is larger than the 1 GiB that can be mapped below 2 GiB");
  }

  void Copy(const ElfImage& elf, const ElfSection& s, uint8_t* into) {
    if (s.type == SHT_NOBITS) return;
    std::span<const uint8_t> bytes = elf.SectionData(s);
    std::memcpy(into, bytes.data(), bytes.size());
  }

  void ReadSymbols(const ElfImage& elf) {
    const ElfSection* table = nullptr;
    for (const ElfSection& s : *mSections)
      if (s.type == SHT_SYMTAB) table = &s;
    if (!table) Fail(mOptions.input + " has no symbol table");
    if (table->link >= mSections->size()) Fail("symbol table without a string table");
    std::span<const uint8_t> symbols = elf.SectionData(*table);
    std::span<const uint8_t> names = elf.SectionData((*mSections)[table->link]);
    for (uint64_t at = 0; at + sizeof(Elf64_Sym) <= symbols.size(); at += sizeof(Elf64_Sym)) {
      auto raw = ReadAt<Elf64_Sym>(symbols, at);
      Symbol symbol;
      if (raw.st_name < names.size()) {
        const char* start = reinterpret_cast<const char*>(names.data()) + raw.st_name;
        symbol.name.assign(start, strnlen(start, names.size() - raw.st_name));
      }
      symbol.type = ELF64_ST_TYPE(raw.st_info);
      symbol.binding = ELF64_ST_BIND(raw.st_info);
      symbol.section = raw.st_shndx;
      symbol.value = raw.st_value;
      mSymbols.push_back(symbol);
      if (symbol.section < mPlacements.size() && mPlacements[symbol.section].loaded) {
        uint64_t offset = mPlacements[symbol.section].offset + symbol.value;
        if (symbol.type == STT_FUNC && mPlacements[symbol.section].code && !symbol.name.empty())
          mFunctions.push_back({uint32_t(offset), symbol.name});
        if (symbol.type == STT_OBJECT && mStringSections.count(symbol.section))
          mStringRecords[offset] = false;
      }
    }
  }

  // Where a relocation's target lies: a block offset, or an import.
  struct Target {
    bool import = false;
    std::string name;
    std::string library;  // of an import; empty for the framework
    uint64_t offset = 0;
    bool absolute = false;  // SHN_ABS: offset is the value itself
  };

  Target Resolve(uint32_t index) {
    if (index >= mSymbols.size()) Fail("relocation names symbol " + std::to_string(index));
    const Symbol& symbol = mSymbols[index];
    Target target;
    if (symbol.section == SHN_UNDEF) {
      if (symbol.name.empty()) Fail("relocation against an unnamed undefined symbol");
      target.import = true;
      target.name = symbol.name;
      for (size_t i = 0; i < mLibraryHandles.size(); ++i)
        if (dlsym(mLibraryHandles[i], symbol.name.c_str())) {
          target.library = mOptions.libraries[i];
          break;
        }
      return target;
    }
    if (symbol.section == SHN_ABS) {
      target.absolute = true;
      target.offset = symbol.value;
      return target;
    }
    if (symbol.section == SHN_COMMON)
      Fail("common symbol " + symbol.name + ": compile with -fno-common");
    if (symbol.section >= mPlacements.size() || !mPlacements[symbol.section].loaded)
      Fail("reference to " + (symbol.name.empty() ? "a section" : symbol.name) +
           " that is not part of the image");
    target.offset = mPlacements[symbol.section].offset + symbol.value;
    return target;
  }

  uint8_t* PlaceBytes(uint64_t place, uint64_t width) {
    if (place + width <= mCode.size()) return mCode.data() + place;
    if (place >= mDataStart && place - mDataStart + width <= mData.size())
      return mData.data() + (place - mDataStart);
    Fail("relocation at " + std::to_string(place) + " lies outside its section");
  }

  void Put32(uint64_t place, int64_t value) {
    if (value != int64_t(int32_t(value)) && value != int64_t(uint32_t(value)))
      Fail("value at " + std::to_string(place) + " does not fit 32 bits");
    uint32_t word = uint32_t(value);
    std::memcpy(PlaceBytes(place, 4), &word, 4);
  }
  void Put64(uint64_t place, int64_t value) { std::memcpy(PlaceBytes(place, 8), &value, 8); }

  void Chain(const Target& target, uint8_t kind, uint64_t place, int64_t addend, int64_t wanted) {
    if (addend != wanted)
      Fail("reference to " + target.name + " with addend " + std::to_string(addend) +
           " (only calls and plain addresses of imported functions are supported)");
    if (!target.library.empty() && kind != kImportCall)
      Fail("the address of " + target.name + " from " + target.library +
           " cannot be taken: functions of other libraries can only be called");
    PlaceBytes(place, kind == kImportAbsolute ? 8 : 4);  // checks the place
    if (place == 0) Fail("an import at offset 0 cannot be chained (0 ends a chain)");
    mChains[{target.library, target.name, kind}].push_back(uint32_t(place));
  }

  void Relocate(const ElfImage& elf, const ElfSection& section) {
    const uint64_t base = mPlacements[section.info].offset;
    std::span<const uint8_t> entries = elf.SectionData(section);
    for (uint64_t at = 0; at + sizeof(Elf64_Rela) <= entries.size(); at += sizeof(Elf64_Rela)) {
      auto rela = ReadAt<Elf64_Rela>(entries, at);
      const uint32_t type = ELF64_R_TYPE(rela.r_info);
      if (type == R_X86_64_NONE) continue;
      const uint64_t place = base + rela.r_offset;
      const int64_t addend = rela.r_addend;
      const Target target = Resolve(ELF64_R_SYM(rela.r_info));
      switch (type) {
        case R_X86_64_PLT32:
        case R_X86_64_PC32:
          if (target.import) {
            if (type == R_X86_64_PC32)
              Fail(target.name + " is used as data: an image imports only functions");
            Chain(target, kImportCall, place, addend, -4);
          } else if (target.absolute) {
            Fail("relative reference to an absolute symbol");
          } else {
            Put32(place, int64_t(target.offset) + addend - int64_t(place));
          }
          break;
        case R_X86_64_PC64:
          if (target.import || target.absolute) Fail("64-bit relative reference to an import");
          Put64(place, int64_t(target.offset) + addend - int64_t(place));
          break;
        case R_X86_64_32:
        case R_X86_64_32S:
          if (target.import) {
            Chain(target, kImportStub32, place, addend, 0);
          } else if (target.absolute) {
            Put32(place, int64_t(target.offset) + addend);
          } else {
            Absolute32(place, target.offset + addend);
          }
          break;
        case R_X86_64_64:
          if (target.import) {
            Chain(target, kImportAbsolute, place, addend, 0);
          } else if (target.absolute) {
            Put64(place, int64_t(target.offset) + addend);
          } else {
            uint64_t offset = target.offset + addend;
            // The data base plus a value that may be negative reaches the code.
            Put64(place, int64_t(offset) - int64_t(mDataStart));
            mRelocations.At(kTagData64, uint32_t(place));
          }
          break;
        default:
          Fail("relocation type " + std::to_string(type) + " in " + section.name +
               " is not supported (compile with -fno-pic)");
      }
    }
  }

  // A 32-bit absolute address of a place in the image.
  void Absolute32(uint64_t place, uint64_t offset) {
    auto record = mStringRecords.find(offset);
    if (record != mStringRecords.end()) {
      Put32(place, int64_t(offset - mDataStart));
      mRelocations.At(kTagStringRecord, uint32_t(place));
      record->second = true;  // the loader sets its mBuffer
    } else if (offset < mCode.size()) {
      Put32(place, int64_t(offset));
      mRelocations.At(kTagCode32, uint32_t(place));
    } else {
      Put32(place, int64_t(offset) - int64_t(mDataStart));
      mRelocations.At(kTagData32, uint32_t(place));
    }
  }

  std::vector<uint8_t> Finish() {
    // A string record that no tag 6 record reaches gets its mBuffer here.
    for (const auto& [offset, fixedByLoader] : mStringRecords) {
      if (fixedByLoader) continue;
      uint64_t buffer = offset + 8;
      uint64_t current = 0;
      std::memcpy(&current, PlaceBytes(buffer, 8), 8);
      if (current != 0) continue;
      Put64(buffer, int64_t(offset + kStringRecordBufferOffset - mDataStart));
      mRelocations.At(kTagData64, uint32_t(buffer));
    }
    for (auto& [key, places] : mChains) {
      std::sort(places.begin(), places.end());
      for (size_t i = 0; i < places.size(); ++i) {
        uint64_t next = i + 1 < places.size() ? places[i + 1] : 0;
        std::memcpy(PlaceBytes(places[i], 4), &next, 4);
        if (key.kind == kImportAbsolute) std::memset(PlaceBytes(places[i] + 4, 4), 0, 4);
      }
      if (key.name.size() > 255 || key.library.size() > 255)
        Fail("name longer than 255 bytes: " + key.name);
      if (key.library.empty())
        mRelocations.Import(key.kind, places.front(), key.name);
      else
        mRelocations.LibraryImport(places.front(), key.name, key.library);
    }

    ImageParts parts;
    auto entry = std::find_if(mFunctions.begin(), mFunctions.end(),
                              [&](const SymbolRow& row) { return row.name == mOptions.entry; });
    if (entry == mFunctions.end()) Fail("no function " + mOptions.entry + " to enter");
    parts.entryOffset = entry->codeOffset;
    std::stable_sort(
        mFunctions.begin(), mFunctions.end(),
        [](const SymbolRow& a, const SymbolRow& b) { return a.codeOffset < b.codeOffset; });
    parts.code = std::move(mCode);
    parts.data = std::move(mData);
    parts.relocations = std::move(mRelocations.bytes);
    parts.symbols = SymbolTable(mFunctions);
    for (const auto& [key, value] : mOptions.versions)
      AppendResource(parts.resources, kVersionResourceType, key, value);
    for (const Options::Resource& resource : mOptions.resources) {
      std::vector<uint8_t> bytes = ReadFile(resource.file);
      if (bytes.empty()) Fail("resource file " + resource.file + " is empty");
      AppendResource(parts.resources, resource.type, resource.name,
                     {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    return Serialize(parts);
  }

  const Options& mOptions;
  std::vector<uint8_t> mBytes;
  const std::vector<ElfSection>* mSections = nullptr;
  std::vector<void*> mLibraryHandles;
  std::vector<Placement> mPlacements;
  std::set<size_t> mStringSections;
  std::vector<uint8_t> mCode, mData;
  uint64_t mDataStart = 0;
  std::vector<Symbol> mSymbols;
  std::vector<SymbolRow> mFunctions;
  std::map<uint64_t, bool> mStringRecords;  // block offset -> reached by a tag 6 record
  std::map<ChainKey, std::vector<uint32_t>> mChains;
  RelocationStream mRelocations;
};

[[noreturn]] void Usage() {
  std::fprintf(stderr,
               "usage: vela-link [--entry NAME] [--library NAME]... [--version KEY=VALUE]...\n"
               "                 [--resource TYPE:NAME=FILE]... -o IMAGE OBJECT\n");
  std::exit(2);
}

Options ParseOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) Usage();
      return argv[++i];
    };
    if (arg == "-o") {
      options.output = value();
    } else if (arg == "--entry") {
      options.entry = value();
    } else if (arg == "--library") {
      options.libraries.push_back(value());
    } else if (arg == "--version") {
      std::string pair = value();
      size_t equals = pair.find('=');
      if (equals == std::string::npos || equals == 0 || equals + 1 == pair.size()) Usage();
      options.versions.push_back({pair.substr(0, equals), pair.substr(equals + 1)});
    } else if (arg == "--resource") {
      std::string spec = value();
      size_t colon = spec.find(':'), equals = spec.find('=');
      if (colon != 4 || equals == std::string::npos || equals < colon + 2) Usage();
      uint32_t type = 0;
      for (int k = 0; k < 4; ++k) type = type << 8 | uint8_t(spec[k]);
      options.resources.push_back({type, spec.substr(5, equals - 5), spec.substr(equals + 1)});
    } else if (!arg.empty() && arg[0] == '-') {
      Usage();
    } else if (options.input.empty()) {
      options.input = arg;
    } else {
      Usage();
    }
  }
  if (options.output.empty() || options.input.empty()) Usage();
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  Options options = ParseOptions(argc, argv);
  try {
    std::vector<uint8_t> image = Linker(options).Link();
    std::ofstream out(options.output, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(image.data()), std::streamsize(image.size()));
    if (!out.flush()) Fail("cannot write " + options.output);
  } catch (const LinkError& error) {
    std::fprintf(stderr, "vela-link: %s\n", error.what());
    std::remove(options.output.c_str());
    return 1;
  }
  return 0;
}
