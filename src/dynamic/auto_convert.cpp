// Reading values out of Auto words. Numbers convert among themselves (cut
// to the target width, floating values truncated, Currency scaled);
// everything else converts only from its own type and the few forms the
// language allows, and raises "Expected X but got Y" otherwise.
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>

#include "dynamic/auto_word.h"
#include "numeric/machine_convert.h"
#include "object/arrays/array_record.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/auto.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "RuntimeCore/RuntimeAuto";

int64_t SignedValue(AutoWordValue word, int32_t type) {
  const uint32_t low = Low32(word);
  switch (type) {
    case kAutoInt8: return (word & 0xFF) == kTagInt8 ? int8_t(low >> 24) : BoxOf(word)->u.i;
    case kAutoInt16: return (word & 0xFF) == kTagInt16 ? int16_t(low >> 16) : BoxOf(word)->u.i;
    case kAutoInt32: return (word & 3) == 1 ? int32_t(low) >> 2 : BoxOf(word)->u.i;
    default: return BoxOf(word)->u.i;
  }
}

uint64_t UnsignedValue(AutoWordValue word, int32_t type) {
  const uint32_t low = Low32(word);
  switch (type) {
    case kAutoUInt8: return (word & 0xFF) == kTagUInt8 ? low >> 24 : BoxOf(word)->u.u;
    case kAutoUInt16: return (word & 0xFF) == kTagUInt16 ? low >> 16 : BoxOf(word)->u.u;
    case kAutoUInt32: return (word & 3) == 2 ? low >> 2 : BoxOf(word)->u.u;
    default: return BoxOf(word)->u.u;
  }
}

double FloatValue(AutoWordValue word, int32_t type) {
  return type == kAutoSingle ? double(BoxOf(word)->u.f) : BoxOf(word)->u.d;
}

bool IsSignedType(int32_t type) { return type >= kAutoInt8 && type <= kAutoInt64; }
bool IsUnsignedType(int32_t type) { return type >= kAutoUInt8 && type <= kAutoUInt64; }

// Floating to an integer target, truncating as the machine's conversion of
// that width does.
template <typename T>
T TruncateTo(double value) {
  if constexpr (std::is_same_v<T, uint64_t>) return TruncateToUInt64(value);
  else if constexpr (sizeof(T) < 4 || (sizeof(T) == 4 && std::is_signed_v<T>)) return T(TruncateToInt32(value));
  else return T(TruncateToInt64(value));
}

template <typename T>
T ConvertNumber(AutoWordValue word, const char* target) {
  const int32_t type = AutoTypeOf(word);
  if (IsSignedType(type)) {
    const int64_t v = SignedValue(word, type);
    if constexpr (std::is_floating_point_v<T>) return T(v);
    else return T(v);
  }
  if (IsUnsignedType(type)) {
    const uint64_t v = UnsignedValue(word, type);
    return T(v);
  }
  if (type == kAutoSingle || type == kAutoDouble) {
    const double v = FloatValue(word, type);
    if constexpr (std::is_floating_point_v<T>) return T(v);
    else return TruncateTo<T>(v);
  }
  if (type == kAutoCurrency) {
    const int64_t scaled = BoxOf(word)->u.i;
    if constexpr (std::is_floating_point_v<T>) return T(double(scaled) / 10000.0);
    else return T(scaled / 10000);
  }
  RaiseAutoMismatch(target, word);
  return T{};
}

VelaCurrency ConvertCurrency(AutoWordValue word) {
  const int32_t type = AutoTypeOf(word);
  if (IsSignedType(type)) return VelaCurrency(uint64_t(SignedValue(word, type)) * 10000u);
  if (IsUnsignedType(type)) return VelaCurrency(UnsignedValue(word, type) * 10000u);
  if (type == kAutoSingle || type == kAutoDouble)
    return TruncateToInt64(std::round(FloatValue(word, type) * 10000.0));
  if (type == kAutoCurrency) return BoxOf(word)->u.i;
  RaiseAutoMismatch("Currency", word);
  return 0;
}

// The word's value of a boxed or inline non-numeric kind that only
// converts from itself.
template <typename T, typename Read>
T Only(AutoWordValue word, int32_t accepted, const char* target, Read read) {
  if (AutoTypeOf(word) == accepted) return read();
  RaiseAutoMismatch(target, word);
  return T{};
}

TESSstring StringWordValue(AutoWordValue word) {
  if ((word & 7) == kAutoStringTag) return reinterpret_cast<TESSstring>(word - kAutoStringTag);
  return BoxOf(word)->u.string;
}

TextRecord* TextWordValue(AutoWordValue word) {
  if ((word & 7) == kAutoTextTag) return reinterpret_cast<TextRecord*>(word - kAutoTextTag);
  return BoxOf(word)->u.text;
}

void* BoxedPointer(AutoWordValue word) { return BoxOf(word)->u.p; }

// The array a word holds when its element kind passes `accepts`.
template <typename Accepts>
RuntimeArray* ArrayIf(AutoWordValue word, const std::string& expected, Accepts accepts) {
  if (AutoTypeOf(word) == kAutoArray) {
    auto* array = reinterpret_cast<RuntimeArray*>(word);
    if (accepts(array)) {
      RuntimeLockObject(&array->header);
      return array;
    }
  }
  RaiseAutoMismatch(expected, word);
  return nullptr;
}

int32_t ElementKind(RuntimeArray* array) {
  const int32_t kind = DescribeArray(array).kind;
  return kind == kArrayObjectAlias ? kArrayObject : kind;
}

const char* StructureNameOf(RuntimeArray* array) {
  if (ElementKind(array) != kArrayStructure) return nullptr;
  return reinterpret_cast<const StructureArrayOps*>(array->ops)->structureName(array);
}

}  // namespace

}  // namespace vela

using namespace vela;

#define VELA_AUTO_TO_NUMBER(Name, Type, Text) \
  VELA_EXPORT Type RuntimeConvertAutoTo##Name(VelaAutoWord w) { return ConvertNumber<Type>(w, Text); }
VELA_AUTO_TO_NUMBER(Int8, int8_t, "Int8")
VELA_AUTO_TO_NUMBER(Int16, int16_t, "Int16")
VELA_AUTO_TO_NUMBER(Int32, int32_t, "Int32")
VELA_AUTO_TO_NUMBER(Int64, int64_t, "Int64")
VELA_AUTO_TO_NUMBER(UInt8, uint8_t, "UInt8")
VELA_AUTO_TO_NUMBER(UInt16, uint16_t, "UInt16")
VELA_AUTO_TO_NUMBER(UInt32, uint32_t, "UInt32")
VELA_AUTO_TO_NUMBER(UInt64, uint64_t, "UInt64")
VELA_AUTO_TO_NUMBER(Single, float, "Single")
VELA_AUTO_TO_NUMBER(Double, double, "Double")
#undef VELA_AUTO_TO_NUMBER

VELA_EXPORT VelaCurrency RuntimeConvertAutoToCurrency(VelaAutoWord w) { return ConvertCurrency(w); }

VELA_EXPORT VelaBoolean RuntimeConvertAutoToBoolean(VelaAutoWord w) {
  return Only<VelaBoolean>(w, kAutoBoolean, "Boolean", [&] { return VelaBoolean((Low32(w) >> 24) != 0); });
}

VELA_EXPORT uint32_t RuntimeConvertAutoToColor(VelaAutoWord w) {
  return Only<uint32_t>(w, kAutoColor, "Color", [&] {
    return (w & 0xFF) == kTagColor ? Low32(w) >> 8 : uint32_t(BoxOf(w)->u.u);
  });
}

VELA_EXPORT void* RuntimeConvertAutoToWindowPtr(VelaAutoWord w) {
  return Only<void*>(w, kAutoWindowPtr, "WindowPtr", [&] { return BoxedPointer(w); });
}

VELA_EXPORT void* RuntimeConvertAutoToPtr(VelaAutoWord w) {
  if (w == 0) return nullptr;
  return Only<void*>(w, kAutoPtr, "Ptr", [&] { return BoxedPointer(w); });
}

VELA_EXPORT RuntimeObject* RuntimeConvertAutoToObject(VelaAutoWord w) {
  if (w == 0) return nullptr;
  return Only<RuntimeObject*>(w, kAutoObject, "Object", [&] {
    auto* object = reinterpret_cast<RuntimeObject*>(w);
    RuntimeLockObject(object);
    return object;
  });
}

VELA_EXPORT TextValue RuntimeConvertAutoToText(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoText: {
      TextRecord* text = TextWordValue(w);
      LockText(text);
      return text;
    }
    case kAutoWString: return RuntimeTextFromWString(static_cast<uint16_t*>(BoxedPointer(w)));
    default: RaiseAutoMismatch("Text", w); return nullptr;
  }
}

VELA_EXPORT TESSstring RuntimeConvertAutoToString(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoText: return RuntimeStringFromText(TextWordValue(w));
    case kAutoString: {
      TESSstring s = StringWordValue(w);
      RuntimeLockString(s);
      return s;
    }
    case kAutoCString: return StringFromCString(static_cast<char*>(BoxedPointer(w)));
    case kAutoPString: return StringFromPString(static_cast<unsigned char*>(BoxedPointer(w)));
    case kAutoWString: return StringFromWString(static_cast<uint16_t*>(BoxedPointer(w)));
    case kAutoOSType: return StringFromOSType(uint32_t(BoxOf(w)->u.u));
    default: RaiseAutoMismatch("String", w); return nullptr;
  }
}

VELA_EXPORT char* RuntimeConvertAutoToCString(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoString: return StringToCString(StringWordValue(w));
    case kAutoCString: {
      auto* text = static_cast<char*>(BoxedPointer(w));
      RuntimeLockCString(text);
      return text;
    }
    default: RaiseAutoMismatch("CString", w); return nullptr;
  }
}

VELA_EXPORT uint16_t* RuntimeConvertAutoToWString(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoText: return RuntimeTextToWString(TextWordValue(w));
    case kAutoString: return StringToWString(StringWordValue(w));
    case kAutoWString: {
      auto* text = static_cast<uint16_t*>(BoxedPointer(w));
      LockWString(text);
      return text;
    }
    default: RaiseAutoMismatch("WString", w); return nullptr;
  }
}

VELA_EXPORT unsigned char* RuntimeConvertAutoToPString(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoString: return StringToPString(StringWordValue(w));
    case kAutoPString: {
      auto* text = static_cast<unsigned char*>(BoxedPointer(w));
      RuntimeLockPString(text);
      return text;
    }
    default: RaiseAutoMismatch("PString", w); return nullptr;
  }
}

VELA_EXPORT uint32_t RuntimeConvertAutoToOSType(VelaAutoWord w) {
  switch (AutoTypeOf(w)) {
    case kAutoString: return StringToOSType(StringWordValue(w));
    case kAutoOSType: return uint32_t(BoxOf(w)->u.u);
    default: RaiseAutoMismatch("OSType", w); return 0;
  }
}

// No CFString Auto can be made on this platform.
VELA_EXPORT void* RuntimeConvertAutoToCFString(VelaAutoWord w) {
  VELA_ASSERT_TEXT(AutoTypeOf(w) != kAutoCFString, "Somehow created a CFString auto");
  RaiseAutoMismatch("CFString", w);
  return nullptr;
}

VELA_EXPORT void RuntimeConvertAutoToStruct(VelaAutoWord w, const char* name, int32_t size,
                                            void* destination) {
  AutoBox* box = AutoTypeOf(w) == kAutoStructure ? BoxOf(w) : nullptr;
  if (!box || std::strcmp(box->u.structValue.name, name ? name : "") != 0) {
    RaiseAutoMismatch(std::string("structure ") + (name ? name : ""), w);
    return;
  }
  VELA_ASSERT_TEXT(size == box->u.structValue.size, "size == obj->u.structValue.size");
  if (size == box->u.structValue.size && size > 0 && destination && box->u.structValue.data)
    std::memcpy(destination, box->u.structValue.data, size_t(size));
}

VELA_EXPORT RuntimeArray* RuntimeConvertAutoToArray(VelaAutoWord w, int32_t elementKind) {
  const int32_t wanted = elementKind == kArrayObjectAlias ? kArrayObject : elementKind;
  return ArrayIf(w, "array of " + ElementKindText(wanted),
                 [&](RuntimeArray* a) { return ElementKind(a) == wanted; });
}

VELA_EXPORT RuntimeArray* RuntimeConvertAutoToStructArray(VelaAutoWord w, const char* name) {
  const char* wanted = name ? name : "";
  return ArrayIf(w, std::string("array of structure ") + wanted, [&](RuntimeArray* a) {
    const char* have = StructureNameOf(a);
    return have && std::strcmp(have, wanted) == 0;
  });
}

VELA_EXPORT RuntimeArray* RuntimeConvertAutoToObjectArray(VelaAutoWord w, RuntimeClass* cls) {
  const bool interface = cls && (cls->flags & kInterfaceFlag);
  const std::string expected = std::string("array of ") + (interface ? "interface " : "class ") +
                               (cls && cls->name ? cls->name : "");
  return ArrayIf(w, expected, [&](RuntimeArray* a) {
    if (ElementKind(a) != kArrayObject || !IsWrapperTable(a->ops)) return false;
    return reinterpret_cast<RuntimeArrayCastWrapper*>(a)->elementClass == cls;
  });
}
