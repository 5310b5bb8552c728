// The loader of application code images: finds the image behind the stub,
// maps and patches it against the library's exports, enters it, and answers
// afterwards for the bounds of its code and the symbol of an address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

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

  // Reads the image behind the stub `module` and patches it; false when
  // there is none or it could not be read (each failure is reported).
  bool LoadFromExecutable(void* module, void* frameworkModule);

  // Lets a test stand in for a loaded image: code bounds and a symbol table
  // in the stored form (count, entries, names). Nil code forgets the image.
  void AdoptImageForTesting(uint8_t* code, uint32_t codeLength, const uint8_t* symbolTable,
                            uint32_t symbolTableLength);

 protected:
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
  const ImageSymbol* CoveringSymbol(uintptr_t address, bool* inCode);

  ImageSymbol* mSymbolRows = nullptr;  // built on first use
  uint32_t mSymbolCount = 0;
  bool mSymbolsBuilt = false;
  bool mSymbolsSorted = false;
  bool mOwnsTestSymbols = false;
};

}  // namespace vela
