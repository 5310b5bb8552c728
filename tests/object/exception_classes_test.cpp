// The exception classes' native data and accessors, and the raise helpers
// up to the point where dispatch takes over (no handler: a test helper
// receives the exception).
#include <gtest/gtest.h>

#include <string>

#include "exception_test_support.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object/raise.h"
#include "object_test_support.h"
#include "text/string_create.h"
#include "vela/exceptions.h"
#include "vela/text.h"

namespace vela {
namespace {

using exctest::ExceptionClasses;
using testkit::RecordingReporter;

// Receives what nobody handled, for the test to look at afterwards.
class UnhandledLog {
 public:
  UnhandledLog() : mPrevious(SetUnhandledExceptionHelper(Receive)) {}
  ~UnhandledLog() {
    SetUnhandledExceptionHelper(mPrevious);
    Receive(nullptr);
  }
  RuntimeObject* last() const { return sLast; }
  std::string Message() const {
    TESSstring m = RuntimeExceptionMessageGetter(sLast);
    std::string text = m ? StringText(m) : "";
    RuntimeUnlockString(m);
    return text;
  }

 private:
  static void Receive(RuntimeObject* e) {
    RuntimeLockObject(e);
    RuntimeUnlockObject(sLast);
    sLast = e;
  }
  static inline RuntimeObject* sLast = nullptr;
  UnhandledExceptionHelper mPrevious;
};

TEST(ExceptionClasses, EveryDeclaredClassKeepsItsDataBehindTheProperties) {
  ExceptionClasses classes;
  testkit::LeakCheck leaks;
  RecordingReporter reporter;
  TESSstring text = NewString("lost", 4, kEncodingUTF8);
  for (const ClassDecl* decl : AllExceptionDecls()) {
    SCOPED_TRACE(decl->name());
    // A user subclass with 24 bytes of properties of its own.
    RuntimeClass* mine = classes.Subclass("Mine", decl->name(), 72);
    RuntimeObject* e = RuntimeNewObject(mine);
    ASSERT_NE(e, nullptr);
    auto* properties = reinterpret_cast<uint8_t*>(e) + 48;
    std::memset(properties, 0xAB, 24);
    RuntimeExceptionErrorNumberSetter(e, -42);
    RuntimeExceptionMessageSetter(e, text);
    EXPECT_EQ(RuntimeExceptionErrorNumberGetter(e), -42);
    EXPECT_EQ(ExceptionDataOf(e), reinterpret_cast<ExceptionData*>(properties + 24));
    EXPECT_EQ(properties[23], 0xAB);
    RuntimeUnlockObject(e);  // Destruct drops the message
  }
  RuntimeUnlockString(text);
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(ExceptionClasses, MessageReasonAndErrorNumberAccessors) {
  ExceptionClasses classes;
  testkit::LeakCheck leaks;
  RuntimeObject* e = RuntimeNewObject(classes.Get("RuntimeException"));
  EXPECT_EQ(RuntimeExceptionMessageGetter(e), nullptr);
  EXPECT_EQ(RuntimeExceptionReasonGetter(e), nullptr);
  TESSstring message = NewString("disk full", -1, kEncodingUTF8);
  RuntimeExceptionMessageSetter(e, message);
  TESSstring read = RuntimeExceptionMessageGetter(e);
  EXPECT_EQ(read, message);
  EXPECT_EQ(message->mRefCount, 3);  // ours, the exception's, the getter's
  RuntimeUnlockString(read);
  RuntimeExceptionReasonSetter(e, nullptr);  // clears the message
  EXPECT_EQ(RuntimeExceptionMessageGetter(e), nullptr);
  EXPECT_EQ(message->mRefCount, 1);
  RuntimeUnlockString(message);
  RuntimeUnlockObject(e);
}

TEST(ExceptionClasses, MessageAndReasonReadEachOtherInTheirOwnType) {
  ExceptionClasses classes;
  testkit::LeakCheck leaks;
  RuntimeObject* e = RuntimeNewObject(classes.Get("RuntimeException"));
  TESSstring message = NewString("d\xC3\xA9j\xC3\xA0", -1, kEncodingUTF8);
  RuntimeExceptionMessageSetter(e, message);
  TextValue reason = RuntimeExceptionReasonGetter(e);
  ASSERT_NE(reason, nullptr);
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(reason->mChars), 4), u"d\u00e9j\u00e0");
  RuntimeExceptionReasonSetter(e, reason);  // the reason replaces the message
  RuntimeUnlockText(reason);
  TESSstring read = RuntimeExceptionMessageGetter(e);
  ASSERT_NE(read, nullptr);
  EXPECT_NE(read, message);
  EXPECT_EQ(read->mEncoding, kEncodingUTF8);
  EXPECT_EQ(std::string(StringText(read)), StringText(message));
  RuntimeUnlockString(read);
  RuntimeUnlockString(message);
  RuntimeUnlockObject(e);  // drops the reason
}

TEST(ExceptionClasses, ErrorFamilyReadersAndTheirReferences) {
  ExceptionClasses classes;
  testkit::LeakCheck leaks;
  RuntimeObject* underlying = RuntimeNewObject(classes.Get("RuntimeException"));
  for (const char* name : {"vela.Core.ErrorException", "Vela.IO.IOException", "Vela.Net.NetException"}) {
    RuntimeObject* e = RuntimeNewObject(classes.Get(name));
    SetErrorExceptionDetails(e, nullptr, nullptr, -7, underlying);
    EXPECT_EQ(ErrorException_Handle(e), -7) << name;
    RuntimeObject* read = ErrorException_UnderlyingError(e);
    EXPECT_EQ(read, underlying);
    EXPECT_EQ(underlying->objectRefCount, 3);
    RuntimeUnlockObject(read);
    EXPECT_EQ(ErrorException_ErrorDomain(e), nullptr);
    EXPECT_EQ(ErrorException_LocalizedReason(e), nullptr);
    RuntimeUnlockObject(e);  // drops the underlying error
    EXPECT_EQ(underlying->objectRefCount, 1);
  }
  RecordingReporter reporter;
  RuntimeObject* plain = RuntimeNewObject(classes.Get("IOException"));  // not of the family
  EXPECT_EQ(ErrorException_Handle(plain), 0);
  EXPECT_TRUE(reporter.Saw("ErrorExceptionClass.IsInstance(obj)"));
  RuntimeUnlockObject(plain);
  RuntimeUnlockObject(underlying);
}

TEST(ExceptionRaise, NamedRaisesBuildRealExceptionsWhenTheClassExists) {
  objtest::RaiseRecorder raises;
  RecordingReporter reporter;
  {
    ExceptionClasses classes;
    testkit::LeakCheck leaks;
    UnhandledLog unhandled;
    RaiseNamedException("keynotfoundexception", 3, "no key \"a\"");
    ASSERT_NE(unhandled.last(), nullptr);
    EXPECT_EQ(unhandled.last()->classPtr, classes.Get("KeyNotFoundException"));
    EXPECT_EQ(RuntimeExceptionErrorNumberGetter(unhandled.last()), 3);
    EXPECT_EQ(unhandled.Message(), "no key \"a\"");
    EXPECT_EQ(ExceptionDataOf(unhandled.last())->message->mEncoding, kEncodingUTF8);
    EXPECT_GT(ExceptionDataOf(unhandled.last())->stack.Count(), 2u);

    RuntimeRaiseFunctionNotFoundException("Compress", "libz");
    EXPECT_EQ(unhandled.Message(), "Could not load Compress from libz.");
    RaiseExceptionClass(classes.Get("StackOverflowException"));
    EXPECT_EQ(unhandled.last()->classPtr, classes.Get("StackOverflowException"));
    RaiseNilObjectException();
    RaiseIllegalCastException();
    RaiseOutOfBoundsException();
    EXPECT_EQ(unhandled.last()->classPtr, classes.Get("OutOfBoundsException"));
  }
  EXPECT_EQ(raises.raises(),
            (objtest::Strings{"KeyNotFoundException #3: no key \"a\"",
                              "FunctionNotFoundException: Could not load Compress from libz.",
                              "StackOverflowException", "NilObjectException", "IllegalCastException",
                              "OutOfBoundsException"}));
  EXPECT_EQ(reporter.count(), 0u);

  // Without the classes the observer alone sees the raise.
  RaiseNamedException("EndException", 0, nullptr);
  EXPECT_EQ(raises.raises().back(), "EndException");
  EXPECT_EQ(reporter.count(), 0u);
}

TEST(ExceptionRaise, WhatCannotBeRaisedIsReported) {
  RecordingReporter reporter;
  RaiseNamedException("NoSuchException", 0, "gone");  // no class, no observer
  RaiseExceptionClass(nullptr);
  RaiseObjCException();
  RaiseOutOfBoundsException();  // the declaration is not bound
  RuntimeUnhandledException(nullptr);  // no helper was installed
  ASSERT_EQ(reporter.count(), 5u);
  EXPECT_EQ(reporter.reports()[0].condition, "defn");
  EXPECT_EQ(reporter.reports()[0].message, "NoSuchException: gone");
  EXPECT_EQ(reporter.reports()[1].condition, "exclass");
  EXPECT_TRUE(reporter.SawMessage("RaiseObjCException"));
  EXPECT_EQ(reporter.reports()[3].condition, "mClassPtr");
  EXPECT_EQ(reporter.reports()[3].message, "OutOfBoundsException");
  EXPECT_EQ(reporter.reports()[4].condition, "sUnhandledExceptionHelper");
}

TEST(ExceptionRaise, ExceptionHelperHandsAnEscapedExceptionOnAndDropsIt) {
  ExceptionClasses classes;
  testkit::LeakCheck leaks;
  UnhandledLog unhandled;
  static RuntimeClass* escaping;
  escaping = classes.Get("TypeMismatchException");
  int ran = 0;
  CallWithExceptionHelper([](void* count) { ++*static_cast<int*>(count); }, &ran);
  EXPECT_EQ(ran, 1);  // without a helper: a plain call
  RuntimeSetExceptionHelper([](RuntimeProtectedCallback callback, void* context) {
    callback(context);
    return RuntimeNewObject(escaping);  // what escaped, owned
  });
  CallWithExceptionHelper([](void* count) { ++*static_cast<int*>(count); }, &ran);
  RuntimeSetExceptionHelper(nullptr);
  EXPECT_EQ(ran, 2);
  ASSERT_NE(unhandled.last(), nullptr);
  EXPECT_EQ(unhandled.last()->classPtr, escaping);
  EXPECT_EQ(unhandled.last()->objectRefCount, 1);  // the log's own
}

}  // namespace
}  // namespace vela
