// TextEncoding objects, their cache, the Encodings table and the string
// functions that take an encoding object.
#include "text/text_encoding.h"

#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "text/code_page.h"
#include "text/encoding_convert.h"
#include "text/string_holder.h"
#include "text/string_record.h"

#include <unicode/utf8.h>

namespace vela {

NativeClassDecl<TextEncodingObject> gTextEncodingDecl(nullptr, "TextEncoding");

namespace {

constexpr uint32_t kUnicodeBase = 0x100;

constexpr uint32_t Unicode(uint32_t format) { return kUnicodeBase | (format << 26); }

// Internet name = code, in the order of the Encodings module. The last row
// is the system encoding, reachable only through EncodingsGetter(96).
constexpr EncodingRow kTable[kEncodingRows] = {
    {"UTF-8", kEncodingUTF8}, {"UTF-16", kEncodingUTF16}, {"UTF-32", kEncodingUTF32},
    {"macintosh", 0}, {"Shift_JIS", 1}, {"Big5", 2}, {"EUC-KR", 3}, {"X-MAC-ARABIC", 4},
    {"X-MAC-HEBREW", 5}, {"X-MAC-GREEK", 6}, {"X-MAC-CYRILLIC", 7}, {"X-MAC-DEVANAGARI", 9},
    {"X-MAC-GURMUKHI", 0xA}, {"X-MAC-GUJARATI", 0xB}, {"X-MAC-ORIYA", 0xC},
    {"X-MAC-BENGALI", 0xD}, {"X-MAC-TAMIL", 0xE}, {"X-MAC-TELUGU", 0xF},
    {"X-MAC-KANNADA", 0x10}, {"X-MAC-MALAYALAM", 0x11}, {"X-MAC-SINHALESE", 0x12},
    {"X-MAC-BURMESE", 0x13}, {"X-MAC-KHMER", 0x14}, {"TIS-620", 0x15},
    {"X-MAC-LAOTIAN", 0x16}, {"X-MAC-GEORGIAN", 0x17}, {"X-MAC-ARMENIAN", 0x18},
    {"GB2312", 0x19}, {"X-MAC-TIBETAN", 0x1A}, {"X-MAC-MONGOLIAN", 0x1B},
    {"X-MAC-ETHIOPIC", 0x1C}, {"X-MAC-CE", 0x1D}, {"X-MAC-VIETNAMESE", 0x1E},
    {"X-MAC-EXTARABIC", 0x1F}, {"Adobe-Symbol-Encoding", 0x21}, {"X-MAC-DINGBATS", 0x22},
    {"X-MAC-TURKISH", 0x23}, {"X-MAC-CROATIAN", 0x24}, {"X-MAC-ICELANDIC", 0x25},
    {"X-MAC-ROMANIAN", 0x26}, {"MacCeltic", 0x27}, {"MacGaelic", 0x28},
    {"ISO-8859-1", 0x201}, {"ISO-8859-2", 0x202}, {"ISO-8859-3", 0x203},
    {"ISO-8859-4", 0x204}, {"ISO-8859-5", 0x205}, {"ISO-8859-6", 0x206},
    {"ISO-8859-7", 0x207}, {"ISO-8859-8-I", 0x208}, {"ISO-8859-9", 0x209},
    {"ISO-8859-10", 0x20A}, {"ISO-8859-13", 0x20D}, {"ISO-8859-14", 0x20E},
    {"ISO-8859-15", 0x20F}, {"cp437", 0x400}, {"cp737", 0x405}, {"cp775", 0x406},
    {"cp850", 0x410}, {"DOSGreek1", 0x411}, {"cp852", 0x412}, {"DOSCyrillic", 0x413},
    {"cp857", 0x414}, {"DOSPortugese", 0x415}, {"cp861", 0x416}, {"DOS-862", 0x417},
    {"DOSCanadianFrench", 0x418}, {"cp864", 0x419}, {"DOSNordic", 0x41A}, {"cp866", 0x41B},
    {"IBM869", 0x41C}, {"TIS-620", 0x41D}, {"Shift_JIS", 0x420}, {"GBK", 0x421},
    {"EUC-KR", 0x422}, {"Big5", 0x423}, {"windows-1252", 0x500}, {"windows-1252", 0x500},
    {"windows-1250", 0x501}, {"windows-1251", 0x502}, {"windows-1253", 0x503},
    {"windows-1254", 0x504}, {"windows-1255", 0x505}, {"windows-1256", 0x506},
    {"windows-1257", 0x507}, {"windows-1258", 0x508}, {"Johab", 0x510},
    {"US-ASCII", kEncodingASCII}, {"Shift_JIS", 0xA01}, {"KOI8-R", 0xA02},
    {"ISO-8859-1", 0xA04}, {"UTF-16BE", Unicode(4)}, {"UTF-16LE", Unicode(5)},
    {"UTF-32BE", Unicode(6)}, {"UTF-32LE", Unicode(7)},
    {"System Default", kEncodingUTF8},  // the system code page, 65001
};

bool IsUnicodeForm(uint32_t code) {
  return code == kEncodingUTF16 || code == kEncodingUTF8 || code == kEncodingUTF32 ||
         code == kEncodingUTF16BE || code == kEncodingUTF16LE || code == kEncodingUTF32BE ||
         code == kEncodingUTF32LE;
}

void Fill(TextEncodingObject* data, uint32_t base, uint32_t variant, uint32_t format,
          uint32_t code) {
  data->mBase = base;
  data->mVariant = variant;
  data->mFormat = format;
  data->mValid = 1;
  data->mCode = code;
}

// A new object for `code`, owned by the caller.
RuntimeObject* NewEncodingObject(uint32_t code) {
  RuntimeObject* object = gTextEncodingDecl.New();
  if (!object) return nullptr;
  auto* data = reinterpret_cast<TextEncodingObject*>(object);
  if (IsUnicodeForm(code))
    Fill(data, kUnicodeBase, 0, code >> 26, code);
  else
    Fill(data, code & 0xFFFF, (code >> 16) & 0x3FF, code >> 26, code);
  return object;
}

// Chained by bucket and, separately, in insertion order. Never released.
class EncodingCache {
 public:
  RuntimeObject* Find(uint32_t code) {
    for (Entry* e = mBuckets[Bucket(code)]; e; e = e->nextInBucket)
      if (e->code == code) return e->object;
    return nullptr;
  }
  RuntimeObject* Add(uint32_t code, RuntimeObject* object) {
    auto* entry = new Entry{code, object, mBuckets[Bucket(code)], nullptr};
    mBuckets[Bucket(code)] = entry;
    (mLast ? mLast->nextInOrder : mFirst) = entry;
    mLast = entry;
    return object;
  }

 private:
  struct Entry {
    uint32_t code;
    RuntimeObject* object;
    Entry* nextInBucket;
    Entry* nextInOrder;
  };
  static size_t Bucket(uint32_t code) {
    return (((code & 3) * 256 + ((code >> 8) & 0xFF)) ^ ((code >> 16) & 0x3FF)) & 1023;
  }
  Entry* mBuckets[1024] = {};
  Entry* mFirst = nullptr;
  Entry* mLast = nullptr;
};

EncodingCache& Cache() {
  static auto* cache = new EncodingCache;
  return *cache;
}

TESSstring AsciiString(std::string_view text) {
  return NewString(text.data(), int32_t(text.size()), kEncodingASCII);
}

// A holder of the text of `s` in UTF-8 (ASCII and raw bytes as they are).
StringHolder AsUtf8(TESSstring s) {
  if (!s || s->mEncoding == kEncodingASCII || s->mEncoding == kEncodingUnknown) {
    LockString(s);
    return StringHolder::Adopt(s);
  }
  return StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
}

std::string_view View(TESSstring s) {
  return s ? std::string_view(reinterpret_cast<const char*>(StringBytes(s)), size_t(s->mLength))
           : std::string_view();
}

}  // namespace

const EncodingRow& EncodingTableRow(int32_t index) { return kTable[index]; }

uint32_t EncodingCodeOf(RuntimeObject* encoding) {
  if (!encoding) return kEncodingUnknown;
  return reinterpret_cast<TextEncodingObject*>(encoding)->mCode;
}

RuntimeObject* CachedEncodingObject(uint32_t code) {
  if (code == kEncodingUnknown) return nullptr;
  if (RuntimeObject* found = Cache().Find(code)) return found;
  RuntimeObject* object = NewEncodingObject(code);
  return object ? Cache().Add(code, object) : nullptr;
}

}  // namespace vela

using namespace vela;

namespace {
RuntimeObject* Owned(RuntimeObject* object) {
  if (object) RuntimeLockObject(object);
  return object;
}
}  // namespace

RuntimeObject* getTextEncoding(int32_t base, int32_t variant, int32_t format) {
  RuntimeObject* object = gTextEncodingDecl.New();
  if (!object) return nullptr;
  uint32_t code = uint32_t(base);
  if (uint32_t(base) == 0x100 && format >= 2 && format <= 7) code = 0x100 | (uint32_t(format) << 26);
  Fill(reinterpret_cast<TextEncodingObject*>(object), uint32_t(base), uint32_t(variant),
       uint32_t(format), code);
  return object;
}

RuntimeObject* getInternetTextEncoding(TESSstring name) {
  if (!name) return nullptr;
  StringHolder utf8 = AsUtf8(name);
  if (!utf8) return nullptr;
  const std::string_view wanted = View(utf8.get());
  for (int32_t k = 0; k < kEncodingRows; ++k)
    if (wanted == kTable[k].name) return EncodingsGetter(k + 1);
  return nullptr;
}

RuntimeObject* getFontTextEncoding(TESSstring) {
  // Every font uses the system encoding here.
  const uint32_t code = EncodingFromCodePage(kSystemCodePage);
  return code == kEncodingUnknown ? nullptr : NewEncodingObject(code);
}

RuntimeObject* GetEncodingObjectFromCode(uint32_t code) { return Owned(CachedEncodingObject(code)); }

uint32_t GetEncodingFromTEObject(RuntimeObject* encoding) { return EncodingCodeOf(encoding); }

uint32_t textEncodingBaseGetter(RuntimeObject* self, intptr_t) {
  return self ? reinterpret_cast<TextEncodingObject*>(self)->mBase : 0;
}
uint32_t textEncodingVariantGetter(RuntimeObject* self, intptr_t) {
  return self ? reinterpret_cast<TextEncodingObject*>(self)->mVariant : 0;
}
uint32_t textEncodingFormatGetter(RuntimeObject* self, intptr_t) {
  return self ? reinterpret_cast<TextEncodingObject*>(self)->mFormat : 0;
}
uint32_t TextEncodingcodeGetter(RuntimeObject* self, intptr_t) { return EncodingCodeOf(self); }

TESSstring textEncodingInternetName(RuntimeObject* self) {
  if (!self) return nullptr;
  const auto* data = reinterpret_cast<TextEncodingObject*>(self);
  if (data->mBase == 0x100) {
    static const char* const kForms[] = {"UTF-16",   "UTF-7",    "UTF-8",    "UTF-32",
                                         "UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE"};
    if (data->mFormat < 8) return AsciiString(kForms[data->mFormat]);
  }
  if (data->mBase == kEncodingUTF8) return AsciiString("UTF-8");
  static const auto* names = [] {
    auto* map = new std::map<uint32_t, const char*>;
    for (const EncodingRow& row : kTable) map->emplace(row.code, row.name);  // first row wins
    return map;
  }();
  auto it = names->find(data->mCode);
  return it == names->end() ? nullptr : AsciiString(it->second);
}

TESSstring TextEncodingChr(RuntimeObject* self, uint32_t value) {
  if (!self) return nullptr;
  const auto* data = reinterpret_cast<TextEncodingObject*>(self);
  unsigned char bytes[8];
  size_t n = 0;
  if (data->mBase < 0x100 || data->mBase > 0x1FF) {
    int skip = 0;
    while (skip < 3 && ((value >> (24 - 8 * skip)) & 0xFF) == 0) ++skip;
    for (int i = skip; i < 4; ++i) bytes[n++] = uint8_t(value >> (24 - 8 * i));
  } else if (data->mFormat == 3 || data->mFormat == 6 || data->mFormat == 7) {
    const bool big = data->mFormat == 6;
    for (int i = 0; i < 4; ++i) bytes[n++] = uint8_t(value >> (big ? 24 - 8 * i : 8 * i));
  } else if (data->mFormat == 0 || data->mFormat == 4 || data->mFormat == 5) {
    const bool big = data->mFormat == 4;
    const uint32_t high = value >> 16, low = value & 0xFFFF;
    const bool pair = high >= 0xD800 && high <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF;
    const uint32_t units[2] = {pair ? high : low, low};
    for (int k = 0; k < (pair ? 2 : 1); ++k) {
      const uint32_t unit = units[k];
      bytes[n++] = uint8_t(big ? unit >> 8 : unit);
      bytes[n++] = uint8_t(big ? unit : unit >> 8);
    }
  } else {
    char utf8[4];
    int32_t i = 0;
    UBool error = false;
    U8_APPEND(utf8, i, 4, UChar32(value), error);
    if (error) return nullptr;
    std::memcpy(bytes, utf8, size_t(i));
    n = size_t(i);
  }
  return NewString(bytes, int32_t(n), data->mCode);
}

bool TextEncodingEquals(RuntimeObject* a, RuntimeObject* b) {
  return a == b || (a && b && EncodingCodeOf(a) == EncodingCodeOf(b));
}

bool TextEncodingIsValidData(RuntimeObject* self, TESSstring data) {
  if (!self || !data) return true;
  const uint32_t code = EncodingCodeOf(self);
  StringHolder back =
      StringHolder::Adopt(ConvertBytes(StringBytes(data), data->mLength, code, code));
  return back && View(back.get()) == View(data);
}

RuntimeObject* EncodingsGetter(int32_t row) {
  if (row < 1 || row > kEncodingRows) return nullptr;
  return GetEncodingObjectFromCode(kTable[row - 1].code);
}
int32_t EncodingsCount() { return kReportedEncodingRows; }
RuntimeObject* EncodingsGetFromIndex(int32_t index) { return EncodingsGetter(index + 1); }
RuntimeObject* EncodingsGetFromCode(uint32_t code) { return GetEncodingObjectFromCode(code); }

RuntimeObject* StringGetEncoding(TESSstring s) {
  if (!s) return GetEncodingObjectFromCode(kEncodingASCII);
  return GetEncodingObjectFromCode(s->mEncoding);
}

TESSstring StringSetEncoding(TESSstring s, RuntimeObject* encoding) {
  if (!s) return nullptr;
  const uint32_t code = EncodingCodeOf(encoding);
  if (code == s->mEncoding) {
    LockStringRecord(s);
    return s;
  }
  return NewString(StringBytes(s), s->mLength, code);
}

TESSstring StringConvertEncoding(TESSstring s, RuntimeObject* encoding) {
  if (!s) return nullptr;
  const uint32_t code = EncodingCodeOf(encoding);
  if (code == s->mEncoding || code == kEncodingUnknown || s->mEncoding == kEncodingUnknown) {
    LockStringRecord(s);
    return s;
  }
  return ConvertString(s, code);
}
