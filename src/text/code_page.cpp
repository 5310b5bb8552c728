// The code-page layer. Single-byte pages are decoded and encoded through
// 256-entry tables built once from ICU and then patched where ICU's table
// for a page differs from the page as applications know it; multi-byte pages
// go through ICU converters that each thread opens once and keeps; Johab
// goes through iconv. The Unicode forms are done here directly.
#include "text/code_page.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <cstring>
#include <mutex>
#include <new>
#include <stdexcept>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "vela/string.h"

namespace vela {
namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr uint16_t kNoByte = 0xFFFF;

enum class Kind : uint8_t {
  kUtf8,
  kUtf16LE,
  kUtf16BE,
  kUtf32LE,
  kUtf32BE,
  kSingleByte,
  kIcu,
  kIconv,
  kJapanese,  // EUC-JP and ISO-2022-JP markers: the engine transcodes them
  kMissing,   // in the map, but no converter serves the page
};

// Where ICU's table of a single-byte page is not the page applications
// expect.
enum Patch : uint8_t {
  kNoPatch = 0,
  // IBM's DOS tables swap 0x1A, 0x1C and 0x7F with graphic characters; the
  // DOS code pages keep the ASCII controls.
  kDosControls = 1,
  // Bytes a Windows page leaves undefined in 0x80..0x9F decode to the C1
  // control of the same value.
  kWindowsC1 = 2,
  // US-ASCII drops the eighth bit of a byte instead of rejecting it.
  kSevenBit = 4,
};

struct CodePageRow {
  uint32_t codePage;
  uint32_t encoding;
  Kind kind;
  const char* converter;  // ICU or iconv name
  uint8_t patch;
};

// Platform code page to encoding code. ICU's short "cpNNN" aliases name the
// wrong tables for several Windows pages (874, 949 and 950 among them), so
// every page names its converter in full.
constexpr CodePageRow kRows[] = {
    {37, 0xC01, Kind::kSingleByte, "ibm-37_P100-1995", kNoPatch},
    {437, 0x400, Kind::kSingleByte, "ibm-437_P100-1995", kDosControls},
    {708, 0x206, Kind::kSingleByte, "ISO-8859-6", kNoPatch},
    {737, 0x405, Kind::kSingleByte, "ibm-737_P100-1997", kDosControls},
    {775, 0x406, Kind::kSingleByte, "ibm-775_P100-1996", kDosControls},
    {850, 0x410, Kind::kSingleByte, "ibm-850_P100-1995", kDosControls},
    {851, 0x411, Kind::kSingleByte, "ibm-851_P100-1995", kDosControls},
    {852, 0x412, Kind::kSingleByte, "ibm-852_P100-1995", kDosControls},
    {855, 0x413, Kind::kSingleByte, "ibm-855_P100-1995", kDosControls},
    {857, 0x414, Kind::kSingleByte, "ibm-857_P100-1995", kDosControls},
    {860, 0x415, Kind::kSingleByte, "ibm-860_P100-1995", kDosControls},
    {861, 0x416, Kind::kSingleByte, "ibm-861_P100-1995", kDosControls},
    {862, 0x417, Kind::kSingleByte, "ibm-862_P100-1995", kDosControls},
    {863, 0x418, Kind::kSingleByte, "ibm-863_P100-1995", kDosControls},
    {864, 0x419, Kind::kSingleByte, "ibm-864_X110-1999", kDosControls},
    {865, 0x41A, Kind::kSingleByte, "ibm-865_P100-1995", kDosControls},
    {866, 0x41B, Kind::kSingleByte, "ibm-866_P100-1995", kDosControls},
    {869, 0x41C, Kind::kSingleByte, "ibm-869_P100-1995", kDosControls},
    {874, 0x41D, Kind::kSingleByte, "windows-874-2000", kWindowsC1},
    {932, 0xA01, Kind::kIcu, "ibm-943_P15A-2003", kNoPatch},
    {936, 0x421, Kind::kIcu, "windows-936-2000", kNoPatch},
    {949, 0x422, Kind::kIcu, "windows-949-2000", kNoPatch},
    {950, 0x423, Kind::kIcu, "windows-950-2000", kNoPatch},
    {1200, kEncodingUTF16LE, Kind::kUtf16LE, nullptr, kNoPatch},
    {1201, kEncodingUTF16BE, Kind::kUtf16BE, nullptr, kNoPatch},
    {1250, 0x501, Kind::kSingleByte, "windows-1250", kWindowsC1},
    {1251, 0x502, Kind::kSingleByte, "windows-1251", kWindowsC1},
    {1252, 0x500, Kind::kSingleByte, "windows-1252", kWindowsC1},
    {1253, 0x503, Kind::kSingleByte, "windows-1253", kWindowsC1},
    {1254, 0x504, Kind::kSingleByte, "windows-1254", kWindowsC1},
    {1255, 0x505, Kind::kSingleByte, "windows-1255", kWindowsC1},
    {1256, 0x506, Kind::kSingleByte, "windows-1256", kWindowsC1},
    {1257, 0x507, Kind::kSingleByte, "windows-1257", kWindowsC1},
    {1258, 0x508, Kind::kSingleByte, "windows-1258", kWindowsC1},
    {1361, 0x510, Kind::kIconv, "JOHAB", kNoPatch},
    {10000, 0x0, Kind::kSingleByte, "macintosh", kNoPatch},
    // The Mac Japanese, Chinese, Korean, Arabic and Hebrew pages: no
    // converter serves them here.
    {10001, 0x1, Kind::kMissing, nullptr, kNoPatch},
    {10002, 0x2, Kind::kMissing, nullptr, kNoPatch},
    {10003, 0x3, Kind::kMissing, nullptr, kNoPatch},
    {10004, 0x4, Kind::kMissing, nullptr, kNoPatch},
    {10005, 0x5, Kind::kMissing, nullptr, kNoPatch},
    {10006, 0x6, Kind::kSingleByte, "x-mac-greek", kNoPatch},
    {10007, 0x7, Kind::kSingleByte, "x-mac-cyrillic", kNoPatch},
    {10008, 0x19, Kind::kMissing, nullptr, kNoPatch},
    {10010, 0x26, Kind::kMissing, nullptr, kNoPatch},
    {10021, 0x15, Kind::kMissing, nullptr, kNoPatch},
    {10029, 0x1D, Kind::kSingleByte, "x-mac-centraleurroman", kNoPatch},
    {10079, 0x25, Kind::kMissing, nullptr, kNoPatch},
    {10081, 0x23, Kind::kSingleByte, "x-mac-turkish", kNoPatch},
    {10082, 0x24, Kind::kMissing, nullptr, kNoPatch},
    {12000, kEncodingUTF32LE, Kind::kUtf32LE, nullptr, kNoPatch},
    {12001, kEncodingUTF32BE, Kind::kUtf32BE, nullptr, kNoPatch},
    {12002, kEncodingUTF32, Kind::kUtf32LE, nullptr, kNoPatch},  // host order
    {20127, kEncodingASCII, Kind::kSingleByte, "US-ASCII", kSevenBit},
    {20866, 0xA02, Kind::kSingleByte, "KOI8-R", kNoPatch},
    {28591, 0x201, Kind::kSingleByte, "ISO-8859-1", kNoPatch},
    {28592, 0x202, Kind::kSingleByte, "ISO-8859-2", kNoPatch},
    {28593, 0x203, Kind::kSingleByte, "ISO-8859-3", kNoPatch},
    {28594, 0x204, Kind::kSingleByte, "ISO-8859-4", kNoPatch},
    {28595, 0x205, Kind::kSingleByte, "ISO-8859-5", kNoPatch},
    {28597, 0x207, Kind::kSingleByte, "ISO-8859-7", kNoPatch},
    {28598, 0x208, Kind::kSingleByte, "ISO-8859-8", kNoPatch},
    {28599, 0x209, Kind::kSingleByte, "ISO-8859-9", kNoPatch},
    // ISO-8859-10, 13 and 14 are in the encodings table; ICU serves them.
    {28600, 0x20A, Kind::kSingleByte, "ISO-8859-10", kNoPatch},
    {28603, 0x20D, Kind::kSingleByte, "ISO-8859-13", kNoPatch},
    {28604, 0x20E, Kind::kSingleByte, "ISO-8859-14", kNoPatch},
    {28605, 0x20F, Kind::kSingleByte, "ISO-8859-15", kNoPatch},
    {65001, kEncodingUTF8, Kind::kUtf8, nullptr, kNoPatch},
    {kCodePageEucJp, 0x920, Kind::kJapanese, nullptr, kNoPatch},
    {kCodePageIso2022Jp, 0x820, Kind::kJapanese, nullptr, kNoPatch},
};
constexpr size_t kRowCount = sizeof kRows / sizeof kRows[0];

// Codes that reach a page without being that page's own code: host-order
// UTF-16, and the DOS Japanese row of the encodings table.
struct ExtraCode {
  uint32_t encoding;
  uint32_t codePage;
};
constexpr ExtraCode kExtraCodes[] = {{kEncodingUTF16, 1200}, {0x420, 932}};

const CodePageRow* FindRow(uint32_t codePage) {
  for (const CodePageRow& row : kRows)
    if (row.codePage == codePage) return &row;
  return nullptr;
}

}  // namespace

// ---- single-byte tables -------------------------------------------------

struct SingleByteTable {
  char16_t toUnicode[256];
  uint16_t fromUnicode[0x10000];  // kNoByte where the page has no byte
  // Each byte's character in UTF-8, padded with zeros to four bytes.
  unsigned char utf8[256][4];
  uint8_t utf8Length[256];
  bool usable = false;
  // False when a byte decodes to a surrogate, which only the pivot pairs up.
  bool direct = false;
};

namespace {

void BuildSingleByteTable(const CodePageRow& row, SingleByteTable& table) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(row.converter, &status);
  if (U_FAILURE(status) || !converter) return;
  status = U_ZERO_ERROR;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  for (int b = 0; b < 256; ++b) {
    const char byte = char(b);
    UChar unit[4];
    status = U_ZERO_ERROR;
    ucnv_resetToUnicode(converter);
    const int32_t n = ucnv_toUChars(converter, unit, 4, &byte, 1, &status);
    table.toUnicode[b] = U_SUCCESS(status) && n == 1 ? char16_t(unit[0]) : kReplacement;
  }
  ucnv_close(converter);

  for (int b = 0; b < 256; ++b) {
    const bool control = b < 0x20 || b == 0x7F;
    if ((row.patch & kDosControls) && control) table.toUnicode[b] = char16_t(b);
    if ((row.patch & kWindowsC1) && b >= 0x80 && b <= 0x9F && table.toUnicode[b] == kReplacement)
      table.toUnicode[b] = char16_t(b);
    if ((row.patch & kSevenBit) && b >= 0x80) table.toUnicode[b] = char16_t(b & 0x7F);
  }
  std::fill(std::begin(table.fromUnicode), std::end(table.fromUnicode), kNoByte);
  // The first byte of a character wins, so the seven-bit fold of US-ASCII
  // never changes what a character encodes to.
  for (int b = 0; b < 256; ++b) {
    const char16_t u = table.toUnicode[b];
    if (u != kReplacement && table.fromUnicode[u] == kNoByte) table.fromUnicode[u] = uint16_t(b);
  }
  table.direct = true;
  for (int b = 0; b < 256; ++b) {
    const char16_t u = table.toUnicode[b];
    unsigned char* e = table.utf8[b];
    std::fill(e, e + 4, 0);
    if (u < 0x80) {
      e[0] = uint8_t(u);
      table.utf8Length[b] = 1;
    } else if (u < 0x800) {
      e[0] = uint8_t(0xC0 | (u >> 6));
      e[1] = uint8_t(0x80 | (u & 0x3F));
      table.utf8Length[b] = 2;
    } else {
      e[0] = uint8_t(0xE0 | (u >> 12));
      e[1] = uint8_t(0x80 | ((u >> 6) & 0x3F));
      e[2] = uint8_t(0x80 | (u & 0x3F));
      table.utf8Length[b] = 3;
    }
    if (U16_IS_SURROGATE(u)) table.direct = false;
  }
  table.usable = true;
}

// Built on first use, once per page, and kept to process end.
const SingleByteTable* SingleByteTableFor(const CodePageRow& row) {
  static std::once_flag onces[kRowCount];
  static SingleByteTable* tables[kRowCount];
  const size_t index = size_t(&row - kRows);
  std::call_once(onces[index], [&] {
    auto* table = new (std::nothrow) SingleByteTable;
    if (!table) return;
    BuildSingleByteTable(row, *table);
    tables[index] = table;
  });
  const SingleByteTable* table = tables[index];
  return table && table->usable ? table : nullptr;
}

// ---- ICU converters, one set per thread ----------------------------------

class ThreadConverters {
 public:
  ~ThreadConverters() {
    for (auto& [page, converter] : mOpen) ucnv_close(converter);
  }
  UConverter* Get(const CodePageRow& row) {
    for (auto& [page, converter] : mOpen)
      if (page == row.codePage) return converter;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(row.converter, &status);
    if (U_FAILURE(status) || !converter) return nullptr;
    status = U_ZERO_ERROR;
    ucnv_setSubstChars(converter, "?", 1, &status);
    mOpen.emplace_back(row.codePage, converter);
    return converter;
  }

 private:
  std::vector<std::pair<uint32_t, UConverter*>> mOpen;
};

thread_local ThreadConverters tConverters;

bool IcuAvailable(const CodePageRow& row) {
  static std::once_flag onces[kRowCount];
  static bool available[kRowCount];
  const size_t index = size_t(&row - kRows);
  std::call_once(onces[index], [&] {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(row.converter, &status);
    available[index] = U_SUCCESS(status) && converter;
    if (converter) ucnv_close(converter);
  });
  return available[index];
}

bool IconvAvailable(const CodePageRow& row) {
  static std::once_flag onces[kRowCount];
  static bool available[kRowCount];
  const size_t index = size_t(&row - kRows);
  std::call_once(onces[index], [&] {
    iconv_t cd = iconv_open("UTF-16LE", row.converter);
    available[index] = cd != iconv_t(-1);
    if (available[index]) iconv_close(cd);
  });
  return available[index];
}

// Runs iconv over the whole input. Bytes it cannot read become `bad` (one
// output unit, `badSize` bytes) and the input moves on by `skip`.
bool RunIconv(const char* to, const char* from, const char* input, size_t length,
              const char* bad, size_t badSize, size_t skip, std::string& out) {
  iconv_t cd = iconv_open(to, from);
  if (cd == iconv_t(-1)) return false;
  out.resize(length * 4 + 16);
  char* in = const_cast<char*>(input);
  size_t inLeft = length;
  size_t produced = 0;
  bool ok = true;
  while (inLeft > 0) {
    if (out.size() - produced < badSize + 8) out.resize(out.size() * 2);
    char* outPtr = out.data() + produced;
    size_t outLeft = out.size() - produced;
    const size_t r = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    produced = size_t(outPtr - out.data());
    if (r != size_t(-1)) break;
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
    } else if (errno == EILSEQ || errno == EINVAL) {
      if (out.size() - produced < badSize) out.resize(out.size() * 2);
      std::copy(bad, bad + badSize, out.data() + produced);
      produced += badSize;
      const size_t step = std::min(skip, inLeft);
      in += step;
      inLeft -= step;
    } else {
      ok = false;
      break;
    }
  }
  iconv_close(cd);
  out.resize(produced);
  return ok;
}

// ---- the Unicode forms ---------------------------------------------------

uint32_t ReadUnit32(const unsigned char* p, bool big) {
  return big ? (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]
             : (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
}

void DecodeUtf16(const unsigned char* bytes, size_t length, bool big, std::u16string& out) {
  out.resize(length / 2);
  for (size_t i = 0; i < out.size(); ++i) {
    const unsigned char* p = bytes + 2 * i;
    out[i] = big ? char16_t((p[0] << 8) | p[1]) : char16_t((p[1] << 8) | p[0]);
  }
  if (length % 2) out.push_back(kReplacement);  // a dangling half unit
}

void DecodeUtf32(const unsigned char* bytes, size_t length, bool big, std::u16string& out) {
  out.clear();
  out.reserve(length / 2);
  size_t i = 0;
  for (; i + 4 <= length; i += 4) {
    uint32_t c = ReadUnit32(bytes + i, big);
    if (c > 0x10FFFF || U_IS_SURROGATE(c)) c = kReplacement;
    if (c > 0xFFFF) {
      out.push_back(U16_LEAD(c));
      out.push_back(U16_TRAIL(c));
    } else {
      out.push_back(char16_t(c));
    }
  }
  if (i < length) out.push_back(kReplacement);
}

void EncodeUtf16(const char16_t* units, size_t count, bool big, std::string& out) {
  out.resize(count * 2);
  for (size_t i = 0; i < count; ++i) {
    out[2 * i + (big ? 0 : 1)] = char(units[i] >> 8);
    out[2 * i + (big ? 1 : 0)] = char(units[i] & 0xFF);
  }
}

void EncodeUtf32(const char16_t* units, size_t count, bool big, std::string& out) {
  out.clear();
  out.reserve(count * 4);
  const UChar* source = reinterpret_cast<const UChar*>(units);
  const int32_t n = int32_t(count);
  for (int32_t i = 0; i < n;) {
    UChar32 c;
    U16_NEXT(source, i, n, c);
    if (U_IS_SURROGATE(c)) c = kReplacement;  // unpaired
    for (int k = 0; k < 4; ++k) out.push_back(char(uint32_t(c) >> (big ? 24 - 8 * k : 8 * k)));
  }
}

bool DecodeIcu(const CodePageRow& row, const unsigned char* bytes, size_t length,
               std::u16string& out) {
  UConverter* converter = tConverters.Get(row);
  if (!converter) return false;
  out.resize(length + 1);  // a double-byte page never gives more units than bytes
  ucnv_resetToUnicode(converter);
  UErrorCode status = U_ZERO_ERROR;
  const int32_t n = ucnv_toUChars(converter, reinterpret_cast<UChar*>(out.data()),
                                  int32_t(out.size()), reinterpret_cast<const char*>(bytes),
                                  int32_t(length), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    out.resize(size_t(n) + 1);
    ucnv_resetToUnicode(converter);
    status = U_ZERO_ERROR;
    ucnv_toUChars(converter, reinterpret_cast<UChar*>(out.data()), int32_t(out.size()),
                  reinterpret_cast<const char*>(bytes), int32_t(length), &status);
  }
  if (U_FAILURE(status)) return false;
  out.resize(size_t(n));
  return true;
}

bool EncodeIcu(const CodePageRow& row, const char16_t* units, size_t count, std::string& out) {
  UConverter* converter = tConverters.Get(row);
  if (!converter) return false;
  out.resize(count * size_t(ucnv_getMaxCharSize(converter)) + 1);
  ucnv_resetFromUnicode(converter);
  UErrorCode status = U_ZERO_ERROR;
  const int32_t n = ucnv_fromUChars(converter, out.data(), int32_t(out.size()),
                                    reinterpret_cast<const UChar*>(units), int32_t(count),
                                    &status);
  if (U_FAILURE(status)) return false;
  out.resize(size_t(n));
  return true;
}

bool Fits(size_t length) { return length <= size_t(INT32_MAX) / 4; }

}  // namespace

uint32_t EncodingFromCodePage(uint32_t codePage) {
  if (const CodePageRow* row = FindRow(codePage)) return row->encoding;
  return codePage - 0x10000u;
}

uint32_t CodePageFromEncoding(uint32_t encoding) {
  if (encoding >= 0xFFFF0000u) return encoding & 0xFFFFu;
  for (const CodePageRow& row : kRows)
    if (row.encoding == encoding) return row.codePage;
  for (const ExtraCode& extra : kExtraCodes)
    if (extra.encoding == encoding) return extra.codePage;
  return 0;
}

bool IsValidCodePage(uint32_t codePage) {
  const CodePageRow* row = FindRow(codePage);
  if (!row) return false;
  switch (row->kind) {
    case Kind::kSingleByte: return SingleByteTableFor(*row) != nullptr;
    case Kind::kIcu: return IcuAvailable(*row);
    case Kind::kIconv: return IconvAvailable(*row);
    case Kind::kMissing: return false;
    default: return true;
  }
}

std::vector<uint32_t> SupportedCodePages() {
  std::vector<uint32_t> pages;
  for (const CodePageRow& row : kRows)
    if (row.kind != Kind::kJapanese && IsValidCodePage(row.codePage))
      pages.push_back(row.codePage);
  return pages;
}

bool IsSingleByteCodePage(uint32_t codePage) {
  const CodePageRow* row = FindRow(codePage);
  return row && row->kind == Kind::kSingleByte;
}

bool MultiByteToWide(uint32_t codePage, const unsigned char* bytes, size_t length,
                     std::u16string& out) {
  const CodePageRow* row = FindRow(codePage);
  if (!row || !Fits(length)) return false;
  try {
    switch (row->kind) {
      case Kind::kUtf8: {
        out.resize(length);
        int32_t produced = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8WithSub(reinterpret_cast<UChar*>(out.data()), int32_t(length), &produced,
                             reinterpret_cast<const char*>(bytes), int32_t(length), kReplacement,
                             nullptr, &status);
        if (U_FAILURE(status)) return false;
        out.resize(size_t(produced));
        return true;
      }
      case Kind::kUtf16LE:
      case Kind::kUtf16BE: DecodeUtf16(bytes, length, row->kind == Kind::kUtf16BE, out); return true;
      case Kind::kUtf32LE:
      case Kind::kUtf32BE: DecodeUtf32(bytes, length, row->kind == Kind::kUtf32BE, out); return true;
      case Kind::kSingleByte: {
        const SingleByteTable* table = SingleByteTableFor(*row);
        if (!table) return false;
        out.resize(length);
        char16_t* o = out.data();
        for (size_t i = 0; i < length; ++i) o[i] = table->toUnicode[bytes[i]];
        return true;
      }
      case Kind::kIcu: return DecodeIcu(*row, bytes, length, out);
      case Kind::kIconv: {
        static const char kBad[] = {char(0xFD), char(0xFF)};  // U+FFFD, little-endian
        std::string wide;
        if (!RunIconv("UTF-16LE", row->converter, reinterpret_cast<const char*>(bytes), length,
                      kBad, 2, 1, wide))
          return false;
        DecodeUtf16(reinterpret_cast<const unsigned char*>(wide.data()), wide.size(), false, out);
        return true;
      }
      case Kind::kJapanese:
      case Kind::kMissing: return false;
    }
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  return false;
}

bool WideToMultiByte(uint32_t codePage, const char16_t* units, size_t count, std::string& out) {
  const CodePageRow* row = FindRow(codePage);
  if (!row || !Fits(count)) return false;
  try {
    switch (row->kind) {
      case Kind::kUtf8: {
        out.resize(count * 3);
        int32_t produced = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8WithSub(out.data(), int32_t(out.size()), &produced,
                           reinterpret_cast<const UChar*>(units), int32_t(count), kReplacement,
                           nullptr, &status);
        if (U_FAILURE(status)) return false;
        out.resize(size_t(produced));
        return true;
      }
      case Kind::kUtf16LE:
      case Kind::kUtf16BE: EncodeUtf16(units, count, row->kind == Kind::kUtf16BE, out); return true;
      case Kind::kUtf32LE:
      case Kind::kUtf32BE: EncodeUtf32(units, count, row->kind == Kind::kUtf32BE, out); return true;
      case Kind::kSingleByte: {
        const SingleByteTable* table = SingleByteTableFor(*row);
        if (!table) return false;
        out.resize(count);
        size_t o = 0;
        for (size_t i = 0; i < count; ++i) {
          const char16_t u = units[i];
          // A surrogate pair is one character: one '?'.
          if (U16_IS_LEAD(u) && i + 1 < count && U16_IS_TRAIL(units[i + 1])) ++i;
          const uint16_t b = table->fromUnicode[u];
          out[o++] = b == kNoByte ? '?' : char(b);
        }
        out.resize(o);
        return true;
      }
      case Kind::kIcu: return EncodeIcu(*row, units, count, out);
      case Kind::kIconv: {
        // iconv stops at a character Johab lacks: it becomes '?' and the
        // input moves on by one unit (two for a pair, via the next round).
        std::string wide;
        EncodeUtf16(units, count, false, wide);
        return RunIconv(row->converter, "UTF-16LE", wide.data(), wide.size(), "?", 1, 2, out);
      }
      case Kind::kJapanese:
      case Kind::kMissing: return false;
    }
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  return false;
}

// ---- direct paths ---------------------------------------------------------

bool IsConvertibleLength(size_t length) { return Fits(length); }

const SingleByteTable* SingleByteTableFor(uint32_t codePage) {
  const CodePageRow* row = FindRow(codePage);
  if (!row || row->kind != Kind::kSingleByte) return nullptr;
  const SingleByteTable* table = SingleByteTableFor(*row);
  return table && table->direct ? table : nullptr;
}

size_t SingleByteToUtf8Length(const SingleByteTable& table, const unsigned char* bytes,
                              size_t length) {
  size_t total = 0;
  for (size_t i = 0; i < length; ++i) total += table.utf8Length[bytes[i]];
  return total;
}

void SingleByteToUtf8(const SingleByteTable& table, const unsigned char* bytes, size_t length,
                      char* out) {
  // Every byte gives at least one, so while four input bytes are left there
  // is room for a whole four-byte store of the padded character.
  size_t i = 0;
  for (; i + 4 <= length; ++i) {
    std::memcpy(out, table.utf8[bytes[i]], 4);
    out += table.utf8Length[bytes[i]];
  }
  for (; i < length; ++i) {
    const unsigned char* e = table.utf8[bytes[i]];
    for (uint8_t k = 0; k < table.utf8Length[bytes[i]]; ++k) *out++ = char(e[k]);
  }
}

void SingleByteToUtf16(const SingleByteTable& table, const unsigned char* bytes, size_t length,
                       char16_t* out) {
  for (size_t i = 0; i < length; ++i) out[i] = table.toUnicode[bytes[i]];
}

size_t Utf8ToSingleByte(const SingleByteTable& table, const unsigned char* utf8, size_t length,
                        char* out, size_t capacity) {
  if (!Fits(length)) return 0;
  const int32_t n = int32_t(length);
  size_t produced = 0;
  for (int32_t i = 0; i < n;) {
    UChar32 c;
    U8_NEXT_OR_FFFD(utf8, i, n, c);
    // A supplementary character is one '?', as its surrogate pair is.
    const uint16_t b = c > 0xFFFF ? kNoByte : table.fromUnicode[c];
    if (produced < capacity) out[produced] = b == kNoByte ? '?' : char(b);
    ++produced;
  }
  return produced;
}

size_t Utf8ToUtf16(const unsigned char* utf8, size_t length, char16_t* out, size_t capacity) {
  if (!Fits(length) || capacity > size_t(INT32_MAX)) return 0;
  int32_t produced = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(reinterpret_cast<UChar*>(out), int32_t(capacity), &produced,
                       reinterpret_cast<const char*>(utf8), int32_t(length), kReplacement, nullptr,
                       &status);
  if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR) return 0;
  return size_t(produced);
}

size_t Utf16ToUtf8(const char16_t* units, size_t count, char* out, size_t capacity) {
  if (!Fits(count) || capacity > size_t(INT32_MAX)) return 0;
  int32_t produced = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(out, int32_t(capacity), &produced, reinterpret_cast<const UChar*>(units),
                     int32_t(count), kReplacement, nullptr, &status);
  if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR) return 0;
  return size_t(produced);
}

size_t Utf16ToUtf8Length(const char16_t* units, size_t count) {
  size_t total = 0;
  for (size_t i = 0; i < count; ++i) {
    const char16_t u = units[i];
    if (u < 0x80) {
      total += 1;
    } else if (u < 0x800) {
      total += 2;
    } else if (U16_IS_LEAD(u) && i + 1 < count && U16_IS_TRAIL(units[i + 1])) {
      total += 4;
      ++i;
    } else {
      total += 3;  // a character of the BMP, or U+FFFD for an unpaired surrogate
    }
  }
  return total;
}

}  // namespace vela
