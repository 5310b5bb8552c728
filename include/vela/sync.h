/* The language's locks: Semaphore, CriticalSection and Mutex. Semaphore and
 * CriticalSection come in two types, set through their type setters:
 * 0 cooperative (between threads that share the turn; refused on a thread
 * that runs beside it) and 1 preemptive (a native lock, between threads
 * that run in parallel). A Mutex works between processes through a lock
 * file in the temporary folder. The blocking operations hold a reference
 * on self while they wait. */
#ifndef VELA_SYNC_H
#define VELA_SYNC_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* Semaphore: initially type 0 with one unit. */
VELA_API void SemaphoreInitializer(RuntimeObject *self);
VELA_API void SemaphoreFinalizer(RuntimeObject *self);
VELA_API void Semaphore_Constructor(RuntimeObject *self, int32_t count);
VELA_API void Semaphore_Signal(RuntimeObject *self);
VELA_API VelaBoolean Semaphore_TrySignal(RuntimeObject *self);
VELA_API void semaphore_release(RuntimeObject *self);
VELA_API int32_t Semaphore_GetType(RuntimeObject *self);
VELA_API void Semaphore_SetType(RuntimeObject *self, int32_t type);

/* CriticalSection: entered again by its owner, left as often. */
VELA_API void CriticalSectionInitializer(RuntimeObject *self);
VELA_API void CriticalSectionFinalizer(RuntimeObject *self);
VELA_API void criticalsection_enter(RuntimeObject *self);
VELA_API VelaBoolean CriticalSection_TryEnter(RuntimeObject *self);
VELA_API void criticalsection_leave(RuntimeObject *self);
VELA_API int32_t CriticalSection_GetType(RuntimeObject *self);
VELA_API void CriticalSection_SetType(RuntimeObject *self, int32_t type);

/* Mutex, a subclass of CriticalSection. A nil name makes a lock file of a
 * unique name, which works only within the process. */
VELA_API void MutexInitializer(RuntimeObject *self);
VELA_API void MutexFinalizer(RuntimeObject *self);
VELA_API void MutexContructor(RuntimeObject *self, TESSstring name);
VELA_API void MutexLock(RuntimeObject *self);
VELA_API VelaBoolean MutexTryLock(RuntimeObject *self);
VELA_API void MutexUnlock(RuntimeObject *self);

VELA_END_DECLS

#endif
