// Raises that land in compiled handlers: assembly fixtures with frame
// tables and inline handler marks play the compiled code, C++ functions play
// the library functions that raise. Each scenario patches return addresses
// on its own stack, so each runs in a child process.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "exception_test_support.h"
#include "kit/child_process.h"
#include "kit/leak_check.h"
#include "kit/recording_reporter.h"
#include "object/stack_crawl.h"
#include "text/string_create.h"
#include "vela/arrays.h"
#include "vela/exceptions.h"
#include "vela/text.h"

struct dwarf_eh_bases {
  void* tbase;
  void* dbase;
  void* func;
};
extern "C" const void* _Unwind_Find_FDE(const void* pc, dwarf_eh_bases* bases);

namespace vela {
namespace {

using exctest::Call;
using exctest::ExceptionClasses;
using exctest::FixtureImage;

// The fixtures' own frame description entries, from the program's unwind
// tables, registered as compiled code registers its tables.
void RegisterFixtureTables() {
  for (auto* fixture : {vela_fx_catch, vela_fx_pass}) {
    dwarf_eh_bases bases;
    const void* fde = _Unwind_Find_FDE(reinterpret_cast<const char*>(fixture) + 1, &bases);
    ASSERT_NE(fde, nullptr);
    RegisterFDE(fde);
  }
}

int gBehindRaise = 0;

// A library function that raises, finishes and returns a dummy result.
intptr_t RaiseAndReturnDummy(const void*) {
  RaiseOutOfBoundsException();
  ++gBehindRaise;
  return 0x5A5A;
}

bool IsOutOfBounds(intptr_t result) {
  auto* e = reinterpret_cast<RuntimeObject*>(result);
  return e && ExceptionDeclFor(ExceptionKind::kOutOfBounds).IsInstance(e);
}

// Takes the exception a fixture returned: exactly the handler's reference.
void ExpectOwnedException(intptr_t result) {
  ASSERT_TRUE(IsOutOfBounds(result));
  auto* e = reinterpret_cast<RuntimeObject*>(result);
  EXPECT_EQ(exctest::RefCount(e), 1);
  RuntimeUnlockObject(e);
}

// Nobody else decides about an uncaught exception here: it is counted.
int gUnhandled = 0;
void CountUnhandled(RuntimeObject*) { ++gUnhandled; }

TEST(Dispatch, FrameTableLandingPadGetsTheExceptionAfterTheLibraryFunctionReturned) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    testkit::LeakCheck leaks;
    RegisterFixtureTables();
    intptr_t out = -1;
    intptr_t caught = Call(vela_fx_catch, RaiseAndReturnDummy, nullptr, &out);
    EXPECT_EQ(gBehindRaise, 1);  // the raising function went on and returned
    EXPECT_EQ(out, -1);          // its dummy result never reached the handler's frame
    EXPECT_EQ(TakeCurrentException(), nullptr);  // the pad took it
    ExpectOwnedException(caught);

    // A call-site entry with landing pad 0: the inner frame goes on behind
    // its call, the outer one catches.
    intptr_t innerOut = -1;
    FxCall inner{reinterpret_cast<intptr_t (*)(const void*)>(RaiseAndReturnDummy), nullptr,
                 &innerOut};
    caught = Call(vela_fx_catch, vela_fx_pass, &inner, &out);
    EXPECT_EQ(innerOut, 0x5A5A);
    EXPECT_EQ(out, -1);
    ExpectOwnedException(caught);
  });
}

// The landing pad's cleanup passes the exception on to the next handler.
intptr_t CatchAndReraise(const void*) {
  auto* e = reinterpret_cast<RuntimeObject*>(Call(vela_fx_catch, RaiseAndReturnDummy, nullptr));
  std::vector<uintptr_t> before(ExceptionDataOf(e)->stack.begin, ExceptionDataOf(e)->stack.end);
  RuntimeReraiseException(e);
  EXPECT_EQ(before, std::vector<uintptr_t>(ExceptionDataOf(e)->stack.begin,
                                           ExceptionDataOf(e)->stack.end));
  RuntimeUnlockObject(e);
  return 1;
}

TEST(Dispatch, ReraiseKeepsTheStackAndFindsTheNextHandler) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    testkit::LeakCheck leaks;
    RegisterFixtureTables();
    ExpectOwnedException(Call(vela_fx_catch, CatchAndReraise, nullptr));
  });
}

TEST(Dispatch, InlineMarksWithAndWithoutSlotNestedShortAndBehindAnEpilogue) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    testkit::LeakCheck leaks;
    FixtureImage image;
    intptr_t out = -1;
    ExpectOwnedException(Call(image.Function(vela_img_slot), RaiseAndReturnDummy, nullptr, &out));
    EXPECT_EQ(out, -1);
    EXPECT_EQ(Call(image.Function(vela_img_noslot), RaiseAndReturnDummy, nullptr), 1);
    ExpectOwnedException(Call(image.Function(vela_img_nested), RaiseAndReturnDummy, nullptr));
    ExpectOwnedException(Call(image.Function(vela_img_short), RaiseAndReturnDummy, nullptr));
    // The inner function's epilogue comes first: its caller's mark decides.
    FxCall inner{reinterpret_cast<intptr_t (*)(const void*)>(RaiseAndReturnDummy), nullptr,
                 nullptr};
    ExpectOwnedException(Call(image.Function(vela_img_slot),
                              reinterpret_cast<intptr_t (*)(const void*)>(
                                  image.Function(vela_img_epilogue)),
                              &inner));
    EXPECT_EQ(gBehindRaise, 5);
  });
}

TEST(Dispatch, WithoutAnyHandlerTheUnhandledPathRunsAndTheCallerGoesOn) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    testkit::LeakCheck leaks;
    SetUnhandledExceptionHelper(CountUnhandled);
    RegisterFixtureTables();
    RuntimeClass* other = classes.Subclass("Other", "RuntimeException", 48);
    RuntimeObject* object = RuntimeNewObject(classes.Get("NilObjectException"));
    struct Cast {
      RuntimeObject* object;
      RuntimeClass* cls;
    } cast{object, other};
    auto checkCast = [](const void* p) -> intptr_t {
      auto* c = static_cast<const Cast*>(p);
      return reinterpret_cast<intptr_t>(RuntimeCheckCast(c->object, c->cls));
    };
    intptr_t out = -1;
    // The call's landing pad is 0 and no frame further out has a handler.
    EXPECT_EQ(Call(vela_fx_pass, +checkCast, &cast, &out), 0);
    EXPECT_EQ(out, 0);  // RuntimeCheckCast's nil reached its caller
    EXPECT_EQ(gUnhandled, 1);
    RuntimeUnlockObject(object);
  });
}

__attribute__((noinline)) void RaiseAtDepth(RuntimeObject* e, int depth) {
  if (depth > 0)
    RaiseAtDepth(e, depth - 1);
  else
    RuntimeRaiseException(e);
  asm volatile("" ::: "memory");  // no tail call: every level keeps its frame
}

TEST(Dispatch, AnExceptionRaisedTwiceKeepsOnlyTheSecondStack) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    SetUnhandledExceptionHelper(CountUnhandled);
    RuntimeObject* e = RuntimeNewObject(classes.Get("OutOfBoundsException"));
    RaiseAtDepth(e, 4);
    std::vector<uintptr_t> first(ExceptionDataOf(e)->stack.begin, ExceptionDataOf(e)->stack.end);
    RaiseAtDepth(e, 1);
    std::vector<uintptr_t> second(ExceptionDataOf(e)->stack.begin, ExceptionDataOf(e)->stack.end);
    ASSERT_GT(second.size(), 3u);
    EXPECT_EQ(first.size(), second.size() + 3);
    // Innermost first: behind the raising levels and the call sites in this
    // test, the frames are the same ones.
    EXPECT_TRUE(std::equal(second.rbegin(), second.rend() - 3, first.rbegin()));
    EXPECT_EQ(gUnhandled, 2);
    RuntimeUnlockObject(e);
  });
}

std::vector<uintptr_t> gByUnwind, gByFramePointers;
bool Collect(const MachineFrame& frame, void* list) {
  static_cast<std::vector<uintptr_t>*>(list)->push_back(frame.returnAddress);
  return false;
}

// Raises after looking at its stack both ways.
__attribute__((noinline)) intptr_t LookThenRaise(const void*) {
  auto start = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  gByUnwind.clear();
  gByFramePointers.clear();
  WalkStack(start, Collect, &gByUnwind);
  WalkFramePointers(start, Collect, &gByFramePointers);
  RaiseOutOfBoundsException();
  return 0;
}

TEST(Dispatch, PluginFramesWithoutFramePointersDoNotMisleadTheWalk) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    FixtureImage image;
    // The plug-in's decoy frame record names a call that has a handler.
    const uintptr_t decoy = image.At(vela_img_noslot_return);
    PluginCall plugin{{reinterpret_cast<intptr_t (*)(const void*)>(LookThenRaise), nullptr,
                       nullptr},
                      decoy};
    intptr_t caught = Call(image.Function(vela_img_slot), vela_fx_plugin, &plugin);
    ExpectOwnedException(caught);
    // Along saved frame pointers alone the decoy would have been taken.
    EXPECT_NE(std::find(gByFramePointers.begin(), gByFramePointers.end(), decoy),
              gByFramePointers.end());
    EXPECT_EQ(std::find(gByUnwind.begin(), gByUnwind.end(), decoy), gByUnwind.end());
  });
}

TEST(Dispatch, BothWalksAgreeWhereEveryFrameKeepsItsFramePointer) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    FixtureImage image;
    ExpectOwnedException(Call(image.Function(vela_img_slot), LookThenRaise, nullptr));
    // Through the image function up to this test's body; frames beyond are
    // the test framework's, built without frame pointers.
    ASSERT_GE(gByFramePointers.size(), 3u);
    ASSERT_GE(gByUnwind.size(), 3u);
    EXPECT_TRUE(std::equal(gByUnwind.begin(), gByUnwind.begin() + 3, gByFramePointers.begin()));
  });
}

TEST(Dispatch, StackFramesGiveEveryAddressAndTheImageFunctionsName) {
  VELA_EXPECT_CHILD_OK({
    ExceptionClasses classes;
    testkit::LeakCheck leaks;
    FixtureImage image;
    auto* e = reinterpret_cast<RuntimeObject*>(
        Call(image.Function(vela_img_slot), RaiseOutOfBoundsException, nullptr));
    ASSERT_TRUE(IsOutOfBounds(reinterpret_cast<intptr_t>(e)));
    RuntimeArray* frames = RuntimeException_StackFrames(e);
    ASSERT_NE(frames, nullptr);
    const auto& stack = ExceptionDataOf(e)->stack;
    ASSERT_EQ(RuntimeUBound(frames), int32_t(stack.Count()) - 1);
    int named = 0, namedIndex = -1;
    for (int32_t i = 0; i <= RuntimeUBound(frames); ++i) {
      auto* frame = reinterpret_cast<RuntimeObject*>(RuntimeDirectReadObjectArray(frames, i));
      EXPECT_EQ(StackFrame_Address(frame), stack.begin[i]);
      TESSstring frameName = StackFrame_Name(frame);
      if (frameName) {
        EXPECT_STREQ(StringText(frameName), "vela_img_slot");
        EXPECT_EQ(frameName->mEncoding, kEncodingASCII);
        ++named;
        namedIndex = i;
      }
      RuntimeUnlockString(frameName);
      RuntimeUnlockObject(frame);
    }
    EXPECT_EQ(named, 1);
    RuntimeUnlockArray(reinterpret_cast<RuntimeObject*>(frames));

    // The newer class: the same addresses; its names are Text.
    RuntimeArray* calls = VelaCoreRuntimeException_CallStack(e);
    ASSERT_EQ(RuntimeUBound(calls), int32_t(stack.Count()) - 1);
    auto* call =
        reinterpret_cast<RuntimeObject*>(RuntimeDirectReadObjectArray(calls, namedIndex));
    EXPECT_EQ(VelaCoreStackFrame_Address(call), stack.begin[namedIndex]);
    TextValue callName = VelaCoreStackFrame_Name(call);
    ASSERT_NE(callName, nullptr);
    EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(callName->mChars),
                             size_t(callName->mLength)),
              u"vela_img_slot");
    RuntimeUnlockText(callName);
    RuntimeUnlockObject(call);
    RuntimeUnlockArray(reinterpret_cast<RuntimeObject*>(calls));
    RuntimeUnlockObject(e);
  });
}

// The same through an application as it ships: a packed image whose code
// protects its call with an inline mark.
TEST(Dispatch, PackedImageLandsInItsInlineHandler) {
  const auto result = testkit::RunProgram({VELA_EXCEPTION_HANDLER_IMAGE});
  ASSERT_TRUE(result.ok()) << result.Describe();
  EXPECT_EQ(result.out,
            "caught OutOfBoundsException with 1 reference(s)\n"
            "stack: ProtectedRaise\n"
            "stack: VelaMain\n"
            "0 objects alive\n");
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace vela
