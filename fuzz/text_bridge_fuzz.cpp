// Arbitrary bytes through the bridges between String and Text and through
// the character (grapheme) machinery of Text.
//
// Input: byte 0 picks how the rest is read: as the text of a String in one
// of several encodings, or as raw UTF-16 units (lone surrogates included).
// Besides crashes and sanitizer reports, a run fails when a Text made from a
// String does not survive the round trip through UTF-8, when a Text's UTF-8
// form is not valid UTF-8, when character boundaries do not partition the
// units, or when the character count disagrees with the substrings.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "object/raise.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_graphemes.h"
#include "text/text_ops.h"
#include "vela/text.h"

namespace {

using vela::TextHolder;

constexpr uint32_t kEncodings[] = {kEncodingUTF8,   kEncodingUnknown, kEncodingASCII,
                                   kEncodingUTF16,  kEncodingUTF16BE, kEncodingMacRoman,
                                   kEncodingWindowsLatin1};
constexpr size_t kEncodingCount = sizeof kEncodings / sizeof kEncodings[0];

void Check(bool holds) {
  if (!holds) std::abort();
}

bool SameUnits(TextValue a, TextValue b) {
  return vela::TextLength(a) == vela::TextLength(b) &&
         std::memcmp(vela::TextUnits(a), vela::TextUnits(b), size_t(vela::TextLength(a)) * 2) == 0;
}

void CheckCharacters(TextValue text) {
  const int32_t length = vela::TextLength(text);
  const int32_t count = RuntimeTextLen(text);
  Check(count >= 0 && count <= length && (count == 0) == (length == 0));
  vela::GraphemeCursor cursor(vela::TextUnits(text), length);
  int32_t steps = 0, last = 0;
  for (int32_t next; (next = cursor.Next()) >= 0; last = next, ++steps) Check(next > last);
  Check(steps == count && last == length);

  const int32_t half = count / 2;
  TextHolder left = TextHolder::Adopt(RuntimeTextLeft(text, half));
  TextHolder rest = TextHolder::Adopt(RuntimeTextMid2(text, half));
  TextHolder joined = TextHolder::Adopt(RuntimeConcatText(left.get(), rest.get()));
  Check(SameUnits(joined.get(), text));
  Check(RuntimeTextLen(left.get()) == half);

  TextHolder trimmed = TextHolder::Adopt(RuntimeTextTrim(text));
  Check(vela::TextLength(trimmed.get()) <= length);
  TextHolder upper = TextHolder::Adopt(RuntimeTextUCase(text, nullptr));
  (void)RuntimeGetUnicodePoint(text);
  (void)vela::TextObjectHash(text);
  if (count > 0) {
    TextHolder last = TextHolder::Adopt(RuntimeTextRight(text, 1));
    const int32_t found = RuntimeTextIndexOf(text, 0, last.get(), 1, nullptr);
    Check(found >= -1 && found < count);
  }
}

// The UTF-8 String of a Text must be valid UTF-8: it decodes again, to the
// same units when the Text had no lone surrogate.
void CheckToString(TextValue text, bool wellFormed) {
  vela::StringHolder s = vela::StringHolder::Adopt(RuntimeStringFromText(text));
  Check((s.get() == nullptr) == (vela::TextLength(text) == 0));
  if (!s) return;
  Check(s.get()->mEncoding == kEncodingUTF8);
  TextHolder back = TextHolder::Adopt(vela::TextFromString(s.get()));
  Check(back.get() != nullptr);
  if (wellFormed) Check(SameUnits(back.get(), text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1 || size > 4096) return 0;
  vela::SetRaiseObserver([](const char*, int32_t, const char*) {});
  const uint8_t mode = data[0];
  const uint8_t* bytes = data + 1;
  const size_t length = size - 1;

  if (mode & 0x80) {
    // Raw UTF-16 units, lone surrogates and all (copied to be aligned).
    std::u16string units(length / 2, u'\0');
    std::memcpy(units.data(), bytes, units.size() * 2);
    TextHolder text = TextHolder::Adopt(vela::NewText(units.data(), int32_t(units.size())));
    CheckCharacters(text.get());
    CheckToString(text.get(), false);
  } else {
    const uint32_t encoding = kEncodings[mode % kEncodingCount];
    vela::StringHolder s =
        vela::StringHolder::Adopt(vela::NewString(bytes, int32_t(length), encoding));
    TextHolder text = TextHolder::Adopt(RuntimeTextFromOldString(s.get()));
    CheckCharacters(text.get());
    CheckToString(text.get(), true);
  }
  vela::SetRaiseObserver(nullptr);
  return 0;
}
