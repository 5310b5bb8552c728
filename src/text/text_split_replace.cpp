// Split, SplitChars, Join, Replace and ReplaceAll of Text. Matches come
// from one collation search over the whole text, each one looked for from
// the end of the one before, so replaced text is never scanned again.
#include <cstring>
#include <string>
#include <vector>

#include "object/arrays/array_record.h"
#include "support/export.h"
#include "text/text_ops.h"

namespace vela {
namespace {

// A new one-dimensional Text array that takes over the pieces' references.
RuntimeArray* TextArrayOf(std::vector<TextHolder>& pieces) {
  RuntimeArray* array = NewFilledArray(TableFor(kArrayText, 1), int32_t(pieces.size()));
  if (!array) return nullptr;
  auto* slots = static_cast<TextValue*>(array->data);
  for (size_t i = 0; i < pieces.size(); ++i) slots[i] = pieces[i].Release();
  return array;
}

std::vector<TextHolder> SplitPieces(TextValue text, TextValue separator,
                                    const TextOptions& options) {
  std::vector<TextHolder> pieces;
  const std::u16string_view units = TextView(text);
  TextMatcher matcher(units, TextView(separator), options);
  int32_t from = 0, at, length;
  while (matcher.Find(from, at, length) && length > 0) {
    pieces.push_back(TextHolder::Adopt(NewText(units.data() + from, at - from)));
    from = at + length;
  }
  pieces.push_back(TextHolder::Adopt(NewText(units.data() + from, int32_t(units.size()) - from)));
  return pieces;
}

// Replaces the first match, or every one; the text itself when none.
TextValue ReplaceMatches(TextValue text, TextValue find, TextValue with,
                         const TextOptions& options, bool all) {
  const std::u16string_view units = TextView(text);
  TextMatcher matcher(units, TextView(find), options);
  std::u16string result;
  int32_t from = 0, at, length;
  bool replaced = false;
  while ((all || !replaced) && matcher.Find(from, at, length) && length > 0) {
    result.append(units.substr(size_t(from), size_t(at - from)));
    result.append(TextView(with));
    from = at + length;
    replaced = true;
  }
  if (!replaced) return Share(text);
  result.append(units.substr(size_t(from)));
  return NewText(result.data(), int32_t(result.size()));
}

bool ReadFindArgument(TextValue find, const char* message) {
  if (TextLength(find) > 0) return true;
  RaiseTextInvalidArgument(message);
  return false;
}

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeArray* RuntimeTextSplit(TextValue text, TextValue separator, int32_t options,
                                           RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return nullptr;
  if (!ReadFindArgument(separator,
                        "The Split function's 'separator' argument cannot be an empty text value"))
    return nullptr;
  std::vector<TextHolder> pieces;
  if (text) pieces = SplitPieces(text, separator, read);
  return TextArrayOf(pieces);
}

VELA_EXPORT RuntimeArray* RuntimeTextSplitChars(TextValue text) {
  std::vector<TextHolder> pieces;
  const int32_t length = TextLength(text);
  GraphemeCursor cursor(TextUnits(text), length);
  for (int32_t from = 0, to; (to = cursor.Next()) >= 0; from = to)
    pieces.push_back(TextHolder::Adopt(NewText(TextUnits(text) + from, to - from, 1)));
  return TextArrayOf(pieces);
}

VELA_EXPORT TextValue RuntimeTextJoin(RuntimeArray* texts, TextValue separator) {
  if (!texts) {
    RaiseTextInvalidArgument("Array cannot be Nil");
    return nullptr;
  }
  const ArrayShape shape = DescribeArray(texts);
  if (!shape.valid || shape.kind != kArrayText || shape.dimensions != 1) return nullptr;
  const int32_t count = shape.upperBounds[0] + 1;
  if (count <= 0) return nullptr;
  const auto* elements = static_cast<TextValue*>(*shape.data);
  const int32_t gap = TextLength(separator);
  if (count == 1) return Share(elements[0]);
  int64_t total = int64_t(gap) * (count - 1);
  for (int32_t i = 0; i < count; ++i) total += TextLength(elements[i]);
  if (total > INT32_MAX) return nullptr;
  char16_t* out;
  TextValue joined = NewTextForFill(int32_t(total), &out);
  if (!joined) return nullptr;
  for (int32_t i = 0; i < count; ++i) {
    if (i > 0) {
      std::memcpy(out, TextUnits(separator), size_t(gap) * 2);
      out += gap;
    }
    std::memcpy(out, TextUnits(elements[i]), size_t(TextLength(elements[i])) * 2);
    out += TextLength(elements[i]);
  }
  return joined;
}

VELA_EXPORT TextValue RuntimeTextReplace(TextValue text, TextValue find, TextValue with,
                                         int32_t options, RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return nullptr;
  if (!ReadFindArgument(find,
                        "The Replace function's 'find' argument cannot be an empty text value"))
    return nullptr;
  return ReplaceMatches(text, find, with, read, false);
}

VELA_EXPORT TextValue RuntimeTextReplaceAll(TextValue text, TextValue find, TextValue with,
                                            int32_t options, RuntimeObject* locale) {
  TextOptions read;
  if (!ReadTextOptions(options, locale, read)) return nullptr;
  if (!ReadFindArgument(find,
                        "The ReplaceAll function's 'find' argument cannot be an empty text value"))
    return nullptr;
  return ReplaceMatches(text, find, with, read, true);
}
