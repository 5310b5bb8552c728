// Finding, reading and entering the application image. The stub carries the
// image behind its own bytes; its section "velaimg" holds the file offset.
// Code and data are mapped together, read-write-execute, below 2 GiB: the
// image's code was compiled for the small code model, so every address in it
// must fit a sign-extended 32-bit field, and the distance from code to data
// is fixed when the image is linked.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <span>

#include "object/loader.h"
#include "object/loader_format.h"
#include "platform/process.h"
#include "support/assert.h"
#include "support/elf_image.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/Loaders/Loader";

size_t PageRound(uint64_t size) {
  const uint64_t page = uint64_t(sysconf(_SC_PAGESIZE));
  return size_t((size + page - 1) / page * page);
}

// Reads the image offset from the stub file's section table. Reports and
// answers false when there is no offset to follow.
bool ReadImageOffset(int fd, const std::string& path, uint32_t* offsetOut) {
  *offsetOut = 0;
  std::string why;
  struct stat info;
  void* file = MAP_FAILED;
  if (fstat(fd, &info) != 0 || info.st_size <= 0) {
    why = "the file is empty or cannot be read";
  } else {
    file = mmap(nullptr, size_t(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
    if (file == MAP_FAILED) why = std::string("cannot map it: ") + std::strerror(errno);
  }
  bool unpacked = false;
  if (file != MAP_FAILED) {
    ElfImage elf = ElfImage::Parse({static_cast<const uint8_t*>(file), size_t(info.st_size)});
    const ElfSection* section = elf.ok() ? elf.FindSection(image::kOffsetSection) : nullptr;
    std::span<const uint8_t> bytes =
        section ? elf.SectionData(*section) : std::span<const uint8_t>();
    if (!elf.ok())
      why = elf.error();
    else if (bytes.size() < 4)
      why = std::string("it has no section ") + image::kOffsetSection + " of four bytes";
    else if (std::memcmp(bytes.data(), image::kUnpackedMark, 4) == 0)
      unpacked = true;
    else
      std::memcpy(offsetOut, bytes.data(), 4);
    munmap(file, size_t(info.st_size));
  }
  VELA_ASSERT_MSG(!unpacked, "0", "%s was never packed: its image offset still reads PICK",
                  path.c_str());
  uint32_t offset = *offsetOut;
  VELA_ASSERT_MSG(offset != 0, "offset != 0", "%s carries no application image%s%s", path.c_str(),
                  why.empty() ? "" : ": ", why.c_str());
  return offset != 0;
}

std::string ParentFolder(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

}  // namespace

// Where the image's bytes come from: the executable file, or memory.
class Loader::Source {
 public:
  virtual ~Source() = default;
  // Reads up to `count` bytes; answers how many came.
  virtual size_t Read(void* into, size_t count) = 0;
  virtual uint64_t Position() const = 0;
  virtual uint64_t Remaining() const = 0;
};

namespace {

class FileSource final : public Loader::Source {
 public:
  FileSource(int fd, uint64_t offset, uint64_t size) : mFd(fd), mPosition(offset), mSize(size) {
    if (lseek(fd, off_t(offset), SEEK_SET) < 0) mPosition = mSize = 0;
  }
  size_t Read(void* into, size_t count) override {
    size_t done = 0;
    while (done < count) {
      ssize_t n = ::read(mFd, static_cast<uint8_t*>(into) + done, count - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      done += size_t(n);
    }
    mPosition += done;
    return done;
  }
  uint64_t Position() const override { return mPosition; }
  uint64_t Remaining() const override { return mSize > mPosition ? mSize - mPosition : 0; }

 private:
  int mFd;
  uint64_t mPosition;
  uint64_t mSize;
};

class BufferSource final : public Loader::Source {
 public:
  BufferSource(const uint8_t* bytes, size_t length) : mBytes(bytes), mLength(length) {}
  size_t Read(void* into, size_t count) override {
    size_t n = std::min<uint64_t>(count, Remaining());
    if (n) std::memcpy(into, mBytes + mPosition, n);
    mPosition += n;
    return n;
  }
  uint64_t Position() const override { return mPosition; }
  uint64_t Remaining() const override { return mLength - mPosition; }

 private:
  const uint8_t* mBytes;
  size_t mLength;
  size_t mPosition = 0;
};

bool ReadLength(Loader::Source& in, uint32_t* value) {
  *value = 0;
  size_t bytesRead = in.Read(value, 4);
  VELA_ASSERT(bytesRead == 4);
  return bytesRead == 4;
}

// Reads a section of `length` bytes into a new heap block.
bool ReadHeapSection(Loader::Source& in, uint32_t length, LoadedImageSection* section,
                     const char* condition) {
  if (length == 0) return true;
  size_t bytesRead = 0;
  if (length <= in.Remaining()) {
    section->data = new uint8_t[length];
    section->length = length;
    bytesRead = in.Read(section->data, length);
  }
  VELA_ASSERT_MSG(bytesRead == length, condition, "%zu of %u bytes", bytesRead, length);
  return bytesRead == length;
}

}  // namespace

bool Loader::ReadImage(Source& in) {
  VELA_ASSERT_MSG(!mCodeSection.data, "!mCodeSection.data", "an image is loaded already");
  if (mCodeSection.data) return false;

  uint32_t codeLength = 0;
  if (!ReadLength(in, &codeLength)) return false;
  VELA_ASSERT_MSG(codeLength != 0, "mCodeSection.DataLength != 0", "the image has no code");
  if (codeLength == 0) return false;
  if (codeLength > in.Remaining()) {
    VELA_ASSERT_MSG(false, "bytesRead == mCodeSection.DataLength",
                    "the image claims %u bytes of code, the file holds %llu", codeLength,
                    static_cast<unsigned long long>(in.Remaining()));
    return false;
  }
  // The data length follows the code; until it is known, room for all that
  // is left of the file is reserved behind the code, and the unused tail is
  // given back afterwards.
  const uint64_t dataStart = image::DataStart(codeLength);
  size_t reserved = PageRound(dataStart + (in.Remaining() - codeLength));
  void* block = mmap(nullptr, reserved, PROT_READ | PROT_WRITE | PROT_EXEC,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT | MAP_NORESERVE, -1, 0);
  VELA_ASSERT_MSG(block != MAP_FAILED, "mCodeSection.data", "cannot map %zu bytes below 2 GiB: %s",
                  reserved, std::strerror(errno));
  if (block == MAP_FAILED) return false;
  mMapping = static_cast<uint8_t*>(block);
  mMappingSize = reserved;
  // Large pages where the system grants them: fewer faults while the code is
  // read, fewer misses while the relocations patch it all over.
  madvise(block, reserved, MADV_HUGEPAGE);
  mCodeSection = {mMapping, codeLength, 0, 0};

  size_t bytesRead = in.Read(mCodeSection.data, codeLength);
  VELA_ASSERT_TEXT(bytesRead == mCodeSection.length, "bytesRead == mCodeSection.DataLength");
  if (bytesRead != codeLength || !ReadLength(in, &mEntryOffset)) return false;

  uint32_t dataLength = 0;
  if (!ReadLength(in, &dataLength)) return false;
  mDataSection = {mMapping + dataStart, 0, 0, 0};
  bytesRead = dataLength <= in.Remaining() ? in.Read(mDataSection.data, dataLength) : 0;
  VELA_ASSERT_MSG(bytesRead == dataLength, "bytesRead == mDataSection.DataLength",
                  "%zu of %u bytes", bytesRead, dataLength);
  if (bytesRead != dataLength) return false;
  mDataSection.length = dataLength;
  size_t used = PageRound(dataStart + dataLength);
  if (used < mMappingSize) {
    munmap(mMapping + used, mMappingSize - used);
    mMappingSize = used;
  }

  uint32_t length = 0;
  if (!ReadLength(in, &length) ||
      !ReadHeapSection(in, length, &mImportSection, "bytesRead == mImportSection.DataLength"))
    return false;
  if (!ReadLength(in, &length) || !ReadHeapSection(in, length, &mSymbolTableSection,
                                                   "bytesRead == mSymbolTableSection.DataLength"))
    return false;
  if (!ReadLength(in, &length)) return false;
  uint64_t resourceOffset = in.Position();
  if (!ReadHeapSection(in, length, &mResourceSection, "bytesRead == mResourceSection.DataLength"))
    return false;
  mResourceSection.third = resourceOffset;
  return true;
}

bool Loader::LoadImageFile(const char* path, uint64_t offset) {
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  VELA_ASSERT_MSG(fd >= 0, "0", "cannot open %s: %s", path, std::strerror(errno));
  if (fd < 0) return false;
  struct stat info;
  uint64_t size = fstat(fd, &info) == 0 ? uint64_t(info.st_size) : 0;
  FileSource source(fd, offset, size);
  bool read = ReadImage(source);
  close(fd);
  if (!read) {
    ReleaseImage();
    return false;
  }
  ProcessSections();
  return true;
}

bool Loader::LoadImageBytes(const uint8_t* bytes, size_t length) {
  BufferSource source(bytes, length);
  if (!ReadImage(source)) {
    ReleaseImage();
    return false;
  }
  ProcessSections();
  return true;
}

bool Loader::LoadFromExecutable(void* module, void* frameworkModule) {
  mFrameworkModule =
      frameworkModule
          ? frameworkModule
          : platform::ModuleContaining(reinterpret_cast<const void*>(&Loader::Instance));
  if (mFrameworkHandle) dlclose(mFrameworkHandle);
  mFrameworkHandle = nullptr;  // opened again for the module given here
  // Libraries that the image imports from are looked for beside the
  // framework first.
  mFrameworkFolder = ParentFolder(platform::ModulePath(mFrameworkModule));

  std::string path = platform::ModulePath(module ? module : platform::ExecutableModule());
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  VELA_ASSERT_MSG(fd >= 0, "0", "cannot open the application file '%s': %s", path.c_str(),
                  std::strerror(errno));
  if (fd < 0) return false;
  uint32_t offset = 0;
  bool found = ReadImageOffset(fd, path, &offset);
  close(fd);
  return found && LoadImageFile(path.c_str(), offset);
}

void Loader::ProcessSections() {
  ApplyRelocations(mImportSection.data, mImportSection.length);
  LoadResources(mResourceSection.data, mResourceSection.length, mResourceSection.third);
  LoadExtraSection(mExtraSection.data, mExtraSection.length);
}

void Loader::LoadExtraSection(const uint8_t*, uint32_t) {}

void Loader::Run() {
  bool entered = mCodeSection.data && mEntryOffset < mCodeSection.length;
  VELA_ASSERT_MSG(entered, "mEntryOffset < mCodeSection.DataLength",
                  "no image to enter (code %u bytes, entry at %u)", mCodeSection.length,
                  mEntryOffset);
  if (!entered) return;
  auto entry = reinterpret_cast<void (*)(void)>(mCodeSection.data + mEntryOffset);
  entry();
}

void Loader::ReleaseImage() {
  ForgetResources();
  ForgetSymbolRows();
  if (mMapping) munmap(mMapping, mMappingSize);
  mMapping = nullptr;
  mMappingSize = 0;
  for (auto& [chunk, size] : mStubChunks) munmap(chunk, size);
  mStubChunks.clear();
  mStubsUsed = 0;
  mStubs.clear();
  delete[] mImportSection.data;
  delete[] mSymbolTableSection.data;
  delete[] mResourceSection.data;
  mCodeSection = mDataSection = mImportSection = mSymbolTableSection = mResourceSection = {};
  mEntryOffset = 0;
}

Loader::~Loader() {
  ReleaseImage();
  if (mLibraries)
    for (auto& [name, library] : *mLibraries) delete library;
  delete mLibraries;
  if (mFrameworkHandle) dlclose(mFrameworkHandle);
}

}  // namespace vela
