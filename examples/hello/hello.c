/* The first application: C that plays the part of compiled code. vela-link
 * turns it into an image and vela-pack appends that to the stub; the runtime
 * loads the image, binds its imports and enters VelaMain.
 *
 * VelaMain does what a compiler's entry code does: it initialises the
 * runtime, builds its class records, binds them to the framework, creates
 * the application object, delivers the first events and runs the main loop.
 * The "Opening" handler works with strings and objects, then starts a
 * repeating Timer and a cooperative Thread and returns to the main loop.
 * The thread works in steps, sleeping between them; the timer's "Action"
 * quits once it has fired three times and the thread is done. The runtime
 * then fires "Closing" and VelaMain returns. Every step prints a line, so
 * the output traces the application's life. */
#include <stdio.h>
#include <string.h>

#include "vela/application.h"
#include "vela/loader.h"
#include "vela/object.h"
#include "vela/string.h"
#include "vela/threads.h"
#include "vela/timer.h"

/* A string constant laid out as compiled code lays it out: a string record
 * with mRefCount 0 in the section "velastr"; the loader points its mBuffer
 * at the length byte. */
#define STRING_CONSTANT(name, literal)                                            \
  __attribute__((section("velastr"), aligned(8))) static struct {                 \
    int32_t refCount;                                                             \
    uint32_t pad;                                                                 \
    unsigned char *buffer;                                                        \
    uint32_t reserved;                                                            \
    int32_t length;                                                               \
    uint32_t encoding;                                                            \
    int32_t charCount;                                                            \
    unsigned char alignment, lengthByte;                                          \
    char text[sizeof(literal) + 3]; /* the text and four zero bytes */            \
  } name = {0, 0, NULL, 0, sizeof(literal) - 1, kEncodingUTF8, 0, 0,               \
            sizeof(literal) - 1 > 255 ? 255 : sizeof(literal) - 1, literal}
#define STR(name) ((TESSstring)&(name))

STRING_CONSTANT(kHello, "Hello, ");
STRING_CONSTANT(kWorld, "world");
STRING_CONSTANT(kShout, "HELLO, WORLD");
STRING_CONSTANT(kGreetingFile, "greeting.txt");

/* Output goes through the C library, which the image imports as a library
 * of its own. Each line is flushed, so it stays in step with reports that
 * the runtime writes to standard error. */
#define SAY(...) (printf(__VA_ARGS__), fflush(NULL))

static RuntimeClass *gNodeClass;
static int gNodesDestroyed;
static RuntimeClass *gTimerClass;
static RuntimeClass *gWorkerClass;

/* ---- the application's own class: Node, a linked list element ---------- */

typedef struct Node {
  RuntimeObject header;
  RuntimeObject *next; /* the next node, counted */
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

/* ---- a Timer and a Thread ----------------------------------------------- */

enum { kWorkerSteps = 5, kFiringsBeforeQuit = 3 };
static int gWorkerStepsDone;
static int gFirings;

/* The thread's Run: a few steps of work, each followed by a sleep that
 * gives the turn back to the main loop. It prints nothing, so that the
 * output does not depend on how its steps fall between the timer's. */
static void WorkerRun(RuntimeObject *self) {
  (void)self;
  for (int step = 0; step < kWorkerSteps; ++step) {
    ++gWorkerStepsDone;
    ThreadSleepCurrent(10);
  }
}

/* The timer's "Action", on the main thread from the main loop's dispatch. */
static void TimerAction(RuntimeObject *timer) {
  ++gFirings;
  if (gFirings <= kFiringsBeforeQuit)
    SAY("event Action of the timer: firing %d, mode %d\n", gFirings, TimerModeGetter(timer, 0));
  if (gFirings < kFiringsBeforeQuit || gWorkerStepsDone < kWorkerSteps) return;
  SAY("  the thread did its %d steps beside the timer\n", gWorkerStepsDone);
  timerModeSetter(timer, 0, 0); /* off: it fires no more */
  RuntimeUnlockObject(timer);   /* the firing holds its own reference */
  SAY("quit\n");
  TS_ApplicationQuit();
}

static RuntimeClass *MakeTimerClass(void) {
  RuntimeClass *cls = RuntimeNewClass(NULL, 0, 0, 1, 0, 0, 0);
  cls->name = "Timer";
  cls->flags = kPropertiesBackwardsFlag;
  cls->initializer = RuntimeTimerConstructor;
  cls->finalizer = RuntimeTimerDestructor;
  cls->events[0].head.name = "Action";
  cls->events[0].head.flags = kScopePublic;
  cls->events[0].function = (void *)TimerAction;
  return cls;
}

static RuntimeClass *MakeWorkerClass(void) {
  RuntimeClass *cls = RuntimeNewClass(NULL, 0, 0, 1, 0, 0, 0);
  cls->name = "Thread";
  cls->instanceSize = sizeof(RuntimeObject);
  cls->initializer = ThreadInitializer;
  cls->events[0].head.name = "Run";
  cls->events[0].head.flags = kScopePublic;
  cls->events[0].function = (void *)WorkerRun;
  return cls;
}

/* ---- the application class and its event handlers ---------------------- */

static void SayString(const char *label, TESSstring s) {
  char *text = StringToCString(s);
  SAY("  %s\"%s\"\n", label, text ? text : "");
  RuntimeUnlockCString(text);
}

static void AppOpening(RuntimeObject *app) {
  SAY("event Opening\n");
  TESSstring both = RuntimeAddString(STR(kHello), STR(kWorld));
  SayString("concatenated: ", both);
  SAY("  \"Hello, world\" = \"HELLO, WORLD\" compares as %d (case folds)\n",
      RuntimeStringCompare(both, STR(kShout)));
  RuntimeUnlockString(both);

  /* A chain of nodes, each held only by the one before it. */
  RuntimeObject *head = NULL;
  for (int i = 0; i < 1000; ++i) {
    Node *node = (Node *)RuntimeNewObject(gNodeClass);
    node->value = i;
    node->next = head; /* takes over the reference */
    head = (RuntimeObject *)node;
  }
  SAY("  made a chain of 1000 nodes: %d objects alive\n", RuntimeDebugObjectCount());
  RuntimeUnlockObject(head);
  SAY("  dropped its head: %d nodes destroyed, %d objects alive\n", gNodesDestroyed,
      RuntimeDebugObjectCount());

  TESSstring greeting = RuntimeGetTextFileFromResourceManager(STR(kGreetingFile));
  if (greeting)
    SayString("from the resource folder: ", greeting);
  else
    SAY("  no greeting.txt in the resource folder\n");
  RuntimeUnlockString(greeting);

  /* No window will open: the application stays until the timer quits. */
  AppAutoCloseSetter(app, 0, 0);
  RuntimeObject *timer = RuntimeNewObject(gTimerClass);
  timerPeriodSetter(timer, 0, 40);
  timerModeSetter(timer, 0, 2);
  SAY("  started a timer: period %d ms, mode %d (multiple)\n", TimerPeriodGetter(timer, 0),
      TimerModeGetter(timer, 0));
  RuntimeObject *worker = RuntimeNewObject(gWorkerClass);
  threadRun(worker);
  RuntimeUnlockObject(worker); /* a running thread keeps its object */
  SAY("  started a cooperative thread of %d steps\n", kWorkerSteps);
}

static void AppDocumentCreated(RuntimeObject *app) {
  (void)app;
  SAY("event DocumentCreated (no document on the command line)\n");
}

static VelaBoolean AppCancelClosing(RuntimeObject *app) {
  (void)app;
  SAY("event CancelClosing: no window is open, so the application may quit\n");
  return 0;
}

static void AppClosing(RuntimeObject *app) {
  (void)app;
  SAY("event Closing\n");
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

static void ExitHandler(void) { SAY("exit handler ran\n"); }

static intptr_t StartupDone(void) {
  SAY("start-up complete\n");
  return 0;
}

void VelaMain(void) {
  RuntimeInit();
  SAY("start-up: runtime initialised\n");

  RuntimeClass *desktopApp = MakeFrameworkApplicationClass();
  RuntimeClass *mdiWindow = RuntimeNewClass(NULL, 0, 0, 0, 0, 0, 0);
  mdiWindow->name = "DesktopMDIWindow";
  mdiWindow->instanceSize = sizeof(RuntimeObject);
  RuntimeClass *app = MakeAppClass(desktopApp);
  /* The exception classes the application can meet: Quit raises EndException. */
  RuntimeClass *runtimeException = RuntimeNewClass(NULL, 0, 0, 0, 0, 0, 0);
  runtimeException->name = "RuntimeException";
  runtimeException->instanceSize = sizeof(RuntimeObject);
  RuntimeClass *endException = RuntimeNewClass(runtimeException, 0, 0, 0, 0, 0, 0);
  endException->name = "EndException";
  endException->instanceSize = sizeof(RuntimeObject);
  gNodeClass = MakeNodeClass();
  gTimerClass = MakeTimerClass();
  gWorkerClass = MakeWorkerClass();
  SAY("start-up: classes made:");
  for (RuntimeClass *cls = RuntimeGetClassList(); cls; cls = cls->nextClass) SAY(" %s", cls->name);
  SAY("\n");

  RuntimeInitExternalClasses();
  SAY("start-up: framework classes bound: DesktopApplication %s\n",
      desktopApp->cppGlueDecl ? "has its native side" : "is NOT bound");
  RuntimePerformInitializers();
  RuntimeAddExitHandler(ExitHandler);

  TESSstring product = AppStringVersionStuffGetter(NULL, 0);
  char *productText = StringToCString(product);
  SAY("start-up: version %d.%d.%d, release stage %d, product \"%s\"\n",
      AppIntegerVersionStuffGetter(NULL, 0), AppIntegerVersionStuffGetter(NULL, 1),
      AppIntegerVersionStuffGetter(NULL, 2), AppIntegerVersionStuffGetter(NULL, 3),
      productText ? productText : "");
  RuntimeUnlockCString(productText);
  RuntimeUnlockString(product);

  RuntimeObject *application = RuntimeNewObject(app);
  SAY("start-up: application object created (%d objects alive)\n", RuntimeDebugObjectCount());
  RunFrameworkInitialization(StartupDone);
  RuntimeUnlockObject(application); /* the runtime holds its own reference */

  SAY("main loop running\n");
  RuntimeRun();
  SAY("main loop ended: %d objects alive\n", RuntimeDebugObjectCount());
  RuntimeExit();
  SAY("clean quit\n");
}
