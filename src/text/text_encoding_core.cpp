#include "text/text_encoding_core.h"

#include <cstring>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/ustring.h>

#include "object/class_decl.h"
#include "object/raise.h"
#include "support/assert.h"
#include "text/text_value.h"
#include "vela/encodings.h"

namespace {
constexpr const char* kReportPath = "VelaFramework/Core/TextEncoding";
}

namespace vela {
namespace {

struct CoreTextEncodingObject {
  RuntimeObject header;
  char mName[64];  // ASCII, NUL-terminated
};

NativeClassDecl<CoreTextEncodingObject> gCoreTextEncodingDecl(nullptr, "Vela.Core.TextEncoding");

constexpr const char* kInvalidArgument = "InvalidArgumentException";
constexpr const char* kRuntime = "RuntimeException";

bool Fail(const char* className, const std::string& message) {
  RaiseNamedException(className, 0, message.c_str());
  return false;
}

class Converter {
 public:
  explicit Converter(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    mConverter = ucnv_open(name, &status);
    if (U_FAILURE(status)) mConverter = nullptr;
  }
  ~Converter() {
    if (mConverter) ucnv_close(mConverter);
  }
  UConverter* get() const { return mConverter; }

 private:
  UConverter* mConverter = nullptr;
};

bool IsCharacterError(UErrorCode status) {
  return status == U_INVALID_CHAR_FOUND || status == U_ILLEGAL_CHAR_FOUND ||
         status == U_TRUNCATED_CHAR_FOUND;
}

}  // namespace

RuntimeObject* CoreEncodingFromName(std::u16string_view name) {
  if (name.empty()) {
    Fail(kInvalidArgument, "Encoding name cannot be empty");
    return nullptr;
  }
  Converter ascii("ASCII");
  VELA_ASSERT_MSG(ascii.get(), "conv", "%s", "Could not open ASCII converter");
  if (!ascii.get()) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(ascii.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
  char buffer[60];
  const int32_t n = ucnv_fromUChars(ascii.get(), buffer, sizeof buffer,
                                    reinterpret_cast<const UChar*>(name.data()),
                                    int32_t(name.size()), &status);
  if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING || n >= 60) {
    Fail(kInvalidArgument, "Invalid encoding name");
    return nullptr;
  }
  RuntimeObject* object = gCoreTextEncodingDecl.New();
  if (!object) return nullptr;
  auto* data = reinterpret_cast<CoreTextEncodingObject*>(object);
  std::memcpy(data->mName, buffer, size_t(n));
  data->mName[n] = 0;
  return object;
}

std::string CoreEncodingName(RuntimeObject* encoding) {
  return encoding ? reinterpret_cast<CoreTextEncodingObject*>(encoding)->mName : "";
}

std::string CoreEncodingIanaName(RuntimeObject* encoding) {
  UErrorCode status = U_ZERO_ERROR;
  const std::string name = CoreEncodingName(encoding);
  const char* iana = ucnv_getStandardName(name.c_str(), "IANA", &status);
  if (U_FAILURE(status) || !iana) {
    Fail(kRuntime, "Cannot retrieve IANA name from encoding name");
    return {};
  }
  return iana;
}

bool CoreTextToBytes(RuntimeObject* encoding, std::u16string_view text, bool allowLossy,
                     std::string& out) {
  out.clear();
  if (text.empty()) return true;
  const std::string name = CoreEncodingName(encoding);
  Converter converter(name.c_str());
  if (!converter.get())
    return Fail(kRuntime, "Converting to " + name + " encoding is not supported.");
  UErrorCode status = U_ZERO_ERROR;
  if (!allowLossy) {
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &status);
    if (U_FAILURE(status)) return Fail(kRuntime, "Could not disable lossy mode.");
  }
  const UChar* source = reinterpret_cast<const UChar*>(text.data());
  const int32_t size =
      ucnv_fromUChars(converter.get(), nullptr, 0, source, int32_t(text.size()), &status);
  if (status == U_BUFFER_OVERFLOW_ERROR || status == U_STRING_NOT_TERMINATED_WARNING) {
    status = U_ZERO_ERROR;
    out.resize(size_t(size) + 1);
    ucnv_resetFromUnicode(converter.get());
    ucnv_fromUChars(converter.get(), out.data(), int32_t(out.size()), source,
                    int32_t(text.size()), &status);
    out.resize(size_t(size));
  }
  if (IsCharacterError(status)) return Fail(kRuntime, "Encountered invalid character.");
  if (U_FAILURE(status))
    return Fail(kRuntime, "An unexpected failure occurred when converting text to data.");
  return true;
}

bool CoreBytesToText(RuntimeObject* encoding, std::string_view bytes, bool allowLossy,
                     std::u16string& out) {
  out.clear();
  if (bytes.empty()) return true;
  const std::string name = CoreEncodingName(encoding);
  UErrorCode status = U_ZERO_ERROR;
  if (name == "UTF-8") {
    int32_t size = 0;
    u_strFromUTF8WithSub(nullptr, 0, &size, bytes.data(), int32_t(bytes.size()),
                         allowLossy ? 0xFFFD : U_SENTINEL, nullptr, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      status = U_ZERO_ERROR;
      out.resize(size_t(size));
      u_strFromUTF8WithSub(reinterpret_cast<UChar*>(out.data()), size, &size, bytes.data(),
                           int32_t(bytes.size()), allowLossy ? 0xFFFD : U_SENTINEL, nullptr,
                           &status);
      if (status == U_STRING_NOT_TERMINATED_WARNING) status = U_ZERO_ERROR;
    }
  } else {
    Converter converter(name.c_str());
    if (!converter.get())
      return Fail(kRuntime, "Converting from " + name + " encoding is not supported.");
    if (!allowLossy) {
      ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &status);
      if (U_FAILURE(status)) return Fail(kRuntime, "Could not disable lossy mode.");
    }
    const int32_t size = ucnv_toUChars(converter.get(), nullptr, 0, bytes.data(),
                                       int32_t(bytes.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR || status == U_STRING_NOT_TERMINATED_WARNING) {
      status = U_ZERO_ERROR;
      out.resize(size_t(size) + 1);
      ucnv_resetToUnicode(converter.get());
      ucnv_toUChars(converter.get(), reinterpret_cast<UChar*>(out.data()), int32_t(out.size()),
                    bytes.data(), int32_t(bytes.size()), &status);
      out.resize(size_t(size));
    }
  }
  if (IsCharacterError(status)) return Fail(kRuntime, "Encountered invalid character.");
  if (U_FAILURE(status))
    return Fail(kRuntime, "An unexpected failure occurred when converting data to text.");
  return true;
}

}  // namespace vela

using namespace vela;

RuntimeObject* TextEncoding_FromIANAName(TextValue name) {
  return CoreEncodingFromName(TextView(name));
}
TextValue TextEncoding_IANAName(RuntimeObject* self) {
  const std::string name = CoreEncodingIanaName(self);
  return NewText(std::u16string(name.begin(), name.end()).data(), int32_t(name.size()));
}
// The data side of these two is a MemoryBlock, which comes with that type.
RuntimeObject* TextEncoding_ConvertTextToData(RuntimeObject*, TextValue, bool) {
  VELA_NOT_BUILT("TextEncoding_ConvertTextToData: MemoryBlock values");
  return nullptr;
}
TextValue TextEncoding_ConvertDataToText(RuntimeObject*, RuntimeObject*, bool) {
  VELA_NOT_BUILT("TextEncoding_ConvertDataToText: MemoryBlock values");
  return nullptr;
}
