// The String functions of the newer API that work through Text
// (StringBeginsWith and the others), and the classic extension forms with
// comparison options (StringExtends_...), which work by the classic rules
// without a locale and through Text with one.
#include "support/export.h"
#include "text/string_holder.h"
#include "text/text_ops.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

TextHolder AsText(TESSstring s) { return TextHolder::Adopt(TextFromString(s)); }

bool HasOther(TESSstring other, const char* message) {
  if (StringLength(other) > 0) return true;
  RaiseTextInvalidArgument(message);
  return false;
}

int32_t IndexOfString(TESSstring s, int32_t start, TESSstring other, int32_t options,
                      RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return -1;
  if (start < 0) {
    RaiseTextOutOfBounds("startPosition cannot be < 0");
    return -1;
  }
  if (start > StringDBCSLen(s)) {
    RaiseTextOutOfBounds("startPosition cannot be greater than the text length");
    return -1;
  }
  if (!HasOther(other, "The IndexOf function's 'other' argument cannot be an empty string value"))
    return -1;
  return IndexOfCore(AsText(s).get(), AsText(other).get(), start, read);
}

// The classic prefix and suffix tests: as many characters as `other` has,
// compared as StrComp compares (folding case for options 0).
bool ClassicAffix(TESSstring s, TESSstring other, int32_t options, bool prefix) {
  const int32_t count = StringDBCSLen(other);
  StringHolder part =
      StringHolder::Adopt(prefix ? StringDBCSLeft(s, count) : StringDBCSRight(s, count));
  return options == 0 ? RuntimeStringCompare(part.get(), other) == 0
                      : StringStrCompare(part.get(), other, 1) == 0;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT VelaBoolean StringBeginsWith(TESSstring s, TESSstring other, int32_t options,
                                         RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return false;
  if (!HasOther(other,
                "The BeginsWith function's 'other' argument cannot be an empty string value"))
    return false;
  return BeginsWithCore(AsText(s).get(), AsText(other).get(), read);
}

VELA_EXPORT VelaBoolean StringEndsWith(TESSstring s, TESSstring other, int32_t options,
                                       RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return false;
  if (!HasOther(other, "The EndsWith function's 'other' argument cannot be an empty string value"))
    return false;
  return EndsWithCore(AsText(s).get(), AsText(other).get(), read);
}

VELA_EXPORT int32_t StringCompare(TESSstring a, TESSstring b, int32_t options,
                                  RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return 0;
  if (a == b) return 0;
  return CompareTextValues(AsText(a).get(), AsText(b).get(), read);
}

VELA_EXPORT int32_t StringIndexOf(TESSstring s, TESSstring other, int32_t options,
                                  RuntimeObject* locale) {
  return IndexOfString(s, 0, other, options, locale);
}

VELA_EXPORT int32_t StringIndexOfWithStartPosition(TESSstring s, int32_t start, TESSstring other,
                                                   int32_t options, RuntimeObject* locale) {
  return IndexOfString(s, start, other, options, locale);
}

VELA_EXPORT VelaBoolean StringContainsNoLocale(TESSstring s, TESSstring other, int32_t options) {
  return IndexOfString(s, 0, other, options, nullptr) >= 0;
}

VELA_EXPORT VelaBoolean StringExtends_BeginsWith(TESSstring s, TESSstring other, int32_t options,
                                                 RuntimeObject* locale) {
  if (locale) return StringBeginsWith(s, other, options, locale);
  return ClassicAffix(s, other, options, true);
}

VELA_EXPORT VelaBoolean StringExtends_EndsWith(TESSstring s, TESSstring other, int32_t options,
                                               RuntimeObject* locale) {
  if (locale) return StringEndsWith(s, other, options, locale);
  return ClassicAffix(s, other, options, false);
}

VELA_EXPORT int32_t StringExtends_Compare(TESSstring a, TESSstring b, int32_t options,
                                          RuntimeObject* locale) {
  if (locale) return StringCompare(a, b, options, locale);
  return options == 0 ? RuntimeStringCompare(a, b) : StringStrCompare(a, b, 1);
}

VELA_EXPORT int32_t StringExtends_IndexOf(TESSstring s, int32_t start, TESSstring find,
                                          int32_t options, RuntimeObject* locale) {
  if (start < 0) {
    RaiseTextOutOfBounds("startPosition cannot be < 0");
    return -1;
  }
  if (locale) return StringIndexOfWithStartPosition(s, start, find, options, locale);
  if (start == INT32_MAX) return -1;
  const int32_t found = options == 0 ? StringExtendsInStr(s, start + 1, find)
                                     : StringExtendsInStrB(s, start + 1, find);
  return found - 1;
}
