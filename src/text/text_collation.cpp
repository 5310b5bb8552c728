#include "text/text_collation.h"

#include <cstring>

#include <unicode/ustring.h>

#include "object/raise.h"
#include "support/assert.h"
#include "text/text_value.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "RuntimeCore/TextImpICU";

class CollatorCache {
 public:
  ~CollatorCache() {
    for (int32_t i = 0; i < mCount; ++i) ucol_close(mEntries[i].collator);
  }

  UCollator* Get(const TextOptions& options) {
    for (int32_t i = 0; i < mCount; ++i) {
      Entry& entry = mEntries[i];
      if (entry.caseSensitive == options.caseSensitive &&
          std::strcmp(entry.locale, options.locale) == 0)
        return entry.collator;
    }
    UCollator* collator = Open(options);
    if (!collator) return nullptr;
    if (mCount == kCapacity) {  // the oldest goes
      ucol_close(mEntries[0].collator);
      std::memmove(&mEntries[0], &mEntries[1], sizeof(Entry) * (kCapacity - 1));
      --mCount;
    }
    Entry& entry = mEntries[mCount++];
    entry.collator = collator;
    entry.caseSensitive = options.caseSensitive;
    std::memcpy(entry.locale, options.locale, sizeof entry.locale);
    return collator;
  }

 private:
  static UCollator* Open(const TextOptions& options) {
    UErrorCode status = U_ZERO_ERROR;
    UCollator* collator = ucol_open(options.locale, &status);
    if (U_FAILURE(status) && options.namedLocale) {
      status = U_ZERO_ERROR;
      collator = ucol_open(kDefaultTextLocale, &status);
    }
    if (U_FAILURE(status)) return nullptr;
    if (options.caseSensitive)
      ucol_setAttribute(collator, UCOL_CASE_FIRST, UCOL_UPPER_FIRST, &status);
    else
      ucol_setStrength(collator, UCOL_PRIMARY);
    return collator;
  }

  static constexpr int32_t kCapacity = 8;
  struct Entry {
    UCollator* collator;
    bool caseSensitive;
    char locale[sizeof TextOptions::locale];
  };
  Entry mEntries[kCapacity];
  int32_t mCount = 0;
};

thread_local CollatorCache tCollators;

const UChar* U(const char16_t* units) { return reinterpret_cast<const UChar*>(units); }

int32_t Sign(int32_t value) { return value < 0 ? -1 : (value > 0 ? 1 : 0); }

LocaleNameReader gLocaleNameReader = nullptr;

// The name of the locale object; Nil means en_US.
void ReadLocaleName(RuntimeObject* locale, TextOptions& out) {
  std::strcpy(out.locale, kDefaultTextLocale);
  out.namedLocale = locale != nullptr;
  if (!locale) return;
  if (!gLocaleNameReader) {
    VELA_NOT_BUILT("Locale: no reader of locale objects is registered");
    return;
  }
  gLocaleNameReader(locale, out.locale, sizeof out.locale);
}

}  // namespace

void SetLocaleNameReader(LocaleNameReader reader) { gLocaleNameReader = reader; }

bool ReadTextOptions(int32_t options, RuntimeObject* locale, TextOptions& out) {
  if (uint32_t(options) > 1) {
    RaiseTextInvalidArgument("Options specified are invalid");
    return false;
  }
  out.caseSensitive = options == 1;
  ReadLocaleName(locale, out);
  return true;
}

UCollator* CollatorFor(const TextOptions& options) { return tCollators.Get(options); }

int32_t CompareUnits(std::u16string_view a, std::u16string_view b, const TextOptions& options) {
  if (UCollator* collator = CollatorFor(options))
    return ucol_strcoll(collator, U(a.data()), int32_t(a.size()), U(b.data()), int32_t(b.size()));
  if (options.caseSensitive)
    return Sign(u_strCompare(U(a.data()), int32_t(a.size()), U(b.data()), int32_t(b.size()),
                             false));
  UErrorCode status = U_ZERO_ERROR;
  return Sign(u_strCaseCompare(U(a.data()), int32_t(a.size()), U(b.data()), int32_t(b.size()),
                               U_FOLD_CASE_DEFAULT, &status));
}

int32_t CompareTextValues(TextValue a, TextValue b, const TextOptions& options) {
  if (a == b) return 0;
  if (!a) return -1;
  if (!b) return 1;
  return CompareUnits(TextView(a), TextView(b), options);
}

TextMatcher::TextMatcher(std::u16string_view text, std::u16string_view pattern,
                         const TextOptions& options)
    : mTextLength(int32_t(text.size())) {
  UCollator* collator = CollatorFor(options);
  if (!collator || text.empty() || pattern.empty()) return;
  UErrorCode status = U_ZERO_ERROR;
  mSearch = usearch_openFromCollator(U(pattern.data()), int32_t(pattern.size()), U(text.data()),
                                     int32_t(text.size()), collator, nullptr, &status);
  if (U_FAILURE(status)) {
    if (mSearch) usearch_close(mSearch);
    mSearch = nullptr;
  }
}

TextMatcher::~TextMatcher() {
  if (mSearch) usearch_close(mSearch);
}

bool TextMatcher::Find(int32_t from, int32_t& start, int32_t& length) {
  if (!mSearch || from < 0 || from >= mTextLength) return false;
  UErrorCode status = U_ZERO_ERROR;
  const int32_t found = usearch_following(mSearch, from, &status);
  if (U_FAILURE(status) || found == USEARCH_DONE) return false;
  start = found;
  length = usearch_getMatchedLength(mSearch);
  return true;
}

int32_t IndexOfCore(TextValue text, TextValue find, int32_t start, const TextOptions& options) {
  if (TextLength(find) == 0) return start;
  if (TextLength(text) == 0) return -1;
  const std::u16string_view units = TextView(text);
  GraphemeCursor cursor(units.data(), int32_t(units.size()), options.locale);
  const int32_t from = cursor.Advance(start < 0 ? 0 : start);
  if (from < 0) return -1;
  TextMatcher matcher(units, TextView(find), options);
  int32_t at, length;
  if (!matcher.Find(from, at, length)) return -1;
  // The index of the character that holds the match's first unit.
  int32_t index = start < 0 ? 0 : start;
  for (int32_t next = cursor.Next(); next >= 0 && next <= at; next = cursor.Next()) ++index;
  return index;
}

void RaiseTextInvalidArgument(const char* message) {
  RaiseNamedException("Vela.Core.InvalidArgumentException", 0, message);
}

void RaiseTextOutOfBounds(const char* message) {
  RaiseNamedException("OutOfBoundsException", 0, message);
}

}  // namespace vela
