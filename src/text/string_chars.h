// Character stepping for the classic string functions: what one character
// is in each encoding, and walking text by characters to find byte offsets.
//
// UTF-8 steps by code point (a byte 10xxxxxx continues one), the UTF-16
// family by 16-bit unit (a surrogate pair is two characters), the UTF-32
// family by four bytes, double-byte pages by one byte or two when the first
// is a lead byte and a further byte exists, and everything else by byte.
#pragma once

#include <cstdint>

namespace vela {

enum class CharForm : uint8_t { kByte, kUtf8, kUtf16, kUtf32, kLeadByte };

// A 256-bit set of lead bytes: bit (b & 31) of word (b >> 5).
struct LeadByteSet {
  uint32_t words[8];
  bool Has(unsigned char b) const { return (words[b >> 5] >> (b & 31)) & 1u; }
};

// How text of one encoding is stepped.
struct CharRule {
  CharForm form;
  const LeadByteSet* leads;  // only for kLeadByte
};

// The lead-byte set of an encoding (by its low 16 bits), or null; the sets
// are generated tables (char_tables.cpp).
const LeadByteSet* LeadByteSetFor(uint32_t encoding);

CharRule CharRuleFor(uint32_t encoding);

// kEncodingUnknown read as the system encoding; others unchanged.
uint32_t ResolveUnknownEncoding(uint32_t encoding);

inline bool IsUtf16Encoding(uint32_t e) {
  return e == 0x100u || e == 0x10000100u || e == 0x14000100u;
}
inline bool IsUtf32Encoding(uint32_t e) {
  return e == 0x0C000100u || e == 0x18000100u || e == 0x1C000100u;
}

// Number of characters in `length` bytes.
int64_t CountChars(const CharRule& rule, const unsigned char* text, int64_t length);

// The byte offset reached by stepping `count` characters (count >= 0)
// forward from byte offset `from`, no further than `length`.
int64_t StepChars(const CharRule& rule, const unsigned char* text, int64_t length, int64_t from,
                  int64_t count);

// The byte offset at which the last `count` characters begin (0 when the
// text has no more). Lead-byte text is walked from the front.
int64_t StepCharsBack(const CharRule& rule, const unsigned char* text, int64_t length,
                      int64_t count);

// The start of the character that holds byte `offset` (clamped to the text).
int64_t CharStartAt(const CharRule& rule, const unsigned char* text, int64_t length,
                    int64_t offset);

// One character's code by the rule of Asc, and the offset of the next
// character: UTF-8 decoded (a malformed sequence gives its first byte), a
// UTF-16 unit, a UTF-32 word, a lead byte times 256 plus its trail byte,
// otherwise the byte. A unit cut short by the end gives its first byte.
struct CharCode {
  uint32_t code;
  int64_t next;
};
CharCode CharCodeAt(uint32_t encoding, const unsigned char* text, int64_t length, int64_t offset);

}  // namespace vela
