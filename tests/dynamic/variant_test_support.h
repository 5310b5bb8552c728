// What the Variant tests share: the boxed classes built as compiled code
// builds them (from the library's member table) and bound, in a child
// process of their own; readers of strings and texts; a raise observer.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "dynamic/variant_members.h"
#include "kit/child_process.h"
#include "kit/class_builder.h"
#include "object/raise.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/text_ops.h"
#include "text/text_value.h"
#include "vela/application.h"
#include "vela/variant.h"
#include "kit/last_raise.h"

namespace varianttest {

using vela::testkit::ClassBuilder;

using Raises = vela::testkit::LastRaise;

// An owned Variant for the span of a test.
class V {
 public:
  explicit V(RuntimeObject* owned = nullptr) : mObject(owned) {}
  V(const V&) = delete;
  V& operator=(const V&) = delete;
  ~V() { RuntimeUnlockObject(mObject); }
  RuntimeObject* get() const { return mObject; }
  operator RuntimeObject*() const { return mObject; }

 private:
  RuntimeObject* mObject;
};

inline TESSstring NewUtf8(std::string_view utf8) {
  return vela::NewString(utf8.data(), int32_t(utf8.size()), kEncodingUTF8);
}
inline RuntimeObject* Str(std::string_view utf8) {
  vela::StringHolder s = vela::StringHolder::Adopt(NewUtf8(utf8));
  return StringToVariant(s.get());
}
inline RuntimeObject* Txt(std::string_view utf8) {
  vela::TextHolder t = vela::TextHolder::Adopt(vela::TextFromUtf8(utf8.data(), int32_t(utf8.size())));
  return TextToVariant(t.get());
}
inline std::string Of(TESSstring owned) {
  vela::StringHolder s = vela::StringHolder::Adopt(owned);
  return s ? std::string(vela::StringText(s.get()), size_t(vela::StringLength(s.get()))) : "";
}
inline std::string Of(TextValue owned) {
  vela::TextHolder t = vela::TextHolder::Adopt(owned);
  return Of(vela::StringFromText(t.get()));
}
// A Variant's String conversion.
inline std::string AsString(RuntimeObject* v) { return Of(VariantToString(v)); }

// The `_Hashable` interface and the nineteen boxed classes, with one
// "Operator_Convert" per conversion and their hash, as compiled code makes
// them; then the library's declarations are bound.
inline RuntimeClass* BuildVariantClasses() {
  using namespace vela;
  RuntimeClass* hashable = ClassBuilder("_Hashable")
                               .Interface()
                               .VirtualMethod("Hash", "%u4%", 0, nullptr, nullptr)
                               .Build();
  for (int32_t k = 0; k < kBoxKindCount; ++k) {
    const BoxedClassMembers& members = BoxedClassMembersOf(BoxKind(k));
    ClassBuilder builder(BoxClassName(BoxKind(k)));
    builder.Backwards();
    for (int32_t i = 0; i < members.conversionCount; ++i)
      builder.Method("Operator_Convert", ConversionSignature(members.conversions[i].target),
                     members.conversions[i].function, nullptr);
    builder.Implements(hashable, {members.hash});
    builder.Build();
  }
  RuntimeInitExternalClasses();
  return hashable;
}

// Runs `scenario` in a child process with the classes bound.
template <typename Scenario>
void InChild(Scenario scenario) {
  auto result = vela::testkit::RunInChild([&]() -> int {
    BuildVariantClasses();
    scenario();
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_TRUE(result.ok()) << result.Describe();
}

}  // namespace varianttest
