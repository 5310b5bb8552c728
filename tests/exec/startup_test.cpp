// Start-up, the first events, the main loop's end and shutdown. Each scenario
// runs in a child process: these things happen once per process.
#include <gtest/gtest.h>

#include <cstdlib>

#include "exec/app_fixture.h"
#include "exec/application.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "kit/child_process.h"
#include "kit/recording_reporter.h"
#include "object/raise.h"
#include "platform/window_system.h"
#include "text/string_create.h"

namespace vela {
namespace {

using testkit::AppFlavour;
using testkit::AppTrace;
using testkit::RunInChild;

void Trace(RuntimeObject*, const char* what) { AppTrace().push_back(what); }
void OnOpen(RuntimeObject* app) { Trace(app, "Open"); }
void OnOpening(RuntimeObject* app) { Trace(app, "Opening"); }
void OnNewDocument(RuntimeObject* app) { Trace(app, "NewDocument"); }
void OnDocumentCreated(RuntimeObject* app) { Trace(app, "DocumentCreated"); }
void OnOpenDocument(RuntimeObject* app, RuntimeObject*) { Trace(app, "OpenDocument"); }
void OnClose(RuntimeObject* app) { Trace(app, "Close"); }
void OnClosing(RuntimeObject* app) { Trace(app, "Closing"); }
int gRefuseQuits = 0;
VelaBoolean OnCancelClose(RuntimeObject* app) {
  Trace(app, "CancelClose");
  return gRefuseQuits > 0 ? (--gRefuseQuits, 1) : 0;
}
intptr_t StartupCallback() {
  AppTrace().push_back("callback");
  return 77;
}

std::vector<std::string> gRaised;
void ObserveRaise(const char* className, int32_t, const char*) { gRaised.push_back(className); }

TEST(RuntimeInit, RegistersWindowClassesAndMakesTheMainThread) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    RuntimeInit();
    EXPECT_EQ(reporter.count(), 0u);
    ASSERT_NE(sMainThread, nullptr);
    EXPECT_EQ(sCurrentThread, sMainThread);
    EXPECT_TRUE(CurrentThreadState().isLanguageThread);
    EXPECT_EQ(sMainThread->priority, 5);
    // The usable stack contains this frame.
    auto here = reinterpret_cast<uintptr_t>(&reporter);
    EXPECT_LT(here, sMainThread->stackHigh);
    EXPECT_GT(here, sMainThread->stackHigh - sMainThread->stackSize);

    auto& ws = platform::GetWindowSystem();
    for (const char* name : {"TSWindow", "TS_Pane", "TS_CanvasPane", "TS_ModelessDialog",
                             "WinTimerClass"})
      EXPECT_NE(ws.FindWindowClass(name), nullptr) << name;
    EXPECT_EQ(ws.FindWindowClass("TSWindow")->iconResource, 102);
    EXPECT_EQ(ws.FindWindowClass("TS_Pane")->extraBytes, 4);
    EXPECT_EQ(ws.FindWindowClass("TS_ModelessDialog")->copiedFrom, "#32770");
    EXPECT_TRUE(ws.IsWindow(State().timerWindow));
    EXPECT_EQ(ws.ThemeServiceUsers(), 1);
    EXPECT_EQ(State().controlFont.name, "System");
    EXPECT_EQ(State().controlFont.size, 10.0);

    RuntimeInit();  // a second start-up is a fault of the image
    EXPECT_TRUE(reporter.Saw("!sMainThread"));
  });
}

TEST(Application, FirstObjectBecomesTheApplicationAndLaterOnesDoNot) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    auto classes = testkit::MakeAppClasses(AppFlavour::kDesktop);
    RuntimeObject* first = RuntimeNewObject(classes.app);
    RuntimeObject* second = RuntimeNewObject(classes.app);
    EXPECT_EQ(State().application, first);
    EXPECT_EQ(first->objectRefCount, 2);  // the creator's and the library's
    ApplicationObject* a = AppData(first);
    ApplicationObject* b = AppData(second);
    ASSERT_TRUE(a && b);
    EXPECT_NE(a->mdiWindow, nullptr);
    EXPECT_NE(b->mdiWindow, nullptr);  // each gets its own
    EXPECT_NE(a->mdiWindow, b->mdiWindow);
    EXPECT_STREQ(a->mdiWindow->classPtr->name, "DesktopMDIWindow");
    EXPECT_EQ(a->autoQuit, 1);
    int before = RuntimeDebugObjectCount();
    RuntimeUnlockObject(second);  // its finalizer drops its MDI window
    EXPECT_EQ(RuntimeDebugObjectCount(), before - 2);
    EXPECT_EQ(State().application, first);
  });
}

TEST(Application, EventsOfAnObjectOfNeitherFlavourAreAFault) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    testkit::MakeAppClasses(AppFlavour::kDesktop);
    RuntimeObject* stranger = RuntimeNewObject(testkit::ClassBuilder("Stranger").Build());
    EXPECT_EQ(AppEventHandler(stranger, AppEvent::kStart), nullptr);
    EXPECT_TRUE(reporter.Saw("decl2.IsInstance(obj)"));
    EXPECT_EQ(AppEventHandler(nullptr, AppEvent::kStart), nullptr);
    EXPECT_EQ(reporter.count(), 1u);
    RuntimeUnlockObject(stranger);
  });
}

TEST(Application, DarkModeSwitchCountsForTrueInAnyCaseAndForOne) {
  for (const char* value : {"true", "TRUE", "True", "1"}) {
    VELA_EXPECT_CHILD_OK({
      setenv("VELA_WIN32_DARKMODE_DISABLED", value, 1);
      RuntimeInit();
      auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
      RuntimeNewObject(classes.app);
      EXPECT_FALSE(State().userDarkModeSupport) << value;
      EXPECT_FALSE(platform::GetWindowSystem().AppDarkModeAllowed());
    });
  }
  for (const char* value : {"yes", "0", "", "truee"}) {
    VELA_EXPECT_CHILD_OK({
      setenv("VELA_WIN32_DARKMODE_DISABLED", value, 1);
      RuntimeInit();
      auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
      RuntimeNewObject(classes.app);
      EXPECT_TRUE(State().userDarkModeSupport) << value;
    });
  }
}

TEST(Application, MdiModeTurnsAutoQuitOff) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;  // the MDI frame reports itself as missing
    RuntimeInit();
    RuntimeInitializeMDIApp(nullptr);
    EXPECT_NE(platform::GetWindowSystem().FindWindowClass("TS_MDIFRAME"), nullptr);
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
    RuntimeObject* app = RuntimeNewObject(classes.app);
    EXPECT_EQ(AppData(app)->autoQuit, 0);
    EXPECT_EQ(AppAutoCloseGetter(app, 0), 0);
    AppAutoCloseSetter(app, 0, 1);
    EXPECT_EQ(AppAutoCloseGetter(app, 0), 1);
  });
}

TEST(FrameworkInitialization, StartEventGoesThroughTheProtectedCallThenNewDocument) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
    testkit::SetEventHandler(classes.app, "Open", reinterpret_cast<void*>(OnOpen));
    testkit::SetEventHandler(classes.app, "NewDocument", reinterpret_cast<void*>(OnNewDocument));
    RuntimeNewObject(classes.app);
    EXPECT_EQ(RunFrameworkInitialization(StartupCallback), 77);
    EXPECT_EQ(AppTrace(), (std::vector<std::string>{"Open", "NewDocument", "callback"}));
    EXPECT_EQ(testkit::ProtectedCalls(), 1);
  });
}

TEST(FrameworkInitialization, DesktopNamesAreUsedForDesktopApplications) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    auto classes = testkit::MakeAppClasses(AppFlavour::kDesktop);
    testkit::SetEventHandler(classes.app, "Opening", reinterpret_cast<void*>(OnOpening));
    testkit::SetEventHandler(classes.app, "DocumentCreated",
                             reinterpret_cast<void*>(OnDocumentCreated));
    RuntimeNewObject(classes.app);
    RunFrameworkInitialization(StartupCallback);
    EXPECT_EQ(AppTrace(), (std::vector<std::string>{"Opening", "DocumentCreated", "callback"}));
  });
}

TEST(FrameworkInitialization, EmptyCommandLineWithDocumentHandlerGivesNewDocument) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    State().arguments = {};  // an empty tail counts as no handler
    State().argumentsKnown = true;
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
    testkit::SetEventHandler(classes.app, "NewDocument", reinterpret_cast<void*>(OnNewDocument));
    testkit::SetEventHandler(classes.app, "OpenDocument",
                             reinterpret_cast<void*>(OnOpenDocument));
    RuntimeNewObject(classes.app);
    RunFrameworkInitialization(StartupCallback);
    EXPECT_EQ(AppTrace(), (std::vector<std::string>{"NewDocument", "callback"}));
  });
}

TEST(FrameworkInitialization, DocumentOnCommandLineSuppressesNewDocument) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;  // folder items report themselves as missing
    RuntimeInit();
    State().arguments = {"/tmp/My Letter.txt"};
    State().argumentsKnown = true;
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
    testkit::SetEventHandler(classes.app, "NewDocument", reinterpret_cast<void*>(OnNewDocument));
    testkit::SetEventHandler(classes.app, "OpenDocument",
                             reinterpret_cast<void*>(OnOpenDocument));
    RuntimeNewObject(classes.app);
    RunFrameworkInitialization(StartupCallback);
    EXPECT_EQ(AppTrace(), (std::vector<std::string>{"OpenDocument", "callback"}));
    EXPECT_TRUE(reporter.SawMessage("FolderItem"));
  });
}

TEST(FrameworkInitialization, NilCallbackAndMissingMethodAreAssertions) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    RuntimeInit();
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic, /*withCallMethod=*/false);
    RuntimeNewObject(classes.app);
    EXPECT_EQ(RunFrameworkInitialization(nullptr), 0);
    EXPECT_TRUE(reporter.Saw("fpCallback"));
    EXPECT_TRUE(reporter.Saw("sCallFunctionWithExceptionHandling"));
  });
}

TEST(RuntimeRun, AutoQuitAsksAgainAfterARefusalThenEndsAndDropsTheApplication) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    SetRaiseObserver(ObserveRaise);
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
    testkit::SetEventHandler(classes.app, "CancelClose", reinterpret_cast<void*>(OnCancelClose));
    testkit::SetEventHandler(classes.app, "Close", reinterpret_cast<void*>(OnClose));
    RuntimeObject* app = RuntimeNewObject(classes.app);
    RuntimeUnlockObject(app);  // the library's reference keeps it
    int objectsBefore = RuntimeDebugObjectCount();
    gRefuseQuits = 1;
    RuntimeRun();
    EXPECT_EQ(AppTrace(),
              (std::vector<std::string>{"CancelClose", "CancelClose", "Close"}));
    EXPECT_EQ(gRaised, (std::vector<std::string>{"EndException"}));
    EXPECT_EQ(State().application, nullptr);
    EXPECT_EQ(RuntimeDebugObjectCount(), objectsBefore - 2);  // app and its MDI window
    EXPECT_FALSE(State().inRun);
  });
}

TEST(RuntimeRun, RunsOnlyOncePerProcess) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    SetRaiseObserver(ObserveRaise);
    auto classes = testkit::MakeAppClasses(AppFlavour::kDesktop);
    testkit::SetEventHandler(classes.app, "Closing", reinterpret_cast<void*>(OnClosing));
    RuntimeUnlockObject(RuntimeNewObject(classes.app));
    RuntimeRun();
    EXPECT_EQ(AppTrace(), (std::vector<std::string>{"Closing"}));
    RuntimeObject* again = RuntimeNewObject(classes.app);  // a new application object
    State().quitRequested = false;
    RuntimeRun();  // does nothing: no loop, no end event
    EXPECT_EQ(AppTrace(), (std::vector<std::string>{"Closing"}));
    EXPECT_EQ(State().application, again);
  });
}

TEST(Quit, RefusedRequestNeitherRaisesNorQuits) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    SetRaiseObserver(ObserveRaise);
    auto classes = testkit::MakeAppClasses(AppFlavour::kClassic);
    testkit::SetEventHandler(classes.app, "CancelClose", reinterpret_cast<void*>(OnCancelClose));
    RuntimeNewObject(classes.app);
    gRefuseQuits = 1;
    TS_ApplicationQuit();
    EXPECT_FALSE(State().quitRequested);
    EXPECT_TRUE(gRaised.empty());
    EXPECT_EQ(AppData(State().application)->quitInProgress, 0);
    TS_ApplicationQuit();
    EXPECT_TRUE(State().quitRequested);
    EXPECT_EQ(gRaised, (std::vector<std::string>{"EndException"}));
  });
}

TEST(Quit, NoRaiseWhileAnUnhandledExceptionIsDelivered) {
  VELA_EXPECT_CHILD_OK({
    RuntimeInit();
    SetRaiseObserver(ObserveRaise);
    State().deliveringUnhandledException = true;
    TS_ApplicationQuit();  // no application object: the request says yes
    EXPECT_TRUE(State().quitRequested);
    EXPECT_TRUE(gRaised.empty());
  });
}

std::string gExitOrder;
void ExitA() { gExitOrder += "a"; }
void ExitB() { gExitOrder += "b"; }

TEST(Shutdown, ExitHandlersRunInOrderOnEveryCall) {
  VELA_EXPECT_CHILD_OK({
    RuntimeAddExitHandler(ExitA);
    RuntimeAddExitHandler(ExitB);
    RuntimeExit();
    EXPECT_EQ(gExitOrder, "ab");
    RuntimeExit();
    EXPECT_EQ(gExitOrder, "abab");
  });
}

TEST(Shutdown, MainExportKeepsArgumentsAndStopsWithoutAnImage) {
  VELA_EXPECT_CHILD_OK({
    testkit::RecordingReporter reporter;
    RuntimeInit();
    const char* argv[] = {"app", "one", "two words", nullptr};
    EXPECT_EQ(MainExport(nullptr, 3, reinterpret_cast<intptr_t>(argv), 0, nullptr), 0);
    EXPECT_EQ(State().arguments, (std::vector<std::string>{"one", "two words"}));
    EXPECT_TRUE(reporter.Saw("offset != 0"));
    EXPECT_EQ(platform::GetWindowSystem().ThemeServiceUsers(), 0);
  });
}

TEST(ApplicationState, PathIsCountedAndVersionsAnswerAsMissing) {
  VELA_EXPECT_CHILD_OK({
    TESSstring path = NewString("/opt/app", -1, kEncodingUTF8);
    RuntimeSetApplicationPath(path);
    EXPECT_EQ(path->mRefCount, 2);
    RuntimeSetApplicationPath(nullptr);
    EXPECT_EQ(path->mRefCount, 1);
    RuntimeUnlockString(path);
    EXPECT_EQ(AppIntegerVersionStuffGetter(nullptr, 0), 0);
    EXPECT_EQ(AppIntegerVersionStuffGetter(nullptr, 3), -1);
    EXPECT_EQ(AppIntegerVersionStuffGetter(nullptr, 9), -1);
    EXPECT_EQ(AppStringVersionStuffGetter(nullptr, 1), nullptr);
  });
}

}  // namespace
}  // namespace vela
