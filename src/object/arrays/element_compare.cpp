#include "object/arrays/element_compare.h"

#include "object/arrays/array_record.h"
#include "object/delegate.h"
#include "support/ascii.h"
#include "vela/text.h"
#include "vela/variant.h"

namespace vela {
namespace {

// The classes whose instances are dynamic values rather than plain objects:
// the value boxes and the two date classes, which the dynamic values' order
// knows how to compare.
constexpr const char* kValueClassNames[] = {
    "_VariantInt32",   "_VariantUInt32",  "_VariantInt64",      "_VariantUInt64",
    "_VariantString",  "_VariantSingle",  "_VariantDouble",     "_VariantBoolean",
    "_VariantColor",   "Date",            "DateTime",           "_VariantCurrency",
    "_VariantStructure", "_VariantPtr",   "_VariantCString",    "_VariantWString",
    "_VariantPString", "_VariantWindowPtr", "_VariantOSType",   "_VariantCFStringRef",
    "_VariantText"};

bool IsValueClassName(const char* name) {
  if (!name) return false;
  // Only names beginning with '_' or 'D' can match; most classes stop here.
  const char first = AsciiLower(name[0]);
  if (first != '_' && first != 'd') return false;
  for (const char* candidate : kValueClassNames)
    if (AsciiEqualNoCase(name, candidate)) return true;
  return false;
}

// A plain object is one whose dynamic type is "object": not nil, not an
// array, not a delegate, not an instance of a value class.
bool IsPlainObject(RuntimeObject* object) {
  if (!object) return false;
  RuntimeClass* cls = object->classPtr;
  if (cls == ArrayClass() || IsDelegate(object)) return false;
  for (; cls; cls = cls->superClass)
    if (IsValueClassName(cls->name)) return false;
  return true;
}

int32_t CompareAddresses(const void* a, const void* b) {
  auto x = reinterpret_cast<uintptr_t>(a), y = reinterpret_cast<uintptr_t>(b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

}  // namespace

int32_t CompareObjectElements(RuntimeObject* a, RuntimeObject* b) {
  if (a == b) return 0;
  if (IsDelegate(a) && IsDelegate(b) && RuntimeCompareDelegates(a, b)) return 0;
  if (IsPlainObject(a) || IsPlainObject(b)) return CompareAddresses(a, b);
  return VariantCompare(a, b);
}

int32_t CompareTextElements(TextValue a, TextValue b) { return RuntimeCompareText(a, b); }

}  // namespace vela
