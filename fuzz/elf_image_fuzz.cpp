// Feeds arbitrary bytes to the ELF reader. Whatever it accepts must describe
// only bytes inside the input; the sanitizers catch any read outside it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "support/elf_image.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // An exact-size heap copy: reads past the end hit the redzone at once.
  std::vector<uint8_t> bytes(data, data + size);
  const vela::ElfImage image = vela::ElfImage::Parse(bytes);
  if (!image.ok()) {
    if (image.error().empty() || !image.sections().empty()) std::abort();
    return 0;
  }
  const uint8_t* begin = bytes.data();
  const uint8_t* end = begin + bytes.size();
  for (const auto& section : image.sections()) {
    auto contents = image.SectionData(section);
    if (!contents.empty() && (contents.data() < begin || contents.data() + contents.size() > end))
      std::abort();
    // Touch every byte so that a wrong view is noticed at once.
    volatile uint8_t sum = 0;
    for (uint8_t b : contents) sum = uint8_t(sum + b);
    const vela::ElfSection* found = image.FindSection(section.name);
    if (!found || found->name != section.name) std::abort();
  }
  return 0;
}
