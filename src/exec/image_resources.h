// The resources of the running application image that start-up reads.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vela {

// A string of the image's version resources ("FileVersion", "Release",
// "ProductVersion", "LongVersion", "PackageInfo"): the data of the resource
// of type 'vers' named by the key. Empty when the image has no such resource.
std::optional<std::string> ImageVersionString(std::string_view key);

}  // namespace vela
