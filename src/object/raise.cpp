#include "object/raise.h"

#include <atomic>
#include <cstdio>

#include "support/assert.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeExceptionFoundation";
std::atomic<RaiseObserver> gObserver{nullptr};
}  // namespace

RaiseObserver SetRaiseObserver(RaiseObserver observer) { return gObserver.exchange(observer); }

void RaiseNamedException(const char* className, int32_t errorNumber, const char* message) {
  if (RaiseObserver observer = gObserver.load()) {
    observer(className, errorNumber, message);
    return;
  }
  // Exception objects and their dispatch to compiled handlers come with the
  // exception layer; until then a raise is reported, never dropped.
  char what[512];
  std::snprintf(what, sizeof what, "exception dispatch (raised %s%s%s)",
                className ? className : "?", message && *message ? ": " : "",
                message ? message : "");
  VELA_NOT_BUILT(what);
}

}  // namespace vela
