// Shorthands for the string tests: make held strings from literals and read
// their bytes back.
#pragma once

#include <string>
#include <string_view>
#include <cstring>

#include "text/string_holder.h"

namespace vela::strtest {

inline StringHolder Make(std::string_view bytes, uint32_t encoding) {
  return StringHolder::Adopt(NewString(bytes.data(), int32_t(bytes.size()), encoding));
}

inline StringHolder MakeUtf16(std::u16string_view units, uint32_t encoding = kEncodingUTF16) {
  return StringHolder::Adopt(NewString(units.data(), int32_t(units.size() * 2), encoding));
}

inline std::string Bytes(TESSstring s) {
  return s ? std::string(StringText(s), size_t(s->mLength)) : std::string();
}

inline std::u16string Units(TESSstring s) {
  if (!s) return {};
  std::u16string units(size_t(s->mLength) / 2, u'\0');
  std::memcpy(units.data(), StringText(s), units.size() * 2);
  return units;
}

}  // namespace vela::strtest
