// The searches behind the classic field, replace and split functions: one
// pattern looked for repeatedly in one text, with byte offsets in and out.
#pragma once

#include <cstdint>

#include "text/string_holder.h"

namespace vela {

class PatternSearch {
 public:
  // `pattern` must be in the encoding of `text` (or either kEncodingUnknown)
  // and not empty. Exact compares bytes; otherwise case is folded by the
  // text's encoding as InStr folds it. Both strings are borrowed for the
  // searcher's life.
  PatternSearch(TESSstring text, TESSstring pattern, bool exact);

  // The byte offset of the first occurrence at or after byte `from` that
  // begins on a character of the text, or -1.
  int64_t Next(int64_t from) const;

  // The pattern's length in bytes: the step behind a hit.
  int64_t PatternLength() const { return mPatternLength; }

 private:
  enum class Mode : uint8_t { kExact, kUtf8, kUtf16, kLeadByte, kSingleByte };
  Mode mMode;
  TESSstring mText;
  TESSstring mPattern;
  StringHolder mUpperText, mUpperPattern;  // kLeadByte: upper-cased copies
  const unsigned char* mRow = nullptr;     // kSingleByte: the page's upper-case row
  int64_t mPatternLength;
};

// True when the separator has no cased character in the text's encoding,
// so that the exact search finds what the folding one would.
bool HasNoCase(TESSstring separator);

// The upper-case (or lower-case) row of a single-byte page: each byte's
// simple case partner where the page has it as one byte. kEncodingUnknown
// and pages without one use the ASCII row.
const unsigned char* CaseRowFor(uint32_t encoding, bool upper);

}  // namespace vela
