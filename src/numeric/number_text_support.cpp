// Shared pieces of the text forms of numbers; see number_text_support.h.
#include "numeric/number_text_support.h"

#include <unicode/utf8.h>

#include "object/raise.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_ops.h"

namespace vela {

const NumberTextFlavour kStringFlavour{"InvalidArgumentException", "InvalidArgumentException",
                                       "string", "Empty strings values are not valid integers.",
                                       false};
const NumberTextFlavour kTextFlavour{"Vela.Core.InvalidArgumentException",
                                     "Vela.Core.BadDataException", "text",
                                     "Empty text values are not valid integers.", true};

std::string EmptyMessage(const NumberTextFlavour& flavour, const char* what) {
  return std::string("Empty ") + flavour.noun + " values are not valid " + what + ".";
}

std::string NumberTextOf(TESSstring s) {
  if (!s) return {};
  if (s->mEncoding == kEncodingUnknown)
    return std::string(StringText(s), size_t(StringLength(s)));  // read as ASCII bytes
  StringHolder utf8 = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  return utf8 ? std::string(StringText(utf8.get()), size_t(StringLength(utf8.get())))
              : std::string();
}

std::string NumberTextOf(TextRecord* text) {
  StringHolder utf8 = StringHolder::Adopt(StringFromText(text));
  return utf8 ? std::string(StringText(utf8.get()), size_t(StringLength(utf8.get())))
              : std::string();
}

TESSstring NewNumberString(std::string_view text, uint32_t encoding) {
  return NewString(text.data(), int32_t(text.size()), encoding);
}

TextRecord* NewNumberText(std::string_view utf8) {
  return TextFromUtf8(utf8.data(), int32_t(utf8.size()));
}

void RaiseInvalidArgument(const std::string& message) {
  RaiseNamedException("InvalidArgumentException", 0, message.c_str());
}

std::string_view CodePointAt(std::string_view text, size_t offset, size_t* next) {
  int32_t i = int32_t(offset);
  UChar32 c;
  U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), i, int32_t(text.size()), c);
  (void)c;  // a malformed sequence still spans the bytes U8_NEXT stepped over
  *next = size_t(i);
  return text.substr(offset, size_t(i) - offset);
}

bool IsBlankByte(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace vela
