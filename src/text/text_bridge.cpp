#include "text/text_bridge.h"

#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "RuntimeCore/TextCore";
}

// No Text value can be made until the Text type exists, so only nil reaches
// these; anything else is reported as the missing piece it needs.
void LockTextValue(TextValue text) {
  if (text) VELA_NOT_BUILT("Text: reference counting of Text values");
}

void UnlockTextValue(TextValue text) {
  if (text) VELA_NOT_BUILT("Text: reference counting of Text values");
}

}  // namespace vela
