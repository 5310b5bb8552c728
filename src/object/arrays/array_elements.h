// The element kinds as policies for the operation templates. A policy names
// the record it lives in, the element's value type, its size, its reference
// rules and its order:
//
//   Record          RuntimeArray, or RuntimeStructureArray for structures
//   Value           what Get returns and Set, Insert and IndexOf take
//   kKind           the kind that slot 16 answers
//   kStructure      elements are inline bytes of a size the record gives
//   kCounted        the array holds a reference on each element
//   kOrdered        Sort, SortWith, IndexOf and SortDelegate exist
//   kTotalOrder     Less is a total order on the bits (integers): the sort
//                   may rely on it
//   Size(record)    bytes per element
//   Hold(v)/Drop(v) the array's own reference on an element it keeps/drops
//   GiveOut(v)      the reference a getter hands to its caller
//   Less(a, b), Equal(a, b)
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "object/arrays/element_compare.h"
#include "dynamic/auto_bridge.h"
#include "text/string_record.h"
#include "text/text_bridge.h"
#include "vela/arrays.h"

namespace vela::arrays {

// Integers, Boolean, Color, Ptr, Currency: values ordered as their type.
template <class T, int32_t Kind>
struct PlainElement {
  using Record = RuntimeArray;
  using Value = T;
  static constexpr int32_t kKind = Kind;
  static constexpr bool kStructure = false;
  static constexpr bool kCounted = false;
  static constexpr bool kOrdered = true;
  static constexpr bool kTotalOrder = std::is_integral_v<T>;
  static size_t Size(const Record*) { return sizeof(T); }
  static void Hold(T) {}
  static void Drop(T) {}
  static void GiveOut(T) {}
  static bool Less(T a, T b) { return a < b; }
  static bool Equal(T a, T b) { return a == b; }
};

// Single and Double: compared and moved as floating point numbers, so a NaN
// equals nothing and the sort must not rely on a total order.
template <class T, int32_t Kind>
struct FloatElement : PlainElement<T, Kind> {
  static constexpr bool kTotalOrder = false;
};

struct StringElement {
  using Record = RuntimeArray;
  using Value = TESSstring;
  static constexpr int32_t kKind = kArrayString;
  static constexpr bool kStructure = false;
  static constexpr bool kCounted = true;
  static constexpr bool kOrdered = true;
  static constexpr bool kTotalOrder = false;
  static size_t Size(const Record*) { return sizeof(Value); }
  static void Hold(Value v) { LockString(v); }
  static void Drop(Value v) { UnlockString(v); }
  static void GiveOut(Value v) { LockString(v); }
  // The language's order of strings, which ignores case. Nil, the only
  // empty string, equals only Nil.
  static bool Less(Value a, Value b) { return RuntimeStringCompare(a, b) < 0; }
  static bool Equal(Value a, Value b) { return a == b || RuntimeStringCompare(a, b) == 0; }
};

struct ObjectElement {
  using Record = RuntimeArray;
  using Value = RuntimeObject*;
  static constexpr int32_t kKind = kArrayObject;
  static constexpr bool kStructure = false;
  static constexpr bool kCounted = true;
  static constexpr bool kOrdered = true;
  static constexpr bool kTotalOrder = false;
  static size_t Size(const Record*) { return sizeof(Value); }
  static void Hold(Value v) { RuntimeLockObject(v); }
  static void Drop(Value v) { RuntimeUnlockObject(v); }
  static void GiveOut(Value v) { RuntimeLockObject(v); }
  static bool Less(Value a, Value b) { return CompareObjectElements(a, b) < 0; }
  static bool Equal(Value a, Value b) { return CompareObjectElements(a, b) == 0; }
};

// Objects held without references: a snapshot that must not keep what it
// lists alive. Its getter still gives the caller a reference of its own.
struct BorrowedObjectElement : ObjectElement {
  static constexpr bool kCounted = false;
  static void Hold(Value) {}
  static void Drop(Value) {}
};

struct TextElement {
  using Record = RuntimeArray;
  using Value = TextValue;
  static constexpr int32_t kKind = kArrayText;
  static constexpr bool kStructure = false;
  static constexpr bool kCounted = true;
  static constexpr bool kOrdered = true;
  static constexpr bool kTotalOrder = false;
  static size_t Size(const Record*) { return sizeof(Value); }
  static void Hold(Value v) { LockTextValue(v); }
  static void Drop(Value v) { UnlockTextValue(v); }
  static void GiveOut(Value v) { LockTextValue(v); }
  static bool Less(Value a, Value b) { return CompareTextElements(a, b) < 0; }
  static bool Equal(Value a, Value b) { return CompareTextElements(a, b) == 0; }
};

struct AutoElement {
  using Record = RuntimeArray;
  using Value = AutoWord;
  static constexpr int32_t kKind = kArrayAuto;
  static constexpr bool kStructure = false;
  static constexpr bool kCounted = true;
  static constexpr bool kOrdered = true;
  static constexpr bool kTotalOrder = false;
  static size_t Size(const Record*) { return sizeof(Value); }
  static void Hold(Value v) { LockAutoValue(v); }
  static void Drop(Value v) { UnlockAutoValue(v); }
  static void GiveOut(Value v) { LockAutoValue(v); }
  static bool Less(Value a, Value b) { return CompareAutoValues(a, b) < 0; }
  static bool Equal(Value a, Value b) { return CompareAutoValues(a, b) == 0; }
};

// Inline bytes. Get gives the element's address; Set and Insert copy the
// bytes from the address they are given. No order.
struct StructureElement {
  using Record = RuntimeStructureArray;
  using Value = void*;
  static constexpr int32_t kKind = kArrayStructure;
  static constexpr bool kStructure = true;
  static constexpr bool kCounted = false;
  static constexpr bool kOrdered = false;
  static constexpr bool kTotalOrder = false;
  static size_t Size(const Record* r) { return r->elementSize; }
};

using Int32Element = PlainElement<int32_t, kArrayInt32>;
using Float32Element = FloatElement<float, kArrayFloat32>;
using Float64Element = FloatElement<double, kArrayFloat64>;
using UInt8Element = PlainElement<uint8_t, kArrayUInt8>;
using Int8Element = PlainElement<int8_t, kArrayInt8>;
using UInt16Element = PlainElement<uint16_t, kArrayUInt16>;
using Int16Element = PlainElement<int16_t, kArrayInt16>;
using UInt32Element = PlainElement<uint32_t, kArrayUInt32>;
using UInt64Element = PlainElement<uint64_t, kArrayUInt64>;
using Int64Element = PlainElement<int64_t, kArrayInt64>;
using PtrElement = PlainElement<uintptr_t, kArrayPtr>;
using ColorElement = PlainElement<uint32_t, kArrayColor>;
using CurrencyElement = PlainElement<int64_t, kArrayCurrency>;
using BooleanElement = PlainElement<uint8_t, kArrayBoolean>;

}  // namespace vela::arrays
