#include "support/elf_image.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace vela {
namespace {

// Headers are copied out of the buffer rather than cast in place: a file
// image may sit at any alignment.
template <typename T>
T ReadAt(std::span<const uint8_t> bytes, uint64_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

// True when [offset, offset + size) lies inside a buffer of `total` bytes,
// without overflow for any 64-bit inputs.
bool RangeInside(uint64_t offset, uint64_t size, uint64_t total) {
  return offset <= total && size <= total - offset;
}

std::string SectionLabel(uint64_t index) { return "section " + std::to_string(index); }

}  // namespace

bool ElfImage::Fail(std::string message) {
  mError = std::move(message);
  mSections.clear();
  return false;
}

ElfImage ElfImage::Parse(std::span<const uint8_t> bytes) {
  ElfImage image;
  image.mBytes = bytes;
  const uint64_t total = bytes.size();

  if (total < sizeof(Elf64_Ehdr)) {
    image.Fail("file is shorter than an ELF64 header");
    return image;
  }
  const auto header = ReadAt<Elf64_Ehdr>(bytes, 0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
    image.Fail("not an ELF file (bad magic)");
    return image;
  }
  if (header.e_ident[EI_CLASS] != ELFCLASS64) {
    image.Fail("not a 64-bit ELF file");
    return image;
  }
  if (header.e_ident[EI_DATA] != ELFDATA2LSB) {
    image.Fail("not a little-endian ELF file");
    return image;
  }
  if (header.e_ident[EI_VERSION] != EV_CURRENT || header.e_version != EV_CURRENT) {
    image.Fail("unknown ELF version");
    return image;
  }
  if (header.e_machine != EM_X86_64) {
    image.Fail("not an x86-64 ELF file (machine " + std::to_string(header.e_machine) + ")");
    return image;
  }
  if (header.e_ehsize < sizeof(Elf64_Ehdr) || header.e_ehsize > total) {
    image.Fail("bad ELF header size " + std::to_string(header.e_ehsize));
    return image;
  }
  image.mFileType = header.e_type;
  image.mEntry = header.e_entry;

  // No section table at all is legal (a stripped-down executable); such a
  // file simply has no sections to find.
  if (header.e_shoff == 0) {
    if (header.e_shnum != 0)
      image.Fail("section count " + std::to_string(header.e_shnum) + " without a section table");
    return image;
  }
  if (header.e_shentsize != sizeof(Elf64_Shdr)) {
    image.Fail("bad section header size " + std::to_string(header.e_shentsize));
    return image;
  }
  if (!RangeInside(header.e_shoff, sizeof(Elf64_Shdr), total)) {
    image.Fail("section table lies outside the file");
    return image;
  }

  // Files with 0xff00 sections or more keep the real count and string table
  // index in the null section's size and link fields.
  const auto first = ReadAt<Elf64_Shdr>(bytes, header.e_shoff);
  uint64_t count = header.e_shnum ? header.e_shnum : first.sh_size;
  uint64_t namesIndex = header.e_shstrndx == SHN_XINDEX ? first.sh_link : header.e_shstrndx;
  if (count == 0) {
    image.Fail("section table has no entries");
    return image;
  }
  if (count > (total - header.e_shoff) / sizeof(Elf64_Shdr)) {
    image.Fail("section table of " + std::to_string(count) +
               " entries runs past the end of the file");
    return image;
  }

  // The section name table; SHN_UNDEF means the sections have no names.
  std::span<const uint8_t> names;
  if (namesIndex != SHN_UNDEF) {
    if (namesIndex >= count) {
      image.Fail("section name table index " + std::to_string(namesIndex) + " out of range");
      return image;
    }
    const auto strtab =
        ReadAt<Elf64_Shdr>(bytes, header.e_shoff + namesIndex * sizeof(Elf64_Shdr));
    if (strtab.sh_type != SHT_STRTAB) {
      image.Fail("section name table is not a string table");
      return image;
    }
    if (!RangeInside(strtab.sh_offset, strtab.sh_size, total)) {
      image.Fail("section name table lies outside the file");
      return image;
    }
    names = bytes.subspan(strtab.sh_offset, strtab.sh_size);
  }

  image.mSections.reserve(count);
  for (uint64_t i = 0; i < count; ++i) {
    const auto raw = ReadAt<Elf64_Shdr>(bytes, header.e_shoff + i * sizeof(Elf64_Shdr));
    if (raw.sh_type != SHT_NOBITS && !RangeInside(raw.sh_offset, raw.sh_size, total)) {
      image.Fail(SectionLabel(i) + " lies outside the file");
      return image;
    }
    ElfSection section;
    if (!names.empty()) {
      if (raw.sh_name >= names.size()) {
        image.Fail(SectionLabel(i) + " has a name offset outside the name table");
        return image;
      }
      const auto* start = names.data() + raw.sh_name;
      const auto* end = static_cast<const uint8_t*>(
          std::memchr(start, '\0', names.size() - raw.sh_name));
      if (!end) {
        image.Fail(SectionLabel(i) + " has an unterminated name");
        return image;
      }
      section.name.assign(reinterpret_cast<const char*>(start), size_t(end - start));
    } else if (raw.sh_name != 0) {
      image.Fail(SectionLabel(i) + " has a name but the file has no name table");
      return image;
    }
    section.type = raw.sh_type;
    section.flags = raw.sh_flags;
    section.address = raw.sh_addr;
    section.offset = raw.sh_offset;
    section.size = raw.sh_size;
    section.link = raw.sh_link;
    section.info = raw.sh_info;
    section.alignment = raw.sh_addralign;
    section.entrySize = raw.sh_entsize;
    image.mSections.push_back(std::move(section));
  }
  return image;
}

const ElfSection* ElfImage::FindSection(std::string_view name) const {
  for (const auto& section : mSections)
    if (section.name == name) return &section;
  return nullptr;
}

std::span<const uint8_t> ElfImage::SectionData(const ElfSection& section) const {
  if (section.type == SHT_NOBITS || section.size == 0) return {};
  // Parse checked the range, but a section record may have been copied from
  // another image: check again rather than trust it.
  if (!RangeInside(section.offset, section.size, mBytes.size())) return {};
  return mBytes.subspan(section.offset, section.size);
}

namespace {

// The main program as the dynamic loader mapped it: its load bias and the
// link-time address ranges of its loaded segments.
struct MainProgram {
  bool found = false;
  uintptr_t bias = 0;
  std::vector<std::pair<uint64_t, uint64_t>> segments;  // [start, end) at link time
};

int VisitMainProgram(dl_phdr_info* info, size_t, void* data) {
  auto* program = static_cast<MainProgram*>(data);
  program->found = true;
  program->bias = info->dlpi_addr;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& phdr = info->dlpi_phdr[i];
    if (phdr.p_type == PT_LOAD)
      program->segments.emplace_back(phdr.p_vaddr, phdr.p_vaddr + phdr.p_memsz);
  }
  return 1;  // the first entry is the main program; stop there
}

// A read-only mapping of a whole file, unmapped on scope exit. Only the pages
// that are touched (the headers and the name table) are read from disk.
class MappedFile {
 public:
  explicit MappedFile(const char* path, std::string* error) {
    int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
      if (error) *error = std::string("cannot open ") + path + ": " + std::strerror(errno);
      return;
    }
    struct stat info;
    if (::fstat(fd, &info) != 0 || info.st_size <= 0) {
      if (error) *error = std::string("cannot size ") + path;
      ::close(fd);
      return;
    }
    void* map = ::mmap(nullptr, size_t(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (map == MAP_FAILED) {
      if (error) *error = std::string("cannot map ") + path + ": " + std::strerror(errno);
      return;
    }
    mData = static_cast<const uint8_t*>(map);
    mSize = size_t(info.st_size);
  }
  ~MappedFile() {
    if (mData) ::munmap(const_cast<uint8_t*>(mData), mSize);
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::span<const uint8_t> bytes() const { return {mData, mSize}; }
  bool ok() const { return mData != nullptr; }

 private:
  const uint8_t* mData = nullptr;
  size_t mSize = 0;
};

}  // namespace

std::optional<LoadedSection> FindLoadedSection(std::string_view name, std::string* error) {
  MappedFile file("/proc/self/exe", error);
  if (!file.ok()) return std::nullopt;
  const ElfImage image = ElfImage::Parse(file.bytes());
  if (!image.ok()) {
    if (error) *error = "/proc/self/exe: " + image.error();
    return std::nullopt;
  }
  const ElfSection* section = image.FindSection(name);
  if (!section || !(section->flags & SHF_ALLOC)) return std::nullopt;

  MainProgram program;
  dl_iterate_phdr(VisitMainProgram, &program);
  if (!program.found) return std::nullopt;

  // The section must lie inside a segment of the main program; if it does
  // not, the file is not the program that was loaded (a program started
  // through the dynamic loader by name, say) and its addresses mean nothing.
  const uint64_t start = section->address;
  if (section->size > UINT64_MAX - start) return std::nullopt;
  const uint64_t end = start + section->size;
  bool inside = false;
  for (const auto& [segmentStart, segmentEnd] : program.segments)
    if (start >= segmentStart && end <= segmentEnd) inside = true;
  if (!inside) {
    if (error) *error = "section " + std::string(name) + " lies outside the loaded segments";
    return std::nullopt;
  }
  return LoadedSection{reinterpret_cast<const void*>(program.bias + start), size_t(section->size)};
}

}  // namespace vela
