#include "io/folder_item_bridge.h"

#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Universal/FolderItemImp";
}

RuntimeObject* NewFolderItemFromPath(TESSstring) {
  VELA_NOT_BUILT("FolderItem: an item for a native path");
  return nullptr;
}

TESSstring FolderItemNativePath(RuntimeObject*) {
  VELA_NOT_BUILT("FolderItem: the native path of an item");
  return nullptr;
}

}  // namespace vela
