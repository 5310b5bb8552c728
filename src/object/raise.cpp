#include "object/raise.h"

#include <atomic>
#include <string>

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
  std::string what = std::string("exception dispatch (raised ") + (className ? className : "?");
  if (message && *message) what += std::string(": ") + message;
  what += ")";
  VELA_NOT_BUILT(what.c_str());
}

}  // namespace vela
