// The locale services of the number functions; see locale_numbers.h.
#include "numeric/locale_numbers.h"

#include "numeric/number_text_support.h"
#include "object/raise.h"
#include "support/assert.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Common/RuntimeNumericFoundation";
LocaleAccess gAccess{};

// A locale object's service; reports the missing piece when no locale layer
// registered itself.
std::shared_ptr<NumberFormatter> LocaleNumberFormatter(RuntimeObject* locale) {
  if (!gAccess.numberFormatter) {
    VELA_NOT_BUILT("Locale: no locale layer is registered");
    return nullptr;
  }
  return gAccess.numberFormatter(locale);
}

}  // namespace

void SetLocaleAccess(const LocaleAccess& access) { gAccess = access; }

std::shared_ptr<NumberFormatter> LocalisingFormatter(RuntimeObject* locale) {
  if (!locale || (gAccess.isRaw && gAccess.isRaw(locale))) return nullptr;
  return LocaleNumberFormatter(locale);
}

std::shared_ptr<NumberFormatter> AnyFormatter(RuntimeObject* locale) {
  return locale ? LocaleNumberFormatter(locale) : nullptr;
}

std::shared_ptr<NumberFormatter> PatternFormatter(RuntimeObject* locale, std::u16string_view format,
                                                  const NumberTextFlavour& flavour) {
  if (!locale) {
    RaiseNamedException(flavour.invalidArgument, 0, "Locale cannot be Nil.");
    return nullptr;
  }
  if (format.empty()) {
    RaiseNamedException(flavour.invalidArgument, 0, "Format cannot be empty.");
    return nullptr;
  }
  std::shared_ptr<NumberFormatter> formatter = LocaleNumberFormatter(locale);
  if (!formatter) RaiseNamedException("RuntimeException", 0, "Formatter could not be initialized.");
  return formatter;
}

}  // namespace vela
