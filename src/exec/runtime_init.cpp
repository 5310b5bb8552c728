// Process-wide start-up and shutdown: RuntimeInit, MainExport, the exit
// handlers and the initialisers that the image lists in its "velainit"
// section.
#include <signal.h>

#include "exec/platform_timer.h"
#include "exec/runtime_state.h"
#include "exec/thread_record.h"
#include "exec/unhandled.h"
#include "object/loader.h"
#include "platform/process.h"
#include "platform/window_system.h"
#include "support/assert.h"
#include "support/at_exit.h"
#include "support/elf_image.h"
#include "support/export.h"

namespace vela {
namespace {
constexpr const char* kReportPath = "Common/application";

using platform::WindowBackground;
using platform::WindowClassDesc;
using platform::WindowProcedure;

constexpr uint32_t kRedrawOnResize =
    platform::kClassRedrawOnHorizontalResize | platform::kClassRedrawOnVerticalResize;

void RegisterFrameworkWindowClasses(bool composition) {
  platform::WindowSystem& ws = platform::GetWindowSystem();
  ws.RegisterWindowClass({"TSWindow", kRedrawOnResize, WindowProcedure::kFrameWindow, 4, 102,
                          composition ? WindowBackground::kButtonFace : WindowBackground::kNullBrush,
                          ""});
  ws.RegisterWindowClass(
      {"TS_Pane", kRedrawOnResize, WindowProcedure::kPane, 4, 0, WindowBackground::kNone, ""});
  ws.RegisterWindowClass({"TS_CanvasPane", kRedrawOnResize, WindowProcedure::kPane, 4, 0,
                          WindowBackground::kNone, ""});
  ws.RegisterWindowClass({"TS_ModelessDialog", 0, WindowProcedure::kFrameWindow, 0, 0,
                          WindowBackground::kInherited, "#32770"});
}
}  // namespace

RuntimeState& State() {
  static RuntimeState* state = new RuntimeState;  // lives to process end
  return *state;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT void RuntimeInit(void) {
  RuntimeState& state = State();
  VELA_ASSERT(!sMainThread);
  if (sMainThread) return;
  CreateMainThreadRecord();

  state.executableModule = platform::ExecutableModule();
  state.libraryModule = platform::ModuleContaining(reinterpret_cast<const void*>(&RuntimeInit));

  platform::WindowSystem& ws = platform::GetWindowSystem();
  ws.AcquireThemeService();
  ws.RegisterWindowClass({"WinTimerClass", 0, WindowProcedure::kTimer, 0, 0,
                          WindowBackground::kNone, ""});
  platform::SetWindowProcedure(WindowProcedure::kTimer, TimerWindowProcedure);
  state.timerWindow = ws.CreateHiddenWindow("WinTimerClass", 1, 1);

  state.controlFont = {"System", 0, 10.0};
  InstallUnhandledExceptionHelper();
  RegisterFrameworkWindowClasses(ws.CompositionEnabled());
  // Drawing needs no process-wide factory on this platform: surfaces are
  // made per window and per picture.
  state.secondFont = {"System", 0, 0.0};

  // The record already holds this thread's stack bounds.
  if (sCurrentThread == sMainThread) SetPriority(sMainThread, 5);

  // The socket layer reports a closed peer as an error, never as a signal.
  signal(SIGPIPE, SIG_IGN);
  state.socketLayerStarted = true;
  state.initialized = true;
}

VELA_EXPORT int32_t MainExport(void* module, intptr_t argc, intptr_t argv, intptr_t envp,
                               void* frameworkModule) {
  (void)envp;
  RuntimeState& state = State();
  auto** args = reinterpret_cast<char**>(argv);
  state.arguments.clear();
  for (intptr_t i = 1; args && i < argc; ++i)
    if (args[i]) state.arguments.emplace_back(args[i]);
  state.argumentsKnown = true;

  // The application's whole life runs inside Run. Without an image (a stub
  // that was never packed, a file that cannot be read) the load has
  // reported why, and nothing is entered. Either way the answer is 0: the
  // reports are the stub's account of what went wrong.
  Loader& loader = Loader::Instance();
  bool loaded = loader.LoadFromExecutable(module, frameworkModule);
  if (loaded) loader.Run();

  AtExitObject::DeleteAll();
  if (state.initialized) platform::GetWindowSystem().ReleaseThemeService();
  return 0;
}

VELA_EXPORT void RuntimeExit(void) {
  RuntimeState& state = State();
  // Sockets need no process-wide shutdown on this platform.
  state.socketLayerStarted = false;
  for (size_t i = 0; i < state.exitHandlers.size(); ++i) state.exitHandlers[i]();
}

VELA_EXPORT void RuntimeAddExitHandler(RuntimeExitHandler handler) {
  State().exitHandlers.push_back(handler);
}

VELA_EXPORT void RuntimeSetApplicationPath(TESSstring path) {
  RuntimeState& state = State();
  RuntimeLockString(path);
  TESSstring old = state.applicationPath;
  state.applicationPath = path;
  RuntimeUnlockString(old);
}

VELA_EXPORT void RuntimePerformInitializers(void) {
  std::string error;
  std::optional<LoadedSection> section = FindLoadedSection("velainit", &error);
  VELA_ASSERT_MSG(error.empty(), "executable section table", "%s", error.c_str());
  if (!section) return;
  using Initializer = void (*)(void);
  auto* entries = static_cast<const Initializer*>(section->address);
  size_t count = section->size / sizeof(Initializer);
  for (size_t i = 0; i < count; ++i) {
    const Initializer* entry = &entries[i];
    VELA_ASSERT(*entry);
    if (*entry) (*entry)();
  }
}

VELA_EXPORT void RuntimePerformFinalizers(void) {}

VELA_EXPORT void RuntimeInitializeMDIApp(TESSstring) {
  State().mdiMode = true;
  platform::WindowSystem& ws = platform::GetWindowSystem();
  ws.RegisterWindowClass({"TS_MDIFRAME", kRedrawOnResize, WindowProcedure::kMdiFrame, 4, 102,
                          WindowBackground::kButtonFace, ""});
  ws.RegisterWindowClass({"TS_MDICHILD", kRedrawOnResize, WindowProcedure::kMdiChild, 4, 102,
                          WindowBackground::kButtonFace, ""});
  VELA_NOT_BUILT("MDI frame window");
}
