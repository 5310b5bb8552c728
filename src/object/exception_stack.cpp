// An exception's captured stack as compiled code reads it: the names of the
// image functions, or StackFrame objects with address and name. Names come
// from the loader's symbol table.
#include <cstring>

#include "object/class_decl.h"
#include "object/exception.h"
#include "object/loader.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"
#include "vela/arrays.h"
#include "vela/text.h"

namespace vela {
namespace {
// StackFrame and Vela.Core.StackFrame share one native structure. The name
// is kept as an ASCII string; the newer class hands it out as Text.
struct StackFrameObject {
  RuntimeObject header;
  uintptr_t address;
  TESSstring name;  // counted; nil when the address has no symbol

  static void Destruct(StackFrameObject* frame) {
    TESSstring name = frame->name;
    frame->name = nullptr;
    RuntimeUnlockString(name);
  }
};

NativeClassDecl<StackFrameObject> gStackFrameDecl(nullptr, "StackFrame");
NativeClassDecl<StackFrameObject> gCoreStackFrameDecl(nullptr, "Vela.Core.StackFrame");

// The symbol of an image address, or nil for addresses outside the image
// and ahead of its first symbol.
const char* SymbolName(uintptr_t address) {
  const char* name = Loader::Instance().SymbolNameForAddress(address);
  return name && *name ? name : nullptr;
}

template <class T>
void SetElement(RuntimeArray* array, T value, int32_t index) {
  reinterpret_cast<void (*)(RuntimeArray*, T, int32_t)>(array->ops->set)(array, value, index);
}

using FrameDecl = NativeClassDecl<StackFrameObject>;

RuntimeArray* StackFrames(RuntimeObject* exception, const FrameDecl& frameDecl) {
  ExceptionData* data = ExceptionDataOf(exception);
  if (!data) return nullptr;
  if (!frameDecl.classPtr()) {
    frameDecl.New();  // reports the missing class
    return nullptr;
  }
  const int32_t count = int32_t(data->stack.Count());
  RuntimeArray* array = RuntimeArrayCreateSingleDimBoundedArray(kArrayObject, count - 1);
  if (!array) return nullptr;
  for (int32_t i = 0; i < count; ++i) {
    RuntimeObject* object = frameDecl.New();
    StackFrameObject* frame = object ? frameDecl.Data(object) : nullptr;
    if (frame) {
      frame->address = data->stack.begin[i];
      if (const char* name = SymbolName(frame->address))
        frame->name = NewString(name, -1, kEncodingASCII);
    }
    SetElement(array, object, i);
    RuntimeUnlockObject(object);
  }
  return array;
}

StackFrameObject* FrameData(const FrameDecl& decl, RuntimeObject* frame) { return decl.Data(frame); }

}  // namespace
}  // namespace vela

using namespace vela;

VELA_EXPORT RuntimeArray* RuntimeExceptionStack(RuntimeObject* exception) {
  ExceptionData* data = ExceptionDataOf(exception);
  if (!data) return nullptr;
  int32_t named = 0;
  for (uintptr_t* at = data->stack.begin; at != data->stack.end; ++at)
    if (SymbolName(*at)) ++named;
  RuntimeArray* array = RuntimeArrayCreateSingleDimBoundedArray(kArrayString, named - 1);
  if (!array) return nullptr;
  int32_t index = 0;
  for (uintptr_t* at = data->stack.begin; at != data->stack.end && index < named; ++at) {
    const char* name = SymbolName(*at);
    if (!name) continue;
    TESSstring text = NewString(name, -1, kEncodingUTF8);
    SetElement(array, text, index++);
    RuntimeUnlockString(text);
  }
  return array;
}

VELA_EXPORT RuntimeArray* RuntimeException_StackFrames(RuntimeObject* exception) {
  return StackFrames(exception, gStackFrameDecl);
}

VELA_EXPORT RuntimeArray* VelaCoreRuntimeException_CallStack(RuntimeObject* exception) {
  return StackFrames(exception, gCoreStackFrameDecl);
}

VELA_EXPORT uintptr_t StackFrame_Address(RuntimeObject* frame) {
  StackFrameObject* data = FrameData(gStackFrameDecl, frame);
  return data ? data->address : 0;
}

VELA_EXPORT TESSstring StackFrame_Name(RuntimeObject* frame) {
  StackFrameObject* data = FrameData(gStackFrameDecl, frame);
  if (!data) return nullptr;
  RuntimeLockString(data->name);
  return data->name;
}

VELA_EXPORT uintptr_t VelaCoreStackFrame_Address(RuntimeObject* frame) {
  StackFrameObject* data = FrameData(gCoreStackFrameDecl, frame);
  return data ? data->address : 0;
}

VELA_EXPORT TextValue VelaCoreStackFrame_Name(RuntimeObject* frame) {
  StackFrameObject* data = FrameData(gCoreStackFrameDecl, frame);
  return data ? RuntimeTextFromOldString(data->name) : nullptr;
}

static_assert(offsetof(StackFrameObject, address) == 48 && offsetof(StackFrameObject, name) == 56);
