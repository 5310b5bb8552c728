// Text: the character count of 1 MiB against a bare ICU character break
// iteration of the same units, a full walk with the character iterator, and
// the comparison of two short texts with the thread's cached collator
// against a collator opened per call.
#include <benchmark/benchmark.h>

#include <string>

#include <unicode/ubrk.h>
#include <unicode/ucol.h>

#include "text/text_iterators.h"
#include "text/text_value.h"
#include "vela/application.h"
#include "vela/text.h"

namespace {

constexpr size_t kUnits = (1 << 20) / 2;  // 1 MiB of UTF-16

// Argument 0: Latin text with a combining accent now and then, a few CJK
// characters and a regional-indicator flag, the mix of clusters a document
// has. Argument 1: Greek and CJK without a single ASCII character.
std::u16string MixedUnits(int64_t kind = 0) {
  const std::u16string latin[] = {u"The quick brown fox ", u"e\u0301", u"t\u00e9 ",
                                  u"\u6f22\u5b57 ", u"\U0001F1EB\U0001F1F7 ", u"jumps. "};
  const std::u16string other[] = {u"\u03b1\u03b2\u03b3\u3000", u"\u03ad\u0301",
                                  u"\u6f22\u5b57\u3000", u"\U0001F1EB\U0001F1F7",
                                  u"\u03c9\u03c8\u3002", u"\u00e9\u00e8"};
  const std::u16string* pieces = kind == 0 ? latin : other;
  std::u16string text;
  for (size_t i = 0; text.size() < kUnits; ++i) text += pieces[i % 6];
  text.resize(kUnits);
  if (text.back() >= 0xD800 && text.back() < 0xDC00) text.back() = u'x';
  return text;
}

vela::TextHolder MixedText(int64_t kind) {
  const std::u16string units = MixedUnits(kind);
  return vela::TextHolder::Adopt(vela::NewText(units.data(), int32_t(units.size())));
}

void BM_TextLen(benchmark::State& state) {
  vela::TextHolder text = MixedText(state.range(0));
  for (auto _ : state) {
    text.get()->mCharCount = 0;  // count afresh each time
    benchmark::DoNotOptimize(RuntimeTextLen(text.get()));
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kUnits) * 2);
}
BENCHMARK(BM_TextLen)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_IcuCharacterBreaks(benchmark::State& state) {
  const std::u16string units = MixedUnits(state.range(0));
  UErrorCode status = U_ZERO_ERROR;
  UBreakIterator* breaks = ubrk_open(UBRK_CHARACTER, "en_US",
                                     reinterpret_cast<const UChar*>(units.data()),
                                     int32_t(units.size()), &status);
  for (auto _ : state) {
    int32_t count = 0;
    ubrk_first(breaks);
    while (ubrk_next(breaks) != UBRK_DONE) ++count;
    benchmark::DoNotOptimize(count);
  }
  ubrk_close(breaks);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kUnits) * 2);
}
BENCHMARK(BM_IcuCharacterBreaks)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The iterator object as compiled code drives it: MoveNext, then the
// current character as a Text of its own.
void BM_TextCharacterIteration(benchmark::State& state) {
  static const bool bound = [] {
    RuntimeClass* cls = RuntimeNewClass(nullptr, 0, 0, 0, 0, 0, 0);
    cls->name = "Text._CharacterIterator";
    cls->flags = kPropertiesBackwardsFlag;
    RuntimeInitExternalClasses();
    return true;
  }();
  (void)bound;
  vela::TextHolder text = MixedText(state.range(0));
  for (auto _ : state) {
    RuntimeObject* iterator = TextCharacterGetIterator(text.get());
    while (TextCharacterIteratorMoveNext(iterator))
      RuntimeUnlockText(vela::TextCharacterIteratorCurrent(iterator));
    RuntimeUnlockObject(iterator);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kUnits) * 2);
}
BENCHMARK(BM_TextCharacterIteration)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_CompareShortTexts(benchmark::State& state) {
  vela::TextHolder a = vela::TextHolder::Adopt(vela::NewText(u"R\u00e9sum\u00e9 of 2024", 14));
  vela::TextHolder b = vela::TextHolder::Adopt(vela::NewText(u"resume of 2025", 14));
  const int32_t options = int32_t(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(RuntimeCompareTextWithOptions(a.get(), b.get(), options, nullptr));
}
BENCHMARK(BM_CompareShortTexts)->Arg(0)->Arg(1);

// What the comparison costs when every call opens and closes its collator.
void BM_CompareShortTextsOpeningCollator(benchmark::State& state) {
  const std::u16string a = u"R\u00e9sum\u00e9 of 2024", b = u"resume of 2025";
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    UCollator* collator = ucol_open("en_US", &status);
    ucol_setStrength(collator, UCOL_PRIMARY);
    benchmark::DoNotOptimize(ucol_strcoll(collator, reinterpret_cast<const UChar*>(a.data()),
                                          int32_t(a.size()),
                                          reinterpret_cast<const UChar*>(b.data()),
                                          int32_t(b.size())));
    ucol_close(collator);
  }
}
BENCHMARK(BM_CompareShortTextsOpeningCollator);

}  // namespace
