// The classic field, replace, split and join operations and their exports.
//
// The character forms bring the separator (find, delimiter) to the string's
// encoding and search case-insensitively, except that a separator without
// cased characters is searched exactly; the byte forms search exactly and
// convert nothing. Hits do not overlap: the search resumes behind each one.
// Fields are cut in bytes, so an empty field is Nil and a field that is the
// whole string is the string itself.
#include <cstring>
#include <vector>

#include "support/assert.h"
#include "support/export.h"
#include "text/classic_search.h"
#include "text/encoding_convert.h"
#include "text/string_chars.h"
#include "text/string_concat.h"
#include "text/string_ops_classic.h"
#include "text/string_record.h"
#include "vela/arrays.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/StringOpsClassic";

// `pattern` in the encoding of `s`; Nil when it cannot be brought there.
StringHolder InEncodingOf(TESSstring s, TESSstring pattern) {
  const uint32_t target = s->mEncoding;
  if (pattern->mEncoding == target || target == kEncodingUnknown) return StringHolder(pattern);
  StringHolder converted = StringHolder::Adopt(ConvertString(pattern, target));
  if (converted && converted.get()->mEncoding != target) converted.Reset();
  return converted;
}

// Exact in double-byte and UTF-16 text only when asked; elsewhere also for a
// separator without cased characters.
bool SearchExactly(TESSstring s, TESSstring separator) {
  if (IsUtf16Encoding(s->mEncoding) || LeadByteSetFor(s->mEncoding)) return false;
  return HasNoCase(separator);
}

// Bytes [from, to) of `s`, 0-based.
TESSstring Piece(TESSstring s, int64_t from, int64_t to) {
  return StringOpsClassic::Get().MidBytes(s, int32_t(from + 1), int32_t(to - from));
}

int32_t CountFields(TESSstring s, TESSstring separator, bool exact) {
  if (StringLength(s) == 0) return 0;
  if (StringLength(separator) == 0) return 1;
  PatternSearch search(s, separator, exact);
  int32_t count = 1;
  for (int64_t hit = search.Next(0); hit >= 0; hit = search.Next(hit + search.PatternLength()))
    ++count;
  return count;
}

TESSstring NthField(TESSstring s, TESSstring separator, int32_t index, bool exact) {
  if (StringLength(s) == 0 || StringLength(separator) == 0 || index < 1) return nullptr;
  PatternSearch search(s, separator, exact);
  int64_t from = 0;
  for (int32_t k = 1; k < index; ++k) {
    const int64_t hit = search.Next(from);
    if (hit < 0) return nullptr;
    from = hit + search.PatternLength();
  }
  const int64_t hit = search.Next(from);
  return Piece(s, from, hit < 0 ? s->mLength : hit);
}

TESSstring ReplaceFirst(TESSstring s, TESSstring find, TESSstring with, bool exact) {
  const int64_t hit = PatternSearch(s, find, exact).Next(0);
  if (hit < 0) {
    LockString(s);
    return s;
  }
  const int64_t m = find->mLength, w = StringLength(with), n = s->mLength;
  TESSstring result = NewString(nullptr, int32_t(n - m + w), s->mEncoding);
  if (!result) return nullptr;
  unsigned char* out = const_cast<unsigned char*>(StringBytes(result));
  std::memcpy(out, StringBytes(s), size_t(hit));
  if (w) std::memcpy(out + hit, StringBytes(with), size_t(w));
  std::memcpy(out + hit + w, StringBytes(s) + hit + m, size_t(n - hit - m));
  return result;
}

TESSstring GetHeld(void* context, int32_t index) {
  TESSstring s = (*static_cast<std::vector<StringHolder>*>(context))[size_t(index)].get();
  LockString(s);
  return s;
}

// The pieces between hits with `with` between them, joined.
TESSstring ReplaceEvery(TESSstring s, TESSstring find, TESSstring with, bool exact) {
  PatternSearch search(s, find, exact);
  std::vector<StringHolder> pieces;
  int64_t from = 0;
  for (int64_t hit = search.Next(0); hit >= 0; hit = search.Next(from)) {
    pieces.push_back(StringHolder::Adopt(Piece(s, from, hit)));
    pieces.emplace_back(with);
    from = hit + search.PatternLength();
  }
  if (pieces.empty()) {
    LockString(s);
    return s;
  }
  pieces.push_back(StringHolder::Adopt(Piece(s, from, s->mLength)));
  return StringOpsClassic::Get().JoinFrom(GetHeld, &pieces, int32_t(pieces.size() - 1), nullptr);
}

void Split(TESSstring s, TESSstring delimiter, bool exact, bool byBytes, StringPieceSink sink,
           void* context) {
  if (StringLength(s) == 0) return;
  const int64_t n = s->mLength;
  if (StringLength(delimiter) == 0) {
    const CharRule rule = byBytes ? CharRule{CharForm::kByte, nullptr} : CharRuleFor(s->mEncoding);
    for (int64_t i = 0; i < n;) {
      const int64_t next = StepChars(rule, StringBytes(s), n, i, 1);
      StringHolder piece = StringHolder::Adopt(Piece(s, i, next));
      sink(context, piece.get());
      i = next;
    }
    return;
  }
  PatternSearch search(s, delimiter, exact);
  int64_t from = 0;
  for (int64_t hit = search.Next(0); hit >= 0; hit = search.Next(from)) {
    StringHolder piece = StringHolder::Adopt(Piece(s, from, hit));
    sink(context, piece.get());
    from = hit + search.PatternLength();
  }
  StringHolder rest = StringHolder::Adopt(Piece(s, from, n));
  sink(context, rest.get());
}

void CollectPiece(void* context, TESSstring piece) {
  static_cast<std::vector<StringHolder>*>(context)->emplace_back(piece);
}

// A one-dimensional String array of the pieces; empty (bound -1) for none.
RuntimeArray* SplitToArray(TESSstring s, TESSstring delimiter, bool byBytes) {
  std::vector<StringHolder> pieces;
  if (byBytes) StringOpsClassic::Get().SplitBytes(s, delimiter, CollectPiece, &pieces);
  else StringOpsClassic::Get().SplitChars(s, delimiter, CollectPiece, &pieces);
  RuntimeArray* array =
      RuntimeArrayCreateSingleDimBoundedArray(kArrayString, int32_t(pieces.size()) - 1);
  if (!array) return nullptr;
  auto set = reinterpret_cast<void (*)(RuntimeArray*, TESSstring, int32_t)>(array->ops->set);
  for (size_t i = 0; i < pieces.size(); ++i) set(array, pieces[i].get(), int32_t(i));
  return array;
}

TESSstring GetArrayElement(void* context, int32_t index) {
  auto* array = static_cast<RuntimeArray*>(context);
  return reinterpret_cast<TESSstring (*)(RuntimeArray*, int32_t)>(array->ops->get)(array, index);
}

}  // namespace

int32_t StringOpsClassic::CountFieldsChars(TESSstring s, TESSstring separator) {
  if (StringLength(s) == 0) return 0;
  if (StringLength(separator) == 0) return 1;
  StringHolder sep = InEncodingOf(s, separator);
  if (!sep) return 1;
  return CountFields(s, sep.get(), SearchExactly(s, sep.get()));
}

int32_t StringOpsClassic::CountFieldsBytes(TESSstring s, TESSstring separator) {
  return CountFields(s, separator, true);
}

TESSstring StringOpsClassic::NthFieldChars(TESSstring s, TESSstring separator, int32_t index) {
  if (StringLength(s) == 0 || StringLength(separator) == 0 || index < 1) return nullptr;
  StringHolder sep = InEncodingOf(s, separator);
  if (!sep) return index == 1 ? Piece(s, 0, s->mLength) : nullptr;
  return NthField(s, sep.get(), index, SearchExactly(s, sep.get()));
}

TESSstring StringOpsClassic::NthFieldBytes(TESSstring s, TESSstring separator, int32_t index) {
  return NthField(s, separator, index, true);
}

namespace {
using Replacer = TESSstring (*)(TESSstring, TESSstring, TESSstring, bool);

// The byte forms search the bytes as they are; an empty find changes nothing.
TESSstring ReplaceInBytes(TESSstring s, TESSstring find, TESSstring with, Replacer replace) {
  if (!s) return nullptr;
  if (StringLength(find) == 0) {
    LockString(s);
    return s;
  }
  return replace(s, find, with, true);
}

// The character forms first bring find and replacement into the string's
// encoding; what cannot be brought over is not found.
TESSstring ReplaceInChars(TESSstring s, TESSstring find, TESSstring with, Replacer replace) {
  if (!s) return nullptr;
  StringHolder f = StringLength(find) ? InEncodingOf(s, find) : StringHolder();
  StringHolder w = with ? InEncodingOf(s, with) : StringHolder();
  if (!f || (with && !w)) {
    LockString(s);
    return s;
  }
  return replace(s, f.get(), w.get(), SearchExactly(s, f.get()));
}
}  // namespace

TESSstring StringOpsClassic::ReplaceBytes(TESSstring s, TESSstring find, TESSstring with) {
  return ReplaceInBytes(s, find, with, ReplaceFirst);
}

TESSstring StringOpsClassic::ReplaceChars(TESSstring s, TESSstring find, TESSstring with) {
  return ReplaceInChars(s, find, with, ReplaceFirst);
}

TESSstring StringOpsClassic::ReplaceAllBytes(TESSstring s, TESSstring find, TESSstring with) {
  return ReplaceInBytes(s, find, with, ReplaceEvery);
}

TESSstring StringOpsClassic::ReplaceAllChars(TESSstring s, TESSstring find, TESSstring with) {
  return ReplaceInChars(s, find, with, ReplaceEvery);
}

void StringOpsClassic::SplitChars(TESSstring s, TESSstring delimiter, StringPieceSink sink,
                                  void* context) {
  if (StringLength(s) == 0) return;
  if (StringLength(delimiter) == 0) return Split(s, nullptr, true, false, sink, context);
  StringHolder d = InEncodingOf(s, delimiter);
  if (!d) {  // a delimiter that cannot occur: the whole string is one piece
    sink(context, s);
    return;
  }
  Split(s, d.get(), SearchExactly(s, d.get()), false, sink, context);
}

void StringOpsClassic::SplitBytes(TESSstring s, TESSstring delimiter, StringPieceSink sink,
                                  void* context) {
  Split(s, delimiter, true, true, sink, context);
}

TESSstring StringOpsClassic::JoinFrom(StringElementGetter getter, void* context, int32_t lastIndex,
                                      TESSstring delimiter) {
  if (!context || lastIndex < 0) return nullptr;
  if (lastIndex == 0) return getter(context, 0);
  std::vector<StringHolder> parts;
  parts.reserve(size_t(lastIndex) + 1);
  uint32_t encoding = delimiter ? delimiter->mEncoding : kEncodingASCII;
  bool first = true;
  for (int32_t i = 0; i <= lastIndex; ++i) {
    parts.push_back(StringHolder::Adopt(getter(context, i)));
    if (TESSstring e = parts.back().get()) {
      encoding = first ? e->mEncoding : CombineEncodings(encoding, e->mEncoding, true);
      first = false;
    }
  }
  int64_t total = 0;
  for (StringHolder& part : parts) {
    if (part && part.get()->mEncoding != encoding)
      part.Reset(ConvertString(part.get(), encoding));
    total += StringLength(part.get());
  }
  StringHolder delim(delimiter);
  if (delim && delimiter->mEncoding != encoding) delim.Reset(ConvertString(delimiter, encoding));
  const int64_t delimLength = StringLength(delim.get());
  const int64_t size = total + delimLength * lastIndex;
  if (size > INT32_MAX) return nullptr;
  TESSstring result = NewString(nullptr, int32_t(size), encoding);
  if (!result) return nullptr;
  unsigned char* const buffer = const_cast<unsigned char*>(StringBytes(result));
  unsigned char* ptr = buffer;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i && delimLength) {
      std::memcpy(ptr, StringBytes(delim.get()), size_t(delimLength));
      ptr += delimLength;
    }
    if (const int32_t n = StringLength(parts[i].get())) {
      std::memcpy(ptr, StringBytes(parts[i].get()), size_t(n));
      ptr += n;
    }
  }
  VELA_ASSERT(ptr - buffer == size);
  return result;
}

}  // namespace vela

using vela::StringOpsClassic;

VELA_EXPORT int32_t StringCountFields(TESSstring s, TESSstring separator) {
  return StringOpsClassic::Get().CountFieldsChars(s, separator);
}
VELA_EXPORT int32_t StringCountFieldsB(TESSstring s, TESSstring separator) {
  return StringOpsClassic::Get().CountFieldsBytes(s, separator);
}
VELA_EXPORT TESSstring StringNthField(TESSstring s, TESSstring separator, int32_t index) {
  if (!s || !separator || index < 1) return nullptr;
  return StringOpsClassic::Get().NthFieldChars(s, separator, index);
}
VELA_EXPORT TESSstring StringNthFieldB(TESSstring s, TESSstring separator, int32_t index) {
  if (!s || !separator || index < 1) return nullptr;
  return StringOpsClassic::Get().NthFieldBytes(s, separator, index);
}

VELA_EXPORT TESSstring StringReplace(TESSstring s, TESSstring find, TESSstring with) {
  return StringOpsClassic::Get().ReplaceChars(s, find, with);
}
VELA_EXPORT TESSstring StringReplaceAll(TESSstring s, TESSstring find, TESSstring with) {
  return StringOpsClassic::Get().ReplaceAllChars(s, find, with);
}
VELA_EXPORT TESSstring StringReplaceB(TESSstring s, TESSstring find, TESSstring with) {
  return StringOpsClassic::Get().ReplaceBytes(s, find, with);
}
VELA_EXPORT TESSstring StringReplaceAllB(TESSstring s, TESSstring find, TESSstring with) {
  return StringOpsClassic::Get().ReplaceAllBytes(s, find, with);
}

VELA_EXPORT RuntimeArray* StringSplit(TESSstring s, TESSstring delimiter) {
  return vela::SplitToArray(s, delimiter, false);
}
VELA_EXPORT RuntimeArray* StringSplitB(TESSstring s, TESSstring delimiter) {
  return vela::SplitToArray(s, delimiter, true);
}
VELA_EXPORT TESSstring StringJoin(RuntimeArray* array, TESSstring delimiter) {
  if (!array || RuntimeUBound(array) < 0) return nullptr;
  if (array->ops->elementKind(array) != kArrayString) return nullptr;
  return StringOpsClassic::Get().JoinFrom(vela::GetArrayElement, array, RuntimeUBound(array),
                                          delimiter);
}
