// TextEncoding objects: the language's handle on an encoding code. Objects
// that stand for a code come from one process-wide cache and live to the end
// of the process; getTextEncoding and getFontTextEncoding make fresh ones.
#pragma once

#include <cstdint>

#include "object/class_decl.h"
#include "vela/encodings.h"

namespace vela {

struct TextEncodingObject {
  RuntimeObject header;
  uint32_t mBase;
  uint32_t mVariant;
  uint32_t mFormat;
  uint32_t mValid;  // 1 once set
  uint32_t mCode;   // the composed encoding code
};

extern NativeClassDecl<TextEncodingObject> gTextEncodingDecl;

// The code an object stands for; kEncodingUnknown for nil.
uint32_t EncodingCodeOf(RuntimeObject* encoding);

// The cached object of `code` (borrowed: the cache keeps it), nil for
// kEncodingUnknown or when the class is not bound.
RuntimeObject* CachedEncodingObject(uint32_t code);

// Rows of the Encodings table: 96, of which EncodingsCount reports 95.
inline constexpr int32_t kEncodingRows = 96;
inline constexpr int32_t kReportedEncodingRows = 95;
struct EncodingRow {
  const char* name;
  uint32_t code;
};
const EncodingRow& EncodingTableRow(int32_t index);  // 0-based

}  // namespace vela
