#include "exec/image_resources.h"

namespace vela {

std::optional<std::string> ImageVersionString(std::string_view) {
  // Resources come with the application image; until the loader maps one,
  // the running program has none, and every lookup answers as missing.
  return std::nullopt;
}

}  // namespace vela
