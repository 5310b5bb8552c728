// Number separators through the C library's locales (LC_NUMERIC).
#include "platform/locale.h"

#include <langinfo.h>
#include <locale.h>

namespace vela::platform {
namespace {

const NumberSeparators* gOverride = nullptr;

}  // namespace

std::optional<NumberSeparators> NumberSeparatorsOf(const char* localeName) {
  locale_t locale = newlocale(LC_NUMERIC_MASK, localeName, locale_t(nullptr));
  if (!locale) return std::nullopt;
  NumberSeparators separators;
  const char* decimal = nl_langinfo_l(RADIXCHAR, locale);
  const char* group = nl_langinfo_l(THOUSEP, locale);
  if (decimal && *decimal) separators.decimal = decimal;
  if (group && *group)
    separators.group = group;
  else
    separators.group = separators.decimal == "," ? "." : ",";
  freelocale(locale);
  return separators;
}

const NumberSeparators& SystemNumberSeparators() {
  if (gOverride) return *gOverride;
  // An environment that names a locale the system lacks falls back to C.
  static const NumberSeparators system =
      NumberSeparatorsOf("").value_or(NumberSeparatorsOf("C").value_or(NumberSeparators{}));
  return system;
}

void OverrideSystemNumberSeparators(const NumberSeparators* separators) {
  gOverride = separators;
}

}  // namespace vela::platform
