// What start-up needs of folder items before the folder item layer exists.
#pragma once

#include "vela/object.h"
#include "vela/string.h"

namespace vela {

// A new FolderItem for a native path, owned by the caller.
RuntimeObject* NewFolderItemFromPath(TESSstring path);
// The native path of a FolderItem, owned by the caller.
TESSstring FolderItemNativePath(RuntimeObject* item);

}  // namespace vela
