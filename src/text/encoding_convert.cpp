// Conversions between the encodings that strings here meet most: the Unicode
// forms, ASCII, Mac Roman (four-character codes) and Windows-1252. Every
// conversion decodes to UTF-16 and encodes from there; ICU does the UTF-8
// transforms and the single-byte tables, the rest is done in place.
#include "text/encoding_convert.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "support/assert.h"
#include "text/string_record.h"

namespace vela {
namespace {

// Runs an ICU call that fills a buffer, once more with the size it asked for
// when the first guess was too small, and trims `out` to what it produced.
template <class Buffer, class Call>
bool FillFromIcu(Buffer& out, size_t guess, Call call) {
  out.resize(guess);
  UErrorCode status = U_ZERO_ERROR;
  int32_t produced = call(out.data(), int32_t(out.size()), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    out.resize(size_t(produced) + 1);
    status = U_ZERO_ERROR;
    produced = call(out.data(), int32_t(out.size()), &status);
  }
  if (U_FAILURE(status)) return false;
  out.resize(size_t(produced));
  return true;
}

constexpr const char* kReportPath = "Universal/TextEncodingConverter";

constexpr char16_t kReplacement = 0xFFFD;

// How the bytes of an encoding are laid out.
enum class Form { kNone, kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE, kAscii, kTable };

struct EncodingForm {
  Form form;
  const char* icuName;  // for kTable: the ICU converter
};

EncodingForm FormOf(uint32_t encoding) {
  switch (encoding) {
    case kEncodingUnknown: return FormOf(kSystemEncoding);
    case kEncodingUTF8: return {Form::kUtf8, nullptr};
    case kEncodingUTF16:  // host order, little-endian here
    case kEncodingUTF16LE: return {Form::kUtf16LE, nullptr};
    case kEncodingUTF16BE: return {Form::kUtf16BE, nullptr};
    case kEncodingUTF32:
    case kEncodingUTF32LE: return {Form::kUtf32LE, nullptr};
    case kEncodingUTF32BE: return {Form::kUtf32BE, nullptr};
    case kEncodingASCII: return {Form::kAscii, nullptr};
    case kEncodingMacRoman: return {Form::kTable, "macintosh"};
    case kEncodingWindowsLatin1: return {Form::kTable, "windows-1252"};
    default: return {Form::kNone, nullptr};
  }
}

uint32_t ReadUnit32(const unsigned char* p, bool bigEndian) {
  return bigEndian ? (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]
                   : (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
}

// A converter opened for one call: no converter is shared between threads.
class IcuConverter {
 public:
  explicit IcuConverter(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    mConverter = ucnv_open(name, &status);
    if (U_FAILURE(status)) mConverter = nullptr;
    if (mConverter) {
      status = U_ZERO_ERROR;
      ucnv_setSubstChars(mConverter, "?", 1, &status);
    }
  }
  ~IcuConverter() {
    if (mConverter) ucnv_close(mConverter);
  }
  IcuConverter(const IcuConverter&) = delete;
  IcuConverter& operator=(const IcuConverter&) = delete;
  UConverter* get() const { return mConverter; }

 private:
  UConverter* mConverter = nullptr;
};

bool Decode(EncodingForm from, const unsigned char* bytes, int32_t length, std::u16string& out) {
  switch (from.form) {
    case Form::kUtf8: {
      out.resize(size_t(length));
      int32_t produced = 0;
      UErrorCode status = U_ZERO_ERROR;
      u_strFromUTF8WithSub(reinterpret_cast<UChar*>(out.data()), length, &produced,
                           reinterpret_cast<const char*>(bytes), length, kReplacement, nullptr,
                           &status);
      if (U_FAILURE(status)) return false;
      out.resize(size_t(produced));
      return true;
    }
    case Form::kUtf16LE:
    case Form::kUtf16BE: {
      const bool big = from.form == Form::kUtf16BE;
      out.resize(size_t(length) / 2);
      for (size_t i = 0; i < out.size(); ++i) {
        const unsigned char* p = bytes + 2 * i;
        out[i] = big ? char16_t((p[0] << 8) | p[1]) : char16_t((p[1] << 8) | p[0]);
      }
      if (length % 2) out.push_back(kReplacement);  // a dangling half unit
      return true;
    }
    case Form::kUtf32LE:
    case Form::kUtf32BE: {
      const bool big = from.form == Form::kUtf32BE;
      out.clear();
      out.reserve(size_t(length) / 2);
      int32_t i = 0;
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
      return true;
    }
    case Form::kAscii:
      out.resize(size_t(length));
      for (int32_t i = 0; i < length; ++i) out[size_t(i)] = bytes[i] < 0x80 ? bytes[i] : u'?';
      return true;
    case Form::kTable: {
      IcuConverter converter(from.icuName);
      if (!converter.get()) return false;
      return FillFromIcu(out, size_t(length) + 1, [&](char16_t* buffer, int32_t capacity,
                                                       UErrorCode* status) {
        return ucnv_toUChars(converter.get(), reinterpret_cast<UChar*>(buffer), capacity,
                             reinterpret_cast<const char*>(bytes), length, status);
      });
    }
    case Form::kNone: break;
  }
  return false;
}

bool Encode(EncodingForm to, const std::u16string& units, std::string& out) {
  const int32_t count = int32_t(units.size());
  const UChar* source = reinterpret_cast<const UChar*>(units.data());
  switch (to.form) {
    case Form::kUtf8: {
      out.resize(size_t(count) * 3);
      int32_t produced = 0;
      UErrorCode status = U_ZERO_ERROR;
      u_strToUTF8WithSub(out.data(), int32_t(out.size()), &produced, source, count, kReplacement,
                         nullptr, &status);
      if (U_FAILURE(status)) return false;
      out.resize(size_t(produced));
      return true;
    }
    case Form::kUtf16LE:
    case Form::kUtf16BE: {
      const bool big = to.form == Form::kUtf16BE;
      out.resize(size_t(count) * 2);
      for (int32_t i = 0; i < count; ++i) {
        const char16_t u = units[size_t(i)];
        out[size_t(2 * i + (big ? 0 : 1))] = char(u >> 8);
        out[size_t(2 * i + (big ? 1 : 0))] = char(u & 0xFF);
      }
      return true;
    }
    case Form::kUtf32LE:
    case Form::kUtf32BE: {
      const bool big = to.form == Form::kUtf32BE;
      out.clear();
      out.reserve(size_t(count) * 4);
      for (int32_t i = 0; i < count;) {
        UChar32 c;
        U16_NEXT(source, i, count, c);
        if (U_IS_SURROGATE(c)) c = kReplacement;  // unpaired
        for (int k = 0; k < 4; ++k) out.push_back(char(uint32_t(c) >> (big ? 24 - 8 * k : 8 * k)));
      }
      return true;
    }
    case Form::kAscii:
      out.clear();
      out.reserve(size_t(count));
      for (int32_t i = 0; i < count;) {
        UChar32 c;
        U16_NEXT(source, i, count, c);
        out.push_back(c < 0x80 ? char(c) : '?');
      }
      return true;
    case Form::kTable: {
      IcuConverter converter(to.icuName);
      if (!converter.get()) return false;
      return FillFromIcu(out, size_t(count) * 2 + 1,
                         [&](char* buffer, int32_t capacity, UErrorCode* status) {
                           return ucnv_fromUChars(converter.get(), buffer, capacity, source, count,
                                                  status);
                         });
    }
    case Form::kNone: break;
  }
  return false;
}

void ReportMissingConverter(uint32_t from, uint32_t to) {
  char piece[96];
  std::snprintf(piece, sizeof piece, "ConvertString from 0x%X to 0x%X", unsigned(from),
                unsigned(to));
  VELA_NOT_BUILT(piece);
}

}  // namespace

bool CanConvertEncoding(uint32_t encoding) { return FormOf(encoding).form != Form::kNone; }

TESSstring ConvertString(TESSstring s, uint32_t targetEncoding) {
  if (!s) return nullptr;
  if (s->mEncoding == targetEncoding || targetEncoding == kEncodingUnknown) {
    LockStringRecord(s);
    return s;
  }
  const EncodingForm from = FormOf(s->mEncoding);
  const EncodingForm to = FormOf(targetEncoding);
  if (from.form == Form::kNone || to.form == Form::kNone) {
    ReportMissingConverter(s->mEncoding, targetEncoding);
    return nullptr;
  }
  // Two codes for one layout (UTF-16 and UTF-16LE, say): the bytes stay.
  if (from.form == to.form && from.icuName == to.icuName)
    return NewString(StringBytes(s), s->mLength, targetEncoding);

  try {
    std::u16string units;
    if (!Decode(from, StringBytes(s), s->mLength, units)) return nullptr;
    std::string bytes;
    if (!Encode(to, units, bytes)) return nullptr;
    if (bytes.size() > size_t(INT32_MAX)) return nullptr;
    return NewString(bytes.data(), int32_t(bytes.size()), targetEncoding);
  } catch (const std::bad_alloc&) {
    return nullptr;
  } catch (const std::length_error&) {
    return nullptr;
  }
}

}  // namespace vela
