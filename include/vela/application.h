/* Entry, start-up and shutdown: what the stub and the image's entry code call
 * to bring an application to life and end it. */
#ifndef VELA_APPLICATION_H
#define VELA_APPLICATION_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* The stub's entry. On Linux a, b and c carry argc, argv and envp. */
VELA_API int32_t MainExport(void *module, intptr_t a, intptr_t b, intptr_t c,
                            void *frameworkModule);

VELA_API void RuntimeInit(void);
VELA_API void RuntimeSetApplicationPath(TESSstring path);
VELA_API void RuntimeInitExternalClasses(void);
VELA_API void RuntimePerformInitializers(void);
VELA_API void RuntimePerformFinalizers(void);
typedef intptr_t (*RuntimeStartupCallback)(void);
VELA_API intptr_t RunFrameworkInitialization(RuntimeStartupCallback callback);
VELA_API void RuntimeRun(void);
VELA_API void RuntimeExit(void);
typedef void (*RuntimeExitHandler)(void);
VELA_API void RuntimeAddExitHandler(RuntimeExitHandler handler);
VELA_API void RuntimeInitializeMDIApp(TESSstring frameTitle);

VELA_API void ApplicationInitializer(RuntimeObject *app);
VELA_API void ApplicationFinalizer(RuntimeObject *app);
VELA_API void TS_ApplicationQuit(void);
VELA_API void AppSleepCurrentThread(RuntimeObject *self, int32_t milliseconds);
VELA_API int32_t AppGetCurrentEventTime(RuntimeObject *self);
VELA_API int32_t AppIntegerVersionStuffGetter(RuntimeObject *self, int32_t part);
VELA_API TESSstring AppStringVersionStuffGetter(RuntimeObject *self, int32_t part);
VELA_API RuntimeObject *AppFolderItemGetter(void);
VELA_API void ApplicationOpenDocument(RuntimeObject *app, RuntimeObject *item);
VELA_API void ApplicationNewDocument(RuntimeObject *app);
VELA_API void ApplicationAddMenuHandler(RuntimeObject *self, TESSstring name, void *handler);
VELA_API VelaBoolean ApplicationUseGDIPlusGetter(RuntimeObject *self);
VELA_API void ApplicationUseGDIPlusSetter(RuntimeObject *self, VelaBoolean value);
VELA_API VelaBoolean ApplicationSupportsHiDPI(void);
VELA_API void ApplicationSetSupportsHiDPI(VelaBoolean value);
VELA_API void DesktopApplication_SetUserDarkModeSupport(VelaBoolean value);
VELA_API VelaBoolean AppAutoCloseGetter(RuntimeObject *self, intptr_t parameter);
VELA_API void AppAutoCloseSetter(RuntimeObject *self, intptr_t parameter, VelaBoolean value);
VELA_API void appMouseCursorSetter(RuntimeObject *self, intptr_t parameter, RuntimeObject *cursor);
VELA_API void AppMenuBarSetter(RuntimeObject *self, intptr_t parameter, RuntimeObject *menuBar);

VELA_END_DECLS

#endif
