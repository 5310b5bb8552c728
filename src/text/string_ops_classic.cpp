// The classic operations table. The record's own operations forward to the
// shared functions that the exports use; the substring, search, case and
// field operations are still to come and report themselves by name.
#include "text/string_ops_classic.h"

#include "support/assert.h"
#include "text/string_compare.h"
#include "text/string_copy.h"
#include "text/string_record.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "Universal/StringOpsClassic";

}  // namespace

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

// Operations not built yet: each reports its name and answers Nil or 0.

int32_t StringOpsClassic::CharLength(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::CharLength");
  return 0;
}

TESSstring StringOpsClassic::MidChars(TESSstring, int32_t, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::MidChars");
  return nullptr;
}

TESSstring StringOpsClassic::MidBytes(TESSstring, int32_t, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::MidBytes");
  return nullptr;
}

TESSstring StringOpsClassic::LowerCase(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::LowerCase");
  return nullptr;
}

TESSstring StringOpsClassic::UpperCase(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::UpperCase");
  return nullptr;
}

TESSstring StringOpsClassic::TitleCase(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::TitleCase");
  return nullptr;
}

int32_t StringOpsClassic::FindBytes(TESSstring, TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::FindBytes");
  return 0;
}

int32_t StringOpsClassic::FindChars(TESSstring, TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::FindChars");
  return 0;
}

TESSstring StringOpsClassic::JoinFrom(StringElementGetter, void*, int32_t, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::JoinFrom");
  return nullptr;
}

TESSstring StringOpsClassic::Trim(TESSstring, bool, bool) {
  VELA_NOT_BUILT("StringOpsClassic::Trim");
  return nullptr;
}

TESSstring StringOpsClassic::FromCodePoint(int32_t, uint32_t) {
  VELA_NOT_BUILT("StringOpsClassic::FromCodePoint");
  return nullptr;
}

TESSstring StringOpsClassic::FromByte(int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::FromByte");
  return nullptr;
}

uint32_t StringOpsClassic::CodePointAt(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::CodePointAt");
  return 0;
}

int32_t StringOpsClassic::FirstByte(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::FirstByte");
  return 0;
}

int32_t StringOpsClassic::SnapToChar(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::SnapToChar");
  return 0;
}

StringCharIterator* StringOpsClassic::NewCharIterator(TESSstring, int32_t, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::NewCharIterator");
  return nullptr;
}

TextRecord* StringOpsClassic::ToText(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::ToText");
  return nullptr;
}

TESSstring StringOpsClassic::LeftChars(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::LeftChars");
  return nullptr;
}

TESSstring StringOpsClassic::LeftBytes(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::LeftBytes");
  return nullptr;
}

TESSstring StringOpsClassic::RightChars(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::RightChars");
  return nullptr;
}

TESSstring StringOpsClassic::RightBytes(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::RightBytes");
  return nullptr;
}

TESSstring StringOpsClassic::MidToEndChars(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::MidToEndChars");
  return nullptr;
}

TESSstring StringOpsClassic::MidToEndBytes(TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::MidToEndBytes");
  return nullptr;
}

int32_t StringOpsClassic::CountFieldsChars(TESSstring, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::CountFieldsChars");
  return 0;
}

int32_t StringOpsClassic::CountFieldsBytes(TESSstring, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::CountFieldsBytes");
  return 0;
}

TESSstring StringOpsClassic::NthFieldChars(TESSstring, TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::NthFieldChars");
  return nullptr;
}

TESSstring StringOpsClassic::NthFieldBytes(TESSstring, TESSstring, int32_t) {
  VELA_NOT_BUILT("StringOpsClassic::NthFieldBytes");
  return nullptr;
}

TESSstring StringOpsClassic::ReplaceChars(TESSstring, TESSstring, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::ReplaceChars");
  return nullptr;
}

TESSstring StringOpsClassic::ReplaceBytes(TESSstring, TESSstring, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::ReplaceBytes");
  return nullptr;
}

TESSstring StringOpsClassic::ReplaceAllChars(TESSstring, TESSstring, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::ReplaceAllChars");
  return nullptr;
}

TESSstring StringOpsClassic::ReplaceAllBytes(TESSstring, TESSstring, TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::ReplaceAllBytes");
  return nullptr;
}

void StringOpsClassic::SplitChars(TESSstring, TESSstring, StringPieceSink, void*) {
  VELA_NOT_BUILT("StringOpsClassic::SplitChars");
}

void StringOpsClassic::SplitBytes(TESSstring, TESSstring, StringPieceSink, void*) {
  VELA_NOT_BUILT("StringOpsClassic::SplitBytes");
}

uint32_t StringOpsClassic::FirstCodePoint(TESSstring) {
  VELA_NOT_BUILT("StringOpsClassic::FirstCodePoint");
  return 0;
}

}  // namespace vela
