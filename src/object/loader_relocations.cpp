// Patching a loaded image: the relocation stream binds the image's imports to
// this library's exports and to other libraries, and moves its absolute
// addresses to where code and data were mapped.
//
// Calls from the image are 32-bit relative, and this library lies far above
// the image, so every imported function gets a jump stub below 2 GiB: a call
// reaches the stub, the stub jumps on to the function. All patched places lie
// in the image's mapping, and each is checked against it before it is read
// or written, so that a damaged stream is reported and never writes outside.
#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "object/loader.h"
#include "object/loader_format.h"
#include "platform/process.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/Loaders/Loader";

using namespace image;

uint32_t Read32(const uint8_t* at) {
  uint32_t value;
  std::memcpy(&value, at, 4);
  return value;
}
uint64_t Read64(const uint8_t* at) {
  uint64_t value;
  std::memcpy(&value, at, 8);
  return value;
}
void Write32(uint8_t* at, uint32_t value) { std::memcpy(at, &value, 4); }
void Write64(uint8_t* at, uint64_t value) { std::memcpy(at, &value, 8); }

// An address that a 32-bit field of the image can hold: the small code
// model sign-extends it, so it must lie below 2 GiB.
bool FitsLow(int64_t address) { return address >= 0 && address < (int64_t(1) << 31); }

// The value of a 32-bit relative call at `place` that lands on `target`.
bool CallDistance(const uint8_t* target, const uint8_t* place, uint32_t* value) {
  int64_t distance = reinterpret_cast<intptr_t>(target) - reinterpret_cast<intptr_t>(place + 4);
  *value = uint32_t(int32_t(distance));
  return distance == int64_t(int32_t(distance));
}

class SharedLibrary final : public ImageLibrary {
 public:
  explicit SharedLibrary(void* handle) : mHandle(handle) {}
  ~SharedLibrary() override { dlclose(mHandle); }
  void* GetFunction(const char* name) override { return dlsym(mHandle, name); }

 private:
  void* mHandle;
};

constexpr size_t kStubSize = 16;
constexpr size_t kStubChunkSize = 64 * 1024;

void* OwnModule() { return platform::ModuleContaining(reinterpret_cast<const void*>(&OwnModule)); }

// The address ranges of a loaded module's segments.
struct ModuleRanges {
  void* module;
  std::vector<std::pair<uintptr_t, uintptr_t>> ranges;
};

int CollectRanges(dl_phdr_info* info, size_t, void* data) {
  auto* query = static_cast<ModuleRanges*>(data);
  std::vector<std::pair<uintptr_t, uintptr_t>> ranges;
  bool isModule = false;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD) continue;
    uintptr_t start = info->dlpi_addr + segment.p_vaddr;
    if (ranges.empty())
      isModule = reinterpret_cast<void*>(start - segment.p_offset) == query->module;
    ranges.push_back({start, start + segment.p_memsz});
  }
  if (!isModule) return 0;
  query->ranges = std::move(ranges);
  return 1;
}

}  // namespace

bool Loader::PlaceIsValid(uint64_t offset, uint32_t width) const {
  if (!mCodeSection.data) return false;
  if (offset + width <= mCodeSection.length) return true;
  uint64_t dataStart = DataStart(mCodeSection.length);
  return mDataSection.data == mCodeSection.data + dataStart && offset >= dataStart &&
         offset - dataStart + width <= mDataSection.length;
}

// A chain visits distinct places of at least four bytes each.
uint64_t Loader::ChainStepLimit() const {
  return (uint64_t(mCodeSection.length) + mDataSection.length) / 4 + 1;
}

// Walks the chains of a stream, several at a time: the places of one chain
// lie far apart, so each step fetches the next place of every chain in the
// window ahead while the others are patched. Each chain's places are
// patched in their own order, as a walk of one chain after the other would.
void Loader::WalkChains(std::vector<ChainPatch>& chains) {
  constexpr size_t kWindow = 32;
  const uint64_t limit = ChainStepLimit();
  std::vector<ChainPatch*> active;
  size_t waiting = 0;
  while (waiting < chains.size() || !active.empty()) {
    while (active.size() < kWindow && waiting < chains.size()) active.push_back(&chains[waiting++]);
    for (size_t i = 0; i < active.size();) {
      ChainPatch& chain = *active[i];
      bool done = chain.place == 0;
      if (!done && (!PlaceIsValid(chain.place, chain.width) || chain.steps++ == limit)) {
        VELA_ASSERT_MSG(false, "false", "Relocation chain leaves the image at offset %u",
                        chain.place);
        done = true;
      }
      if (!done) {
        uint8_t* at = mCodeSection.data + chain.place;
        const uint32_t next = Read32(at);
        done = !PatchPlace(chain, at);
        chain.place = next;
        __builtin_prefetch(mCodeSection.data + next, 1);  // never faults
      }
      if (done) {
        active[i] = active.back();
        active.pop_back();
      } else {
        ++i;
      }
    }
  }
}

bool Loader::PatchPlace(const ChainPatch& chain, uint8_t* at) {
  switch (chain.how) {
    case ChainPatch::kCall: {
      uint32_t distance;
      const bool reaches =
          CallDistance(reinterpret_cast<const uint8_t*>(chain.value), at, &distance);
      VELA_ASSERT_MSG(reaches, "false", "a call at %p cannot reach its stub",
                      static_cast<void*>(at));
      if (reaches) Write32(at, distance);
      return reaches;
    }
    case ChainPatch::kStore32:
      Write32(at, uint32_t(chain.value));
      return true;
    case ChainPatch::kStore64:
      Write64(at, chain.value);
      return true;
  }
  return false;
}

uint8_t* Loader::StubFor(void* function) {
  auto found = mStubs.find(function);
  if (found != mStubs.end()) return found->second;
  if (mStubChunks.empty() || mStubsUsed + kStubSize > mStubChunks.back().second) {
    void* chunk = mmap(nullptr, kStubChunkSize, PROT_READ | PROT_WRITE | PROT_EXEC,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
    VELA_ASSERT_MSG(chunk != MAP_FAILED, "stub", "cannot map jump stubs below 2 GiB: %s",
                    std::strerror(errno));
    if (chunk == MAP_FAILED) return nullptr;
    mStubChunks.push_back({static_cast<uint8_t*>(chunk), kStubChunkSize});
    mStubsUsed = 0;
  }
  uint8_t* stub = mStubChunks.back().first + mStubsUsed;
  mStubsUsed += kStubSize;
  // jmp *0(%rip), the function's address behind it, int3 padding.
  static const uint8_t kJump[6] = {0xFF, 0x25, 0, 0, 0, 0};
  std::memcpy(stub, kJump, sizeof kJump);
  std::memcpy(stub + 6, &function, 8);
  stub[14] = stub[15] = 0xCC;
  mStubs[function] = stub;
  return stub;
}

void Loader::ApplyRelocations(const uint8_t* data, uint32_t length) {
  uint32_t position = 0;
  auto cutShort = [&](uint8_t tag) {
    VELA_ASSERT_MSG(false, "false", "Relocation record cut short: tag %d at %u of %u", tag,
                    position, length);
    position = length;  // nothing behind it can be read
  };
  // Chains are walked together once the stream is read.
  std::vector<ChainPatch> chains;
  auto callChain = [&](uint32_t head, void* function) {
    if (uint8_t* stub = StubFor(function))
      chains.push_back({head, 4, ChainPatch::kCall, reinterpret_cast<uintptr_t>(stub), 0});
  };

  while (position < length) {
    const uint8_t* record = data + position;
    const uint32_t left = length - position;
    const uint8_t tag = record[0];
    switch (tag) {
      case kTagImport: {
        if (left < 8 || left < 8u + record[6]) {
          cutShort(tag);
          break;
        }
        const uint8_t kind = record[1];
        const uint32_t head = Read32(record + 2);
        const std::string name(reinterpret_cast<const char*>(record + 7), record[6]);
        position += 8 + record[6];
        void* funcAddress = GetFrameworkFunction(name.c_str());
        VELA_ASSERT_MSG(funcAddress, "funcAddress", "Function '%s' was not exported", name.c_str());
        if (!funcAddress) break;
        if (kind == kImportCall) {
          callChain(head, funcAddress);
        } else if (kind == kImportStub32) {
          uint8_t* stub = StubFor(funcAddress);
          const bool low = stub && FitsLow(reinterpret_cast<intptr_t>(stub));
          VELA_ASSERT_MSG(low, "false", "no jump stub below 2 GiB for '%s'", name.c_str());
          if (low)
            chains.push_back({head, 4, ChainPatch::kStore32, reinterpret_cast<uintptr_t>(stub), 0});
        } else {
          chains.push_back(
              {head, 8, ChainPatch::kStore64, reinterpret_cast<uintptr_t>(funcAddress), 0});
        }
        break;
      }
      case kTagLibraryImport: {
        if (left < 8 || left < 8u + record[5]) {
          cutShort(tag);
          break;
        }
        const uint8_t functionLength = record[5];
        const uint8_t libraryLength = record[7 + functionLength];
        if (left < 9u + functionLength + libraryLength) {
          cutShort(tag);
          break;
        }
        const uint32_t head = Read32(record + 1);
        const std::string function(reinterpret_cast<const char*>(record + 6), functionLength);
        const std::string library(reinterpret_cast<const char*>(record + 8 + functionLength),
                                  libraryLength);
        position += 9 + functionLength + libraryLength;
        if (!mLibraries) mLibraries = new std::map<std::string, ImageLibrary*>;
        auto found = mLibraries->find(library);
        ImageLibrary* loaded = found == mLibraries->end() ? nullptr : found->second;
        if (!loaded) {
          std::string error;
          loaded = LoadLibrary(library.c_str(), &error);
          VELA_ASSERT_MSG(loaded, "0", "%s", error.c_str());
          if (!loaded) break;
          (*mLibraries)[library] = loaded;
        }
        void* functionEntry = loaded->GetFunction(function.c_str());
        VELA_ASSERT_MSG(functionEntry, "functionEntry", "Could not resolve function '%s' in %s",
                        function.c_str(), library.c_str());
        if (functionEntry) callChain(head, functionEntry);
        break;
      }
      case kTagData32:
      case kTagCode32:
      case kTagDataRecord:
      case kTagStringRecord:
      case kTagData64: {
        if (left < 5) {
          cutShort(tag);
          break;
        }
        const uint32_t offset = Read32(record + 1);
        position += 5;
        const uint32_t width = tag == kTagData64 ? 8 : 4;
        if (!PlaceIsValid(offset, width)) {
          VELA_ASSERT_MSG(false, "false", "Relocation %d at offset %u lies outside the image", tag,
                          offset);
          break;
        }
        uint8_t* at = mCodeSection.data + offset;
        const intptr_t codeBase = reinterpret_cast<intptr_t>(mCodeSection.data);
        const intptr_t dataBase = reinterpret_cast<intptr_t>(mDataSection.data);
        if (tag == kTagData64) {
          Write64(at, Read64(at) + uint64_t(dataBase));
        } else if (tag == kTagData32 || tag == kTagCode32) {
          int64_t result = (tag == kTagData32 ? dataBase : codeBase) + int32_t(Read32(at));
          VELA_ASSERT_MSG(FitsLow(result), "false", "address at offset %u does not fit 32 bits",
                          offset);
          if (FitsLow(result)) Write32(at, uint32_t(result));
        } else {
          // A record in the data section whose second word points into the
          // record itself, unless the image set it already.
          const uint32_t v = Read32(at);
          const bool inData = uint64_t(v) + 16 <= mDataSection.length;
          VELA_ASSERT_MSG(inData, "false", "record at data offset %u lies outside the data", v);
          if (!inData) break;
          const int64_t result = dataBase + int64_t(v);
          if (!FitsLow(result)) break;  // the data lies below 2 GiB with the code
          Write32(at, uint32_t(result));
          if (tag == kTagStringRecord)
            VELA_ASSERT_TEXT(result % sizeof(void*) == 0, "result % sizeof(void *) == 0");
          uint8_t* second = mDataSection.data + v + 8;
          if (Read64(second) == 0)
            Write64(second, uint64_t(result) + (tag == kTagStringRecord ? kStringRecordBufferOffset
                                                                        : kDataRecordBufferOffset));
        }
        break;
      }
      default:
        VELA_ASSERT_MSG(false, "false", "Unknown relocation id: %d", tag);
        position += 1;
        break;
    }
  }
  WalkChains(chains);
}

void* Loader::GetFrameworkFunction(const char* name) {
  void* module = mFrameworkModule ? mFrameworkModule : OwnModule();
  if (!mFrameworkHandle) {
    mFrameworkHandle = module == platform::ExecutableModule()
                           ? dlopen(nullptr, RTLD_LAZY)
                           : dlopen(platform::ModulePath(module).c_str(), RTLD_LAZY | RTLD_NOLOAD);
    ModuleRanges query{module, {}};
    dl_iterate_phdr(CollectRanges, &query);
    mFrameworkRanges = std::move(query.ranges);
  }
  void* function = mFrameworkHandle ? dlsym(mFrameworkHandle, name) : nullptr;
  // Only what the framework defines itself counts, not what its handle
  // reaches through the libraries it depends on.
  auto address = reinterpret_cast<uintptr_t>(function);
  for (const auto& [start, end] : mFrameworkRanges)
    if (address >= start && address < end) return function;
  return nullptr;
}

ImageLibrary* Loader::LoadLibrary(const char* name, std::string* errorOut) {
  void* handle = nullptr;
  if (!std::strchr(name, '/') && !mFrameworkFolder.empty()) {
    std::string beside = mFrameworkFolder + "/" + name;
    if (access(beside.c_str(), F_OK) == 0) handle = dlopen(beside.c_str(), RTLD_LAZY | RTLD_LOCAL);
  }
  if (!handle) handle = dlopen(name, RTLD_LAZY | RTLD_LOCAL);
  if (!handle) {
    const char* why = dlerror();
    if (errorOut)
      *errorOut = std::string("Failed to load library ") + name + "\r\n" + (why ? why : "");
    return nullptr;
  }
  return new SharedLibrary(handle);
}

}  // namespace vela
