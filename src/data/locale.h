// vela.Core.Locale: the locale object of the newer API. It holds a shared
// implementation with the ICU locale name and the locale's number service;
// the date service joins it with the dates. The raw locale (Locale.Raw) is
// one process-wide implementation named "en_POSIX_US": the invariant
// locale, which formats and reads numbers without localisation.
#pragma once

#include <memory>
#include <string>

#include "vela/object.h"

namespace vela {

class NumberFormatter;

// The ICU name of a locale object; Nil and the raw locale read as "en_US",
// the locale in which Text compares and maps case without one.
std::string LocaleNameOf(RuntimeObject* locale);

// True for the raw locale object.
bool IsRawLocale(RuntimeObject* locale);

// The locale's number service (shared), or null: Nil, an object that is
// not a locale, or a locale whose service could not be opened.
std::shared_ptr<NumberFormatter> LocaleNumberFormatter(RuntimeObject* locale);

}  // namespace vela
