#include "object/auto_bridge.h"

#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "RuntimeCore/RuntimeAuto";
}

// No Auto word other than Nil can be made until the Auto type exists, so
// only Nil reaches these; anything else is reported as the piece it needs.
void LockAutoValue(AutoWord value) {
  if (value) VELA_NOT_BUILT("Auto: reference counting of Auto values");
}

void UnlockAutoValue(AutoWord value) {
  if (value) VELA_NOT_BUILT("Auto: reference counting of Auto values");
}

int32_t CompareAutoValues(AutoWord a, AutoWord b) {
  if (a == 0 && b == 0) return 0;
  VELA_NOT_BUILT("Auto: comparison of Auto values");
  return a < b ? -1 : (a > b ? 1 : 0);
}

}  // namespace vela
