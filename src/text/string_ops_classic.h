// StringOpsClassic: the process-wide owner of the classic string operations.
//
// The operations are virtual functions behind an abstract base of the same
// shape; their order is fixed, destructor first, and new operations go at
// the end. Strings received are borrowed; strings returned are owned by the
// caller. The exports call the shared functions behind these operations
// directly where they can, so the hot paths pay no virtual call.
#pragma once

#include <cstdint>

#include "vela/string.h"

struct TextRecord;  // the Unicode Text value of the newer API

namespace vela {

class StringCharIterator;

// Gives element `index` of a sequence as an owned reference (Join).
using StringElementGetter = TESSstring (*)(void* context, int32_t index);
// Receives one piece of a split, borrowed for the call.
using StringPieceSink = void (*)(void* context, TESSstring piece);

class StringOps {
 public:
  virtual ~StringOps() = default;
  virtual TESSstring Create(const void* bytes, uint32_t encoding, int32_t length) = 0;
  virtual void Lock(TESSstring s) = 0;
  virtual void Unlock(TESSstring s) = 0;
  virtual int32_t CharLength(TESSstring s) = 0;
  virtual int32_t ByteLength(TESSstring s) = 0;
  virtual const char* Contents(TESSstring s) = 0;
  virtual TESSstring MidChars(TESSstring s, int32_t start, int32_t count) = 0;
  virtual TESSstring MidBytes(TESSstring s, int32_t start, int32_t count) = 0;
  virtual TESSstring LowerCase(TESSstring s) = 0;
  virtual TESSstring UpperCase(TESSstring s) = 0;
  virtual TESSstring TitleCase(TESSstring s) = 0;
  virtual int32_t FindBytes(TESSstring s, TESSstring find, int32_t start) = 0;
  virtual int32_t FindChars(TESSstring s, TESSstring find, int32_t start) = 0;
  virtual TESSstring JoinFrom(StringElementGetter getter, void* context, int32_t lastIndex,
                              TESSstring delimiter) = 0;
  virtual TESSstring Trim(TESSstring s, bool left, bool right) = 0;
  virtual TESSstring FromCodePoint(int32_t code, uint32_t encoding) = 0;
  virtual TESSstring FromByte(int32_t code) = 0;
  virtual uint32_t CodePointAt(TESSstring s, int32_t position) = 0;
  virtual int32_t FirstByte(TESSstring s) = 0;
  virtual int32_t CompareText(TESSstring a, TESSstring b, bool fold) = 0;
  virtual int32_t CompareBytes(TESSstring a, TESSstring b) = 0;
  virtual int32_t SnapToChar(TESSstring s, int32_t byteOffset) = 0;
  virtual int32_t CopyOut(TESSstring s, void* destination, int32_t size, uint32_t encoding) = 0;
  virtual StringCharIterator* NewCharIterator(TESSstring s, int32_t start, int32_t count) = 0;
  virtual TextRecord* ToText(TESSstring s) = 0;
  virtual bool IsEmpty(TESSstring s) = 0;
  virtual TESSstring LeftChars(TESSstring s, int32_t count) = 0;
  virtual TESSstring LeftBytes(TESSstring s, int32_t count) = 0;
  virtual TESSstring RightChars(TESSstring s, int32_t count) = 0;
  virtual TESSstring RightBytes(TESSstring s, int32_t count) = 0;
  virtual TESSstring MidToEndChars(TESSstring s, int32_t start) = 0;
  virtual TESSstring MidToEndBytes(TESSstring s, int32_t start) = 0;
  virtual int32_t CountFieldsChars(TESSstring s, TESSstring separator) = 0;
  virtual int32_t CountFieldsBytes(TESSstring s, TESSstring separator) = 0;
  virtual TESSstring NthFieldChars(TESSstring s, TESSstring separator, int32_t index) = 0;
  virtual TESSstring NthFieldBytes(TESSstring s, TESSstring separator, int32_t index) = 0;
  virtual TESSstring ReplaceChars(TESSstring s, TESSstring find, TESSstring with) = 0;
  virtual TESSstring ReplaceBytes(TESSstring s, TESSstring find, TESSstring with) = 0;
  virtual TESSstring ReplaceAllChars(TESSstring s, TESSstring find, TESSstring with) = 0;
  virtual TESSstring ReplaceAllBytes(TESSstring s, TESSstring find, TESSstring with) = 0;
  virtual void SplitChars(TESSstring s, TESSstring delimiter, StringPieceSink sink,
                          void* context) = 0;
  virtual void SplitBytes(TESSstring s, TESSstring delimiter, StringPieceSink sink,
                          void* context) = 0;
  virtual uint32_t FirstCodePoint(TESSstring s) = 0;
  virtual const char* ContentsIfEncoded(TESSstring s, uint32_t encoding, int32_t* outLength) = 0;
};

class StringOpsClassic final : public StringOps {
 public:
  // The singleton, made on first use and never freed.
  static StringOpsClassic& Get();

  TESSstring Create(const void* bytes, uint32_t encoding, int32_t length) override;
  void Lock(TESSstring s) override;
  void Unlock(TESSstring s) override;
  int32_t CharLength(TESSstring s) override;
  int32_t ByteLength(TESSstring s) override;
  const char* Contents(TESSstring s) override;
  TESSstring MidChars(TESSstring s, int32_t start, int32_t count) override;
  TESSstring MidBytes(TESSstring s, int32_t start, int32_t count) override;
  TESSstring LowerCase(TESSstring s) override;
  TESSstring UpperCase(TESSstring s) override;
  TESSstring TitleCase(TESSstring s) override;
  int32_t FindBytes(TESSstring s, TESSstring find, int32_t start) override;
  int32_t FindChars(TESSstring s, TESSstring find, int32_t start) override;
  TESSstring JoinFrom(StringElementGetter getter, void* context, int32_t lastIndex,
                      TESSstring delimiter) override;
  TESSstring Trim(TESSstring s, bool left, bool right) override;
  TESSstring FromCodePoint(int32_t code, uint32_t encoding) override;
  TESSstring FromByte(int32_t code) override;
  uint32_t CodePointAt(TESSstring s, int32_t position) override;
  int32_t FirstByte(TESSstring s) override;
  int32_t CompareText(TESSstring a, TESSstring b, bool fold) override;
  int32_t CompareBytes(TESSstring a, TESSstring b) override;
  int32_t SnapToChar(TESSstring s, int32_t byteOffset) override;
  int32_t CopyOut(TESSstring s, void* destination, int32_t size, uint32_t encoding) override;
  StringCharIterator* NewCharIterator(TESSstring s, int32_t start, int32_t count) override;
  TextRecord* ToText(TESSstring s) override;
  bool IsEmpty(TESSstring s) override;
  TESSstring LeftChars(TESSstring s, int32_t count) override;
  TESSstring LeftBytes(TESSstring s, int32_t count) override;
  TESSstring RightChars(TESSstring s, int32_t count) override;
  TESSstring RightBytes(TESSstring s, int32_t count) override;
  TESSstring MidToEndChars(TESSstring s, int32_t start) override;
  TESSstring MidToEndBytes(TESSstring s, int32_t start) override;
  int32_t CountFieldsChars(TESSstring s, TESSstring separator) override;
  int32_t CountFieldsBytes(TESSstring s, TESSstring separator) override;
  TESSstring NthFieldChars(TESSstring s, TESSstring separator, int32_t index) override;
  TESSstring NthFieldBytes(TESSstring s, TESSstring separator, int32_t index) override;
  TESSstring ReplaceChars(TESSstring s, TESSstring find, TESSstring with) override;
  TESSstring ReplaceBytes(TESSstring s, TESSstring find, TESSstring with) override;
  TESSstring ReplaceAllChars(TESSstring s, TESSstring find, TESSstring with) override;
  TESSstring ReplaceAllBytes(TESSstring s, TESSstring find, TESSstring with) override;
  void SplitChars(TESSstring s, TESSstring delimiter, StringPieceSink sink,
                  void* context) override;
  void SplitBytes(TESSstring s, TESSstring delimiter, StringPieceSink sink,
                  void* context) override;
  uint32_t FirstCodePoint(TESSstring s) override;
  const char* ContentsIfEncoded(TESSstring s, uint32_t encoding, int32_t* outLength) override;

 private:
  StringOpsClassic() = default;
};

}  // namespace vela
