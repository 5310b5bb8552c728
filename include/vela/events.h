/* Events, delegates and weak references.
 *
 * An event is a slot of the class's event table: the function that runs when
 * the event fires and the object behind it. AddHandler puts a delegate into
 * the slot of one object, which then gets a private copy of the table. A
 * delegate stands for one method of one object (or a shared method). A weak
 * reference is a variable that the runtime sets to nil when its target dies. */
#ifndef VELA_EVENTS_H
#define VELA_EVENTS_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* A delegate object: the header, then five words (eleven words in all, the
 * instance size of the library's static "Delegate" class). */
typedef struct RuntimeDelegate {
  RuntimeObject header;
  void *invoker;         /* what compiled code calls to call through the delegate */
  void *function;        /* the target function */
  RuntimeObject *target; /* nil for a shared method; a registered weak reference when weak */
  char *signature;       /* the delegate's own copy of the signature text */
  VelaBoolean weak;      /* the target is not counted */
  uint8_t weakPad[7];
} RuntimeDelegate;

/* Told when a handler is added to (added = 1) or removed from (0) an event of
 * an object. `className` names the class that introduced the event. */
typedef void (*RuntimeAddHandlerCallback)(RuntimeObject *target, const char *className,
                                          const char *eventName, VelaBoolean added);

/* Event handlers. `index` is the event's position in the class's events. */
VELA_API void RuntimeAddEventHandler(RuntimeObject *target, uint32_t index, void *function,
                                     RuntimeObject *delegate);
VELA_API void RuntimeRemoveEventHandler(RuntimeObject *target, uint32_t index, void *function,
                                        RuntimeObject *delegate);
VELA_API VelaBoolean RuntimeIsEventHandled(RuntimeObject *target, TESSstring className,
                                           TESSstring eventName);
VELA_API VelaBoolean RuntimeUserIsEventHandled(RuntimeObject *target, TESSstring className,
                                               TESSstring eventName);
VELA_API VelaBoolean PluginIsEventHandled(RuntimeObject *target, const char *eventName);
VELA_API void RuntimeSetAddHandlerCallback(const char *className,
                                           RuntimeAddHandlerCallback callback);

/* Delegates. */
VELA_API RuntimeObject *RuntimeCreateDelegate(void *invoker, void *function,
                                              RuntimeObject *target, const char *signature,
                                              VelaBoolean weak);
VELA_API VelaBoolean RuntimeDelegateIsA(RuntimeObject *object, const char *signature);
VELA_API RuntimeObject *RuntimeCheckDelegateCast(RuntimeObject *object, const char *signature);
VELA_API VelaBoolean RuntimeCompareDelegates(RuntimeObject *a, RuntimeObject *b);

/* Weak references. The reference variable is the first native word of the
 * holder object (the word right behind its header). */
VELA_API void RegisterWeakRef(RuntimeObject *holder, RuntimeObject *target);
VELA_API void UnregisterWeakRef(RuntimeObject *holder);
VELA_API RuntimeObject *ResolveWeakRef(RuntimeObject *holder);
VELA_API RuntimeObject *WeakRef_Create(RuntimeObject *target);
VELA_API RuntimeObject *WeakRef_Value(RuntimeObject *self);
VELA_API void WeakRef_Destructor(RuntimeObject *self);

VELA_END_DECLS

#endif
