/* vela.Core.Locale: the locale object of the newer API, the service behind
 * the text forms of numbers (and later of dates). Nil and the raw locale
 * (Locale.Raw) mean no localisation. */
#ifndef VELA_LOCALE_H
#define VELA_LOCALE_H

#include "vela/text.h"

VELA_BEGIN_DECLS

/* A locale by its identifier ("de_DE", "fr-CA"; empty: the process's
 * default). An identifier ICU does not know raises
 * Vela.Core.InvalidArgumentException "<identifier> is not a valid locale". */
VELA_API void VelaLocaleCtor(RuntimeObject *self, TextValue identifier);
/* The raw locale: the invariant one, named "en_POSIX_US". */
VELA_API void VelaLocaleRawCtor(RuntimeObject *self);
/* The identifier ("en_POSIX_US" for the raw locale), and the number symbols:
 * currency, grouping and decimal separators ("", "," and "." when raw). */
VELA_API TextValue VelaLocaleGetIdentifier(RuntimeObject *self);
VELA_API TextValue VelaLocaleGetCurrencySymbol(RuntimeObject *self);
VELA_API TextValue VelaLocaleGetGroupingSeparator(RuntimeObject *self);
VELA_API TextValue VelaLocaleGetDecimalSeparator(RuntimeObject *self);

VELA_END_DECLS

#endif
