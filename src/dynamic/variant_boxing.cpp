// The boxing exports: a primitive value into a new (or the shared zero) box
// of its class, and the identity forms for objects.
#include <cstdlib>
#include <cstring>

#include "dynamic/variant_box.h"
#include "support/export.h"
#include "text/string_bridges.h"
#include "text/string_create.h"
#include "text/string_record.h"
#include "text/text_value.h"

namespace vela {
namespace {

// A registered heap copy of raw text of `bytes` bytes, which the box owns;
// nil stays nil, and so does a copy that cannot be registered.
template <class Raw>
Raw RegisteredCopy(const void* text, size_t bytes, RawTextKind kind) {
  if (!text) return nullptr;
  void* block = std::malloc(bytes);
  if (!block) return nullptr;
  std::memcpy(block, text, bytes);
  return RegisterRawText(kind, block) ? static_cast<Raw>(block) : nullptr;
}

size_t WideBytes(const uint16_t* text) {
  size_t units = 0;
  while (text[units]) ++units;
  return (units + 1) * sizeof(uint16_t);
}

RuntimeObject* SameObject(RuntimeObject* value) {
  RuntimeLockObject(value);
  return value;
}

}  // namespace
}  // namespace vela

using namespace vela;

#define VELA_PLAIN_BOXING(Name, Type, Kind) \
  VELA_EXPORT RuntimeObject* Name##ToVariant(Type value) { return MakeBox<BoxKind::k##Kind>(value); }
VELA_PLAIN_BOXING(Integer, int32_t, Int32)
VELA_PLAIN_BOXING(Int32, int32_t, Int32)
VELA_PLAIN_BOXING(UInt32, uint32_t, UInt32)
VELA_PLAIN_BOXING(Int64, int64_t, Int64)
VELA_PLAIN_BOXING(UInt64, uint64_t, UInt64)
VELA_PLAIN_BOXING(Single, float, Single)
VELA_PLAIN_BOXING(Double, double, Double)
VELA_PLAIN_BOXING(Color, uint32_t, Color)
VELA_PLAIN_BOXING(Currency, VelaCurrency, Currency)
VELA_PLAIN_BOXING(Ptr, void*, Ptr)
VELA_PLAIN_BOXING(CFStringRef, void*, CFStringRef)
VELA_PLAIN_BOXING(WindowPtr, void*, WindowPtr)
VELA_PLAIN_BOXING(OSType, uint32_t, OSType)
#undef VELA_PLAIN_BOXING

VELA_EXPORT RuntimeObject* BooleanToVariant(VelaBoolean value) {
  return MakeBox<BoxKind::kBoolean>(value ? 1 : 0);
}

VELA_EXPORT RuntimeObject* StringToVariant(TESSstring value) {
  LockString(value);
  return MakeBox<BoxKind::kString>(value);
}

VELA_EXPORT RuntimeObject* TextToVariant(TextValue value) {
  LockText(value);
  return MakeBox<BoxKind::kText>(value);
}

VELA_EXPORT RuntimeObject* CStringToVariant(const char* value) {
  return MakeBox<BoxKind::kCString>(
      RegisteredCopy<char*>(value, value ? std::strlen(value) + 1 : 0, RawTextKind::kC));
}

VELA_EXPORT RuntimeObject* WStringToVariant(const uint16_t* value) {
  return MakeBox<BoxKind::kWString>(
      RegisteredCopy<uint16_t*>(value, value ? WideBytes(value) : 0, RawTextKind::kWide));
}

VELA_EXPORT RuntimeObject* PStringToVariant(const unsigned char* value) {
  return MakeBox<BoxKind::kPString>(
      RegisteredCopy<unsigned char*>(value, value ? size_t(value[0]) + 1 : 0, RawTextKind::kPascal));
}

VELA_EXPORT RuntimeObject* StructureToVariant(TESSstring name, TESSstring bytes) {
  LockString(name);
  LockString(bytes);
  return MakeBox<BoxKind::kStructure>(StructureValue{name, bytes});
}

VELA_EXPORT RuntimeObject* PluginStructureToVariant(const char* name, const void* data,
                                                    int32_t size) {
  TESSstring nameString = name ? NewString(name, -1, kEncodingUTF8) : nullptr;
  TESSstring bytes = data && size > 0 ? NewString(data, size, kEncodingUnknown) : nullptr;
  return MakeBox<BoxKind::kStructure>(StructureValue{nameString, bytes});
}

VELA_EXPORT VelaBoolean PluginStructureFromVariant(RuntimeObject* value, void* destination,
                                                   int32_t size) {
  if (BoxKindOf(value) != BoxKind::kStructure || !destination) return false;
  TESSstring bytes = BoxedValue<BoxKind::kStructure>(value).bytes;
  if (StringLength(bytes) != size) return false;
  if (size > 0) std::memcpy(destination, StringText(bytes), size_t(size));
  return true;
}

VELA_EXPORT RuntimeObject* ObjectToVariant(RuntimeObject* value) { return SameObject(value); }
VELA_EXPORT RuntimeObject* DateToVariant(RuntimeObject* value) { return SameObject(value); }
VELA_EXPORT RuntimeObject* DateTimeToVariant(RuntimeObject* value) { return SameObject(value); }
