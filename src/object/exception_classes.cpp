// The exception classes' declarations and native data, the raise operations
// of a declaration, and the exports that read and write an exception's data.
#include <cstdlib>

#include "object/exception.h"
#include "support/ascii.h"
#include "support/assert.h"
#include "support/export.h"
#include "text/string_create.h"
#include "text/text_bridge.h"
#include "vela/text.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/ObjectModel/RuntimeExceptionFoundation";

using PlainDecl = ExceptionDecl<ExceptionData>;

PlainDecl gRuntimeExceptionDecl(nullptr, "RuntimeException");

// The classes with RuntimeException's layout. The first nine are declared
// with RuntimeException as their native base; the others stand alone or
// below Vela.Core.LogicException, as the image's classes are built.
enum PlainIndex {
  kDatabase, kFunctionNotFound, kIllegalCast, kInvalidArgument, kIterator, kNetwork, kNilObject,
  kObjC, kOutOfBounds, kServiceNotAvailable, kRegistryAccessError, kInvalidParent,
  kStackOverflow, kTypeMismatch, kKeyNotFound, kEnd, kThreadAlreadyRunning, kUnsupportedFormat,
  kKeychain, kOLE, kOutOfMemory, kIllegalLocking, kThreadEnd, kPlatformNotSupported,
  kUnsupportedOperation, kIO, kXAML, kCrypto, kLogic, kCoreIterator, kCoreUnsupportedOperation,
  kCoreInvalidArgument, kCoreBadData, kThreadingIllegalLocking, kCorePlatformNotSupported,
  kPlainCount
};

PlainDecl* const kRoot = &gRuntimeExceptionDecl;
extern PlainDecl gPlainDecls[];
PlainDecl* const kLogicBase = &gPlainDecls[kLogic];

PlainDecl gPlainDecls[] = {
    {kRoot, "DatabaseException"},
    {kRoot, "FunctionNotFoundException"},
    {kRoot, "IllegalCastException"},
    {kRoot, "InvalidArgumentException"},
    {kRoot, "IteratorException"},
    {kRoot, "NetworkException"},
    {kRoot, "NilObjectException"},
    {kRoot, "ObjCException"},
    {kRoot, "OutOfBoundsException"},
    {nullptr, "ServiceNotAvailableException"},
    {nullptr, "RegistryAccessErrorException"},
    {nullptr, "InvalidParentException"},
    {nullptr, "StackOverflowException"},
    {nullptr, "TypeMismatchException"},
    {nullptr, "KeyNotFoundException"},
    {nullptr, "EndException"},
    {nullptr, "ThreadAlreadyRunningException"},
    {nullptr, "UnsupportedFormatException"},
    {nullptr, "KeychainException"},
    {nullptr, "OLEException"},
    {nullptr, "OutOfMemoryException"},
    {nullptr, "IllegalLockingException"},
    {nullptr, "ThreadEndException"},
    {nullptr, "PlatformNotSupportedException"},
    {nullptr, "UnsupportedOperationException"},
    {nullptr, "IOException"},
    {nullptr, "XAMLException"},
    {nullptr, "Vela.Crypto.CryptoException"},
    {nullptr, "Vela.Core.LogicException"},
    {kLogicBase, "Vela.Core.IteratorException"},
    {kLogicBase, "Vela.Core.UnsupportedOperationException"},
    {kLogicBase, "Vela.Core.InvalidArgumentException"},
    {kLogicBase, "Vela.Core.BadDataException"},
    {kLogicBase, "Vela.Threading.IllegalLockingException"},
    {nullptr, "Vela.Core.PlatformNotSupportedException"},
};
static_assert(sizeof(gPlainDecls) / sizeof(gPlainDecls[0]) == kPlainCount);

ExceptionDecl<JSONExceptionData> gJSONDecls[] = {
    {nullptr, "InvalidJSONException"},
    {nullptr, "JSONException"},
    {nullptr, "Vela.Data.InvalidJSONException"},
};

ExceptionDecl<ErrorExceptionData> gErrorExceptionDecl(nullptr, "vela.Core.ErrorException");
ExceptionDecl<ErrorExceptionData> gErrorFamilyDecls[] = {
    {&gErrorExceptionDecl, "Vela.IO.IOException"},
    {&gErrorExceptionDecl, "Vela.Net.NetException"},
};

// Supers first: the root, the plain classes (Vela.Core.LogicException ahead
// of its subclasses), the JSON classes, the error family.
constexpr size_t kDeclCount = 1 + kPlainCount + 3 + 3;
const ClassDecl* const* DeclTable() {
  static const ClassDecl* table[kDeclCount] = {};
  static bool filled = [] {
    size_t n = 0;
    table[n++] = &gRuntimeExceptionDecl;
    table[n++] = &gPlainDecls[kLogic];
    for (size_t i = 0; i < kPlainCount; ++i)
      if (i != kLogic) table[n++] = &gPlainDecls[i];
    for (const auto& decl : gJSONDecls) table[n++] = &decl;
    table[n++] = &gErrorExceptionDecl;
    for (const auto& decl : gErrorFamilyDecls) table[n++] = &decl;
    return n == kDeclCount;
  }();
  (void)filled;
  return table;
}

constexpr PlainIndex kKindIndex[] = {
    kPlainCount /* kRuntime */, kNilObject,    kIllegalCast, kOutOfBounds,
    kFunctionNotFound,          kObjC,         kStackOverflow, kKeyNotFound,
    kEnd,                       kThreadEnd,    kUnsupportedOperation, kInvalidArgument,
};
static_assert(sizeof(kKindIndex) / sizeof(kKindIndex[0]) == size_t(ExceptionKind::kCount));

void StoreString(TESSstring& field, TESSstring value) {
  RuntimeLockString(value);
  TESSstring old = field;
  field = value;
  RuntimeUnlockString(old);
}

void StoreText(TextValue& field, TextValue value) {
  LockTextValue(value);
  TextValue old = field;
  field = value;
  UnlockTextValue(old);
}

void StoreObject(RuntimeObject*& field, RuntimeObject* value) {
  RuntimeLockObject(value);
  RuntimeObject* old = field;
  field = value;
  RuntimeUnlockObject(old);
}

// Raises a new instance of `decl`'s class after `fill` stored its data.
template <class Fill>
void RaiseFilled(const ClassDecl& decl, Fill fill) {
  RuntimeObject* exception = decl.New();
  if (!exception) return;
  VELA_ASSERT_TEXT(gRuntimeExceptionDecl.IsInstance(exception),
                   "RuntimeExceptionClass.IsInstance(obj)");
  if (ExceptionData* data = ExceptionDataOf(exception)) fill(exception, data);
  RuntimeRaiseException(exception);
  RuntimeUnlockObject(exception);
}

}  // namespace

void ReturnAddressList::Append(uintptr_t address) {
  if (end == capacity) {
    size_t count = Count();
    size_t grown = count < 16 ? 32 : count * 2;
    void* block = std::realloc(begin, grown * sizeof(uintptr_t));
    if (!block) return;  // the list stays as far as it got
    begin = static_cast<uintptr_t*>(block);
    end = begin + count;
    capacity = begin + grown;
  }
  *end++ = address;
}

void ReturnAddressList::Free() {
  std::free(begin);
  begin = end = capacity = nullptr;
}

void ExceptionData::Destruct(ExceptionData* data) {
  data->stack.Free();
  TextValue reason = data->reason;
  data->reason = nullptr;
  UnlockTextValue(reason);
  TESSstring message = data->message;
  data->message = nullptr;
  RuntimeUnlockString(message);
}

void ErrorExceptionData::Destruct(ErrorExceptionData* data) {
  StoreObject(data->underlyingError, nullptr);
  StoreText(data->localizedReason, nullptr);
  StoreText(data->errorDomain, nullptr);
  ExceptionData::Destruct(&data->base);
}

const ClassDecl& ExceptionDeclFor(ExceptionKind kind) {
  PlainIndex index = kKindIndex[size_t(kind)];
  if (index == kPlainCount) return gRuntimeExceptionDecl;
  return gPlainDecls[index];
}

std::span<const ClassDecl* const> AllExceptionDecls() { return {DeclTable(), kDeclCount}; }

const ClassDecl* FindExceptionDecl(const char* name) {
  for (const ClassDecl* decl : AllExceptionDecls())
    if (AsciiEqualNoCase(decl->name(), name)) return decl;
  return nullptr;
}

ExceptionData* ExceptionDataOf(RuntimeObject* exception) {
  if (gRuntimeExceptionDecl.IsInstance(exception)) return gRuntimeExceptionDecl.Data(exception);
  gRuntimeExceptionDecl.Instance(exception);  // reports why there is no data
  return nullptr;
}

ErrorExceptionData* ErrorExceptionDataOf(RuntimeObject* exception) {
  if (gErrorExceptionDecl.IsInstance(exception)) return gErrorExceptionDecl.Data(exception);
  for (const auto& decl : gErrorFamilyDecls)
    if (decl.IsInstance(exception)) return decl.Data(exception);
  VELA_ASSERT_TEXT(false, "ErrorExceptionClass.IsInstance(obj)");
  return nullptr;
}

void SetExceptionMessage(RuntimeObject* exception, TESSstring message) {
  ExceptionData* data = ExceptionDataOf(exception);
  if (!data) return;
  StoreString(data->message, message);
  StoreText(data->reason, nullptr);
}

void SetErrorExceptionDetails(RuntimeObject* exception, TextValue errorDomain,
                              TextValue localizedReason, intptr_t handle,
                              RuntimeObject* underlyingError) {
  ErrorExceptionData* data = ErrorExceptionDataOf(exception);
  if (!data) return;
  StoreText(data->errorDomain, errorDomain);
  StoreText(data->localizedReason, localizedReason);
  data->handle = handle;
  StoreObject(data->underlyingError, underlyingError);
}

void RaiseDecl(const ClassDecl& decl) {
  RuntimeObject* exception = decl.New();
  if (!exception) return;
  RuntimeRaiseException(exception);
  RuntimeUnlockObject(exception);
}

void RaiseDeclWithMessage(const ClassDecl& decl, int32_t errorNumber, TESSstring message) {
  RaiseFilled(decl, [&](RuntimeObject*, ExceptionData* data) {
    data->errorNumber = errorNumber;
    StoreString(data->message, message);
  });
}

void RaiseDeclWithMessage(const ClassDecl& decl, int32_t errorNumber, TextValue message) {
  RaiseFilled(decl, [&](RuntimeObject*, ExceptionData* data) {
    data->errorNumber = errorNumber;
    StoreText(data->reason, message);
  });
}

}  // namespace vela

using namespace vela;

VELA_EXPORT int32_t RuntimeExceptionErrorNumberGetter(RuntimeObject* exception) {
  ExceptionData* data = ExceptionDataOf(exception);
  return data ? data->errorNumber : 0;
}

VELA_EXPORT void RuntimeExceptionErrorNumberSetter(RuntimeObject* exception, int32_t value) {
  if (ExceptionData* data = ExceptionDataOf(exception)) data->errorNumber = value;
}

VELA_EXPORT TESSstring RuntimeExceptionMessageGetter(RuntimeObject* exception) {
  ExceptionData* data = ExceptionDataOf(exception);
  if (!data) return nullptr;
  if (StringLength(data->message) > 0) {
    RuntimeLockString(data->message);
    return data->message;
  }
  return RuntimeStringFromText(data->reason);
}

VELA_EXPORT void RuntimeExceptionMessageSetter(RuntimeObject* exception, TESSstring message) {
  SetExceptionMessage(exception, message);
}

VELA_EXPORT TextValue RuntimeExceptionReasonGetter(RuntimeObject* exception) {
  ExceptionData* data = ExceptionDataOf(exception);
  if (!data) return nullptr;
  if (data->reason) {
    LockTextValue(data->reason);
    return data->reason;
  }
  return RuntimeTextFromOldString(data->message);
}

VELA_EXPORT void RuntimeExceptionReasonSetter(RuntimeObject* exception, TextValue reason) {
  ExceptionData* data = ExceptionDataOf(exception);
  if (!data) return;
  StoreText(data->reason, reason);
  StoreString(data->message, nullptr);
}

VELA_EXPORT TextValue ErrorException_ErrorDomain(RuntimeObject* exception) {
  ErrorExceptionData* data = ErrorExceptionDataOf(exception);
  if (!data) return nullptr;
  LockTextValue(data->errorDomain);
  return data->errorDomain;
}

VELA_EXPORT TextValue ErrorException_LocalizedReason(RuntimeObject* exception) {
  ErrorExceptionData* data = ErrorExceptionDataOf(exception);
  if (!data) return nullptr;
  LockTextValue(data->localizedReason);
  return data->localizedReason;
}

VELA_EXPORT intptr_t ErrorException_Handle(RuntimeObject* exception) {
  ErrorExceptionData* data = ErrorExceptionDataOf(exception);
  return data ? data->handle : 0;
}

VELA_EXPORT RuntimeObject* ErrorException_UnderlyingError(RuntimeObject* exception) {
  ErrorExceptionData* data = ErrorExceptionDataOf(exception);
  if (!data) return nullptr;
  RuntimeLockObject(data->underlyingError);
  return data->underlyingError;
}

static_assert(sizeof(ExceptionData) == 48 && offsetof(ExceptionData, message) == 8 &&
              offsetof(ExceptionData, reason) == 16 && offsetof(ExceptionData, stack) == 24);
static_assert(sizeof(JSONExceptionData) == 56 && offsetof(JSONExceptionData, offset) == 48);
static_assert(sizeof(ErrorExceptionData) == 80 &&
              offsetof(ErrorExceptionData, errorDomain) == 48 &&
              offsetof(ErrorExceptionData, localizedReason) == 56 &&
              offsetof(ErrorExceptionData, handle) == 64 &&
              offsetof(ErrorExceptionData, underlyingError) == 72);
