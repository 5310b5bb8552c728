// Options, locales, ordering and searching of Text through ICU collation.
//
// The order of two texts is ucol_strcoll in the options' locale: primary
// strength when case is ignored (so accents are ignored too), the locale's
// default strength with upper case first when it is not. Collators are
// expensive to open, so each thread keeps the ones it made, configured once
// per (locale, case) pair; a collator is only read after that, so sharing it
// between calls changes no result.
#pragma once

#include <cstdint>
#include <string_view>

#include <unicode/ucol.h>
#include <unicode/usearch.h>

#include "text/text_graphemes.h"
#include "vela/text.h"

namespace vela {

struct TextOptions {
  bool caseSensitive = false;
  bool namedLocale = false;  // the caller gave a locale: fall back to en_US
  char locale[48] = "en_US";
};

// Where Text learns the ICU name of a locale object: the locale layer above
// registers its reader at start-up. Without one, only Nil can be read.
using LocaleNameReader = void (*)(RuntimeObject* locale, char* name, size_t capacity);
void SetLocaleNameReader(LocaleNameReader reader);

// Reads an options value and a locale object; false after raising
// Vela.Core.InvalidArgumentException ("Options specified are invalid").
bool ReadTextOptions(int32_t options, RuntimeObject* locale, TextOptions& out);

// The collator for the options, owned by the thread's cache; null when ICU
// could open none.
UCollator* CollatorFor(const TextOptions& options);

// -1, 0 or 1. The texts are not Nil-checked.
int32_t CompareUnits(std::u16string_view a, std::u16string_view b, const TextOptions& options);
// The same with the Nil rules: identical handles 0, Nil first.
int32_t CompareTextValues(TextValue a, TextValue b, const TextOptions& options);

// Repeated collation search of one pattern in one text.
class TextMatcher {
 public:
  TextMatcher(std::u16string_view text, std::u16string_view pattern, const TextOptions& options);
  ~TextMatcher();
  TextMatcher(const TextMatcher&) = delete;
  TextMatcher& operator=(const TextMatcher&) = delete;

  // The first match that starts at or after unit offset `from`: true with
  // its unit offset and length. False when there is none or ICU failed.
  bool Find(int32_t from, int32_t& start, int32_t& length);

 private:
  UStringSearch* mSearch = nullptr;
  int32_t mTextLength;
};

// The character index of the first match at or after character `start`,
// or -1. A Nil (empty) find gives `start`. No argument checks.
int32_t IndexOfCore(TextValue text, TextValue find, int32_t start, const TextOptions& options);

// Raising with the exception classes and messages of the Text functions.
void RaiseTextInvalidArgument(const char* message);
void RaiseTextOutOfBounds(const char* message = nullptr);

}  // namespace vela
