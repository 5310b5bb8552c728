// Loader operations that read, patch and enter an image. They report
// themselves until the image format's reader lands.
#include "object/loader.h"
#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/Loaders/Loader";
}

void Loader::ApplyRelocations(const uint8_t*, uint32_t) { VELA_NOT_BUILT("Loader::ApplyRelocations"); }
void Loader::LoadExtraSection(const uint8_t*, uint32_t) {}
void Loader::LoadResources(const uint8_t*, uint32_t, uint64_t) {
  VELA_NOT_BUILT("Loader::LoadResources");
}
void Loader::ProcessSections() { VELA_NOT_BUILT("Loader::ProcessSections"); }
ImageLibrary* Loader::LoadLibrary(const char*, std::string*) {
  VELA_NOT_BUILT("Loader::LoadLibrary");
  return nullptr;
}
void Loader::Run() { VELA_NOT_BUILT("Loader::Run"); }
void Loader::DumpSymbols(RuntimeObject*) { VELA_NOT_BUILT("Loader::DumpSymbols"); }
void* Loader::GetFrameworkFunction(const char*) {
  VELA_NOT_BUILT("Loader::GetFrameworkFunction");
  return nullptr;
}
bool Loader::LoadFromExecutable(void*, void*) {
  VELA_NOT_BUILT("Loader::LoadFromExecutable");
  return false;
}

}  // namespace vela
