// What the locale forms of the number functions need of a locale object:
// its number service when it has one that localises (not Nil, not raw).
#pragma once

#include <memory>
#include <string_view>

#include "numeric/number_formatter.h"
#include "vela/object.h"

namespace vela {

// How the number layer reaches locale objects, which the data layer above
// owns: it registers these when the library loads.
struct LocaleAccess {
  std::shared_ptr<NumberFormatter> (*numberFormatter)(RuntimeObject* locale);
  bool (*isRaw)(RuntimeObject* locale);
};
void SetLocaleAccess(const LocaleAccess& access);

// The service of a locale that localises, or null (Nil, raw, no service).
std::shared_ptr<NumberFormatter> LocalisingFormatter(RuntimeObject* locale);

// The service of any locale object, raw included, or null for Nil or a
// locale without one.
std::shared_ptr<NumberFormatter> AnyFormatter(RuntimeObject* locale);

// The formatter for the WithFormat forms: raises (in the flavour's classes)
// for a Nil locale, an empty format and a locale without a service, and
// then answers null.
struct NumberTextFlavour;
std::shared_ptr<NumberFormatter> PatternFormatter(RuntimeObject* locale, std::u16string_view format,
                                                  const NumberTextFlavour& flavour);

}  // namespace vela
