// The three byte forms of Japanese text (Shift-JIS, EUC-JP, ISO-2022-JP) and
// the guess between them. The transcoders are plain byte arithmetic between
// JIS X 0208 rows and cells; Shift-JIS is the form the rest of the library
// converts through (code page 932).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vela {

std::string EucJpToShiftJis(const unsigned char* bytes, size_t length);
std::string ShiftJisToEucJp(const unsigned char* bytes, size_t length);
// Escapes: ESC ( B and ESC ( J for ASCII, ESC $ B and ESC $ @ for JIS X
// 0208, ESC ( I for half-width katakana. A line end resets to ASCII.
std::string Iso2022JpToShiftJis(const unsigned char* bytes, size_t length);
std::string ShiftJisToIso2022Jp(const unsigned char* bytes, size_t length);

// The encoding code of Japanese text: 0x820 (ISO-2022-JP), 0xA01
// (Shift-JIS), 0x920 (EUC-JP), or 0 when the bytes do not decide it.
uint32_t GuessJapaneseCode(const unsigned char* bytes, size_t length);

}  // namespace vela
