// The application's version numbers and strings, and its own file.
#include <cstdlib>
#include <string>
#include <vector>

#include "exec/image_resources.h"
#include "io/folder_item_bridge.h"
#include "platform/process.h"
#include "exec/runtime_state.h"
#include "support/ascii.h"
#include "support/export.h"
#include "text/string_create.h"

namespace vela {
namespace {

std::vector<std::string> SplitDots(const std::string& text) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (;;) {
    size_t dot = text.find('.', start);
    fields.push_back(text.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
    if (dot == std::string::npos) return fields;
    start = dot + 1;
  }
}

int32_t VersionField(int field) {
  std::string version = ImageVersionString("FileVersion").value_or("");
  std::vector<std::string> fields = SplitDots(version);
  if (size_t(field) >= fields.size()) return 0;
  return int32_t(std::strtol(fields[size_t(field)].c_str(), nullptr, 10));
}

int32_t ReleaseStage() {
  static const char* const kStages[] = {"Development", "Alpha", "Beta", "Final"};
  std::optional<std::string> release = ImageVersionString("Release");
  if (!release) return -1;
  for (int32_t i = 0; i < 4; ++i)
    if (AsciiEqualNoCase(release->c_str(), kStages[i])) return i;
  return -1;
}
}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t AppIntegerVersionStuffGetter(RuntimeObject*, int32_t part) {
  switch (part) {
    case 0:
    case 1:
    case 2:
      return VersionField(part);
    case 3:
      return ReleaseStage();
    case 4:
      return VersionField(3);
    default:
      return -1;
  }
}

VELA_EXPORT TESSstring AppStringVersionStuffGetter(RuntimeObject*, int32_t part) {
  static const char* const kKeys[] = {"ProductVersion", "LongVersion", "PackageInfo"};
  if (part < 0 || part > 2) return nullptr;
  std::optional<std::string> value = ImageVersionString(kKeys[part]);
  if (!value) return nullptr;
  return NewString(value->data(), int32_t(value->size()), kEncodingUTF8);
}

VELA_EXPORT RuntimeObject* AppFolderItemGetter(void) {
  std::string path = platform::ModulePath(platform::ExecutableModule());
  TESSstring native = NewString(path.data(), int32_t(path.size()), kEncodingUTF8);
  RuntimeObject* item = NewFolderItemFromPath(native);
  RuntimeUnlockString(native);
  return item;
}
