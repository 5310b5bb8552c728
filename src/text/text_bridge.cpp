// Bridges between Text and the rest of the library: Strings both ways (the
// lenient internal route and the strict String_ToText), wide and C strings,
// and the reference counting that the object layer reaches through
// text_bridge.h.
#include "text/text_bridge.h"

#include <unicode/ustring.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "object/arrays/array_record.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_bridges.h"
#include "text/string_holder.h"
#include "text/string_ops_classic.h"
#include "text/text_encoding_core.h"
#include "text/text_ops.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "RuntimeCore/TextCore";

// The IANA names by which String_ToText converts each encoding code. The
// host-order Unicode forms (0x100, 0x0C000100) are little-endian here: ICU's
// plain "utf-16" and "utf-32" would read text without a byte-order mark as
// big-endian.
struct CodeName {
  uint32_t code;
  const char* name;
};
// clang-format off
constexpr CodeName kIanaNames[] = {
    {0, "macintosh"}, {1, "x-mac-japanese"}, {2, "x-mac-trad-chinese"}, {3, "x-mac-korean"},
    {4, "x-mac-arabic"}, {5, "x-mac-hebrew"}, {6, "x-mac-greek"}, {7, "x-mac-cyrillic"},
    {9, "x-mac-devanagari"}, {10, "x-mac-gurmukhi"}, {11, "x-mac-gujarati"},
    {12, "x-mac-oriya"}, {13, "x-mac-bengali"}, {14, "x-mac-tamil"}, {15, "x-mac-telugu"},
    {16, "x-mac-kannada"}, {17, "x-mac-malayalam"}, {18, "x-mac-sinhalese"},
    {19, "x-mac-burmese"}, {20, "x-mac-khmer"}, {21, "x-mac-thai"}, {22, "x-mac-laotian"},
    {23, "x-mac-georgian"}, {24, "x-mac-armenian"}, {25, "x-mac-simp-chinese"},
    {26, "x-mac-tibetan"}, {27, "x-mac-mongolian"}, {28, "x-mac-ethiopic"},
    {29, "x-mac-centraleurroman"}, {30, "x-mac-vietnamese"}, {31, "X-MAC-EXTARABIC"},
    {0x21, "x-mac-symbol"}, {0x22, "x-mac-dingbats"}, {0x23, "x-mac-turkish"},
    {0x24, "x-mac-croatian"}, {0x25, "x-mac-icelandic"}, {0x26, "x-mac-romanian"},
    {0x27, "x-mac-celtic"}, {0x28, "x-mac-gaelic"}, {0x100, "utf-16le"},
    {0x201, "iso-8859-1"}, {0x202, "iso-8859-2"}, {0x203, "iso-8859-3"},
    {0x204, "iso-8859-4"}, {0x205, "iso-8859-5"}, {0x206, "iso-8859-6"},
    {0x207, "iso-8859-7"}, {0x208, "iso-8859-8"}, {0x209, "iso-8859-9"},
    {0x20A, "iso-8859-10"}, {0x20D, "iso-8859-13"}, {0x20E, "iso-8859-14"},
    {0x20F, "iso-8859-15"}, {0x400, "cp437"}, {0x405, "cp737"}, {0x406, "cp775"},
    {0x410, "cp850"}, {0x411, "cp851"}, {0x412, "cp852"}, {0x413, "cp855"}, {0x414, "cp857"},
    {0x415, "cp860"}, {0x416, "cp861"}, {0x417, "cp862"}, {0x418, "cp863"}, {0x419, "cp864"},
    {0x41A, "cp865"}, {0x41B, "cp866"}, {0x41C, "cp869"}, {0x41D, "cp874"},
    {0x420, "cp932"}, {0x421, "cp936"}, {0x422, "cp949"}, {0x423, "cp950"},
    {0x500, "windows-1252"}, {0x501, "windows-1250"}, {0x502, "windows-1251"},
    {0x503, "windows-1253"}, {0x504, "windows-1254"}, {0x505, "windows-1255"},
    {0x506, "windows-1256"}, {0x507, "windows-1257"}, {0x508, "windows-1258"},
    {0x510, "windows-1361"}, {0x600, "us-ascii"}, {0xA01, "shift_jis"}, {0xA02, "koi8-r"},
    {0xA04, "x-mac-roman-latin1"}, {0x08000100, "utf-8"}, {0x0C000100, "utf-32le"},
    {0x1C000100, "utf-32le"}, {0x18000100, "utf-32be"}, {0x14000100, "utf-16le"},
    {0x10000100, "utf-16be"},
};
// clang-format on

const char* IanaNameOf(uint32_t code) {
  for (const CodeName& entry : kIanaNames)
    if (entry.code == code) return entry.name;
  return nullptr;
}

// An owned Vela.Core.TextEncoding object for an ASCII name, or nil after
// raising.
RuntimeObject* CoreEncodingNamed(const char* name) {
  std::u16string wide(name, name + std::strlen(name));
  return CoreEncodingFromName(wide);
}

const UChar* U(const char16_t* units) { return reinterpret_cast<const UChar*>(units); }

// The elements of a one-dimensional array of `kind`, or false.
bool ElementsOf(RuntimeArray* array, int32_t kind, void*& data, int32_t& count) {
  const ArrayShape shape = DescribeArray(array);
  if (!shape.valid || shape.kind != kind || shape.dimensions != 1) return false;
  data = *shape.data;
  count = shape.upperBounds[0] + 1;
  return true;
}

}  // namespace

TextValue TextFromUtf8(const char* bytes, int32_t length) {
  if (length <= 0) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  int32_t units = 0;
  u_strFromUTF8(nullptr, 0, &units, bytes, length, &status);
  if (status != U_BUFFER_OVERFLOW_ERROR || units <= 0) return nullptr;
  char16_t* target;
  TextValue text = NewTextForFill(units, &target);
  if (!text) return nullptr;
  status = U_ZERO_ERROR;
  u_strFromUTF8(reinterpret_cast<UChar*>(target), units, nullptr, bytes, length, &status);
  if (U_FAILURE(status)) {
    UnlockText(text);
    return nullptr;
  }
  return text;
}

TextValue TextFromString(TESSstring s) {
  if (!s) return nullptr;
  const uint32_t encoding = s->mEncoding;
  if (encoding == kEncodingUTF8 || encoding == kEncodingASCII || encoding == kEncodingUnknown)
    return TextFromUtf8(StringText(s), s->mLength);
  StringHolder utf8 = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  if (!utf8 || (utf8.get()->mEncoding != kEncodingUTF8 && utf8.get()->mEncoding != kEncodingASCII))
    return nullptr;
  return TextFromUtf8(StringText(utf8.get()), utf8.get()->mLength);
}

TESSstring StringFromText(TextValue text) {
  return StringFromUnits(TextUnits(text), TextLength(text));
}

TESSstring StringFromUnits(const char16_t* units, int32_t length) {
  if (length <= 0) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  int32_t bytes = 0;
  u_strToUTF8WithSub(nullptr, 0, &bytes, U(units), length, 0xFFFD, nullptr, &status);
  if (status != U_BUFFER_OVERFLOW_ERROR || bytes <= 0) return nullptr;
  TESSstring s = NewString(nullptr, bytes, kEncodingUTF8);
  if (!s) return nullptr;
  status = U_ZERO_ERROR;
  u_strToUTF8WithSub(const_cast<char*>(StringText(s)), bytes, nullptr, U(units), length, 0xFFFD,
                     nullptr, &status);
  if (U_FAILURE(status)) {
    RuntimeUnlockString(s);
    return nullptr;
  }
  return s;
}

void LockTextValue(TextValue text) { LockText(text); }
void UnlockTextValue(TextValue text) { UnlockText(text); }

}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring RuntimeStringFromText(TextValue text) { return StringFromText(text); }

VELA_EXPORT TextValue RuntimeTextFromOldString(TESSstring s) {
  return StringOpsClassic::Get().ToText(s);
}

VELA_EXPORT TextValue String_ToText(TESSstring s) {
  if (!s) return nullptr;
  const uint32_t code = s->mEncoding == kEncodingUnknown ? kEncodingUTF8 : s->mEncoding;
  const char* name = IanaNameOf(code);
  if (!name) {
    RaiseNamedException("UnsupportedFormatException", 0,
                        "The string's encoding is not supported in this conversion");
    return nullptr;
  }
  RuntimeObject* encoding = CoreEncodingNamed(name);
  if (!encoding) return nullptr;
  std::u16string units;
  const bool converted =
      CoreBytesToText(encoding, std::string_view(StringText(s), size_t(s->mLength)), false, units);
  RuntimeUnlockObject(encoding);
  if (!converted || units.size() > size_t(INT32_MAX)) return nullptr;
  return NewText(units.data(), int32_t(units.size()));
}

VELA_EXPORT RuntimeArray* RuntimeStringArrayFromTextArray(RuntimeArray* texts) {
  void* data;
  int32_t count;
  if (!ElementsOf(texts, kArrayText, data, count)) return nullptr;
  RuntimeArray* strings = NewFilledArray(TableFor(kArrayString, 1), count);
  if (!strings) return nullptr;
  auto* slots = static_cast<TESSstring*>(strings->data);
  const auto* elements = static_cast<TextValue*>(data);
  for (int32_t i = 0; i < count; ++i) slots[i] = StringFromText(elements[i]);
  return strings;
}

VELA_EXPORT uint16_t* RuntimeTextToWString(TextValue text) {
  const size_t units = size_t(TextLength(text));
  auto* copy = static_cast<uint16_t*>(std::malloc((units + 1) * sizeof(uint16_t)));
  if (copy) {
    std::memcpy(copy, TextUnits(text), (units + 1) * sizeof(uint16_t));
    if (!RegisterRawText(RawTextKind::kWide, copy)) copy = nullptr;
  }
  VELA_ASSERT(copy);
  return copy;
}

VELA_EXPORT TextValue RuntimeTextFromWString(const uint16_t* text) {
  if (!text) return nullptr;
  size_t units = 0;
  while (text[units] != 0) ++units;
  if (units > size_t(INT32_MAX)) return nullptr;
  return NewText(reinterpret_cast<const char16_t*>(text), int32_t(units));
}

VELA_EXPORT TextValue RuntimeTextFromCString(const char* text, RuntimeObject* encoding) {
  if (!text) {
    RaiseNamedException("NilObjectException", 0, "The 'str' parameter cannot be Nil.");
    return nullptr;
  }
  if (!encoding) {
    RaiseNamedException("NilObjectException", 0, "The 'encoding' parameter cannot be Nil.");
    return nullptr;
  }
  std::u16string units;
  if (!CoreBytesToText(encoding, std::string_view(text), false, units)) return nullptr;
  if (units.size() > size_t(INT32_MAX)) return nullptr;
  return NewText(units.data(), int32_t(units.size()));
}

VELA_EXPORT char* RuntimeTextToCString(TextValue text, RuntimeObject* encoding) {
  if (!encoding) {
    RaiseNamedException("NilObjectException", 0, "The 'encoding' parameter cannot be Nil.");
    return nullptr;
  }
  std::string bytes;
  if (!CoreTextToBytes(encoding, TextView(text), true, bytes)) return nullptr;
  auto* block = static_cast<char*>(std::malloc(bytes.size() + 1));
  if (!block) {
    RaiseNamedException("OutOfMemoryException", 0, nullptr);
    return nullptr;
  }
  std::memcpy(block, bytes.data(), bytes.size());
  block[bytes.size()] = 0;
  if (!RegisterRawText(RawTextKind::kC, block)) {
    RaiseNamedException("OutOfMemoryException", 0, nullptr);
    return nullptr;
  }
  return block;
}
