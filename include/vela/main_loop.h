/* The main loop: the message record that a plug-in's main-loop hook sees,
 * the poll list of pollable objects, and the calls that run the loop from
 * user code. */
#ifndef VELA_MAIN_LOOP_H
#define VELA_MAIN_LOOP_H

#include "vela/object.h"

VELA_BEGIN_DECLS

/* One message of the main thread's queue: 48 bytes, read by position. */
typedef struct VelaMessage {
  uintptr_t window;        /*  0: the native window; 0 for a message to the thread */
  uint32_t message;        /*  8: the message number */
  uint32_t messagePad;     /* 12: zero */
  uintptr_t wordParameter; /* 16 */
  intptr_t longParameter;  /* 24 */
  uint32_t time;           /* 32: the millisecond clock when it was queued */
  int32_t x;               /* 36: the pointer position then, in screen points */
  int32_t y;               /* 40 */
  uint32_t reserved;       /* 44: zero */
} VelaMessage;

/* Called once per iteration of the main loop with the message that the
 * iteration took, or a record of zeros when it took none. */
typedef void (*VelaMainLoopHook)(VelaMessage *message);

/* Stores the hook, replacing any other; nil removes it. */
VELA_API void AddMainLoopHook(VelaMainLoopHook hook);

/* The poll list. An object that implements `_Pollable` is polled through the
 * first entry of its vtable for that interface. */
VELA_API void ApplicationAddPollableObject(RuntimeObject *self, RuntimeObject *object);
VELA_API void ApplicationRemovePollableObject(RuntimeObject *self, RuntimeObject *object);
VELA_API void ApplicationRemoveAllPollableObjects(void);

/* Does nothing; kept for compiled code that still calls it. */
VELA_API void ApplicationDoSingleEvent(void);

/* The language's DoEvents: one iteration of the main loop without waiting
 * on the main thread, a yield on any other; then, for `milliseconds` of 0
 * or more, a sleep of the calling thread. */
VELA_API void RuntimeDoEvents(RuntimeObject *ignored, int32_t milliseconds);

/* For plug-ins that run long work: lets the periodic tasks and the other
 * language threads run. */
VELA_API void TESSYieldToTS(void);

VELA_END_DECLS

#endif
