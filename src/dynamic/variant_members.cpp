// The conversion and hash members of the boxed classes. Every conversion
// reads the box's value and goes through the rule of the value's family
// (signed, unsigned, floating, Currency, Boolean, Color, OSType, pointer,
// String, raw text, Text), so each rule is written once.
#include "dynamic/variant_members.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "numeric/machine_convert.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/string_numbers.h"
#include "text/text_ops.h"
#include "vela/classic_strings.h"
#include "vela/number_text_locale.h"

namespace vela {
namespace {

template <Target T>
constexpr bool kNoSuchConversion = false;

TESSstring AsciiString(const std::string& text) {
  return NewString(text.data(), int32_t(text.size()), kEncodingASCII);
}

TextValue TextOfString(TESSstring owned) {
  StringHolder s = StringHolder::Adopt(owned);
  return TextFromString(s.get());
}

std::string Utf8Of(TESSstring s) {
  StringHolder utf8 = StringHolder::Adopt(ConvertString(s, kEncodingUTF8));
  return utf8 ? std::string(StringText(utf8.get()), size_t(StringLength(utf8.get()))) : "";
}

template <Target T>
TargetType<T> FromSigned(int64_t v) {
  if constexpr (T == Target::kInt32) return int32_t(v);
  else if constexpr (T == Target::kUInt32) return uint32_t(v);
  else if constexpr (T == Target::kInt64) return v;
  else if constexpr (T == Target::kUInt64) return uint64_t(v);
  else if constexpr (T == Target::kSingle) return float(v);
  else if constexpr (T == Target::kDouble) return double(v);
  else if constexpr (T == Target::kCurrency) return RuntimeCvtSInt64ToCurrency(v);
  else if constexpr (T == Target::kString) return StringStrInt64(v);
  else if constexpr (T == Target::kBoolean) return VelaBoolean(v != 0);
  else if constexpr (T == Target::kColor) return uint32_t(v);
  else if constexpr (T == Target::kText) return Int64ToText(v, nullptr);
  else if constexpr (T == Target::kPtr) return reinterpret_cast<void*>(intptr_t(v));
  else static_assert(kNoSuchConversion<T>);
}

template <Target T>
TargetType<T> FromUnsigned(uint64_t v) {
  if constexpr (T == Target::kSingle) return float(v);
  else if constexpr (T == Target::kDouble) return double(v);
  else if constexpr (T == Target::kCurrency) return RuntimeCvtUInt64ToCurrency(v);
  else if constexpr (T == Target::kString) return StringStrUInt64(v);
  else if constexpr (T == Target::kText) return UInt64ToText(v, nullptr);
  else if constexpr (T == Target::kPtr) return reinterpret_cast<void*>(uintptr_t(v));
  else return FromSigned<T>(int64_t(v));
}

template <Target T>
TargetType<T> FromFloating(double v, int digits) {
  if constexpr (T == Target::kInt32) return TruncateToInt32(v);
  else if constexpr (T == Target::kUInt32) return uint32_t(TruncateToInt64(v));
  else if constexpr (T == Target::kInt64) return TruncateToInt64(v);
  else if constexpr (T == Target::kUInt64) return TruncateToUInt64(v);
  else if constexpr (T == Target::kSingle) return float(v);
  else if constexpr (T == Target::kDouble) return v;
  else if constexpr (T == Target::kCurrency) return RuntimeCvtReal64ToCurrency(v);
  else if constexpr (T == Target::kString) return AsciiString(ScientificText(v, digits));
  else if constexpr (T == Target::kBoolean) return VelaBoolean(v != 0);
  else if constexpr (T == Target::kColor) return uint32_t(TruncateToInt64(v));
  else if constexpr (T == Target::kText) return TextOfString(AsciiString(ScientificText(v, digits)));
  else static_assert(kNoSuchConversion<T>);
}

template <Target T>
TargetType<T> FromCurrency(int64_t c) {
  if constexpr (T == Target::kCurrency) return c;
  else if constexpr (T == Target::kSingle) return float(RuntimeCvtCurrencyToReal64(c));
  else if constexpr (T == Target::kDouble) return RuntimeCvtCurrencyToReal64(c);
  else if constexpr (T == Target::kString) return AsciiString(CurrencyPlainText(c));
  else if constexpr (T == Target::kText) return TextOfString(AsciiString(CurrencyPlainText(c)));
  else if constexpr (T == Target::kBoolean) return VelaBoolean(c != 0);
  else return FromSigned<T>(c / 10000);
}

template <Target T>
TargetType<T> FromBoolean(bool b) {
  if constexpr (T == Target::kString) return AsciiString(b ? "True" : "False");
  else if constexpr (T == Target::kText) return TextOfString(AsciiString(b ? "True" : "False"));
  else return FromSigned<T>(b ? 1 : 0);
}

template <Target T>
TargetType<T> FromColor(uint32_t c) {
  if constexpr (T == Target::kString || T == Target::kText) {
    char text[16];
    std::snprintf(text, sizeof text, "&h%08" PRIX32, c);
    if constexpr (T == Target::kString) return AsciiString(text);
    else return TextOfString(AsciiString(text));
  } else {
    return FromUnsigned<T>(c);
  }
}

template <Target T>
TargetType<T> FromOSType(uint32_t code) {
  if constexpr (T == Target::kString) return StringFromOSType(code);
  else if constexpr (T == Target::kOSType) return code;
  else return FromUnsigned<T>(code);
}

template <Target T>
TargetType<T> FromPointer(void* p) {
  if constexpr (T == Target::kPtr || T == Target::kWindowPtr || T == Target::kCFStringRef) return p;
  else return FromUnsigned<T>(uintptr_t(p));
}

// "&c" colours are "&cRRGGBB" with an optional transparency pair behind;
// "&h" and everything else go through Val.
uint32_t ColorFromText(const std::string& text) {
  auto val = [](const std::string& t) { return uint32_t(TruncateToInt64(ParseValText(t))); };
  if (text.size() >= 2 && text[0] == '&' && (text[1] == 'c' || text[1] == 'C')) {
    uint32_t color = val("&h" + text.substr(2, 6));
    if (text.size() >= 10) color |= val("&h" + text.substr(8, 2)) << 24;
    return color;
  }
  return val(text);
}

template <Target T>
TargetType<T> FromString(TESSstring s) {
  if constexpr (T == Target::kString) {
    LockString(s);
    return s;
  } else if constexpr (T == Target::kBoolean) {
    const std::string text = Utf8Of(s);
    return VelaBoolean(text == "true" || text == "1");
  } else if constexpr (T == Target::kColor) {
    return ColorFromText(Utf8Of(s));
  } else if constexpr (T == Target::kText) {
    return TextFromString(s);
  } else if constexpr (T == Target::kCString) {
    return StringToCString(s);
  } else if constexpr (T == Target::kWString) {
    return StringToWString(s);
  } else if constexpr (T == Target::kPString) {
    return StringToPString(s);
  } else if constexpr (T == Target::kOSType) {
    return StringToOSType(s);
  } else {
    return FromFloating<T>(StringVal(s), 17);
  }
}

// C, wide and Pascal text convert through their String form; a target of
// their own kind shares the registered copy.
template <Target T, class Raw>
TargetType<T> FromRaw(Raw p) {
  if constexpr ((T == Target::kCString && std::is_same_v<Raw, char*>) ||
                (T == Target::kWString && std::is_same_v<Raw, uint16_t*>) ||
                (T == Target::kPString && std::is_same_v<Raw, unsigned char*>)) {
    if constexpr (T == Target::kCString) RuntimeLockCString(p);
    else if constexpr (T == Target::kWString) LockWString(p);
    else RuntimeLockPString(p);
    return p;
  } else if constexpr (T == Target::kPtr) {
    return static_cast<void*>(p);
  } else {
    StringHolder s;
    if constexpr (std::is_same_v<Raw, char*>) s.Reset(StringFromCString(p));
    else if constexpr (std::is_same_v<Raw, uint16_t*>) s.Reset(StringFromWString(p));
    else s.Reset(StringFromPString(p));
    return FromString<T>(s.get());
  }
}

template <Target T>
TargetType<T> FromText(TextValue t) {
  if constexpr (T == Target::kText) return Share(t);
  else if constexpr (T == Target::kString) return StringFromText(t);
  else if constexpr (T == Target::kDouble) return Double_Parse(t, nullptr);
  else if constexpr (T == Target::kSingle) return Single_Parse(t, nullptr);
  else if constexpr (T == Target::kWString) return RuntimeTextToWString(t);
  else {
    StringHolder s = StringHolder::Adopt(StringFromText(t));
    return FromString<T>(s.get());
  }
}

template <BoxKind K, Target T>
TargetType<T> ConvertValue(const BoxValue<K>& v) {
  using B = BoxKind;
  if constexpr (K == B::kInt32 || K == B::kInt64) return FromSigned<T>(v);
  else if constexpr (K == B::kUInt32 || K == B::kUInt64) return FromUnsigned<T>(v);
  else if constexpr (K == B::kSingle) return FromFloating<T>(v, 9);
  else if constexpr (K == B::kDouble) return FromFloating<T>(v, 17);
  else if constexpr (K == B::kCurrency) return FromCurrency<T>(v);
  else if constexpr (K == B::kBoolean) return FromBoolean<T>(v != 0);
  else if constexpr (K == B::kColor) return FromColor<T>(v);
  else if constexpr (K == B::kOSType) return FromOSType<T>(v);
  else if constexpr (K == B::kPtr || K == B::kWindowPtr || K == B::kCFStringRef) return FromPointer<T>(v);
  else if constexpr (K == B::kString) return FromString<T>(v);
  else if constexpr (K == B::kCString || K == B::kWString || K == B::kPString) return FromRaw<T>(v);
  else if constexpr (K == B::kText) return FromText<T>(v);
  else if constexpr (K == B::kStructure && T == Target::kString) return FromString<T>(v.bytes);
  else static_assert(kNoSuchConversion<T>);
}

// The hash rules.
uint32_t HashOf(uint32_t bits) { return (bits << 16) | (bits >> 16); }
uint32_t HashOf(int32_t v) { return HashOf(uint32_t(v)); }
uint32_t HashOf(uint64_t bits) { return WordHash(bits); }
uint32_t HashOf(int64_t v) { return WordHash(uint64_t(v)); }
uint32_t HashOf(VelaBoolean b) { return HashOf(uint32_t(b)); }
uint32_t HashOf(float f) {
  uint32_t bits;
  std::memcpy(&bits, &f, sizeof bits);
  return HashOf(bits);
}
uint32_t HashOf(double d) {
  uint64_t bits;
  std::memcpy(&bits, &d, sizeof bits);
  return WordHash(bits);
}
uint32_t HashOf(void* p) { return WordHash(uintptr_t(p)); }
uint32_t HashOf(TESSstring s) {
  return ByteStringHash(std::string_view(s ? StringText(s) : "", size_t(StringLength(s))));
}
uint32_t HashOf(char* p) { return ByteStringHash(p ? p : ""); }
uint32_t HashOf(unsigned char* p) {
  return p ? ByteStringHash(std::string_view(reinterpret_cast<char*>(p + 1), p[0])) : 0;
}
uint32_t HashOf(uint16_t* p) {
  StringHolder s = StringHolder::Adopt(StringFromWString(p));
  return HashOf(s.get());
}
uint32_t HashOf(const StructureValue& v) { return HashOf(v.bytes); }
uint32_t HashOf(TextValue t) { return TextObjectHash(t); }

// Which targets each boxed class converts to.
#define VELA_NUMERIC_TARGETS(X, S) \
  X(S, Int32) X(S, UInt32) X(S, Int64) X(S, UInt64) X(S, Single) X(S, Double) X(S, Currency) \
  X(S, String) X(S, Boolean) X(S, Color) X(S, Text)
#define VELA_CONVERSIONS_Int32(X) VELA_NUMERIC_TARGETS(X, Int32) X(Int32, Ptr)
#define VELA_CONVERSIONS_UInt32(X) VELA_NUMERIC_TARGETS(X, UInt32) X(UInt32, Ptr)
#define VELA_CONVERSIONS_Int64(X) VELA_NUMERIC_TARGETS(X, Int64) X(Int64, Ptr)
#define VELA_CONVERSIONS_UInt64(X) VELA_NUMERIC_TARGETS(X, UInt64) X(UInt64, Ptr)
#define VELA_CONVERSIONS_Single(X) VELA_NUMERIC_TARGETS(X, Single)
#define VELA_CONVERSIONS_Double(X) VELA_NUMERIC_TARGETS(X, Double)
#define VELA_CONVERSIONS_Currency(X) VELA_NUMERIC_TARGETS(X, Currency)
#define VELA_CONVERSIONS_String(X) \
  VELA_NUMERIC_TARGETS(X, String) X(String, CString) X(String, WString) X(String, PString) \
  X(String, OSType)
#define VELA_CONVERSIONS_Boolean(X) VELA_NUMERIC_TARGETS(X, Boolean)
#define VELA_CONVERSIONS_Color(X) VELA_NUMERIC_TARGETS(X, Color)
#define VELA_CONVERSIONS_CString(X) VELA_NUMERIC_TARGETS(X, CString) X(CString, CString) X(CString, Ptr)
#define VELA_CONVERSIONS_WString(X) VELA_NUMERIC_TARGETS(X, WString) X(WString, WString) X(WString, Ptr)
#define VELA_CONVERSIONS_PString(X) VELA_NUMERIC_TARGETS(X, PString) X(PString, PString) X(PString, Ptr)
#define VELA_CONVERSIONS_CFStringRef(X) X(CFStringRef, CFStringRef)
#define VELA_CONVERSIONS_WindowPtr(X) X(WindowPtr, String) X(WindowPtr, WindowPtr) X(WindowPtr, Ptr)
#define VELA_CONVERSIONS_OSType(X) \
  X(OSType, Int32) X(OSType, UInt32) X(OSType, Int64) X(OSType, UInt64) X(OSType, String) \
  X(OSType, OSType)
#define VELA_CONVERSIONS_Ptr(X) \
  X(Ptr, Int32) X(Ptr, UInt32) X(Ptr, Int64) X(Ptr, UInt64) X(Ptr, String) X(Ptr, Ptr)
#define VELA_CONVERSIONS_Structure(X) X(Structure, String)
#define VELA_CONVERSIONS_Text(X) VELA_NUMERIC_TARGETS(X, Text) X(Text, WString)

}  // namespace
}  // namespace vela

using namespace vela;

#define VELA_CONVERSION_EXPORT(Source, To)                                                  \
  VELA_EXPORT TargetType<Target::k##To> Source##ObjectTo##To(RuntimeObject* self) {         \
    if (!self) return TargetType<Target::k##To>{};                                          \
    return ConvertValue<BoxKind::k##Source, Target::k##To>(BoxedValue<BoxKind::k##Source>(self)); \
  }
#define VELA_HASH_EXPORT(Kind, Type, Name, Code)                 \
  VELA_EXPORT uint32_t Kind##ObjectHash(RuntimeObject* self) {   \
    return self ? HashOf(BoxedValue<BoxKind::k##Kind>(self)) : 0; \
  }                                                              \
  VELA_CONVERSIONS_##Kind(VELA_CONVERSION_EXPORT)
VELA_VARIANT_BOXES(VELA_HASH_EXPORT)
#undef VELA_HASH_EXPORT
#undef VELA_CONVERSION_EXPORT

namespace vela {
namespace {

#define VELA_MEMBER_ENTRY(Source, To) \
  {Target::k##To, reinterpret_cast<void*>(&::Source##ObjectTo##To)},
#define VELA_MEMBER_LIST(Kind, Type, Name, Code) \
  const ConversionMember k##Kind##Conversions[] = {VELA_CONVERSIONS_##Kind(VELA_MEMBER_ENTRY)};
VELA_VARIANT_BOXES(VELA_MEMBER_LIST)
#undef VELA_MEMBER_LIST

const BoxedClassMembers kMembers[] = {
#define VELA_MEMBER_CLASS(Kind, Type, Name, Code)                                          \
  {BoxKind::k##Kind, k##Kind##Conversions,                                                 \
   int32_t(sizeof k##Kind##Conversions / sizeof k##Kind##Conversions[0]),                  \
   reinterpret_cast<void*>(&::Kind##ObjectHash)},
    VELA_VARIANT_BOXES(VELA_MEMBER_CLASS)
#undef VELA_MEMBER_CLASS
};
#undef VELA_MEMBER_ENTRY

}  // namespace

const BoxedClassMembers& BoxedClassMembersOf(BoxKind kind) { return kMembers[int32_t(kind)]; }

std::string ConversionSignature(Target target) {
  return std::string("%") + TargetCode(target) + "%";
}

std::string ScientificText(double value, int digits) {
  if (std::isnan(value)) return "NaN";
  if (value == 0) value = 0;  // no "-0"
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*e", digits - 1, value);
  std::string text(buffer);
  const size_t e = text.find('e');
  if (e == std::string::npos) return text;  // inf
  std::string mantissa = text.substr(0, e);
  const int exponent = std::atoi(text.c_str() + e + 1);
  if (mantissa.find('.') == std::string::npos) mantissa += ".0";
  while (mantissa.size() > 2 && mantissa.back() == '0' && mantissa[mantissa.size() - 2] != '.')
    mantissa.pop_back();
  if (exponent == 0) return mantissa;
  return mantissa + "e" + (exponent < 0 ? "-" : "+") + std::to_string(std::abs(exponent));
}

uint32_t ByteStringHash(std::string_view bytes) {
  uint32_t hash = 0;
  for (char c : bytes) {
    if (c >= 'a' && c <= 'z') c = char(c - 32);
    hash = hash * 31 + uint32_t(int32_t(static_cast<signed char>(c)));
  }
  return hash;
}

}  // namespace vela
