// A small reader of ELF64 little-endian x86-64 files: the section table and
// the bytes of each section. Start-up uses it to find the initialiser section
// of the running executable; the image loader and the plug-in loader read
// their files through it.
//
// Every field is validated against the size of the buffer before it is used,
// so that any byte string, however damaged, gives either a correct section
// list or an error text, and never a read outside the buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vela {

struct ElfSection {
  std::string name;
  uint32_t type = 0;       // SHT_*
  uint64_t flags = 0;      // SHF_*
  uint64_t address = 0;    // sh_addr: the address at link time
  uint64_t offset = 0;     // sh_offset: position of the bytes in the file
  uint64_t size = 0;       // sh_size
  uint32_t link = 0;
  uint32_t info = 0;
  uint64_t alignment = 0;
  uint64_t entrySize = 0;
};

class ElfImage {
 public:
  // Reads the file header and the section table of `bytes`. The image keeps a
  // view of `bytes` for SectionData, so the buffer must outlive it.
  static ElfImage Parse(std::span<const uint8_t> bytes);

  bool ok() const { return mError.empty(); }
  // Why the bytes were refused; empty when ok().
  const std::string& error() const { return mError; }

  uint16_t fileType() const { return mFileType; }  // ET_EXEC, ET_DYN, ET_REL...
  uint64_t entry() const { return mEntry; }
  // All sections in table order, the null section at index 0 included.
  const std::vector<ElfSection>& sections() const { return mSections; }

  // The first section whose name is exactly `name`, or nil.
  const ElfSection* FindSection(std::string_view name) const;

  // The bytes of a section of this image inside the buffer; empty for a
  // section that occupies no file space (SHT_NOBITS) or has size 0.
  std::span<const uint8_t> SectionData(const ElfSection& section) const;

 private:
  ElfImage() = default;
  bool Fail(std::string message);

  std::span<const uint8_t> mBytes;
  std::string mError;
  uint16_t mFileType = 0;
  uint64_t mEntry = 0;
  std::vector<ElfSection> mSections;
};

// A section of the running executable as it lies in memory.
struct LoadedSection {
  const void* address = nullptr;
  size_t size = 0;
};

// Finds the section `name` of the main program in memory: reads the section
// table of /proc/self/exe and adds the main program's load bias to the
// section's link-time address. Only allocated sections (SHF_ALLOC) are in
// memory; a section that is missing, not allocated, or does not lie inside a
// loaded segment of the main program gives nullopt. `error`, when given,
// receives the reason when the executable could not be read or parsed, or
// does not match the program in memory; it is left alone for a section that
// is simply absent.
std::optional<LoadedSection> FindLoadedSection(std::string_view name,
                                               std::string* error = nullptr);

}  // namespace vela
