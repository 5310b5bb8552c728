// Text comparison and search exports: Compare, Equals, BeginsWith,
// EndsWith, IndexOf and Find.
#include "support/export.h"
#include "text/text_ops.h"

namespace vela {

bool BeginsWithCore(TextValue text, TextValue other, const TextOptions& options) {
  TextHolder head = TextHolder::Adopt(TextSubstring(text, 0, TextCharCount(other)));
  return CompareTextValues(head.get(), other, options) == 0;
}

bool EndsWithCore(TextValue text, TextValue other, const TextOptions& options) {
  const int32_t wanted = TextCharCount(other);
  const int32_t length = TextCharCount(text);
  TextHolder tail = TextHolder::Adopt(wanted >= length ? Share(text)
                                                       : TextSubstring(text, length - wanted, -1));
  return CompareTextValues(tail.get(), other, options) == 0;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t RuntimeCompareText(TextValue a, TextValue b) {
  return CompareTextValues(a, b, TextOptions());
}

VELA_EXPORT int32_t RuntimeCompareTextWithOptions(TextValue a, TextValue b, int32_t options,
                                                  RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return 0;
  return CompareTextValues(a, b, read);
}

VELA_EXPORT VelaBoolean RuntimeTextEquals(TextValue a, TextValue b) {
  return CompareTextValues(a, b, TextOptions()) == 0;
}

VELA_EXPORT VelaBoolean RuntimeTextBeginsWith(TextValue text, TextValue other, int32_t options,
                                              RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return false;
  if (TextLength(other) == 0) {
    RaiseTextInvalidArgument(
        "The BeginsWith function's 'other' argument cannot be an empty text value");
    return false;
  }
  return BeginsWithCore(text, other, read);
}

VELA_EXPORT VelaBoolean RuntimeTextEndsWith(TextValue text, TextValue other, int32_t options,
                                            RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return false;
  if (TextLength(other) == 0) {
    RaiseTextInvalidArgument(
        "The EndsWith function's 'other' argument cannot be an empty text value");
    return false;
  }
  return EndsWithCore(text, other, read);
}

VELA_EXPORT int32_t RuntimeTextIndexOf(TextValue text, int32_t start, TextValue other,
                                       int32_t options, RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return -1;
  if (start < 0) {
    RaiseTextOutOfBounds("startPosition cannot be < 0");
    return -1;
  }
  if (start > TextCharCount(text)) {
    RaiseTextOutOfBounds("startPosition cannot be greater than the text length");
    return -1;
  }
  if (TextLength(other) == 0) {
    RaiseTextInvalidArgument(
        "The IndexOf function's 'other' argument cannot be an empty text value");
    return -1;
  }
  return IndexOfCore(text, other, start, read);
}

VELA_EXPORT int32_t RuntimeTextFind(TextValue text, TextValue find, int32_t start) {
  if (start > 0 && start > TextCharCount(text)) {
    RaiseTextOutOfBounds();
    return -1;
  }
  return IndexOfCore(text, find, start < 0 ? 0 : start, TextOptions());
}
