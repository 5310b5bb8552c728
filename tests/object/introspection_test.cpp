#include <gtest/gtest.h>

#include "kit/class_builder.h"
#include "kit/leak_check.h"
#include "object_test_support.h"

namespace {

using namespace objtest;
using vela::testkit::ClassBuilder;
using vela::testkit::ClassScope;
using vela::testkit::LeakCheck;

TEST(Introspection, NilClassRaisesInsteadOfAsserting) {
  ClassScope classes;
  LeakCheck leaks;
  RaiseRecorder raises;
  EXPECT_EQ(Introspection_NewObject(nullptr), nullptr);
  EXPECT_FALSE(Introspection_ObjectIsA(nullptr, nullptr));
  EXPECT_EQ(raises.raises(), (Strings{"NilObjectException: classPtr is Nil",
                                      "NilObjectException: classPtr is Nil"}));
  RuntimeClass* cls = classes.Build(ClassBuilder("Made"));
  RuntimeObject* object = Introspection_NewObject(cls);
  EXPECT_TRUE(Introspection_ObjectIsA(object, cls));
  RuntimeUnlockObject(object);
}

// Each target answers with its own base number; the invoker counts calls
// and passes the parameter block through.
int gInvokerCalls = 0;
intptr_t Invoker(void* target, RuntimeObject*, void* parameters) {
  ++gInvokerCalls;
  return reinterpret_cast<intptr_t (*)(int)>(target)(*static_cast<int*>(parameters));
}
intptr_t Plain(int x) { return 1000 + x; }
intptr_t BaseSlot(int x) { return 2000 + x; }
intptr_t Override(int x) { return 3000 + x; }
intptr_t InterfaceSlot(int x) { return 4000 + x; }
template <typename F>
void* Address(F* f) {
  return reinterpret_cast<void*>(f);
}

TEST(Introspection, GenericInvokerFindsTheTarget) {
  ClassScope classes;
  LeakCheck leaks;
  RuntimeClass* shape =
      classes.Build(ClassBuilder("Shape")
                        .Method("Plain", "%i4%i4", Address(&Plain), Address(&Invoker))
                        .VirtualMethod("Area", "%i4%i4", 1, Address(&BaseSlot), Address(&Invoker)));
  RuntimeClass* circle =
      classes.Build(ClassBuilder("Circle").Base(shape).VtableSlot(1, Address(&Override)));
  RuntimeClass* iBase = classes.Build(ClassBuilder("IMeasurable").Interface());
  RuntimeClass* iArea = classes.Build(ClassBuilder("IArea").Interface().Base(iBase).VirtualMethod(
      "Area", "%i4%i4", 2, Address(&Plain), Address(&Invoker)));
  RuntimeClass* square = classes.Build(
      ClassBuilder("Square").Implements(iArea, {nullptr, nullptr, Address(&InterfaceSlot)}));
  RuntimeObject* aShape = RuntimeNewObject(shape);
  RuntimeObject* aCircle = RuntimeNewObject(circle);
  RuntimeObject* aSquare = RuntimeNewObject(square);
  int p = 7;
  RuntimeMethodMember* area = &shape->methods[1];
  EXPECT_EQ(Introspection_GenericInvoker(circle, &circle->methods[0], aCircle, &p), 1007);
  EXPECT_EQ(Introspection_GenericInvoker(shape, area, aShape, &p), 2007);
  EXPECT_EQ(Introspection_GenericInvoker(shape, area, aCircle, &p), 3007);  // the override
  EXPECT_EQ(Introspection_GenericInvoker(shape, area, nullptr, &p), 2007);  // no object, no vtable
  EXPECT_EQ(Introspection_GenericInvoker(iArea, &iArea->methods[0], aSquare, &p), 4007);
  gInvokerCalls = 0;
  // No vtable for exactly that interface: 0, and nothing is called.
  EXPECT_EQ(Introspection_GenericInvoker(iArea, &iArea->methods[0], aShape, &p), 0);
  EXPECT_EQ(Introspection_GenericInvoker(iBase, &iArea->methods[0], aSquare, &p), 0);
  EXPECT_EQ(gInvokerCalls, 0);
  for (RuntimeObject* o : {aShape, aCircle, aSquare}) RuntimeUnlockObject(o);
}

// Accessors of mixed argument kinds, called through the thunks with the
// prototypes that compiled code would use.
double GetDouble(RuntimeObject* self, intptr_t at) { return Field<double>(self, at); }
float GetFloat(RuntimeObject* self, intptr_t at) { return Field<float>(self, at); }
int64_t GetInt(RuntimeObject* self, intptr_t at) { return Field<int32_t>(self, at); }
void SetFloat(RuntimeObject* self, intptr_t at, float value) { Field<float>(self, at) = value; }
double Mixed(int32_t a, double b, int64_t c, float d) { return a * 1000.0 + b * 100 + c * 10 + d; }
double FloatsFirst(double a, float b, int32_t c, double d) { return a - b + c * d; }
int64_t Five(int64_t a, int64_t b, int64_t c, int64_t d, int64_t e) {
  return a * 10000 + b * 1000 + c * 100 + d * 10 + e;
}
template <typename Signature>
Signature* As(intptr_t (*thunk)(void*, ...)) {
  return reinterpret_cast<Signature*>(reinterpret_cast<void*>(thunk));
}

TEST(Introspection, GenericAccessorsPassEveryArgumentMixUnchanged) {
  struct {
    RuntimeObject header;
    int32_t count;
    float ratio;
    double weight;
  } record{};
  RuntimeObject* self = &record.header;
  record = {{}, -42, 0.25f, 6.5};
  EXPECT_EQ(Introspection_GenericGetter(Address(&GetInt), self, intptr_t(48)), -42);
  auto getDouble = As<double(void*, RuntimeObject*, intptr_t)>(&Introspection_GenericGetter);
  EXPECT_EQ(getDouble(Address(&GetDouble), self, 56), 6.5);
  auto getFloat = As<float(void*, RuntimeObject*, intptr_t)>(&Introspection_GenericGetter);
  EXPECT_EQ(getFloat(Address(&GetFloat), self, 52), 0.25f);
  As<void(void*, RuntimeObject*, intptr_t, float)> (&Introspection_GenericSetter)(
      Address(&SetFloat), self, 52, 3.5f);
  EXPECT_EQ(record.ratio, 3.5f);
  auto mixed = As<double(void*, int32_t, double, int64_t, float)>(&Introspection_GenericSetter);
  EXPECT_EQ(mixed(Address(&Mixed), 7, 3.0, 2, 0.5f), 7320.5);
  auto floatsFirst =
      As<double(void*, double, float, int32_t, double)>(&Introspection_GenericSetter);
  EXPECT_EQ(floatsFirst(Address(&FloatsFirst), 10.0, 0.5f, 3, 2.0), 15.5);
  // Every integer register moves down by one, the last one included.
  auto five =
      As<int64_t(void*, int64_t, int64_t, int64_t, int64_t, int64_t)>(&Introspection_GenericSetter);
  EXPECT_EQ(five(Address(&Five), 1, 2, 3, 4, 5), 12345);
}

}  // namespace
