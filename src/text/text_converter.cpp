// TextConverter: a fixed pair of encodings that converts strings whatever
// they are tagged, and the guess between the Japanese byte forms.
#include "object/class_decl.h"
#include "text/code_page.h"
#include "text/encoding_convert.h"
#include "text/encoding_japanese.h"
#include "text/string_record.h"
#include "text/text_encoding.h"
#include "vela/encodings.h"

namespace vela {
namespace {

struct TextConverterObject {
  RuntimeObject header;
  uint32_t mSource;
  uint32_t mDestination;
};

NativeClassDecl<TextConverterObject> gTextConverterDecl(nullptr, "TextConverter");

// The code page of an encoding object, 0 when none serves it here.
uint32_t UsablePage(uint32_t code) {
  const uint32_t page = CodePageFromEncoding(code);
  return page && IsValidCodePage(page) ? page : 0;
}

bool IsJapanesePage(uint32_t page) {
  return page == kCodePageShiftJis || page == kCodePageEucJp || page == kCodePageIso2022Jp;
}

// The code a converter keeps for an object: the base, except that the
// Unicode base keeps its whole code so the byte order and width survive.
uint32_t ConverterCode(RuntimeObject* object) {
  const auto* data = reinterpret_cast<TextEncodingObject*>(object);
  return data->mBase == 0x100 ? data->mCode : data->mBase;
}

}  // namespace
}  // namespace vela

using namespace vela;

RuntimeObject* getTextConverter(RuntimeObject* input, RuntimeObject* output) {
  if (!input || !output) return nullptr;
  const uint32_t from = ConverterCode(input), to = ConverterCode(output);
  const uint32_t fromPage = UsablePage(from), toPage = UsablePage(to);
  if (!fromPage || !toPage) {
    const uint32_t a = CodePageFromEncoding(from), b = CodePageFromEncoding(to);
    if (!(a == b || (IsJapanesePage(a) && IsJapanesePage(b)))) return nullptr;
  }
  RuntimeObject* object = gTextConverterDecl.New();
  if (!object) return nullptr;
  auto* data = reinterpret_cast<TextConverterObject*>(object);
  data->mSource = from;
  data->mDestination = to;
  return object;
}

TESSstring textConverterConvert(RuntimeObject* converter, TESSstring s) {
  if (!s || !converter) return nullptr;
  const auto* data = reinterpret_cast<TextConverterObject*>(converter);
  if (data->mSource != data->mDestination)
    return ConvertBytes(StringBytes(s), s->mLength, data->mSource, data->mDestination);
  if (s->mEncoding == data->mSource) {
    LockStringRecord(s);
    return s;
  }
  return NewString(StringBytes(s), s->mLength, data->mDestination);
}

// The engine keeps no state between calls: nothing to clear.
void textConverterClear(RuntimeObject*) {}

RuntimeObject* guessJapaneseEncoding(TESSstring s) {
  if (!s) return nullptr;
  const uint32_t code = GuessJapaneseCode(StringBytes(s), size_t(s->mLength));
  return code ? GetEncodingObjectFromCode(code) : nullptr;
}
