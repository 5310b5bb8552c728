// The loader of application code images: finds the image behind the stub,
// maps and patches it against the library's exports, enters it, and answers
// afterwards for the bounds of its code and the symbol of an address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "support/simple_vector.h"
#include "vela/object.h"
#include "vela/string.h"

namespace vela {

// One section of the image as loaded: where it lies, its length, and a third
// word (the resource section keeps its file offset there).
struct LoadedImageSection {
  uint8_t* data;
  uint32_t length;
  uint32_t lengthPad;
  uint64_t third;
};

// A row of the symbol table in memory.
struct ImageSymbol {
  uint32_t codeOffset;
  TESSstring name;  // counted, ASCII
};

// A library loaded for the image's imports from other libraries.
class ImageLibrary {
 public:
  virtual ~ImageLibrary() = default;
  virtual void* GetFunction(const char* name) = 0;
};

// The virtual operations keep this order: compiled tools and the debugger
// know the loader by its slots.
class Loader {
 public:
  // The process-wide loader, made on first use.
  static Loader& Instance();

  virtual void ApplyRelocations(const uint8_t* data, uint32_t length);
  virtual void LoadExtraSection(const uint8_t* data, uint32_t length);
  virtual void LoadResources(const uint8_t* data, uint32_t length, uint64_t fileOffset);
  virtual void ProcessSections();
  virtual ImageLibrary* LoadLibrary(const char* name, std::string* errorOut);
  virtual ~Loader();
  virtual void Run();
  virtual void DumpSymbols(RuntimeObject* folderItem);
  virtual uint8_t* CodeBase() const;
  virtual uint32_t CodeLength() const;
  virtual uint8_t* DataBase() const;
  virtual uintptr_t AlwaysZero() const;
  virtual const ImageSymbol* Symbols(uint32_t* countOut);
  virtual bool SymbolForAddress(uintptr_t address, TESSstring* nameOut, int32_t* offsetOut);
  // The name of the symbol that covers `address`: an empty text ahead of the
  // first symbol, nil outside the code section or without a symbol table.
  virtual const char* SymbolNameForAddress(uintptr_t address);
  virtual void* GetFrameworkFunction(const char* name);

  // Reads the image behind the stub `module` (nil: the executable) and
  // patches it against `frameworkModule` (nil: this library); false when
  // there is none or it could not be read. Each failure is reported.
  bool LoadFromExecutable(void* module, void* frameworkModule);
  // The same for an image that starts at `offset` in the file `path`, and
  // for an image held in memory.
  bool LoadImageFile(const char* path, uint64_t offset);
  bool LoadImageBytes(const uint8_t* bytes, size_t length);
  class Source;  // where a load reads the image from

  // Lets a test stand in for a loaded image: code bounds and a symbol table
  // in the stored form (count, entries, names). Nil code forgets the image;
  // an image this loader had loaded is released first.
  void AdoptImageForTesting(uint8_t* code, uint32_t codeLength, const uint8_t* symbolTable,
                            uint32_t symbolTableLength);

 protected:
  // The singleton is the loader of the process; tests and the fuzzer make
  // loaders of their own, which free everything they mapped when deleted.
  Loader() = default;

 public:
  // Fields in record order.
  LoadedImageSection mCodeSection{};
  LoadedImageSection mDataSection{};
  LoadedImageSection mImportSection{};
  LoadedImageSection mSymbolTableSection{};
  LoadedImageSection mResourceSection{};
  LoadedImageSection mExtraSection{};
  uint32_t mEntryOffset = 0;
  uint32_t mEntryOffsetPad = 0;
  std::map<std::string, ImageLibrary*>* mLibraries = nullptr;
  void* mFrameworkModule = nullptr;

 private:
  bool ReadImage(Source& source);
  // Gives back everything the last load took: mappings, sections, symbol
  // rows, jump stubs and the image's rows of the resource table.
  void ReleaseImage();
  void ForgetSymbolRows();
  void ForgetResources();
  bool PlaceIsValid(uint64_t offset, uint32_t width) const;
  uint64_t ChainStepLimit() const;
  // One chain of a relocation stream: its next place and what to write.
  struct ChainPatch {
    uint32_t place;
    uint32_t width;
    enum How : uint8_t { kCall, kStore32, kStore64 } how;
    uint64_t value;  // the stub of a call, or the word to store
    uint64_t steps;
  };
  void WalkChains(std::vector<ChainPatch>& chains);
  bool PatchPlace(const ChainPatch& chain, uint8_t* at);
  uint8_t* StubFor(void* function);
  const ImageSymbol* CoveringSymbol(uintptr_t address, bool* inCode);

  uint8_t* mMapping = nullptr;  // code and data, below 2 GiB
  size_t mMappingSize = 0;
  std::vector<std::pair<uint8_t*, size_t>> mStubChunks;  // jump stubs, below 2 GiB
  size_t mStubsUsed = 0;                                // in the last chunk
  std::unordered_map<void*, uint8_t*> mStubs;           // function -> its stub
  void* mFrameworkHandle = nullptr;                     // dlopen handle, on first use
  std::vector<std::pair<uintptr_t, uintptr_t>> mFrameworkRanges;  // its segments
  std::string mFrameworkFolder;                         // searched first by LoadLibrary

  ImageSymbol* mSymbolRows = nullptr;  // built on first use
  uint32_t mSymbolCount = 0;
  bool mSymbolsBuilt = false;
  bool mSymbolsSorted = false;
};

// A row of the process-wide resource table: one entry of a loaded image's
// resource section. The pointers lie in the loader's copy of the section.
struct ImageResource {
  uint32_t type;
  int32_t dataLength;
  const uint8_t* data;
  const char* name;  // not terminated
  uint32_t nameLength;
  uint64_t nameFileOffset;  // where the name lies in the executable file
};
SimpleVector<ImageResource>& ImageResourceTable();
// The first row of `type` whose name is exactly `name`, or nil.
const ImageResource* FindImageResource(uint32_t type, std::string_view name);

}  // namespace vela
