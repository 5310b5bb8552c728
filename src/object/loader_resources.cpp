// The resources of the loaded image, and the resource folder that lies beside
// the application: "<name> Resources" (the name without its extension), or
// else "Resources".
#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>

#include "object/loader.h"
#include "platform/process.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"
#include "vela/loader.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/Loaders/Loader";

uint32_t Read32(const uint8_t* at) {
  uint32_t value;
  std::memcpy(&value, at, 4);
  return value;
}

bool IsFolder(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The resource folder, looked for once per process; empty when there is
// none.
const std::string& ResourceFolder() {
  static const std::string folder = [] {
    std::string executable = platform::ModulePath(platform::ExecutableModule());
    size_t slash = executable.rfind('/');
    std::string parent = slash == std::string::npos ? "." : executable.substr(0, slash);
    std::string name = executable.substr(slash == std::string::npos ? 0 : slash + 1);
    if (size_t dot = name.rfind('.'); dot != std::string::npos) name.erase(dot);
    for (const std::string& candidate : {parent + "/" + name + " Resources", parent + "/Resources"})
      if (IsFolder(candidate)) return candidate;
    return std::string();
  }();
  return folder;
}

// The path of the resource file `name`, when the folder holds one. A name
// is one item of the folder, never a path that leads out of it.
std::optional<std::string> ResourceFile(TESSstring name) {
  const std::string& folder = ResourceFolder();
  if (folder.empty() || !name) return std::nullopt;
  std::string child(StringText(name), size_t(StringLength(name)));
  if (child == "." || child == ".." ||
      child.find_first_of(std::string("/\0", 2)) != std::string::npos)
    return std::nullopt;
  std::string path = folder + "/" + child;
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return std::nullopt;
  return path;
}

// Media objects are made by subsystems that are not built yet.
RuntimeObject* MediaFromResource(TESSstring name, const char* piece) {
  if (ResourceFile(name)) VELA_NOT_BUILT(piece);
  return nullptr;
}

}  // namespace

SimpleVector<ImageResource>& ImageResourceTable() {
  static SimpleVector<ImageResource> table{};  // rows live as long as the image
  return table;
}

const ImageResource* FindImageResource(uint32_t type, std::string_view name) {
  for (const ImageResource& row : ImageResourceTable())
    if (row.type == type && std::string_view(row.name, row.nameLength) == name) return &row;
  return nullptr;
}

void Loader::LoadResources(const uint8_t* data, uint32_t length, uint64_t fileOffset) {
  constexpr uint64_t kHeader = 14;  // type, two unread bytes, data length, name length
  uint64_t position = 0;
  while (position < length) {
    const uint64_t left = length - position;
    const uint8_t* entry = data + position;
    const uint32_t nameLength = left >= kHeader ? Read32(entry + 10) : 0;
    if (left < kHeader || nameLength > left - kHeader) {
      VELA_ASSERT_MSG(false, "false", "Resource entry cut short at %llu of %u",
                      static_cast<unsigned long long>(position), length);
      return;
    }
    const int32_t dataLength = int32_t(Read32(entry + 6));
    const uint64_t namePosition = position + kHeader;
    if (dataLength < 1) {
      VELA_ASSERT_MSG(false, "false", "Unexpected resource");
      position = namePosition + nameLength;
      continue;
    }
    if (uint64_t(dataLength) > left - kHeader - nameLength) {
      VELA_ASSERT_MSG(false, "false", "Resource entry cut short at %llu of %u",
                      static_cast<unsigned long long>(position), length);
      return;
    }
    ImageResourceTable().Append({Read32(entry), dataLength, data + namePosition + nameLength,
                                 reinterpret_cast<const char*>(data + namePosition), nameLength,
                                 fileOffset + namePosition});
    position = namePosition + nameLength + uint64_t(dataLength);
  }
}

void Loader::ForgetResources() {
  const uint8_t* start = mResourceSection.data;
  const uint8_t* end = start + mResourceSection.length;
  SimpleVector<ImageResource>& table = ImageResourceTable();
  for (uint32_t i = table.Count(); start && i-- > 0;) {
    auto* name = reinterpret_cast<const uint8_t*>(table.items[i].name);
    if (name >= start && name < end) table.RemoveAt(i);
  }
}

void Loader::DumpSymbols(RuntimeObject*) {
  VELA_NOT_BUILT("Loader::DumpSymbols (the symbol file is written through folder items)");
}

}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring RuntimeGetTextFileFromResourceManager(TESSstring name) {
  std::optional<std::string> path = ResourceFile(name);
  if (!path) return nullptr;
  std::ifstream in(*path, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // Text files that ship with an application are UTF-8 on this platform.
  return NewString(text.data(), int32_t(text.size()), kEncodingUTF8);
}

VELA_EXPORT RuntimeObject* RuntimeGetSoundFromResourceManager(TESSstring name) {
  return MediaFromResource(name, "Sound: an object for a resource file");
}

VELA_EXPORT RuntimeObject* RuntimeGetMovieFromResourceManager(TESSstring name) {
  return MediaFromResource(name, "Movie: an object for a resource file");
}

VELA_EXPORT RuntimeObject* RuntimeGetPictureFromResourceManager(TESSstring name) {
  return MediaFromResource(name, "Picture: an object for a resource file");
}
