// The classic operations table. The record's own operations forward to the
// shared functions that the exports use. The lengths, substrings and
// character codes live in string_substrings.cpp, the searches in
// string_search.cpp, the fields, replace, split and join in
// string_fields_split.cpp, the case functions and Trim in
// string_case_trim.cpp.
#include "text/string_ops_classic.h"

#include "text/string_compare.h"
#include "text/string_copy.h"
#include "text/string_record.h"
#include "text/text_ops.h"

namespace vela {

StringOpsClassic& StringOpsClassic::Get() {
  static StringOpsClassic* const sInstance = new StringOpsClassic;  // lives to process end
  return *sInstance;
}

TESSstring StringOpsClassic::Create(const void* bytes, uint32_t encoding, int32_t length) {
  return NewString(bytes, length, encoding);
}

void StringOpsClassic::Lock(TESSstring s) { LockString(s); }

void StringOpsClassic::Unlock(TESSstring s) { UnlockString(s); }

int32_t StringOpsClassic::ByteLength(TESSstring s) { return StringLength(s); }

const char* StringOpsClassic::Contents(TESSstring s) { return StringText(s); }

int32_t StringOpsClassic::CompareText(TESSstring a, TESSstring b, bool fold) {
  return CompareStringText(a, b, fold);
}

int32_t StringOpsClassic::CompareBytes(TESSstring a, TESSstring b) {
  return CompareStringBytes(a, b);
}

int32_t StringOpsClassic::CopyOut(TESSstring s, void* destination, int32_t size,
                                  uint32_t encoding) {
  return CopyStringOut(s, destination, size, encoding);
}

bool StringOpsClassic::IsEmpty(TESSstring s) { return StringLength(s) == 0; }

const char* StringOpsClassic::ContentsIfEncoded(TESSstring s, uint32_t encoding,
                                                int32_t* outLength) {
  return StringContentsIfEncoded(s, encoding, outLength);
}

// The lenient road from String to Text: through UTF-8, malformed text is Nil.
TextRecord* StringOpsClassic::ToText(TESSstring s) { return TextFromString(s); }

}  // namespace vela
