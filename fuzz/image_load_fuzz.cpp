// Feeds arbitrary bytes to the image loader: the first byte chooses whether
// the rest is a whole image or a relocation stream over a small fixed image.
// Damage may only cause assertion reports. Besides the sanitizers' checks on
// reads, the bytes of the mapping that belong to no section (between code
// and data, behind the data) must still be zero afterwards: a patch never
// lands outside a section.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "object/loader.h"
#include "object/loader_format.h"
#include "support/assert.h"

namespace {

using namespace vela;

extern "C" void FuzzImportTarget() {}

class FakeLibrary final : public ImageLibrary {
 public:
  void* GetFunction(const char* name) override {
    return name[0] == 'f' ? reinterpret_cast<void*>(&FuzzImportTarget) : nullptr;
  }
};

// Resolves names by their first letter, so that inputs reach both the found
// and the missing paths without touching the real dynamic linker.
class FuzzLoader final : public Loader {
 public:
  void* GetFrameworkFunction(const char* name) override {
    return name[0] == 'R' ? reinterpret_cast<void*>(&FuzzImportTarget) : nullptr;
  }
  ImageLibrary* LoadLibrary(const char* name, std::string* error) override {
    if (name[0] == 'l') return new FakeLibrary;
    *error = "Failed to load library";
    return nullptr;
  }
};

class SilentReporter final : public AssertReporter {
 public:
  void Report(const char*, int, const char*, const char*) override {}
};

void CheckUntouched(const uint8_t* from, const uint8_t* to) {
  for (const uint8_t* at = from; at < to; ++at)
    if (*at != 0) std::abort();
}

// The unused bytes of the mapping: the gap behind the code and the rest of
// the last page behind the data.
void CheckPadding(Loader& loader) {
  const size_t page = size_t(sysconf(_SC_PAGESIZE));
  const uint8_t* codeEnd = loader.CodeBase() + loader.CodeLength();
  CheckUntouched(codeEnd, loader.DataBase());
  const uint8_t* dataEnd = loader.DataBase() + loader.mDataSection.length;
  const uintptr_t pageEnd = (uintptr_t(dataEnd) + page - 1) / page * page;
  CheckUntouched(dataEnd, reinterpret_cast<const uint8_t*>(pageEnd));
}

void QuerySymbols(Loader& loader) {
  uint32_t count = 0;
  loader.Symbols(&count);
  const uintptr_t base = uintptr_t(loader.CodeBase());
  for (uintptr_t offset : {uintptr_t(0), uintptr_t(1), uintptr_t(loader.CodeLength() / 2),
                           uintptr_t(loader.CodeLength())}) {
    TESSstring name = nullptr;
    int32_t distance = 0;
    if (loader.SymbolForAddress(base + offset, &name, &distance)) RuntimeUnlockString(name);
    loader.SymbolNameForAddress(base + offset);
  }
}

std::vector<uint8_t> FixedImage() {
  image::ImageParts parts;
  parts.code.assign(96, 0);
  parts.data.assign(96, 0);
  for (uint32_t at = 4; at + 4 <= 96; at += 12) {  // a few chains to follow
    uint32_t next = at + 12 < 96 ? at + 12 : 0;
    std::memcpy(&parts.code[at], &next, 4);
  }
  parts.symbols = image::SymbolTable({{0, "VelaMain"}, {48, "Second"}});
  return image::Serialize(parts);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static SilentReporter silent;
  static const std::vector<uint8_t> fixed = FixedImage();
  if (size == 0) return 0;
  AssertReporter* previous = SetAssertReporter(&silent);
  // Exact-size heap copies: a read past the end hits the redzone at once.
  std::vector<uint8_t> rest(data + 1, data + size);
  {
    FuzzLoader loader;
    if (data[0] & 1) {
      if (loader.LoadImageBytes(rest.data(), rest.size())) {
        CheckPadding(loader);
        QuerySymbols(loader);
      }
    } else if (loader.LoadImageBytes(fixed.data(), fixed.size())) {
      loader.ApplyRelocations(rest.data(), uint32_t(rest.size()));
      CheckPadding(loader);
      QuerySymbols(loader);
    } else {
      std::abort();
    }
  }
  SetAssertReporter(previous);
  return 0;
}
