// Process-wide state of start-up, the run of the main loop and shutdown.
// All of it belongs to the main thread.
#pragma once

#include <string>
#include <vector>

#include "vela/application.h"

namespace vela {

struct DefaultFont {
  std::string name;
  uint32_t style = 0;
  double size = 0;
};

struct RuntimeState {
  RuntimeObject* application = nullptr;  // holds one counted reference
  bool quitRequested = false;            // the quit flag: ends the main loop
  bool runStarted = false;               // RuntimeRun runs once per process
  bool inRun = false;                    // the main loop of RuntimeRun is running
  bool initialized = false;              // RuntimeInit has run
  TESSstring applicationPath = nullptr;  // counted
  std::vector<RuntimeExitHandler> exitHandlers;
  void* executableModule = nullptr;
  void* libraryModule = nullptr;
  bool mdiMode = false;
  bool deliveringUnhandledException = false;
  bool userDarkModeSupport = true;
  bool useGDIPlus = false;
  bool supportsHiDPI = false;
  bool socketLayerStarted = false;
  uintptr_t timerWindow = 0;
  DefaultFont controlFont;  // the font defaults of controls
  DefaultFont secondFont;
  // The command line as the stub received it: arguments behind the program.
  std::vector<std::string> arguments;
  bool argumentsKnown = false;
};

RuntimeState& State();

}  // namespace vela
