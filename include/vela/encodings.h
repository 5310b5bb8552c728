/* Text encodings: TextEncoding objects, the Encodings module, TextConverter,
 * the string encoding functions, and the newer Vela.Core.TextEncoding. */
#ifndef VELA_ENCODINGS_H
#define VELA_ENCODINGS_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "vela/accessors.h"
#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

VELA_API RuntimeObject *getTextEncoding(int32_t base, int32_t variant, int32_t format);
VELA_API RuntimeObject *getInternetTextEncoding(TESSstring name);
VELA_API RuntimeObject *getFontTextEncoding(TESSstring fontName);
VELA_API RuntimeObject *GetEncodingObjectFromCode(uint32_t code);
VELA_API uint32_t GetEncodingFromTEObject(RuntimeObject *encoding);

VELA_API uint32_t textEncodingBaseGetter(RuntimeObject *self, intptr_t parameter);
VELA_API uint32_t textEncodingVariantGetter(RuntimeObject *self, intptr_t parameter);
VELA_API uint32_t textEncodingFormatGetter(RuntimeObject *self, intptr_t parameter);
VELA_API uint32_t TextEncodingcodeGetter(RuntimeObject *self, intptr_t parameter);
VELA_API TESSstring textEncodingInternetName(RuntimeObject *self);
VELA_API TESSstring TextEncodingChr(RuntimeObject *self, uint32_t value);
VELA_API bool TextEncodingEquals(RuntimeObject *a, RuntimeObject *b);
VELA_API bool TextEncodingIsValidData(RuntimeObject *self, TESSstring data);

/* The Encodings module: rows 1 to 96; the count says 95. */
VELA_API RuntimeObject *EncodingsGetter(int32_t row);
VELA_API int32_t EncodingsCount(void);
VELA_API RuntimeObject *EncodingsGetFromIndex(int32_t index);
VELA_API RuntimeObject *EncodingsGetFromCode(uint32_t code);

VELA_API RuntimeObject *StringGetEncoding(TESSstring s);
VELA_API TESSstring StringSetEncoding(TESSstring s, RuntimeObject *encoding);
VELA_API TESSstring StringConvertEncoding(TESSstring s, RuntimeObject *encoding);

VELA_API RuntimeObject *getTextConverter(RuntimeObject *input, RuntimeObject *output);
VELA_API TESSstring textConverterConvert(RuntimeObject *converter, TESSstring s);
VELA_API void textConverterClear(RuntimeObject *converter);
VELA_API RuntimeObject *guessJapaneseEncoding(TESSstring s);

/* Vela.Core.TextEncoding. */
VELA_API RuntimeObject *TextEncoding_FromIANAName(TextValue name);
VELA_API TextValue TextEncoding_IANAName(RuntimeObject *self);
VELA_API RuntimeObject *TextEncoding_ConvertTextToData(RuntimeObject *self, TextValue text,
                                                       bool allowLossy);
VELA_API TextValue TextEncoding_ConvertDataToText(RuntimeObject *self, RuntimeObject *data,
                                                  bool allowLossy);

VELA_END_DECLS

#endif
