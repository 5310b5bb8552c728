/* Class records and objects: the records that compiled code builds and reads
 * by position, and the exports that create, count, cast and destroy objects.
 *
 * Every record that is described in machine words gives each field a full
 * 8-byte slot; a 32-bit value sits in the low half of its slot and the high
 * half is zero. docs/ABI.md lists the resulting offsets. */
#ifndef VELA_OBJECT_H
#define VELA_OBJECT_H

#include "vela/base.h"

VELA_BEGIN_DECLS

typedef struct RuntimeClass RuntimeClass;
typedef struct RuntimeObject RuntimeObject;
typedef void (*RuntimeHook)(RuntimeObject *object);
typedef void *RuntimeVtableEntry;

/* The header of every instance: six words. */
struct RuntimeObject {
  RuntimeVtableEntry *vtable;  /* copied from the class at creation */
  RuntimeClass *classPtr;      /* set once */
  void *eventTable;            /* the class's shared event table, or a private copy */
  int32_t objectRefCount;      /* starts at 1; atomic outside destruction */
  uint32_t objectRefCountPad;  /* high half of the count's word */
  uintptr_t liveListPrev;      /* complemented address of the newer neighbour */
  uintptr_t liveListNext;      /* complemented address of the older neighbour */
};

/* An entry of an attribute table: three words owned by compiled code. */
typedef struct RuntimeAttribute {
  const char *name;
  void *value;
  uintptr_t reserved;
} RuntimeAttribute;

/* The head shared by method, event and property entries (four words). */
typedef struct RuntimeClassMember {
  const char *name;            /* compared without regard to case */
  uint32_t flags;              /* kScopePublic, kMemberVirtual, ... */
  uint32_t flagsPad;
  uint32_t attributeCount;
  uint32_t attributeCountPad;
  RuntimeAttribute *attributes;
} RuntimeClassMember;

enum {
  kScopePublic = 1u << 0,
  kMemberAssigns = 1u << 2,
  kMemberParamArray = 1u << 3,
  kMemberVirtual = 1u << 8 /* the target is taken from a vtable slot */
};

/* A method entry: eight words. */
typedef struct RuntimeMethodMember {
  RuntimeClassMember head;
  const char *signature;       /* such as "%%f8f8f8f8" */
  void *function;
  void *invoker;               /* calls `function` with a packed parameter block */
  uintptr_t vtableSlot;
} RuntimeMethodMember;

/* An event entry: six words. The last two are the handler. */
typedef struct RuntimeEventMember {
  RuntimeClassMember head;
  void *function;
  RuntimeObject *target;       /* nil for a class-level implementation */
} RuntimeEventMember;

/* A property entry: ten words. */
typedef struct RuntimePropertyMember {
  RuntimeClassMember head;
  const char *declaration;     /* type code, such as "i4" or "o<Graphics>" */
  intptr_t parameter;          /* passed to the accessors: a signed byte offset */
  void *getter;
  void *setter;
  uintptr_t compiled[2];
} RuntimePropertyMember;

/* An interface entry: three words. */
typedef struct RuntimeInterfaceEntry {
  RuntimeClass *interface;
  uintptr_t compiled;
  RuntimeVtableEntry *vtable;  /* owned by the class record */
} RuntimeInterfaceEntry;

/* An entry of the extra table: three words for compiled code. */
typedef struct RuntimeExtraEntry {
  uintptr_t words[3];
} RuntimeExtraEntry;

/* The class record: a head of twenty words, then the tables in one block. */
struct RuntimeClass {
  RuntimeClass *nextClass;
  RuntimeClass *superClass;
  const char *name;
  uint32_t instanceSize;
  uint32_t instanceSizePad;
  uint32_t flags;
  uint32_t flagsPad;
  void *cppGlueDecl;           /* the framework declaration bound to this class */
  RuntimeHook initializer;
  RuntimeHook destructorHook;  /* may resurrect the object */
  RuntimeHook finalizer;
  uintptr_t compiledWord;      /* for compiled code only */
  RuntimeVtableEntry *vtable;
  uint32_t methodCount;        /* methods.count */
  uint32_t methodCountPad;
  RuntimeMethodMember *methods;
  uint32_t eventCount;         /* events.count */
  uint32_t eventCountPad;
  RuntimeEventMember *events;
  uint32_t propertyCount;      /* properties.count */
  uint32_t propertyCountPad;
  RuntimePropertyMember *properties;
  uint32_t extraCount;
  uint32_t extraCountPad;
  RuntimeExtraEntry *extraItems;
  uint32_t interfaceCount;
  uint32_t interfaceCountPad;
  RuntimeInterfaceEntry interfaceEntries[]; /* directly behind the head */
};

enum {
  kInterfaceFlag = 1u << 0,
  kPropertiesBackwardsFlag = 1u << 1
};

/* Class records. */
VELA_API RuntimeClass *RuntimeNewClass(RuntimeClass *base, uint32_t methodCount,
                                       uint32_t interfaceCount, uint32_t eventCount,
                                       uint32_t tableSize, uint32_t propertyCount,
                                       uint32_t extraCount);
VELA_API void RuntimeDestroyClass(RuntimeClass *cls);
VELA_API RuntimeVtableEntry *RuntimeNewVtable(int32_t count);
VELA_API RuntimeAttribute *RuntimeAllocateAttributeTable(void *buffer, intptr_t offset,
                                                         uint32_t count);
VELA_API RuntimeClass *RuntimeGetClassList(void);
VELA_API RuntimeClass *Introspection_ClassListHead(void);

/* Objects. */
VELA_API RuntimeObject *RuntimeNewObject(RuntimeClass *cls);
VELA_API void RuntimeLockObject(RuntimeObject *object);
VELA_API void RuntimeUnlockObject(RuntimeObject *object);
VELA_API void RuntimeLockArray(RuntimeObject *array);
VELA_API void RuntimeUnlockArray(RuntimeObject *array);
VELA_API RuntimeClass *RuntimeClassOf(RuntimeObject *object);
VELA_API RuntimeClass *Introspection_ObjectClass(RuntimeObject *object);
VELA_API VelaBoolean RuntimeObjectIsa(RuntimeObject *object, RuntimeClass *cls);
VELA_API RuntimeObject *RuntimeCheckCast(RuntimeObject *object, RuntimeClass *cls);
VELA_API RuntimeVtableEntry *RuntimeLookupInterfaceVtable(RuntimeObject *object,
                                                          RuntimeClass *interface);

/* Introspection. */
typedef intptr_t (*RuntimeInvoker)(void *target, RuntimeObject *object, void *parameters);
VELA_API RuntimeObject *Introspection_NewObject(RuntimeClass *cls);
VELA_API VelaBoolean Introspection_ObjectIsA(RuntimeObject *object, RuntimeClass *cls);
VELA_API intptr_t Introspection_GenericInvoker(RuntimeClass *cls, RuntimeMethodMember *member,
                                               RuntimeObject *object, void *parameters);
/* Call `function` with the remaining arguments exactly as they were passed,
 * floating point included: the prototypes only fix the first argument. */
VELA_API intptr_t Introspection_GenericGetter(void *function, ...);
VELA_API intptr_t Introspection_GenericSetter(void *function, ...);

/* Diagnostics. */
VELA_API int32_t RuntimeDebugObjectCount(void);
VELA_API RuntimeObject *RuntimeDebugCopyObjectList(void);
VELA_API struct TESSstringRecord *RuntimeDebugObjectClass(int32_t index);
VELA_API int32_t RuntimeDebugObjectRefs(int32_t index);
VELA_API int64_t RuntimeDebugMemoryUsed(void);

VELA_END_DECLS

#endif
