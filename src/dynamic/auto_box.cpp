// Auto words: the box class, the type code of a word, the texts of types
// for messages, and the life of the values words hold.
#include <cstdlib>
#include <string>

#include "dynamic/auto_bridge.h"
#include "dynamic/auto_word.h"
#include "object/arrays/array_record.h"
#include "object/instance_layout.h"
#include "object/live_list.h"
#include "object/raise.h"
#include "support/assert.h"
#include "support/export.h"
#include "support/object_lock.h"
#include "text/text_value.h"
#include "vela/auto.h"

namespace vela {
namespace {

constexpr const char* kReportPath = "RuntimeCore/RuntimeAutoTagging32";

void AutoBoxFinalizer(RuntimeObject* object);

// Zero-filled, completed when the library loads; not on the class list,
// like the classes of arrays and delegates.
RuntimeClass gAutoClass;
[[maybe_unused]] const bool gAutoClassMade = [] {
  gAutoClass.name = "Auto";
  gAutoClass.instanceSize = sizeof(AutoBox);
  gAutoClass.finalizer = &AutoBoxFinalizer;
  return true;
}();

// A box owns what it holds and releases it by type.
void AutoBoxFinalizer(RuntimeObject* object) {
  auto* box = reinterpret_cast<AutoBox*>(object);
  switch (box->type) {
    case kAutoText: UnlockText(box->u.text); break;
    case kAutoString: RuntimeUnlockString(box->u.string); break;
    case kAutoCString: RuntimeUnlockCString(static_cast<char*>(box->u.p)); break;
    case kAutoWString: UnlockWString(static_cast<uint16_t*>(box->u.p)); break;
    case kAutoPString: RuntimeUnlockPString(static_cast<unsigned char*>(box->u.p)); break;
    case kAutoStructure:
      std::free(box->u.structValue.name);
      std::free(box->u.structValue.data);
      break;
    default: break;
  }
  box->u = {};
}

const char* const kTypeNames[] = {
    "Nil",    "Int8",   "Int16",   "Int32",   "Int64",   "UInt8",    "UInt16",
    "UInt32", "UInt64", "Single",  "Double",  "Currency", "Text",    "Object",
    "Ptr",    "Boolean", "Color",  "String",  "OSType",  "CString",  "WString",
    "PString", "CFString", "WindowPtr", "Structure", "Array",
};

// The element texts of array kinds 0 to 18, in kind order.
const char* const kElementNames[] = {
    "Int32", "Single", "Double", "String", "objects", "UInt8", "Int8", "UInt16", "Int16",
    "UInt32", "UInt64", "Int64", "structure ", "Ptr", "Color", "Currency", "Boolean", "Text",
    "Auto",
};

std::string ArrayText(RuntimeArray* array) {
  const ArrayShape shape = DescribeArray(array);
  std::string text = shape.dimensions > 1 ? std::to_string(shape.dimensions) + "D array of "
                                          : std::string("array of ");
  const int32_t kind = shape.kind == kArrayObjectAlias ? kArrayObject : shape.kind;
  if (kind < 0 || kind > kArrayAuto) return text + ElementKindText(kind);
  if (kind == kArrayObject && IsWrapperTable(array->ops)) {
    auto* wrapper = reinterpret_cast<RuntimeArrayCastWrapper*>(array);
    if (wrapper->elementClass && wrapper->elementClass->name)
      return text + wrapper->elementClass->name;
  }
  if (kind == kArrayStructure) {
    const auto* ops = reinterpret_cast<const StructureArrayOps*>(array->ops);
    const char* name = ops->structureName(array);
    return text + "structure " + (name ? name : "");
  }
  return text + ElementKindText(kind);
}

}  // namespace

RuntimeClass* AutoClass() { return &gAutoClass; }

std::string ElementKindText(int32_t kind) {
  if (kind == kArrayObjectAlias) kind = kArrayObject;
  return kind >= 0 && kind <= kArrayAuto ? kElementNames[kind] : "?";
}

AutoBox* BoxOf(AutoWordValue word) {
  if (word == 0 || (word & 7) != 0) return nullptr;
  auto* object = reinterpret_cast<RuntimeObject*>(word);
  if (object->classPtr == &gAutoClass) return reinterpret_cast<AutoBox*>(object);
  return nullptr;
}

int32_t AutoTypeOf(AutoWordValue word) {
  switch (word & 3) {
    case 1: return kAutoInt32;
    case 2: return kAutoUInt32;
    default: break;
  }
  switch (word & 7) {
    case 0: {
      if (word == 0) return kAutoNil;
      if (AutoBox* box = BoxOf(word)) return box->type;
      auto* object = reinterpret_cast<RuntimeObject*>(word);
      return object->classPtr == ArrayClass() ? kAutoArray : kAutoObject;
    }
    case kAutoTextTag: return kAutoText;
    case kAutoStringTag: return kAutoString;
    default: break;
  }
  switch (word & 0xFF) {
    case kTagInt8: return kAutoInt8;
    case kTagInt16: return kAutoInt16;
    case kTagUInt8: return kAutoUInt8;
    case kTagUInt16: return kAutoUInt16;
    case kTagColor: return kAutoColor;
    case kTagBoolean: return kAutoBoolean;
    default: break;
  }
  RuntimeAssertFormat(kReportPath, __LINE__, "false", "Unknown tagged ptr %p",
                      reinterpret_cast<void*>(word));
  return kAutoNil;
}

AutoBox* NewAutoBox(int32_t type) {
  auto* box = static_cast<AutoBox*>(AllocateInstance(&gAutoClass, 0, sizeof(AutoBox)));
  VELA_ASSERT_TEXT(box, "Auto box");
  if (!box) return nullptr;
  box->header.classPtr = &gAutoClass;
  box->header.objectRefCount = 1;
  box->type = type;
  ObjectLockGuard guard;
  LiveListPrepend(&box->header);
  return box;
}

std::string AutoTypeText(AutoWordValue word) {
  const int32_t type = AutoTypeOf(word);
  switch (type) {
    case kAutoObject: {
      RuntimeClass* cls = reinterpret_cast<RuntimeObject*>(word)->classPtr;
      const bool interface = cls && (cls->flags & kInterfaceFlag);
      return std::string(interface ? "interface " : "class ") + (cls && cls->name ? cls->name : "");
    }
    case kAutoStructure: {
      const char* name = BoxOf(word)->u.structValue.name;
      return std::string("structure ") + (name ? name : "");
    }
    case kAutoArray: return ArrayText(reinterpret_cast<RuntimeArray*>(word));
    default: return type >= 0 && type <= kAutoArray ? kTypeNames[type] : "?";
  }
}

void RaiseAutoMismatch(const std::string& expected, AutoWordValue word) {
  const std::string message = "Expected " + expected + " but got " + AutoTypeText(word);
  RaiseNamedException("TypeMismatchException", 0, message.c_str());
}

void LockAutoValue(AutoWordValue word) { RuntimeLockAuto(word); }
void UnlockAutoValue(AutoWordValue word) { RuntimeUnlockAuto(word); }
int32_t CompareAutoValues(AutoWordValue a, AutoWordValue b) { return RuntimeCompareAuto(a, b); }

}  // namespace vela

using namespace vela;

namespace {

// The reference a word holds: an object's, a Text's or a string's; the
// small kinds own nothing.
template <bool kLock>
void HoldAuto(VelaAutoWord word) {
  switch (word & 7) {
    case 0: {
      auto* object = reinterpret_cast<RuntimeObject*>(word);
      kLock ? RuntimeLockObject(object) : RuntimeUnlockObject(object);
      return;
    }
    case kAutoTextTag: {
      auto* text = reinterpret_cast<TextRecord*>(word - kAutoTextTag);
      kLock ? LockText(text) : UnlockText(text);
      return;
    }
    case kAutoStringTag: {
      auto s = reinterpret_cast<TESSstring>(word - kAutoStringTag);
      kLock ? RuntimeLockString(s) : RuntimeUnlockString(s);
      return;
    }
    default: return;
  }
}

}  // namespace

VELA_EXPORT void RuntimeLockAuto(VelaAutoWord word) { HoldAuto<true>(word); }
VELA_EXPORT void RuntimeUnlockAuto(VelaAutoWord word) { HoldAuto<false>(word); }

VELA_EXPORT void RuntimeLockUnlockAuto(VelaAutoWord newWord, VelaAutoWord oldWord) {
  RuntimeLockAuto(newWord);
  RuntimeUnlockAuto(oldWord);
}
