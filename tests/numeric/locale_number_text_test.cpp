// Number text with locales and in Text form: localised digits and symbols,
// the raw locale, ICU patterns, and the classes each flavour raises.
#include <gtest/gtest.h>

#include <string>

#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "kit/last_raise.h"
#include "object/raise.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/application.h"
#include "vela/locale.h"
#include "vela/number_text.h"
#include "vela/number_text_locale.h"

namespace {

using vela::StringHolder;
using vela::TextHolder;

using Raises = vela::testkit::LastRaise;

StringHolder S(std::string_view utf8) {
  return StringHolder::Adopt(vela::NewString(utf8.data(), int32_t(utf8.size()), kEncodingUTF8));
}
TextHolder T(std::string_view utf8) {
  return TextHolder::Adopt(vela::TextFromUtf8(utf8.data(), int32_t(utf8.size())));
}
std::string Of(TESSstring owned) {
  StringHolder s = StringHolder::Adopt(owned);
  return s ? std::string(vela::StringText(s.get()), size_t(vela::StringLength(s.get()))) : "";
}
std::string Of(TextValue owned) {
  TextHolder t = TextHolder::Adopt(owned);
  return Of(vela::StringFromText(t.get()));
}

// Locale objects need the class bound, which lasts for the process: each
// scenario runs in a child.
RuntimeObject* NewLocale(RuntimeClass* cls, const char* identifier) {
  RuntimeObject* locale = RuntimeNewObject(cls);
  if (identifier)
    VelaLocaleCtor(locale, T(identifier).get());
  else
    VelaLocaleRawCtor(locale);
  return locale;
}

template <typename Scenario>
void InChild(Scenario scenario) {
  auto result = vela::testkit::RunInChild([&]() -> int {
    RuntimeClass* cls = vela::testkit::ClassBuilder("vela.Core.Locale").Build();
    RuntimeInitExternalClasses();
    RuntimeObject* german = NewLocale(cls, "de_DE");
    RuntimeObject* english = NewLocale(cls, "en_US");
    RuntimeObject* raw = NewLocale(cls, nullptr);
    scenario(german, english, raw);
    for (RuntimeObject* o : {german, english, raw}) RuntimeUnlockObject(o);
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

TEST(LocaleNumberText, IntegersFormatByLocale) {
  InChild([](RuntimeObject* de, RuntimeObject* en, RuntimeObject* raw) {
    Raises raises;
    EXPECT_EQ(Of(Int32ToString(1234567, en)), "1,234,567");
    EXPECT_EQ(Of(Int32ToString(1234567, de)), "1.234.567");
    EXPECT_EQ(Of(Int32ToString(1234567, raw)), "1234567");
    EXPECT_EQ(Of(Int32ToString(1234567, nullptr)), "1234567");
    EXPECT_EQ(Of(Int8ToText(-5, de)), "-5");
    EXPECT_EQ(Of(UInt64ToString(~uint64_t(0), nullptr)), "18446744073709551615");
    EXPECT_EQ(raises.Take(), "");
    EXPECT_EQ(Of(UInt64ToString(~uint64_t(0), en)), "");
    EXPECT_EQ(raises.Take(), "RuntimeException: Value is too large to format");
    EXPECT_EQ(Of(Int32_ToStringWithFormat(1234, en, S("#,##0.00").get())), "1,234.00");
    EXPECT_EQ(Of(UInt64_ToTextWithFormat(~uint64_t(0), en, T("#,##0").get())),
              "18,446,744,073,709,551,615");
    Int32_ToStringWithFormat(1, nullptr, S("0").get());
    EXPECT_EQ(raises.Take(), "InvalidArgumentException: Locale cannot be Nil.");
    Int32_ToTextWithFormat(1, en, nullptr);
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Format cannot be empty.");
    Int32_ToStringWithFormat(1, en, S("#,##0.0.0").get());
    EXPECT_EQ(raises.Take(), "InvalidArgumentException: Bad format");
    Int32_ToTextWithFormat(1, en, T("#,##0.0.0").get());
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Bad format");
  });
}

TEST(LocaleNumberText, IntegersReadStrictlyOrLeniently) {
  InChild([](RuntimeObject* de, RuntimeObject* en, RuntimeObject*) {
    Raises raises;
    EXPECT_EQ(Int32FromString(S("12a").get(), nullptr), 0);
    EXPECT_EQ(raises.Take(), "InvalidArgumentException: Character 'a' is not a valid number");
    EXPECT_EQ(Int32FromText(T("12a").get(), nullptr), 0);
    EXPECT_EQ(raises.Take(), "Vela.Core.BadDataException: Character 'a' is not a valid number");
    Int32FromText(T("-").get(), nullptr);
    EXPECT_EQ(raises.Take(), "Vela.Core.BadDataException: - must be followed by one or more digits.");
    Int32FromText(nullptr, nullptr);
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Empty text values are not valid integers.");
    EXPECT_EQ(Int8FromString(S("300").get(), nullptr), 44);  // wraps
    EXPECT_EQ(Int32Parse(T("12a").get(), nullptr), 12);
    EXPECT_EQ(Int32Parse(T("  &hFF").get(), nullptr), 255);
    EXPECT_EQ(raises.Take(), "");

    EXPECT_EQ(Int32FromString(S("1.234").get(), de), 1234);
    EXPECT_EQ(Int64FromText(T("-9,000").get(), en), -9000);
    EXPECT_EQ(raises.Take(), "");
    EXPECT_EQ(Int8FromString(S("300").get(), de), 0);
    EXPECT_EQ(raises.Take(), "InvalidArgumentException: Input is out of range for this type");
    EXPECT_EQ(UInt16FromText(T("70000").get(), en), 0);
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Input is out of range for this type");
    EXPECT_EQ(Int32FromString(S("12a").get(), en), 0);
    EXPECT_EQ(raises.Take(), "InvalidArgumentException: U_PARSE_ERROR");
    EXPECT_EQ(Int32Parse(T("12a").get(), en), 12);  // lenient through the service
    EXPECT_EQ(UInt64FromText(T("18,446,744,073,709,551,615").get(), en), ~uint64_t(0));
    EXPECT_EQ(raises.Take(), "");
  });
}

TEST(LocaleNumberText, DigitTextAndDoubles) {
  InChild([](RuntimeObject* de, RuntimeObject* en, RuntimeObject* raw) {
    Raises raises;
    EXPECT_EQ(Int32FromHex(T("ff").get()), 255);
    Int32FromHex(T("g").get());
    EXPECT_EQ(raises.Take(), "Vela.Core.BadDataException: Character 'g' is not valid hex data");
    Int32FromOctal(nullptr);
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Empty text values are not valid input.");

    EXPECT_EQ(Of(Double_ToString(1.5, nullptr)), "1.5");
    EXPECT_EQ(Of(Double_ToText(1.5, nullptr)), "1.500000");
    EXPECT_EQ(Of(Double_ToText(1.5, raw)), "1.500000");
    EXPECT_EQ(Of(Double_ToString(1234.5, de)), "1.234,5");
    EXPECT_EQ(Of(Double_ToTextWithFormat(0.5, en, T("0.00%").get())), "50.00%");
    EXPECT_EQ(Double_FromString(S("abc").get(), nullptr), 0);
    EXPECT_EQ(Double_FromString(S("1.234,5").get(), de), 1234.5);
    EXPECT_EQ(Double_Parse(T("2,5x").get(), de), 2.5);
    EXPECT_EQ(Double_FromText(T("&h10").get(), de), 16);
    EXPECT_EQ(raises.Take(), "");
    Double_FromText(T("").get(), en);
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Empty text values are not valid doubles.");
  });
}

TEST(LocaleNumberText, CurrencyAndSymbols) {
  InChild([](RuntimeObject* de, RuntimeObject* en, RuntimeObject* raw) {
    Raises raises;
    EXPECT_EQ(Of(Currency_ToText(12500, nullptr)), "1.25");
    EXPECT_EQ(Of(Currency_ToString(12500, raw)), "1.25");
    EXPECT_EQ(Of(Currency_ToString(12500, en)), "$1.25");
    EXPECT_EQ(Currency_FromText(T(".5").get(), nullptr), 5000);
    Currency_FromText(T("1.23456").get(), nullptr);
    EXPECT_EQ(raises.Take(), "Vela.Core.BadDataException: The text is not a valid currency.");
    Currency_FromString(S("1.").get(), nullptr);
    EXPECT_EQ(raises.Take(), "InvalidArgumentException: 1. is not a valid currency.");
    Currency_FromText(nullptr, en);
    EXPECT_EQ(raises.Take(), "Vela.Core.InvalidArgumentException: Empty text values are not valid currency.");

    EXPECT_EQ(Of(VelaLocaleGetDecimalSeparator(de)), ",");
    EXPECT_EQ(Of(VelaLocaleGetGroupingSeparator(de)), ".");
    EXPECT_EQ(Of(VelaLocaleGetCurrencySymbol(en)), "$");
    EXPECT_EQ(Of(VelaLocaleGetIdentifier(de)), "de_DE");
    EXPECT_EQ(Of(VelaLocaleGetIdentifier(raw)), "en_POSIX_US");
    EXPECT_EQ(Of(VelaLocaleGetCurrencySymbol(raw)), "");
    EXPECT_EQ(Of(VelaLocaleGetDecimalSeparator(raw)), ".");
    EXPECT_EQ(raises.Take(), "");
  });
}

}  // namespace
