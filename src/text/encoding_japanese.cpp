#include "text/encoding_japanese.h"

namespace vela {
namespace {

constexpr unsigned char kEsc = 0x1B;

bool IsShiftJisLead(unsigned c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }
bool IsKana(unsigned c) { return c >= 0xA1 && c <= 0xDF; }
bool IsJis(unsigned c) { return c >= 0x21 && c <= 0x7E; }

// JIS X 0208 row and cell (0x21..0x7E each) to the Shift-JIS pair.
void JisToShiftJis(unsigned j1, unsigned j2, std::string& out) {
  const unsigned s1 = ((j1 + 1) >> 1) + (j1 <= 0x5E ? 0x70 : 0xB0);
  const unsigned s2 = j2 + ((j1 & 1) ? (j2 >= 0x60 ? 0x20 : 0x1F) : 0x7E);
  out.push_back(char(s1));
  out.push_back(char(s2));
}

// The Shift-JIS pair to JIS row and cell; false outside JIS X 0208.
bool ShiftJisToJis(unsigned s1, unsigned s2, unsigned& j1, unsigned& j2) {
  if (s2 < 0x40 || s2 == 0x7F || s2 > 0xFC) return false;
  const bool upper = s2 < 0x9F;
  j1 = ((s1 - (s1 < 0xA0 ? 0x70 : 0xB0)) << 1) - (upper ? 1 : 0);
  j2 = s2 - (upper ? (s2 > 0x7F ? 0x20 : 0x1F) : 0x7E);
  return IsJis(j1) && IsJis(j2);
}

}  // namespace

std::string EucJpToShiftJis(const unsigned char* bytes, size_t length) {
  std::string out;
  out.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    const unsigned c = bytes[i];
    if (c < 0x80) {
      out.push_back(char(c));
    } else if (c == 0x8E && i + 1 < length && IsKana(bytes[i + 1])) {
      out.push_back(char(bytes[++i]));  // half-width katakana: one byte in Shift-JIS
    } else if (c == 0x8F && i + 2 < length) {
      i += 2;  // JIS X 0212 has no Shift-JIS form
      out.push_back('?');
    } else if (c >= 0xA1 && c <= 0xFE && i + 1 < length && bytes[i + 1] >= 0xA1 &&
               bytes[i + 1] <= 0xFE) {
      JisToShiftJis(c - 0x80, bytes[++i] - 0x80u, out);
    } else {
      out.push_back('?');
    }
  }
  return out;
}

std::string ShiftJisToEucJp(const unsigned char* bytes, size_t length) {
  std::string out;
  out.reserve(length + length / 2);
  for (size_t i = 0; i < length; ++i) {
    const unsigned c = bytes[i];
    unsigned j1, j2;
    if (c < 0x80) {
      out.push_back(char(c));
    } else if (IsKana(c)) {
      out.push_back(char(0x8E));
      out.push_back(char(c));
    } else if (IsShiftJisLead(c) && i + 1 < length) {
      if (ShiftJisToJis(c, bytes[++i], j1, j2)) {
        out.push_back(char(j1 + 0x80));
        out.push_back(char(j2 + 0x80));
      } else {
        out.push_back('?');
      }
    } else {
      out.push_back('?');
    }
  }
  return out;
}

std::string Iso2022JpToShiftJis(const unsigned char* bytes, size_t length) {
  std::string out;
  out.reserve(length);
  int state = 0;  // 0 ASCII, 1 JIS X 0208, 2 half-width katakana
  for (size_t i = 0; i < length; ++i) {
    const unsigned c = bytes[i];
    if (c == kEsc && i + 2 < length) {
      const unsigned a = bytes[i + 1], b = bytes[i + 2];
      if (a == '(' && (b == 'B' || b == 'J')) { state = 0; i += 2; continue; }
      if (a == '(' && b == 'I') { state = 2; i += 2; continue; }
      if (a == '$' && (b == 'B' || b == '@')) { state = 1; i += 2; continue; }
    }
    if (c == '\r' || c == '\n') {
      state = 0;
      out.push_back(char(c));
    } else if (state == 1 && IsJis(c) && i + 1 < length && IsJis(bytes[i + 1])) {
      JisToShiftJis(c, bytes[++i], out);
    } else if (state == 2 && c >= 0x21 && c <= 0x5F) {
      out.push_back(char(c + 128));
    } else if (c < 0x80 && state != 1) {
      out.push_back(char(c));
    } else {
      out.push_back('?');
    }
  }
  return out;
}

std::string ShiftJisToIso2022Jp(const unsigned char* bytes, size_t length) {
  std::string out;
  out.reserve(length + 8);
  int state = 0;
  auto enter = [&](int wanted) {
    if (state == wanted) return;
    static const char* const kEscapes[] = {"\x1B(B", "\x1B$B", "\x1B(I"};
    out += kEscapes[wanted];
    state = wanted;
  };
  for (size_t i = 0; i < length; ++i) {
    const unsigned c = bytes[i];
    unsigned j1, j2;
    if (c < 0x80) {
      enter(0);
      out.push_back(char(c));
    } else if (IsKana(c)) {
      enter(2);
      out.push_back(char(c - 128));
    } else if (IsShiftJisLead(c) && i + 1 < length && ShiftJisToJis(c, bytes[i + 1], j1, j2)) {
      ++i;
      enter(1);
      out.push_back(char(j1));
      out.push_back(char(j2));
    } else {
      if (IsShiftJisLead(c) && i + 1 < length) ++i;
      enter(0);
      out.push_back('?');
    }
  }
  enter(0);
  return out;
}

uint32_t GuessJapaneseCode(const unsigned char* bytes, size_t length) {
  constexpr uint32_t kJis = 0x820, kShiftJis = 0xA01, kEuc = 0x920;
  auto sjisLead = [](unsigned c) { return (c >= 0x81 && c <= 0x8D) || (c >= 0x8F && c <= 0x9F); };
  auto sjisTrail = [](unsigned c) {
    return (c >= 0x40 && c <= 0x7E) || (c >= 0x80 && c <= 0xA0);
  };
  size_t i = 0;
  while (i < length) {
    const unsigned c = bytes[i];
    const unsigned next = i + 1 < length ? bytes[i + 1] : 0;
    if (c == kEsc) {
      if (next == '$' && i + 2 < length && (bytes[i + 2] == 'B' || bytes[i + 2] == '@'))
        return kJis;
      if (next == 'K') return kJis;
      ++i;
    } else if (sjisLead(c)) {
      return kShiftJis;
    } else if (c == 0x8E) {
      if (sjisTrail(next) || (next >= 0xE0 && next <= 0xFC)) return kShiftJis;
      i += 2;  // 0xA1..0xDF: kana in either form, still open
    } else if (IsKana(c)) {
      if (next >= 0xF0 && next <= 0xFE) return kEuc;
      if (next >= 0xE0 && next <= 0xEF) {
        // Open: scan on for a byte that only one form uses.
        for (size_t k = i + 2; k < length; ++k) {
          const unsigned d = bytes[k];
          if (d == 0xFD || d == 0xFE) return kEuc;
          if (sjisLead(d)) return kShiftJis;
        }
        return 0;
      }
      if (next != 0 && next <= 0x9F) return kShiftJis;
      i += 2;
    } else if (c >= 0xF0 && c <= 0xFE) {
      return kEuc;
    } else if (c >= 0xE0 && c <= 0xEF) {
      if (sjisTrail(next)) return kShiftJis;
      i += 2;
    } else {
      ++i;
    }
  }
  return 0;
}

}  // namespace vela
