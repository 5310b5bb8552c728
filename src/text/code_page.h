// Code pages: the numbered byte encodings that classic strings, the classic
// string operations and the streams convert through. Every conversion goes
// between a code page and UTF-16. The numbers are those of the platform the
// language grew up on; here each is served by an explicitly named ICU
// converter, by our own patched single-byte tables, by glibc's iconv where
// only it has the page (Johab), or by the library's own code (the Unicode
// forms, EUC-JP and ISO-2022-JP). Characters a page lacks become '?'.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vela {

// Not platform code pages: they mark EUC-JP and ISO-2022-JP, which the
// encoding engine transcodes to and from Shift-JIS (932) itself.
inline constexpr uint32_t kCodePageEucJp = 900000;
inline constexpr uint32_t kCodePageIso2022Jp = 900001;
inline constexpr uint32_t kCodePageShiftJis = 932;
inline constexpr uint32_t kCodePageUtf16LE = 1200;
inline constexpr uint32_t kCodePageUtf16BE = 1201;
inline constexpr uint32_t kCodePageUtf32LE = 12000;
inline constexpr uint32_t kCodePageUtf32BE = 12001;
inline constexpr uint32_t kCodePageUtf8 = 65001;

// The system code page: the one raw-byte (kEncodingUnknown) text is read in.
inline constexpr uint32_t kSystemCodePage = kCodePageUtf8;

// The encoding code of a code page. A page without a row in the map gives
// the direct range: 0xFFFF0000 plus its number.
uint32_t EncodingFromCodePage(uint32_t codePage);

// The code page of an encoding code, 0 when it has none. Codes of the direct
// range give their low 16 bits.
uint32_t CodePageFromEncoding(uint32_t encoding);

// True when this library can convert to and from `codePage`.
bool IsValidCodePage(uint32_t codePage);

// The code pages IsValidCodePage accepts, ascending, without the two
// Japanese markers. For tests and tools.
std::vector<uint32_t> SupportedCodePages();

// True for the pages of one byte per character (served by a 256-entry table).
bool IsSingleByteCodePage(uint32_t codePage);

// Decodes `length` bytes of `codePage` into `out` (replaced). Malformed or
// unmapped bytes give U+FFFD (the single-byte tables say what they map).
// False when the page is not valid here or memory runs out.
bool MultiByteToWide(uint32_t codePage, const unsigned char* bytes, size_t length,
                     std::u16string& out);

// Encodes `count` UTF-16 units into `out` (replaced), one '?' for each
// character the page lacks (and for an unpaired surrogate).
bool WideToMultiByte(uint32_t codePage, const char16_t* units, size_t count, std::string& out);

// ---- direct paths ---------------------------------------------------------
// The common conversions without the UTF-16 pivot, writing into memory the
// caller provides. Each gives exactly the text that MultiByteToWide and
// WideToMultiByte give through the pivot. The functions that take a
// `capacity` never write more than that and answer the size the whole
// result needs, which is more than `capacity` when it did not fit.

// True when `length` input bytes or units are within what the code-page
// layer converts (beyond it MultiByteToWide and WideToMultiByte fail).
bool IsConvertibleLength(size_t length);

// The 256-entry table of a single-byte page, or null: not a single-byte
// page, its table could not be built, or it has characters that the direct
// paths cannot carry.
struct SingleByteTable;
const SingleByteTable* SingleByteTableFor(uint32_t codePage);

// UTF-8 bytes that `length` bytes of the table's page become.
size_t SingleByteToUtf8Length(const SingleByteTable& table, const unsigned char* bytes,
                              size_t length);
// Writes exactly SingleByteToUtf8Length(table, bytes, length) bytes.
void SingleByteToUtf8(const SingleByteTable& table, const unsigned char* bytes, size_t length,
                      char* out);
// Writes `length` UTF-16 units.
void SingleByteToUtf16(const SingleByteTable& table, const unsigned char* bytes, size_t length,
                       char16_t* out);
// One byte per character: '?' for a character the page lacks and for each
// malformed sequence.
size_t Utf8ToSingleByte(const SingleByteTable& table, const unsigned char* utf8, size_t length,
                        char* out, size_t capacity);

// Malformed sequences become U+FFFD.
size_t Utf8ToUtf16(const unsigned char* utf8, size_t length, char16_t* out, size_t capacity);
// An unpaired surrogate becomes U+FFFD.
size_t Utf16ToUtf8(const char16_t* units, size_t count, char* out, size_t capacity);
// The exact size of Utf16ToUtf8's result.
size_t Utf16ToUtf8Length(const char16_t* units, size_t count);

}  // namespace vela
