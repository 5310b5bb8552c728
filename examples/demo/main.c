/* A small application written the way the compiler would emit it: it builds
 * its class records, binds them to the framework, runs its initialisers,
 * creates the application object, receives its first events, runs the main
 * loop until the application quits by itself, and shuts down. Every step
 * prints a line, so the output is a trace of the runtime's start-up and
 * shutdown. */
#include <stdio.h>
#include <string.h>

#include "vela/application.h"
#include "vela/object.h"
#include "vela/string.h"

static RuntimeClass *gNodeClass;
static int gNodesDestroyed;

/* ---- the application's own class: Node, a linked list element ---------- */

typedef struct Node {
  RuntimeObject header;
  RuntimeObject *next; /* a property: the next node, counted */
  int32_t value;
} Node;

static void NodeFinalizer(RuntimeObject *object) {
  Node *node = (Node *)object;
  ++gNodesDestroyed;
  RuntimeUnlockObject(node->next); /* the chain dies one node after another */
}

static RuntimeClass *MakeNodeClass(void) {
  RuntimeClass *cls = RuntimeNewClass(NULL, 0, 0, 0, 0, 0, 0);
  cls->name = "Node";
  cls->instanceSize = sizeof(Node);
  cls->finalizer = NodeFinalizer;
  return cls;
}

/* ---- the application class and its event handlers ---------------------- */

static void PrintString(const char *label, TESSstring s) {
  char *text = StringToCString(s);
  printf("  %s\"%s\"\n", label, text);
  RuntimeUnlockCString(text);
}

static void AppOpening(RuntimeObject *app) {
  (void)app;
  printf("event Opening\n");
  TESSstring hello = StringFromCString("Hello, ");
  TESSstring world = StringFromCString("world");
  TESSstring both = RuntimeAddString(hello, world);
  PrintString("concatenated: ", both);
  TESSstring shout = StringFromCString("HELLO, WORLD");
  printf("  \"Hello, world\" = \"HELLO, WORLD\" compares as %d (case folds)\n",
         RuntimeStringCompare(both, shout));
  RuntimeUnlockString(hello);
  RuntimeUnlockString(world);
  RuntimeUnlockString(both);
  RuntimeUnlockString(shout);

  /* A chain of nodes, each held only by the one before it. */
  RuntimeObject *head = NULL;
  for (int i = 0; i < 1000; ++i) {
    Node *node = (Node *)RuntimeNewObject(gNodeClass);
    node->value = i;
    node->next = head; /* takes over the reference */
    head = (RuntimeObject *)node;
  }
  printf("  made a chain of 1000 nodes: %d objects alive\n", RuntimeDebugObjectCount());
  RuntimeUnlockObject(head);
  printf("  dropped its head: %d nodes destroyed, %d objects alive\n", gNodesDestroyed,
         RuntimeDebugObjectCount());
}

static void AppDocumentCreated(RuntimeObject *app) {
  (void)app;
  printf("event DocumentCreated (no document on the command line)\n");
}

static VelaBoolean AppCancelClosing(RuntimeObject *app) {
  (void)app;
  printf("event CancelClosing: no window is open, so the application may quit\n");
  return 0;
}

static void AppClosing(RuntimeObject *app) {
  (void)app;
  printf("event Closing\n");
}

/* What the compiler emits around work that the framework starts: it would
 * catch the language's exceptions here. */
static void CallFunctionWithExceptionHandling(RuntimeObject *app, void (*function)(void)) {
  (void)app;
  function();
}

static const char *const kDesktopApplicationEvents[] = {
    "Activated", "AppearanceChanged", "AppleEventReceived", "CancelClosing",
    "Closing", "Deactivated", "DocumentCreated", "DocumentOpened",
    "MenuBarSelected", "Opening", "UnhandledException"};
enum { kEventCount = sizeof kDesktopApplicationEvents / sizeof kDesktopApplicationEvents[0] };

static RuntimeClass *MakeFrameworkApplicationClass(void) {
  RuntimeClass *cls = RuntimeNewClass(NULL, 0, 0, kEventCount, 0, 0, 0);
  cls->name = "DesktopApplication";
  cls->flags = kPropertiesBackwardsFlag;
  cls->initializer = ApplicationInitializer;
  cls->finalizer = ApplicationFinalizer;
  for (int i = 0; i < kEventCount; ++i) cls->events[i].head.name = kDesktopApplicationEvents[i];
  return cls;
}

static void SetHandler(RuntimeClass *cls, const char *event, void *function) {
  for (uint32_t i = 0; i < cls->eventCount; ++i)
    if (strcmp(cls->events[i].head.name, event) == 0) cls->events[i].function = function;
}

static RuntimeClass *MakeAppClass(RuntimeClass *base) {
  RuntimeClass *cls = RuntimeNewClass(base, 1, 0, kEventCount, 0, 0, 0);
  cls->name = "App";
  cls->flags = kPropertiesBackwardsFlag;
  cls->methods[0].head.name = "_CallFunctionWithExceptionHandling";
  cls->methods[0].head.flags = kScopePublic;
  cls->methods[0].signature = "%%p";
  cls->methods[0].function = (void *)CallFunctionWithExceptionHandling;
  SetHandler(cls, "Opening", (void *)AppOpening);
  SetHandler(cls, "DocumentCreated", (void *)AppDocumentCreated);
  SetHandler(cls, "CancelClosing", (void *)AppCancelClosing);
  SetHandler(cls, "Closing", (void *)AppClosing);
  return cls;
}

/* ---- initialisers listed in the image's "velainit" section -------------- */

static void DemoInitializer(void) { printf("initializer from the velainit section ran\n"); }
__attribute__((section("velainit"), used)) static void (*const kInitializers[])(void) = {
    DemoInitializer};

static void ExitHandler(void) { printf("exit handler ran\n"); }

static intptr_t StartupDone(void) {
  printf("start-up complete\n");
  return 0;
}

int main(void) {
  setvbuf(stdout, NULL, _IOLBF, 0); /* keep the trace in step with reports on stderr */
  RuntimeInit();
  printf("runtime initialised\n");

  RuntimeClass *desktopApp = MakeFrameworkApplicationClass();
  RuntimeClass *mdiWindow = RuntimeNewClass(NULL, 0, 0, 0, 0, 0, 0);
  mdiWindow->name = "DesktopMDIWindow";
  mdiWindow->instanceSize = sizeof(RuntimeObject);
  RuntimeClass *app = MakeAppClass(desktopApp);
  gNodeClass = MakeNodeClass();
  printf("classes made:");
  for (RuntimeClass *cls = RuntimeGetClassList(); cls; cls = cls->nextClass)
    printf(" %s", cls->name);
  printf("\n");

  RuntimeInitExternalClasses();
  printf("framework classes bound: DesktopApplication %s\n",
         desktopApp->cppGlueDecl ? "has its native side" : "is NOT bound");
  RuntimePerformInitializers();
  RuntimeAddExitHandler(ExitHandler);

  RuntimeObject *application = RuntimeNewObject(app);
  printf("application object created (%d objects alive)\n", RuntimeDebugObjectCount());
  RunFrameworkInitialization(StartupDone);
  RuntimeUnlockObject(application); /* the runtime holds its own reference */

  printf("main loop running\n");
  RuntimeRun();
  printf("main loop ended: %d objects alive\n", RuntimeDebugObjectCount());
  RuntimeExit();
  printf("clean quit\n");
  return 0;
}
