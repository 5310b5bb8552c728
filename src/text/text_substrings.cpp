// Substrings by character, case mapping, trimming and single code points.
#include <cstdlib>
#include <cstring>

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "support/export.h"
#include "text/text_ops.h"

namespace vela {
namespace {

const UChar* U(const char16_t* units) { return reinterpret_cast<const UChar*>(units); }

// Runs one of ICU's case mappings: a first try into a buffer of the source's
// size, a second one into the size it reports. Any other failure gives Nil.
template <class Map>
TextValue MapCase(TextValue text, Map map) {
  const int32_t length = TextLength(text);
  if (length == 0) return nullptr;
  int32_t capacity = length + 1;
  auto* buffer = static_cast<UChar*>(std::malloc(size_t(capacity) * sizeof(UChar)));
  if (!buffer) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  int32_t size = map(buffer, capacity, U(TextUnits(text)), length, &status);
  if (status == U_BUFFER_OVERFLOW_ERROR || status == U_STRING_NOT_TERMINATED_WARNING) {
    capacity = size + 1;
    auto* grown = static_cast<UChar*>(std::realloc(buffer, size_t(capacity) * sizeof(UChar)));
    if (!grown) {
      std::free(buffer);
      return nullptr;
    }
    buffer = grown;
    status = U_ZERO_ERROR;
    size = map(buffer, capacity, U(TextUnits(text)), length, &status);
  }
  if (U_FAILURE(status) || size <= 0 || size >= capacity) {
    std::free(buffer);
    return nullptr;
  }
  if (size == length && std::memcmp(buffer, TextUnits(text), size_t(size) * 2) == 0) {
    std::free(buffer);  // nothing changed: the text itself
    return Share(text);
  }
  buffer[size] = 0;
  return AdoptTextUnits(reinterpret_cast<char16_t*>(buffer), size);
}

TextValue Trim(TextValue text, bool left, bool right) {
  const char16_t* units = TextUnits(text);
  const int32_t length = TextLength(text);
  int32_t from = 0, to = length;
  while (left && from < to) {
    int32_t next = from;
    UChar32 c;
    U16_NEXT(units, next, to, c);
    if (!u_isUWhiteSpace(c)) break;
    from = next;
  }
  while (right && to > from) {
    int32_t previous = to;
    UChar32 c;
    U16_PREV(units, from, previous, c);
    if (!u_isUWhiteSpace(c)) break;
    to = previous;
  }
  if (from == 0 && to == length) return Share(text);
  return NewText(units + from, to - from);
}

bool OutOfBounds(bool condition) {
  if (condition) RaiseTextOutOfBounds();
  return condition;
}

}  // namespace

TextValue TextSubstring(TextValue text, int32_t start, int32_t count) {
  const int32_t length = TextLength(text);
  if (length == 0 || count == 0) return nullptr;
  const char16_t* units = TextUnits(text);
  GraphemeCursor cursor(units, length);
  const int32_t from = cursor.Advance(start);
  if (from < 0 || from == length) return nullptr;
  int32_t to = length, characters = 0;
  if (count < 0) {
    const int32_t total = CachedCharCount(text);
    if (total > 0) characters = total - start;
  } else {
    while (characters < count && cursor.Next() >= 0) ++characters;
    to = cursor.Current();
  }
  if (from == 0 && to == length) return Share(text);
  return NewText(units + from, to - from, characters);
}

}  // namespace vela

using namespace vela;

VELA_EXPORT TextValue RuntimeTextLeft(TextValue text, int32_t count) {
  const int32_t length = TextCharCount(text);
  if (OutOfBounds(count < 0 || count > length)) return nullptr;
  return TextSubstring(text, 0, count);
}

VELA_EXPORT TextValue RuntimeTextRight(TextValue text, int32_t count) {
  const int32_t length = TextCharCount(text);
  if (OutOfBounds(count < 0 || count > length)) return nullptr;
  if (count == length) return Share(text);
  return TextSubstring(text, length - count, -1);
}

VELA_EXPORT TextValue RuntimeTextMid2(TextValue text, int32_t start) {
  if (OutOfBounds(start < 0 || start > TextCharCount(text))) return nullptr;
  return TextSubstring(text, start, -1);
}

VELA_EXPORT TextValue RuntimeTextMid3(TextValue text, int32_t start, int32_t length) {
  if (OutOfBounds(start < 0 || length < 0 || int64_t(start) + length > TextCharCount(text)))
    return nullptr;
  return TextSubstring(text, start, length);
}

#define VELA_TEXT_CASE_EXPORT(Export, icuCall)                                          \
  VELA_EXPORT TextValue Export(TextValue text, RuntimeObject* locale) {                 \
    TextOptions options;                                                                \
    ReadTextOptions(0, locale, options);                                                \
    const char* name = options.locale;                                                  \
    return MapCase(text, [name](UChar* d, int32_t c, const UChar* s, int32_t n,         \
                                UErrorCode* e) { return icuCall; });                    \
  }
VELA_TEXT_CASE_EXPORT(RuntimeTextLCase, u_strToLower(d, c, s, n, name, e))
VELA_TEXT_CASE_EXPORT(RuntimeTextUCase, u_strToUpper(d, c, s, n, name, e))
VELA_TEXT_CASE_EXPORT(RuntimeTextTitleCase, u_strToTitle(d, c, s, n, nullptr, name, e))
#undef VELA_TEXT_CASE_EXPORT

VELA_EXPORT TextValue RuntimeTextLTrim(TextValue text) { return Trim(text, true, false); }
VELA_EXPORT TextValue RuntimeTextRTrim(TextValue text) { return Trim(text, false, true); }
VELA_EXPORT TextValue RuntimeTextTrim(TextValue text) { return Trim(text, true, true); }

VELA_EXPORT TextValue RuntimeTextFromUnicodePoint(uint32_t codePoint) {
  UChar units[6];
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  const auto value = static_cast<UChar32>(codePoint);
  u_strFromUTF32(units, 6, &length, &value, 1, &status);
  if (U_FAILURE(status)) {
    RaiseTextInvalidArgument("Invalid codepoint");
    return nullptr;
  }
  return NewText(reinterpret_cast<const char16_t*>(units), length, 1);
}

VELA_EXPORT uint32_t RuntimeGetUnicodePoint(TextValue text) {
  const int32_t length = TextLength(text);
  if (length == 0) return 0;
  const char16_t* units = TextUnits(text);
  int32_t at = 0;
  UChar32 c;
  U16_NEXT(units, at, length < 2 ? length : 2, c);
  return U16_IS_SURROGATE(c) ? 0xFFFDu : uint32_t(c);
}
