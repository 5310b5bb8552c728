/* Language threads: the Thread class's exports, the yield points that
 * compiled code calls, the entries that plug-ins and the debugger use, and
 * the machine context that the scheduler saves for the debugger at every
 * switch of the turn. */
#ifndef VELA_THREADS_H
#define VELA_THREADS_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* The registers of a thread where it last gave up the turn: 152 bytes.
 * General registers as they stood at the capture; rsp and rip are the
 * caller's (the stack pointer behind the return address, the return
 * address). The capture makes no system call. */
typedef struct VelaMachineContext {
  uint64_t rax, rbx, rcx, rdx, rsi, rdi, rbp, rsp;  /* offsets 0 to 56 */
  uint64_t r8, r9, r10, r11, r12, r13, r14, r15;    /* offsets 64 to 120 */
  uint64_t rip;                                     /* 128 */
  uint64_t rflags;                                  /* 136 */
  uint32_t mxcsr;                                   /* 144: SSE control and status */
  uint16_t fpuControl;                              /* 148: x87 control word */
  uint16_t reserved;                                /* 150: zero */
} VelaMachineContext;

/* Thread states that ThreadGetState answers. */
enum {
  kThreadRunning = 0,
  kThreadWaiting = 1,
  kThreadSuspended = 2,
  kThreadSleeping = 3,
  kThreadNotRunning = 4
};

/* The Thread class. */
VELA_API void ThreadInitializer(RuntimeObject *self);
VELA_API void threadRun(RuntimeObject *self);
VELA_API void ThreadKill(RuntimeObject *self);
VELA_API void ThreadSuspend(RuntimeObject *self);
VELA_API void ThreadResume(RuntimeObject *self);
VELA_API void ThreadSleep(RuntimeObject *self, int32_t milliseconds, VelaBoolean wakeEarly);
VELA_API void ThreadSleepCurrent(int32_t milliseconds);
VELA_API int32_t ThreadGetState(RuntimeObject *self);
VELA_API int32_t ThreadGetPriority(RuntimeObject *self);
VELA_API void ThreadSetPriority(RuntimeObject *self, intptr_t index, int32_t priority);
VELA_API int32_t ThreadGetStackSize(RuntimeObject *self);
VELA_API void ThreadSetStackSize(RuntimeObject *self, intptr_t index, int32_t size);
VELA_API TESSstring ThreadGetDebugIdentifier(RuntimeObject *self);
VELA_API void ThreadSetDebugIdentifier(RuntimeObject *self, TESSstring identifier);
VELA_API intptr_t ThreadGetID(RuntimeObject *self);
VELA_API int32_t Thread_GetType(RuntimeObject *self);
VELA_API void Thread_SetType(RuntimeObject *self, int32_t type);
VELA_API void ThreadDetach(RuntimeObject *self);
VELA_API void ThreadReattach(RuntimeObject *self);
VELA_API RuntimeObject *TESSGetCurrentThread(void);

/* Yield points and questions about the calling thread. */
VELA_API void YieldToNextThread(void);
VELA_API void RuntimeBackgroundTask(void);
VELA_API VelaBoolean IsVelaThread(void);
VELA_API VelaBoolean IsVelaMainThread(void);

/* Entries of the plug-in table. A plug-in that blocks in the operating
 * system leaves the turn with the first and takes it back with the second,
 * calling no runtime function in between. */
VELA_API void *_UnsafeDetachCurrentThread(void);
VELA_API void _UnsafeAttachCurrentThread(void *token);
/* For the debugger: live language threads that have a Thread object. */
VELA_API int32_t DebuggerThreadCount(void);
VELA_API RuntimeObject *DebuggerThreadLookup(void *ignored, int32_t index);

VELA_END_DECLS

#endif
