// vela.Core.Locale; see locale.h.
#include "data/locale.h"

#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <cstdio>

#include "numeric/locale_numbers.h"
#include "numeric/number_formatter.h"
#include "object/class_decl.h"
#include "object/raise.h"
#include "support/export.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_collation.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/locale.h"

namespace vela {
namespace {

constexpr const char* kRawName = "en_POSIX_US";

struct LocaleImpl {
  std::string name;
  bool raw = false;
  std::shared_ptr<NumberFormatter> numbers;
};

struct LocaleData {
  std::shared_ptr<LocaleImpl>* impl;  // one reference to the implementation
  static void Destruct(LocaleData* data) {
    delete data->impl;
    data->impl = nullptr;
  }
};

TrailingDataDecl<LocaleData> gLocaleDecl(nullptr, "vela.Core.Locale");

const std::shared_ptr<LocaleImpl>& RawImpl() {
  static const std::shared_ptr<LocaleImpl> raw = [] {
    auto impl = std::make_shared<LocaleImpl>();
    impl->name = kRawName;
    impl->raw = true;
    impl->numbers = NumberFormatter::Open(kRawName);
    return impl;
  }();
  return raw;
}

LocaleImpl* ImplOf(RuntimeObject* locale) {
  if (!locale) return nullptr;
  LocaleData* data = gLocaleDecl.Data(locale);
  return data && data->impl ? data->impl->get() : nullptr;
}

void Attach(RuntimeObject* self, std::shared_ptr<LocaleImpl> impl) {
  LocaleData* data = gLocaleDecl.Data(self);
  if (!data) return;
  delete data->impl;
  data->impl = new std::shared_ptr<LocaleImpl>(std::move(impl));
}

void RaiseLocaleError(const std::string& message) {
  RaiseNamedException("Vela.Core.InvalidArgumentException", 0, message.c_str());
}

// A symbol of the locale's number format as Text; the raw locale answers
// the invariant symbols.
TextValue Symbol(RuntimeObject* self, UNumberFormatSymbol symbol, const char16_t* raw) {
  LocaleImpl* impl = ImplOf(self);
  if (!impl) return nullptr;
  if (impl->raw) return NewText(raw, int32_t(std::char_traits<char16_t>::length(raw)));
  UErrorCode status = U_ZERO_ERROR;
  UNumberFormat* f = unum_open(UNUM_DECIMAL, nullptr, 0, impl->name.c_str(), nullptr, &status);
  if (U_FAILURE(status)) {
    if (f) unum_close(f);
    return nullptr;
  }
  UChar buffer[32];
  const int32_t length = unum_getSymbol(f, symbol, buffer, 32, &status);
  unum_close(f);
  if (U_FAILURE(status) || length <= 0) return nullptr;
  return NewText(reinterpret_cast<const char16_t*>(buffer), length > 32 ? 32 : length);
}

// Text reads locale names through this, registered when the library loads.
void ReadNameForText(RuntimeObject* locale, char* name, size_t capacity) {
  std::snprintf(name, capacity, "%s", LocaleNameOf(locale).c_str());
}
const bool gRegistered = (SetLocaleNameReader(ReadNameForText),
                          SetLocaleAccess({LocaleNumberFormatter, IsRawLocale}), true);

}  // namespace

std::string LocaleNameOf(RuntimeObject* locale) {
  LocaleImpl* impl = ImplOf(locale);
  return impl && !impl->raw ? impl->name : std::string("en_US");
}

bool IsRawLocale(RuntimeObject* locale) {
  LocaleImpl* impl = ImplOf(locale);
  return impl && impl->raw;
}

std::shared_ptr<NumberFormatter> LocaleNumberFormatter(RuntimeObject* locale) {
  LocaleImpl* impl = ImplOf(locale);
  return impl ? impl->numbers : nullptr;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void VelaLocaleCtor(RuntimeObject* self, TextValue identifier) {
  if (!self) return;
  StringHolder utf8 = StringHolder::Adopt(StringFromText(identifier));
  const std::string requested(StringText(utf8.get()), size_t(StringLength(utf8.get())));
  char name[ULOC_FULLNAME_CAPACITY];
  UErrorCode status = U_ZERO_ERROR;
  if (requested.empty()) {
    std::snprintf(name, sizeof name, "%s", uloc_getDefault());
  } else {
    uloc_getName(requested.c_str(), name, sizeof name, &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING) {
      RaiseLocaleError(requested + " is not a valid locale");
      return;
    }
  }
  auto impl = std::make_shared<LocaleImpl>();
  impl->name = name;
  impl->numbers = NumberFormatter::Open(impl->name);
  if (!impl->numbers) {
    RaiseLocaleError(requested + " is not a valid locale");
    return;
  }
  Attach(self, std::move(impl));
}

VELA_EXPORT void VelaLocaleRawCtor(RuntimeObject* self) {
  if (self) Attach(self, RawImpl());
}

VELA_EXPORT TextValue VelaLocaleGetIdentifier(RuntimeObject* self) {
  LocaleImpl* impl = ImplOf(self);
  if (!impl) return nullptr;
  return TextFromUtf8(impl->name.data(), int32_t(impl->name.size()));
}

VELA_EXPORT TextValue VelaLocaleGetCurrencySymbol(RuntimeObject* self) {
  return Symbol(self, UNUM_CURRENCY_SYMBOL, u"");
}

VELA_EXPORT TextValue VelaLocaleGetGroupingSeparator(RuntimeObject* self) {
  return Symbol(self, UNUM_GROUPING_SEPARATOR_SYMBOL, u",");
}

VELA_EXPORT TextValue VelaLocaleGetDecimalSeparator(RuntimeObject* self) {
  return Symbol(self, UNUM_DECIMAL_SEPARATOR_SYMBOL, u".");
}
