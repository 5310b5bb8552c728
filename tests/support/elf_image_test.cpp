#include "support/elf_image.h"

#include <elf.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using vela::ElfImage;
using vela::ElfSection;

// A section to put into a built image. NOBITS sections take no file space;
// their size is `nobitsSize`.
struct SectionSpec {
  std::string name;
  uint32_t type = SHT_PROGBITS;
  uint64_t flags = 0;
  uint64_t address = 0;
  std::vector<uint8_t> data;
  uint64_t nobitsSize = 0;
};

// An image laid out as: ELF header, section contents, section name table,
// section table (null section, the given sections, the name table).
struct BuiltImage {
  std::vector<uint8_t> bytes;
  uint64_t shoff = 0;
  uint16_t namesIndex = 0;

  template <typename T>
  void Poke(uint64_t offset, T value) {
    ASSERT_LE(offset + sizeof value, bytes.size());
    std::memcpy(bytes.data() + offset, &value, sizeof value);
  }
  template <typename T>
  T Peek(uint64_t offset) const {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
  }
  uint64_t SectionHeader(uint64_t index) const { return shoff + index * sizeof(Elf64_Shdr); }
};

void Align(std::vector<uint8_t>& bytes, size_t alignment) {
  while (bytes.size() % alignment) bytes.push_back(0);
}

BuiltImage BuildElf(const std::vector<SectionSpec>& specs) {
  BuiltImage image;
  auto& bytes = image.bytes;
  bytes.resize(sizeof(Elf64_Ehdr));

  std::string names(1, '\0');
  std::vector<Elf64_Shdr> headers(1);  // the null section
  for (const auto& spec : specs) {
    Align(bytes, 8);
    Elf64_Shdr header{};
    header.sh_name = uint32_t(names.size());
    names += spec.name;
    names += '\0';
    header.sh_type = spec.type;
    header.sh_flags = spec.flags;
    header.sh_addr = spec.address;
    header.sh_offset = bytes.size();
    header.sh_addralign = 8;
    if (spec.type == SHT_NOBITS) {
      header.sh_size = spec.nobitsSize;
    } else {
      header.sh_size = spec.data.size();
      bytes.insert(bytes.end(), spec.data.begin(), spec.data.end());
    }
    headers.push_back(header);
  }
  Elf64_Shdr strtab{};
  strtab.sh_name = uint32_t(names.size());
  names += ".shstrtab";
  names += '\0';
  strtab.sh_type = SHT_STRTAB;
  strtab.sh_offset = bytes.size();
  strtab.sh_size = names.size();
  strtab.sh_addralign = 1;
  bytes.insert(bytes.end(), names.begin(), names.end());
  headers.push_back(strtab);
  image.namesIndex = uint16_t(headers.size() - 1);

  Align(bytes, 8);
  image.shoff = bytes.size();
  for (const auto& header : headers) {
    const auto* raw = reinterpret_cast<const uint8_t*>(&header);
    bytes.insert(bytes.end(), raw, raw + sizeof header);
  }

  Elf64_Ehdr ehdr{};
  std::memcpy(ehdr.e_ident, ELFMAG, SELFMAG);
  ehdr.e_ident[EI_CLASS] = ELFCLASS64;
  ehdr.e_ident[EI_DATA] = ELFDATA2LSB;
  ehdr.e_ident[EI_VERSION] = EV_CURRENT;
  ehdr.e_type = ET_DYN;
  ehdr.e_machine = EM_X86_64;
  ehdr.e_version = EV_CURRENT;
  ehdr.e_entry = 0x1040;
  ehdr.e_ehsize = sizeof(Elf64_Ehdr);
  ehdr.e_shoff = image.shoff;
  ehdr.e_shentsize = sizeof(Elf64_Shdr);
  ehdr.e_shnum = uint16_t(headers.size());
  ehdr.e_shstrndx = image.namesIndex;
  std::memcpy(bytes.data(), &ehdr, sizeof ehdr);
  return image;
}

// Four sections of the kinds start-up and the loader look at: code, the
// initialiser table, zero-filled data and a non-allocated note.
BuiltImage SampleImage() {
  return BuildElf({
      {".text", SHT_PROGBITS, SHF_ALLOC | SHF_EXECINSTR, 0x1000, {0xC3, 0x90, 0x90, 0x90}, 0},
      {"velainit", SHT_PROGBITS, SHF_ALLOC | SHF_WRITE, 0x3000,
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, 0},
      {".bss", SHT_NOBITS, SHF_ALLOC | SHF_WRITE, 0x4000, {}, 0x200},
      {".comment", SHT_PROGBITS, 0, 0, {'v', 'e', 'l', 'a', 0}, 0},
  });
}

ElfImage ParseBytes(const std::vector<uint8_t>& bytes) {
  return ElfImage::Parse(std::span<const uint8_t>(bytes.data(), bytes.size()));
}

constexpr uint64_t kShoff = offsetof(Elf64_Ehdr, e_shoff);
constexpr uint64_t kShnum = offsetof(Elf64_Ehdr, e_shnum);
constexpr uint64_t kShstrndx = offsetof(Elf64_Ehdr, e_shstrndx);

// ---------------------------------------------------------------------------
// Well-formed images

TEST(ElfImageParse, ListsEverySectionWithItsHeaderFields) {
  const BuiltImage built = SampleImage();
  const ElfImage image = ParseBytes(built.bytes);
  ASSERT_TRUE(image.ok()) << image.error();
  EXPECT_EQ(image.fileType(), ET_DYN);
  EXPECT_EQ(image.entry(), 0x1040u);

  const auto& sections = image.sections();
  ASSERT_EQ(sections.size(), 6u);
  EXPECT_EQ(sections[0].name, "");
  EXPECT_EQ(sections[0].type, uint32_t(SHT_NULL));
  EXPECT_EQ(sections[1].name, ".text");
  EXPECT_EQ(sections[1].flags, uint64_t(SHF_ALLOC | SHF_EXECINSTR));
  EXPECT_EQ(sections[1].address, 0x1000u);
  EXPECT_EQ(sections[1].size, 4u);
  EXPECT_EQ(sections[2].name, "velainit");
  EXPECT_EQ(sections[2].address, 0x3000u);
  EXPECT_EQ(sections[2].size, 16u);
  EXPECT_EQ(sections[3].name, ".bss");
  EXPECT_EQ(sections[3].type, uint32_t(SHT_NOBITS));
  EXPECT_EQ(sections[3].size, 0x200u);
  EXPECT_EQ(sections[4].name, ".comment");
  EXPECT_EQ(sections[4].flags, 0u);
  EXPECT_EQ(sections[5].name, ".shstrtab");
  EXPECT_EQ(sections[5].type, uint32_t(SHT_STRTAB));

  // Offsets are the file positions of the contents.
  for (size_t i = 1; i < sections.size(); ++i) {
    const auto header = built.Peek<Elf64_Shdr>(built.SectionHeader(i));
    EXPECT_EQ(sections[i].offset, header.sh_offset) << sections[i].name;
  }
}

TEST(ElfImageParse, SectionDataIsTheContentsInsideTheBuffer) {
  const BuiltImage built = SampleImage();
  const ElfImage image = ParseBytes(built.bytes);
  ASSERT_TRUE(image.ok()) << image.error();

  const ElfSection* init = image.FindSection("velainit");
  ASSERT_NE(init, nullptr);
  auto data = image.SectionData(*init);
  ASSERT_EQ(data.size(), 16u);
  EXPECT_EQ(data.data(), built.bytes.data() + init->offset);  // a view, not a copy
  EXPECT_EQ(data[0], 1);
  EXPECT_EQ(data[15], 16);

  // Zero-filled sections have no bytes in the file, whatever their size.
  const ElfSection* bss = image.FindSection(".bss");
  ASSERT_NE(bss, nullptr);
  EXPECT_TRUE(image.SectionData(*bss).empty());

  // A record that claims more than the buffer holds gives nothing.
  ElfSection forged = *init;
  forged.size = built.bytes.size();
  EXPECT_TRUE(image.SectionData(forged).empty());
}

TEST(ElfImageParse, FindSectionMatchesTheWholeNameExactly) {
  const ElfImage image = ParseBytes(SampleImage().bytes);
  ASSERT_TRUE(image.ok()) << image.error();
  EXPECT_NE(image.FindSection("velainit"), nullptr);
  EXPECT_EQ(image.FindSection("velaini"), nullptr);
  EXPECT_EQ(image.FindSection("velainit2"), nullptr);
  EXPECT_EQ(image.FindSection("VELAINIT"), nullptr);
  EXPECT_EQ(image.FindSection(".velainit"), nullptr);
  EXPECT_EQ(image.FindSection("text"), nullptr);
  // The null section's empty name is the one section with no name.
  ASSERT_NE(image.FindSection(""), nullptr);
  EXPECT_EQ(image.FindSection("")->type, uint32_t(SHT_NULL));
}

TEST(ElfImageParse, FirstOfTwoSectionsWithTheSameNameWins) {
  const BuiltImage built = BuildElf({
      {"velainit", SHT_PROGBITS, SHF_ALLOC, 0x100, {1}, 0},
      {"velainit", SHT_PROGBITS, SHF_ALLOC, 0x200, {2}, 0},
  });
  const ElfImage image = ParseBytes(built.bytes);
  ASSERT_TRUE(image.ok()) << image.error();
  ASSERT_NE(image.FindSection("velainit"), nullptr);
  EXPECT_EQ(image.FindSection("velainit")->address, 0x100u);
}

TEST(ElfImageParse, FileWithoutSectionTableHasNoSections) {
  BuiltImage built = SampleImage();
  built.Poke<uint64_t>(kShoff, 0);
  built.Poke<uint16_t>(kShnum, 0);
  built.Poke<uint16_t>(kShstrndx, 0);
  const ElfImage image = ParseBytes(built.bytes);
  ASSERT_TRUE(image.ok()) << image.error();
  EXPECT_TRUE(image.sections().empty());
  EXPECT_EQ(image.FindSection("velainit"), nullptr);
}

TEST(ElfImageParse, FileWithoutNameTableHasUnnamedSections) {
  BuiltImage built = BuildElf({});
  // Only the null section and the name table exist; drop the names.
  built.Poke<uint16_t>(kShstrndx, SHN_UNDEF);
  built.Poke<uint32_t>(built.SectionHeader(1) + offsetof(Elf64_Shdr, sh_name), 0);
  const ElfImage image = ParseBytes(built.bytes);
  ASSERT_TRUE(image.ok()) << image.error();
  ASSERT_EQ(image.sections().size(), 2u);
  EXPECT_EQ(image.sections()[1].name, "");
  EXPECT_EQ(image.FindSection(".shstrtab"), nullptr);
}

TEST(ElfImageParse, ExtendedNumberingReadsCountAndNameIndexFromTheNullSection) {
  BuiltImage built = SampleImage();
  const uint64_t count = built.Peek<uint16_t>(kShnum);
  built.Poke<uint16_t>(kShnum, 0);
  built.Poke<uint16_t>(kShstrndx, SHN_XINDEX);
  built.Poke<uint64_t>(built.SectionHeader(0) + offsetof(Elf64_Shdr, sh_size), count);
  built.Poke<uint32_t>(built.SectionHeader(0) + offsetof(Elf64_Shdr, sh_link), built.namesIndex);
  const ElfImage image = ParseBytes(built.bytes);
  ASSERT_TRUE(image.ok()) << image.error();
  EXPECT_EQ(image.sections().size(), count);
  EXPECT_NE(image.FindSection("velainit"), nullptr);
}

TEST(ElfImageParse, BufferAtAnOddAddressParsesTheSame) {
  const BuiltImage built = SampleImage();
  std::vector<uint8_t> shifted(built.bytes.size() + 1);
  std::memcpy(shifted.data() + 1, built.bytes.data(), built.bytes.size());
  const ElfImage image =
      ElfImage::Parse(std::span<const uint8_t>(shifted.data() + 1, built.bytes.size()));
  ASSERT_TRUE(image.ok()) << image.error();
  ASSERT_NE(image.FindSection("velainit"), nullptr);
  EXPECT_EQ(image.SectionData(*image.FindSection("velainit"))[3], 4);
}

// ---------------------------------------------------------------------------
// Damaged images: each one is refused with a reason and yields no sections.

void ExpectRefused(const std::vector<uint8_t>& bytes, const std::string& reasonPart) {
  // An exact-size copy, so that the sanitizers see any read past the end.
  std::vector<uint8_t> copy(bytes);
  const ElfImage image = ParseBytes(copy);
  EXPECT_FALSE(image.ok());
  EXPECT_TRUE(image.sections().empty());
  EXPECT_NE(image.error().find(reasonPart), std::string::npos)
      << "error was: " << image.error();
}

TEST(ElfImageRejects, EveryTruncationOfAValidImage) {
  const BuiltImage built = SampleImage();
  for (size_t length = 0; length < built.bytes.size(); ++length) {
    std::vector<uint8_t> prefix(built.bytes.begin(), built.bytes.begin() + long(length));
    const ElfImage image = ParseBytes(prefix);
    EXPECT_FALSE(image.ok()) << "accepted a prefix of " << length << " bytes";
    EXPECT_FALSE(image.error().empty());
  }
  EXPECT_TRUE(ParseBytes(built.bytes).ok());
}

TEST(ElfImageRejects, WrongIdentification) {
  BuiltImage built = SampleImage();
  {
    auto bytes = built.bytes;
    bytes[1] = 'X';
    ExpectRefused(bytes, "magic");
  }
  {
    auto bytes = built.bytes;
    bytes[EI_CLASS] = ELFCLASS32;
    ExpectRefused(bytes, "64-bit");
  }
  {
    auto bytes = built.bytes;
    bytes[EI_DATA] = ELFDATA2MSB;
    ExpectRefused(bytes, "little-endian");
  }
  {
    auto bytes = built.bytes;
    bytes[EI_VERSION] = 2;
    ExpectRefused(bytes, "version");
  }
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(offsetof(Elf64_Ehdr, e_machine), EM_AARCH64);
    ExpectRefused(other.bytes, "x86-64");
  }
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(offsetof(Elf64_Ehdr, e_ehsize), 52);
    ExpectRefused(other.bytes, "header size");
  }
  ExpectRefused({}, "shorter");
}

TEST(ElfImageRejects, SectionTableOutOfPlace) {
  const BuiltImage built = SampleImage();
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(offsetof(Elf64_Ehdr, e_shentsize), 40);
    ExpectRefused(other.bytes, "section header size");
  }
  {
    BuiltImage other = built;
    other.Poke<uint64_t>(kShoff, other.bytes.size());
    ExpectRefused(other.bytes, "outside the file");
  }
  {
    // An offset that wraps around when the table size is added.
    BuiltImage other = built;
    other.Poke<uint64_t>(kShoff, UINT64_MAX - 8);
    ExpectRefused(other.bytes, "outside the file");
  }
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(kShnum, 0xFEFF);
    ExpectRefused(other.bytes, "runs past the end");
  }
  {
    // Extended numbering with a count that no file of this size can hold.
    BuiltImage other = built;
    other.Poke<uint16_t>(kShnum, 0);
    other.Poke<uint64_t>(other.SectionHeader(0) + offsetof(Elf64_Shdr, sh_size),
                         UINT64_MAX / 2);
    ExpectRefused(other.bytes, "runs past the end");
  }
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(kShnum, 0);  // extended, but the null section says 0
    ExpectRefused(other.bytes, "no entries");
  }
  {
    BuiltImage other = built;
    other.Poke<uint64_t>(kShoff, 0);  // no table, yet a count
    ExpectRefused(other.bytes, "without a section table");
  }
}

TEST(ElfImageRejects, BrokenNameTable) {
  const BuiltImage built = SampleImage();
  const uint64_t strtab = built.SectionHeader(built.namesIndex);
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(kShstrndx, built.namesIndex + 1);
    ExpectRefused(other.bytes, "index");
  }
  {
    BuiltImage other = built;
    other.Poke<uint16_t>(kShnum, 0);
    other.Poke<uint16_t>(kShstrndx, SHN_XINDEX);
    other.Poke<uint64_t>(other.SectionHeader(0) + offsetof(Elf64_Shdr, sh_size),
                         built.namesIndex + 1);
    other.Poke<uint32_t>(other.SectionHeader(0) + offsetof(Elf64_Shdr, sh_link), 0x7FFFFFFF);
    ExpectRefused(other.bytes, "index");
  }
  {
    BuiltImage other = built;
    other.Poke<uint32_t>(strtab + offsetof(Elf64_Shdr, sh_type), SHT_PROGBITS);
    ExpectRefused(other.bytes, "not a string table");
  }
  {
    BuiltImage other = built;
    other.Poke<uint64_t>(strtab + offsetof(Elf64_Shdr, sh_size), other.bytes.size());
    ExpectRefused(other.bytes, "name table lies outside");
  }
  {
    BuiltImage other = built;
    other.Poke<uint32_t>(other.SectionHeader(2) + offsetof(Elf64_Shdr, sh_name), 0x10000);
    ExpectRefused(other.bytes, "section 2 has a name offset outside");
  }
  {
    // The table's last byte is a name character instead of the terminator.
    BuiltImage other = built;
    const auto header = other.Peek<Elf64_Shdr>(strtab);
    other.bytes[header.sh_offset + header.sh_size - 1] = 'x';
    ExpectRefused(other.bytes, "unterminated name");
  }
  {
    // Names but no table to read them from.
    BuiltImage other = built;
    other.Poke<uint16_t>(kShstrndx, SHN_UNDEF);
    ExpectRefused(other.bytes, "has a name but");
  }
}

TEST(ElfImageRejects, SectionContentsOutsideTheFile) {
  const BuiltImage built = SampleImage();
  const uint64_t init = built.SectionHeader(2);
  {
    BuiltImage other = built;
    other.Poke<uint64_t>(init + offsetof(Elf64_Shdr, sh_size), other.bytes.size());
    ExpectRefused(other.bytes, "section 2 lies outside");
  }
  {
    BuiltImage other = built;
    other.Poke<uint64_t>(init + offsetof(Elf64_Shdr, sh_offset), other.bytes.size() + 1);
    other.Poke<uint64_t>(init + offsetof(Elf64_Shdr, sh_size), 0);
    ExpectRefused(other.bytes, "section 2 lies outside");
  }
  {
    // offset + size wraps to a small number.
    BuiltImage other = built;
    other.Poke<uint64_t>(init + offsetof(Elf64_Shdr, sh_offset), 8);
    other.Poke<uint64_t>(init + offsetof(Elf64_Shdr, sh_size), UINT64_MAX - 4);
    ExpectRefused(other.bytes, "section 2 lies outside");
  }
  // A zero-filled section may claim any range: it has no file contents.
  BuiltImage other = built;
  other.Poke<uint64_t>(built.SectionHeader(3) + offsetof(Elf64_Shdr, sh_offset), UINT64_MAX);
  other.Poke<uint64_t>(built.SectionHeader(3) + offsetof(Elf64_Shdr, sh_size), UINT64_MAX);
  EXPECT_TRUE(ParseBytes(other.bytes).ok());
}

// Random damage to a valid image: whatever is accepted must only describe
// bytes inside the buffer. Under the sanitizers any read outside it fails.
TEST(ElfImageRejects, RandomDamageNeverReachesOutsideTheBuffer) {
  const BuiltImage built = SampleImage();
  std::mt19937 random(20240611);
  std::uniform_int_distribution<size_t> position(0, built.bytes.size() - 1);
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_int_distribution<int> flips(1, 6);
  int accepted = 0;
  for (int round = 0; round < 4000; ++round) {
    std::vector<uint8_t> bytes = built.bytes;
    for (int i = flips(random); i > 0; --i) bytes[position(random)] = uint8_t(byte(random));
    if (round % 7 == 0) bytes.resize(position(random));
    const ElfImage image = ParseBytes(bytes);
    if (!image.ok()) {
      EXPECT_TRUE(image.sections().empty());
      continue;
    }
    ++accepted;
    for (const auto& section : image.sections()) {
      auto data = image.SectionData(section);
      if (data.empty()) continue;
      EXPECT_GE(data.data(), bytes.data());
      EXPECT_LE(data.data() + data.size(), bytes.data() + bytes.size());
    }
  }
  // Damage to contents bytes leaves the headers intact, so some survive.
  EXPECT_GT(accepted, 0);
}

// ---------------------------------------------------------------------------
// The running test program itself

// A marker in a section of its own, kept by `used` although nothing reads it
// by name; the linker also defines __start_/__stop_ symbols around it.
__attribute__((section("velatest"), used)) const unsigned char kMarker[24] = {
    'v', 'e', 'l', 'a', '-', 's', 'e', 'c', 't', 'i', 'o', 'n', '-',
    'm', 'a', 'r', 'k', 'e', 'r', 0x00, 0xFF, 0x5A, 0xA5, 0x01};

extern "C" const unsigned char __start_velatest[];
extern "C" const unsigned char __stop_velatest[];

__attribute__((noinline)) int FunctionInText(int x) { return x * 3 + 1; }

TEST(FindLoadedSection, FindsASectionOfThisProgramInMemory) {
  std::string error;
  const auto section = vela::FindLoadedSection("velatest", &error);
  ASSERT_TRUE(section.has_value()) << error;
  // The linker's own symbols bound the same range.
  EXPECT_EQ(section->address, static_cast<const void*>(__start_velatest));
  EXPECT_EQ(section->size, size_t(__stop_velatest - __start_velatest));
  ASSERT_GE(section->size, sizeof kMarker);
  EXPECT_EQ(std::memcmp(section->address, kMarker, sizeof kMarker), 0);
}

TEST(FindLoadedSection, CodeSectionHoldsThisProgramsFunctions) {
  const auto text = vela::FindLoadedSection(".text");
  ASSERT_TRUE(text.has_value());
  const auto* start = static_cast<const char*>(text->address);
  const auto* function = reinterpret_cast<const char*>(&FunctionInText);
  EXPECT_GE(function, start);
  EXPECT_LT(function, start + text->size);
  EXPECT_EQ(FunctionInText(2), 7);
}

TEST(FindLoadedSection, MissingOrUnloadedSectionsGiveNothing) {
  std::string error;
  EXPECT_FALSE(vela::FindLoadedSection("velatest-missing", &error).has_value());
  EXPECT_FALSE(vela::FindLoadedSection("velates", &error).has_value());
  EXPECT_TRUE(error.empty()) << "a missing section is not an error: " << error;
  // The section name table is in the file but never in memory.
  EXPECT_FALSE(vela::FindLoadedSection(".shstrtab", &error).has_value());
  EXPECT_TRUE(error.empty()) << error;
}

}  // namespace
