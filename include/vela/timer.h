/* Timers. The classic Timer: its constructor and destructor halves and its
 * property accessors; the native data lie at the object pointer, a
 * subclass's properties in front of it. vela.Core.Timer: its initializer,
 * finalizer and the methods of its CoreTimer. Both fire "Action" on the main
 * thread. */
#ifndef VELA_TIMER_H
#define VELA_TIMER_H

#include "vela/object.h"

VELA_BEGIN_DECLS

VELA_API void RuntimeTimerConstructor(RuntimeObject *self);
VELA_API void RuntimeTimerDestructor(RuntimeObject *self);
VELA_API int32_t TimerModeGetter(RuntimeObject *self, intptr_t parameter);
VELA_API void timerModeSetter(RuntimeObject *self, intptr_t parameter, int32_t mode);
VELA_API int32_t TimerPeriodGetter(RuntimeObject *self, intptr_t parameter);
VELA_API void timerPeriodSetter(RuntimeObject *self, intptr_t parameter, int32_t period);
VELA_API VelaBoolean TimerEnabledGetter(RuntimeObject *self, intptr_t parameter);
VELA_API void TimerEnabledSetter(RuntimeObject *self, intptr_t parameter, VelaBoolean enabled);
VELA_API void RuntimeTimerReset(RuntimeObject *self);
VELA_API void TimerAddActionNotificationReceiver(RuntimeObject *self, RuntimeObject *receiver);
VELA_API void TimerRemoveActionNotificationReceiver(RuntimeObject *self, RuntimeObject *receiver);
VELA_API void Timer_Lock(void);
VELA_API void Timer_Unlock(void);

VELA_API void TSCoreTimerInitialize(RuntimeObject *self);
VELA_API void TSCoreTimerFinalize(RuntimeObject *self);
VELA_API int32_t TSCoreTimerGetMode(RuntimeObject *self);
VELA_API void TSCoreTimerSetMode(RuntimeObject *self, int32_t mode);
VELA_API int32_t TSCoreTimerGetPeriod(RuntimeObject *self);
VELA_API void TSCoreTimerSetPeriod(RuntimeObject *self, int32_t period);
VELA_API int32_t VelaTimer_Tolerance(RuntimeObject *self);
VELA_API void VelaTimer_SetTolerance(RuntimeObject *self, int32_t tolerance);

VELA_END_DECLS

#endif
