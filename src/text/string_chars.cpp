// Character stepping; see string_chars.h.
#include "text/string_chars.h"

#include <algorithm>

#include <unicode/utf8.h>

#include "text/encoding_convert.h"
#include "vela/string.h"

namespace vela {
namespace {

uint32_t ReadUnit(const unsigned char* p, int size, bool bigEndian) {
  uint32_t v = 0;
  for (int k = 0; k < size; ++k) v |= uint32_t(p[k]) << (8 * (bigEndian ? size - 1 - k : k));
  return v;
}

}  // namespace

CharRule CharRuleFor(uint32_t encoding) {
  if (encoding == kEncodingUTF8) return {CharForm::kUtf8, nullptr};
  if (IsUtf16Encoding(encoding)) return {CharForm::kUtf16, nullptr};
  if (IsUtf32Encoding(encoding)) return {CharForm::kUtf32, nullptr};
  if (const LeadByteSet* leads = LeadByteSetFor(encoding)) return {CharForm::kLeadByte, leads};
  return {CharForm::kByte, nullptr};
}

uint32_t ResolveUnknownEncoding(uint32_t encoding) {
  return encoding == kEncodingUnknown ? kSystemEncoding : encoding;
}

int64_t CountChars(const CharRule& rule, const unsigned char* text, int64_t length) {
  switch (rule.form) {
    case CharForm::kUtf8: {
      int64_t n = 0;
      for (int64_t i = 0; i < length; ++i) n += (text[i] & 0xC0) != 0x80;
      return n;
    }
    case CharForm::kUtf16: return length / 2;
    case CharForm::kUtf32: return length / 4;
    case CharForm::kLeadByte: {
      int64_t n = 0;
      for (int64_t i = 0; i < length; ++n) i += (rule.leads->Has(text[i]) && i + 1 < length) ? 2 : 1;
      return n;
    }
    case CharForm::kByte: break;
  }
  return length;
}

int64_t StepChars(const CharRule& rule, const unsigned char* text, int64_t length, int64_t from,
                  int64_t count) {
  int64_t i = std::clamp<int64_t>(from, 0, length);
  switch (rule.form) {
    case CharForm::kUtf8:
      while (count > 0 && i < length) {
        ++i;
        while (i < length && (text[i] & 0xC0) == 0x80) ++i;
        --count;
      }
      return i;
    case CharForm::kUtf16: return std::min(length, i + std::min(count, length) * 2);
    case CharForm::kUtf32: return std::min(length, i + std::min(count, length) * 4);
    case CharForm::kLeadByte:
      for (; count > 0 && i < length; --count)
        i += (rule.leads->Has(text[i]) && i + 1 < length) ? 2 : 1;
      return i;
    case CharForm::kByte: break;
  }
  return std::min(length, i + std::min(count, length));
}

int64_t StepCharsBack(const CharRule& rule, const unsigned char* text, int64_t length,
                      int64_t count) {
  switch (rule.form) {
    case CharForm::kUtf8: {
      int64_t i = length;
      while (count > 0 && i > 0) {
        --i;
        while (i > 0 && (text[i] & 0xC0) == 0x80) --i;
        --count;
      }
      return i;
    }
    case CharForm::kLeadByte: {
      // A trail byte can look like a lead byte, so only a walk from the
      // front tells where characters begin.
      const int64_t total = CountChars(rule, text, length);
      if (count >= total) return 0;
      return StepChars(rule, text, length, 0, total - count);
    }
    case CharForm::kUtf16: return std::max<int64_t>(0, length - std::min(count, length) * 2);
    case CharForm::kUtf32: return std::max<int64_t>(0, length - std::min(count, length) * 4);
    case CharForm::kByte: break;
  }
  return std::max<int64_t>(0, length - std::min(count, length));
}

int64_t CharStartAt(const CharRule& rule, const unsigned char* text, int64_t length,
                    int64_t offset) {
  if (offset <= 0 || length <= 0) return 0;
  if (offset >= length) return length;
  switch (rule.form) {
    case CharForm::kUtf8:
      while (offset > 0 && (text[offset] & 0xC0) == 0x80) --offset;
      return offset;
    case CharForm::kUtf16: return offset & ~int64_t(1);
    case CharForm::kUtf32: return offset & ~int64_t(3);
    case CharForm::kLeadByte: {
      int64_t i = 0;
      for (;;) {
        const int64_t next = (rule.leads->Has(text[i]) && i + 1 < length) ? i + 2 : i + 1;
        if (next > offset) return i;
        i = next;
      }
    }
    case CharForm::kByte: break;
  }
  return offset;
}

CharCode CharCodeAt(uint32_t encoding, const unsigned char* text, int64_t length, int64_t offset) {
  const CharRule rule = CharRuleFor(encoding);
  const int64_t next = StepChars(rule, text, length, offset, 1);
  const unsigned char* p = text + offset;
  const int64_t size = next - offset;
  switch (rule.form) {
    case CharForm::kUtf8: {
      int32_t i = 0;
      UChar32 c;
      U8_NEXT(p, i, int32_t(size), c);
      return {c < 0 ? p[0] : uint32_t(c), next};
    }
    case CharForm::kUtf16:
      if (size == 2) return {ReadUnit(p, 2, encoding == kEncodingUTF16BE), next};
      break;
    case CharForm::kUtf32:
      if (size == 4) return {ReadUnit(p, 4, encoding == kEncodingUTF32BE), next};
      break;
    case CharForm::kLeadByte:
      if (size == 2) return {uint32_t(p[0]) * 256 + p[1], next};
      break;
    case CharForm::kByte: break;
  }
  return {p[0], next};
}

}  // namespace vela
