// Shared pieces of the exception tests: the exception classes as an image
// would build them, the assembly fixtures of exception_fixtures.S, and a
// copy of the image fixtures in executable memory that stands in for the
// loaded image.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "kit/class_builder.h"
#include "object/class_decl.h"
#include "object/exception.h"
#include "object/loader.h"
#include "support/ascii.h"

// The fixtures' call record.
struct FxCall {
  intptr_t (*fn)(const void*);
  const void* arg;
  intptr_t* out;
};
struct PluginCall {
  FxCall call;
  uintptr_t decoyReturn;
};

extern "C" {
intptr_t vela_fx_catch(const FxCall*);
intptr_t vela_fx_pass(const FxCall*);
intptr_t vela_fx_plugin(const PluginCall*);
extern const uint8_t vela_img_begin[], vela_img_end[];
extern const uint8_t vela_img_slot[], vela_img_noslot[], vela_img_noslot_return[],
    vela_img_nested[], vela_img_epilogue[], vela_img_short[];
}

namespace exctest {

template <class F>
intptr_t Call(intptr_t (*fixture)(const FxCall*), F* fn, const void* arg, intptr_t* out = nullptr) {
  FxCall call{reinterpret_cast<intptr_t (*)(const void*)>(fn), arg, out};
  return fixture(&call);
}

// The declaration named `name` on the library's list, or nil.
inline vela::ClassDecl* DeclNamed(const char* name) {
  for (vela::ClassDecl* decl = vela::ClassDecl::ListHead(); decl; decl = decl->next())
    if (vela::AsciiEqualNoCase(decl->name(), name)) return decl;
  return nullptr;
}

// Every exception class below RuntimeException (below the native base where
// a declaration has one) and the two StackFrame classes. Bound to the
// library's declarations for the life of the object, or, with
// `byRuntime`, left for RuntimeInitExternalClasses to bind (once per
// process: children only).
class ExceptionClasses {
 public:
  explicit ExceptionClasses(bool byRuntime = false) : mByRuntime(byRuntime) {
    for (const vela::ClassDecl* decl : vela::AllExceptionDecls())
      Make(decl->name(), mClasses[decl->super() ? decl->super()->name() : "RuntimeException"],
           false);
    Make("StackFrame", nullptr, true);
    Make("Vela.Core.StackFrame", nullptr, true);
  }
  ~ExceptionClasses() {
    for (vela::ClassDecl* decl : mBound) decl->Bind(nullptr);
  }
  ExceptionClasses(const ExceptionClasses&) = delete;
  ExceptionClasses& operator=(const ExceptionClasses&) = delete;

  RuntimeClass* Get(const char* name) { return mClasses[name]; }
  // A user subclass with properties of its own behind the base's.
  RuntimeClass* Subclass(const char* name, const char* base, uint32_t instanceSize) {
    return mScope.Build(vela::testkit::ClassBuilder(name).Base(Get(base)).InstanceSize(instanceSize));
  }

 private:
  void Make(const char* name, RuntimeClass* base, bool backwards) {
    vela::testkit::ClassBuilder builder(name);
    builder.Base(base);
    if (backwards)
      builder.Backwards();
    else
      builder.InstanceSize(48);  // the header: no properties of its own
    vela::ClassDecl* decl = DeclNamed(name);
    ASSERT_NE(decl, nullptr) << name;
    if (!mByRuntime) builder.Decl(decl);
    RuntimeClass* cls = mScope.Build(builder);
    mClasses[name] = cls;
    if (mByRuntime) return;
    decl->Bind(cls);
    mBound.push_back(decl);
  }
  bool mByRuntime;
  vela::testkit::ClassScope mScope;
  std::map<std::string, RuntimeClass*> mClasses;
  std::vector<vela::ClassDecl*> mBound;
};

// The image fixtures copied into executable memory and adopted as the
// loaded image, with a symbol table that names each function.
class FixtureImage {
 public:
  FixtureImage() {
    mLength = size_t(vela_img_end - vela_img_begin);
    void* code = mmap(nullptr, mLength, PROT_READ | PROT_WRITE | PROT_EXEC,
                      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(code, MAP_FAILED);
    mCode = static_cast<uint8_t*>(code);
    std::memcpy(mCode, vela_img_begin, mLength);
    const std::pair<const uint8_t*, const char*> symbols[] = {
        {vela_img_slot, "vela_img_slot"},         {vela_img_noslot, "vela_img_noslot"},
        {vela_img_nested, "vela_img_nested"},     {vela_img_epilogue, "vela_img_epilogue"},
        {vela_img_short, "vela_img_short"},
    };
    std::vector<uint8_t> table(4 + 8 * std::size(symbols));
    std::string names;
    Put(table, 0, uint32_t(std::size(symbols)));
    for (size_t i = 0; i < std::size(symbols); ++i) {
      Put(table, 4 + 8 * i, uint32_t(symbols[i].first - vela_img_begin));
      Put(table, 8 + 8 * i, uint32_t(names.size()));
      names += symbols[i].second;
      names += '\0';
    }
    table.insert(table.end(), names.begin(), names.end());
    vela::Loader::Instance().AdoptImageForTesting(mCode, uint32_t(mLength), table.data(),
                                                  uint32_t(table.size()));
  }
  ~FixtureImage() {
    vela::Loader::Instance().AdoptImageForTesting(nullptr, 0, nullptr, 0);
    munmap(mCode, mLength);
  }
  FixtureImage(const FixtureImage&) = delete;
  FixtureImage& operator=(const FixtureImage&) = delete;

  // The copy of a fixture address.
  uintptr_t At(const uint8_t* original) const {
    return reinterpret_cast<uintptr_t>(mCode + (original - vela_img_begin));
  }
  using Fixture = intptr_t (*)(const FxCall*);
  Fixture Function(const uint8_t* original) const { return reinterpret_cast<Fixture>(At(original)); }

 private:
  static void Put(std::vector<uint8_t>& table, size_t at, uint32_t value) {
    std::memcpy(table.data() + at, &value, sizeof value);
  }
  uint8_t* mCode = nullptr;
  size_t mLength = 0;
};

inline int32_t RefCount(RuntimeObject* object) { return object ? object->objectRefCount : 0; }

}  // namespace exctest
