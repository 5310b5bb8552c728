// The cast wrapper: an object array seen as an array of another class, as
// when an array of a subclass is passed where an array of its base is
// expected. Reads go straight to the inner array; writes first check that
// the object is of the wrapper's class, so that no object of the wrong class
// ends up in the inner array.
#include "object/arrays/array_ops.h"
#include "support/export.h"

namespace vela {
namespace {

constexpr const char* kReportPath = kArrayReportPath;

using arrays::ObjectElement;
using ObjectOps = arrays::Ops<ObjectElement>;
using Object = RuntimeObject*;

RuntimeArrayCastWrapper* W(RuntimeArray* a) { return reinterpret_cast<RuntimeArrayCastWrapper*>(a); }

// The inner array; a wrapper that was cleared has none and raises.
RuntimeArray* Inner(RuntimeArray* wrapper) {
  RuntimeArray* inner = W(wrapper)->inner;
  if (!inner) RaiseNilObject();
  return inner;
}

bool Admits(RuntimeArray* wrapper, Object value) {
  if (!value || RuntimeObjectIsa(value, W(wrapper)->elementClass)) return true;
  RaiseIllegalCast();
  return false;
}

// The wrapper keeps a copy of the inner array's data word; a change of the
// inner buffer is copied back after each operation that can make one.
void Sync(RuntimeArray* wrapper) {
  RuntimeArray* inner = W(wrapper)->inner;
  W(wrapper)->data = inner ? inner->data : nullptr;
}

// --- one dimension ---

Object Get1(RuntimeArray* w, int32_t index) {
  RuntimeArray* in = Inner(w);
  return in ? SlotAs<Object (*)(RuntimeArray*, int32_t)>(in->ops->get)(in, index) : nullptr;
}
Object GetAny1(RuntimeArray* w, int32_t index) {
  RuntimeArray* in = Inner(w);
  return in ? SlotAs<Object (*)(RuntimeArray*, int32_t)>(in->ops->getAny)(in, index) : nullptr;
}
void Set1(RuntimeArray* w, Object value, int32_t index) {
  RuntimeArray* in = Inner(w);
  if (in && Admits(w, value))
    SlotAs<void (*)(RuntimeArray*, Object, int32_t)>(in->ops->set)(in, value, index);
}
void SetAny1(RuntimeArray* w, Object value, int32_t index) {
  RuntimeArray* in = Inner(w);
  if (in && Admits(w, value))
    SlotAs<void (*)(RuntimeArray*, Object, int32_t)>(in->ops->setAny)(in, value, index);
}
void Redim1(RuntimeArray* w, int32_t bound) {
  if (RuntimeArray* in = Inner(w)) SlotAs<void (*)(RuntimeArray*, int32_t)>(in->ops->redim)(in, bound);
  Sync(w);
}
void Insert1(RuntimeArray* w, int32_t index, Object value) {
  RuntimeArray* in = Inner(w);
  if (in && Admits(w, value))
    SlotAs<void (*)(RuntimeArray*, int32_t, Object)>(in->ops->insert)(in, index, value);
  Sync(w);
}
void Remove1(RuntimeArray* w, int32_t index) {
  if (RuntimeArray* in = Inner(w)) in->ops->remove(in, index);
  Sync(w);
}
void Sort1(RuntimeArray* w) {
  if (RuntimeArray* in = Inner(w)) in->ops->sort(in);
}
void SortWith1(RuntimeArray* w, ...) {
  RuntimeArray* in = Inner(w);
  if (!in) return;
  SimpleVector<RuntimeArray*> list{};
  bool stored = true;
  va_list args;
  va_start(args, w);
  while (RuntimeArray* other = va_arg(args, RuntimeArray*)) {
    const uint32_t before = list.Count();
    list.Append(other);
    stored = stored && list.Count() != before;
  }
  va_end(args);
  if (stored)
    ObjectOps::SortWithList(in, list.items, list.Count());
  else
    RaiseOutOfMemory();
  list.Free();
}
int32_t IndexOf1(RuntimeArray* w, Object value, int32_t start) {
  RuntimeArray* in = Inner(w);
  return in ? SlotAs<int32_t (*)(RuntimeArray*, Object, int32_t)>(in->ops->indexOf)(in, value, start)
            : -1;
}
void SortDelegate1(RuntimeArray* w, RuntimeObject* delegate) {
  if (RuntimeArray* in = Inner(w)) in->ops->sortDelegate(in, delegate);
}

// --- two dimensions ---

Object Get2(RuntimeArray* w, int32_t i, int32_t j) {
  RuntimeArray* in = Inner(w);
  return in ? SlotAs<Object (*)(RuntimeArray*, int32_t, int32_t)>(in->ops->get)(in, i, j) : nullptr;
}
Object GetAny2(RuntimeArray* w, int32_t i, int32_t j) {
  RuntimeArray* in = Inner(w);
  return in ? SlotAs<Object (*)(RuntimeArray*, int32_t, int32_t)>(in->ops->getAny)(in, i, j)
            : nullptr;
}
void Set2(RuntimeArray* w, Object value, int32_t i, int32_t j) {
  RuntimeArray* in = Inner(w);
  if (in && Admits(w, value))
    SlotAs<void (*)(RuntimeArray*, Object, int32_t, int32_t)>(in->ops->set)(in, value, i, j);
}
void SetAny2(RuntimeArray* w, Object value, int32_t i, int32_t j) {
  RuntimeArray* in = Inner(w);
  if (in && Admits(w, value))
    SlotAs<void (*)(RuntimeArray*, Object, int32_t, int32_t)>(in->ops->setAny)(in, value, i, j);
}

// --- more dimensions: the indexes are gathered and handed on as a list ---

// One value per dimension of the inner array, the first given.
bool Gather(RuntimeArray* in, int32_t first, va_list rest, SimpleVector<int32_t>& out) {
  for (int32_t d = 0; d < in->dimensions; ++d) out.Append(d == 0 ? first : va_arg(rest, int32_t));
  if (int32_t(out.Count()) == in->dimensions) return true;
  RaiseOutOfMemory();
  return false;
}

Object GetN(RuntimeArray* w, int32_t first, ...) {
  RuntimeArray* in = Inner(w);
  if (!in) return nullptr;
  SimpleVector<int32_t> indexes{};
  va_list rest;
  va_start(rest, first);
  Object value = Gather(in, first, rest, indexes) ? ObjectOps::GetAt(in, indexes.items) : nullptr;
  va_end(rest);
  indexes.Free();
  return value;
}
void SetN(RuntimeArray* w, Object value, int32_t first, ...) {
  RuntimeArray* in = Inner(w);
  if (!in || !Admits(w, value)) return;
  SimpleVector<int32_t> indexes{};
  va_list rest;
  va_start(rest, first);
  if (Gather(in, first, rest, indexes)) ObjectOps::SetAt(in, value, indexes.items);
  va_end(rest);
  indexes.Free();
}
void RedimN(RuntimeArray* w, int32_t first, ...) {
  RuntimeArray* in = Inner(w);
  if (!in) return;
  SimpleVector<int32_t> bounds{};
  va_list rest;
  va_start(rest, first);
  if (Gather(in, first, rest, bounds)) ObjectOps::RedimAt(in, bounds.items);
  va_end(rest);
  bounds.Free();
  Sync(w);
}

// --- every shape ---

void Shuffle(RuntimeArray* w) {
  if (RuntimeArray* in = Inner(w)) in->ops->shuffle(in);
}
int32_t UBound(RuntimeArray* w, int32_t dimension) {
  RuntimeArray* in = Inner(w);
  return in ? in->ops->ubound(in, dimension) : -1;
}
int32_t LBound(RuntimeArray* w, int32_t dimension) {
  RuntimeArray* in = Inner(w);
  return in ? in->ops->lbound(in, dimension) : -1;
}
// Clearing a wrapper lets go of the inner array, which keeps its elements.
void Clear(RuntimeArray* w) {
  RuntimeArray* inner = W(w)->inner;
  W(w)->inner = nullptr;
  W(w)->data = nullptr;
  RuntimeUnlockObject(reinterpret_cast<RuntimeObject*>(inner));
}
int32_t ElementSize(RuntimeArray*) { return int32_t(sizeof(Object)); }
int32_t ElementKind(RuntimeArray*) { return kArrayObject; }

ArrayOps MakeTable(int shape) {
  ArrayOps t{};
  if (shape == 1) {
    t.get = AsSlot(&Get1);
    t.set = AsSlot(&Set1);
    t.getAny = AsSlot(&GetAny1);
    t.setAny = AsSlot(&SetAny1);
    t.redim = AsSlot(&Redim1);
    t.insert = AsSlot(&Insert1);
    t.remove = &Remove1;
    t.sort = &Sort1;
    t.sortWith = &SortWith1;
    t.indexOf = AsSlot(&IndexOf1);
    t.sortDelegate = &SortDelegate1;
  } else if (shape == 2) {
    t.get = AsSlot(&Get2);
    t.set = AsSlot(&Set2);
    t.getAny = AsSlot(&GetAny2);
    t.setAny = AsSlot(&SetAny2);
    t.redim = AsSlot(&RedimN);
  } else {
    t.get = t.getAny = AsSlot(&GetN);
    t.set = t.setAny = AsSlot(&SetN);
    t.redim = AsSlot(&RedimN);
  }
  t.shuffle = &Shuffle;
  t.ubound = &UBound;
  t.lbound = &LBound;
  t.clear = &Clear;
  t.elementSize = &ElementSize;
  t.elementKind = &ElementKind;
  return t;
}

const ArrayOps* WrapperTables() {
  static const ArrayOps tables[3] = {MakeTable(1), MakeTable(2), MakeTable(3)};
  return tables;
}

}  // namespace

bool IsWrapperTable(const ArrayOps* ops) {
  const ArrayOps* tables = WrapperTables();
  return ops >= tables && ops < tables + 3;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeArray* RuntimeCreateArrayCastWrapper(RuntimeArray* array, RuntimeClass* cls) {
  if (!array) return nullptr;
  RuntimeLockObject(reinterpret_cast<RuntimeObject*>(array));
  if (!cls || IsWrapperTable(array->ops)) return array;
  // Only arrays of objects can be seen as arrays of another class.
  const bool objects = array->ops->elementKind && array->ops->elementKind(array) == kArrayObject;
  VELA_ASSERT_TEXT(objects, "object array");
  if (!objects) return array;

  RuntimeObject* object = NewArrayObject(sizeof(RuntimeArrayCastWrapper));
  if (!object) {
    RuntimeUnlockObject(reinterpret_cast<RuntimeObject*>(array));
    return nullptr;
  }
  auto* wrapper = reinterpret_cast<RuntimeArrayCastWrapper*>(object);
  const int32_t dimensions = array->dimensions;
  wrapper->ops = WrapperTables() + (dimensions == 1 ? 0 : dimensions == 2 ? 1 : 2);
  wrapper->data = array->data;
  wrapper->inner = array;  // takes the reference added above
  wrapper->elementClass = cls;
  PublishArray(object);
  return reinterpret_cast<RuntimeArray*>(wrapper);
}
