// Variants: the sum of two Int32 Variants (type codes, promotion table,
// two conversions through the cached members, one new box) and the
// comparison of two short strings, case folded.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "dynamic/variant_members.h"
#include "text/string_create.h"
#include "vela/application.h"
#include "vela/variant.h"

namespace {

// The boxed classes as compiled code builds them: an "Operator_Convert"
// member per conversion and the `_Hashable` implementation.
void BindVariantClasses() {
  static const bool bound = [] {
    using namespace vela;
    static std::vector<std::string> signatures;  // the records point at them
    std::vector<RuntimeClass*> classes;
    signatures.reserve(256);
    RuntimeClass* hashable = RuntimeNewClass(nullptr, 1, 0, 0, 0, 0, 0);
    hashable->name = "_Hashable";
    hashable->flags = kInterfaceFlag;
    hashable->methods[0].head.name = "Hash";
    hashable->methods[0].head.flags = kScopePublic | kMemberVirtual;
    hashable->methods[0].signature = "%u4%";
    for (int32_t k = 0; k < kBoxKindCount; ++k) {
      const BoxedClassMembers& members = BoxedClassMembersOf(BoxKind(k));
      RuntimeClass* cls = RuntimeNewClass(nullptr, uint32_t(members.conversionCount), 1, 0, 0, 0, 0);
      cls->name = BoxClassName(BoxKind(k));
      cls->flags = kPropertiesBackwardsFlag;
      for (int32_t i = 0; i < members.conversionCount; ++i) {
        signatures.push_back(ConversionSignature(members.conversions[i].target));
        cls->methods[i].head.name = "Operator_Convert";
        cls->methods[i].head.flags = kScopePublic;
        cls->methods[i].signature = signatures.back().c_str();
        cls->methods[i].function = members.conversions[i].function;
      }
      cls->interfaceEntries[0].interface = hashable;
      cls->interfaceEntries[0].vtable = RuntimeNewVtable(1);
      cls->interfaceEntries[0].vtable[0] = members.hash;
      classes.push_back(cls);
    }
    RuntimeInitExternalClasses();
    // Another benchmark of this program may have bound the declarations
    // before these records existed: bind them as the start-up would.
    for (int32_t k = 0; k < kBoxKindCount; ++k) {
      ClassDecl* decl = NearestDecl(classes[size_t(k)]);
      if (!decl) {
        decl = BoxClassDecl(BoxKind(k));
        decl->Bind(classes[size_t(k)]);
        classes[size_t(k)]->cppGlueDecl = decl;
      }
    }
    return true;
  }();
  benchmark::DoNotOptimize(bound);
}

void BM_VariantAdd_Int32(benchmark::State& state) {
  BindVariantClasses();
  RuntimeObject* a = Int32ToVariant(20);
  RuntimeObject* b = Int32ToVariant(22);
  for (auto _ : state) {
    RuntimeObject* sum = VariantAdd(a, b);
    benchmark::DoNotOptimize(sum);
    RuntimeUnlockObject(sum);
  }
  RuntimeUnlockObject(a);
  RuntimeUnlockObject(b);
}
BENCHMARK(BM_VariantAdd_Int32);

void BM_VariantCompare_ShortStrings(benchmark::State& state) {
  BindVariantClasses();
  TESSstring x = vela::NewString("Hello, world", 12, kEncodingUTF8);
  TESSstring y = vela::NewString("hello, World", 12, kEncodingUTF8);
  RuntimeObject* a = StringToVariant(x);
  RuntimeObject* b = StringToVariant(y);
  for (auto _ : state) benchmark::DoNotOptimize(VariantCompare(a, b));
  RuntimeUnlockObject(a);
  RuntimeUnlockObject(b);
  RuntimeUnlockString(x);
  RuntimeUnlockString(y);
}
BENCHMARK(BM_VariantCompare_ShortStrings);

// The floor under both: one box made and dropped.
void BM_Int32ToVariant(benchmark::State& state) {
  BindVariantClasses();
  for (auto _ : state) {
    RuntimeObject* box = Int32ToVariant(42);
    benchmark::DoNotOptimize(box);
    RuntimeUnlockObject(box);
  }
}
BENCHMARK(BM_Int32ToVariant);

}  // namespace
