#include "exec/image_resources.h"

#include "object/loader.h"
#include "object/loader_format.h"

namespace vela {

std::optional<std::string> ImageVersionString(std::string_view key) {
  const ImageResource* row = FindImageResource(image::kVersionResourceType, key);
  if (!row) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(row->data), size_t(row->dataLength));
}

}  // namespace vela
