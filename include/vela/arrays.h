/* Arrays: objects of the library's static class "Array". One record serves
 * every element kind and shape; what differs is the table of operations that
 * the record points at, and compiled code calls that table's entries
 * directly. Natural C layout with 8-byte pointers (docs/ABI.md).
 *
 * Indexes, bounds and dimension numbers are 32-bit signed values. String,
 * Object, Ptr, Text and Auto elements are pointer-sized (8 bytes). */
#ifndef VELA_ARRAYS_H
#define VELA_ARRAYS_H

#include "vela/object.h"
#include "vela/string.h"

VELA_BEGIN_DECLS

/* Element kinds, as slot 16 of the table answers them. */
enum {
  kArrayInt32 = 0,
  kArrayFloat32 = 1,
  kArrayFloat64 = 2,
  kArrayString = 3,
  kArrayObject = 4,
  kArrayUInt8 = 5,
  kArrayInt8 = 6,
  kArrayUInt16 = 7,
  kArrayInt16 = 8,
  kArrayUInt32 = 9,
  kArrayUInt64 = 10,
  kArrayInt64 = 11,
  kArrayStructure = 12,
  kArrayPtr = 13,
  kArrayColor = 14,
  kArrayCurrency = 15,
  kArrayBoolean = 16,
  kArrayText = 17,
  kArrayAuto = 18,
  kArrayObjectAlias = 19 /* the tables of kind 4 */
};

typedef struct ArrayOps ArrayOps;

/* Every array record starts like this (the structure array adds two words
 * in front of `dimensions`, the cast wrapper has its own tail):
 *   48 ops, 56 data, 64 dimensions, 68 bufferLength, 72 growthStep,
 *   76 upperBounds[dimensions]. */
typedef struct RuntimeArray {
  RuntimeObject header;
  const ArrayOps *ops;
  void *data;            /* nil when the array has no elements */
  int32_t dimensions;
  uint32_t bufferLength; /* bytes at `data` */
  int32_t growthStep;    /* elements added at the next overflow; starts at 16 */
  int32_t upperBounds[]; /* one per dimension, -1 for an empty one */
} RuntimeArray;

/*   48 ops, 56 data, 64 structureName, 72 elementSize, 80 dimensions,
 *   84 bufferLength, 88 growthStep, 92 upperBounds[dimensions]. */
typedef struct RuntimeStructureArray {
  RuntimeObject header;
  const ArrayOps *ops;
  void *data;
  char *structureName;   /* the array's own copy */
  uintptr_t elementSize; /* bytes per element */
  int32_t dimensions;
  uint32_t bufferLength;
  int32_t growthStep;
  int32_t upperBounds[];
} RuntimeStructureArray;

/* A view of an object array as an array of `elementClass`; every slot is
 * forwarded to `inner`, writes are checked first.
 *   48 ops, 56 data (inner's data word), 64 inner, 72 elementClass. */
typedef struct RuntimeArrayCastWrapper {
  RuntimeObject header;
  const ArrayOps *ops;
  void *data;
  RuntimeArray *inner;         /* counted */
  RuntimeClass *elementClass;
} RuntimeArrayCastWrapper;

/* The table of operations, 17 words; a structure array's table has an 18th.
 * T is the element's value type: the value for plain kinds, the handle for
 * String, Object, Text and Auto (owned by the caller when returned, borrowed
 * when passed), and for structures the element's address (Get) or the
 * address of the bytes to copy in (Set, Insert, IndexOf).
 *
 *  0 get        1-D: T (array, index)    2-D: T (array, i, j)
 *               n-D: T (array, ...)   one int32 index per dimension
 *  1 set        1-D: void (array, T, index)  2-D: void (array, T, i, j)
 *               n-D: void (array, T, ...)
 *  2 getAny     as get
 *  3 setAny     as set
 *  4 redim      1-D: void (array, bound)  2-D, n-D: void (array, ...) one bound
 *               per dimension
 *  5 insert     1-D: void (array, index, T)               otherwise nil
 *  6 remove     1-D: void (array, index)                  otherwise nil
 *  7 sort       1-D: void (array)                          otherwise nil
 *  8 sortWith   1-D: void (array, RuntimeArray *..., nil)  otherwise nil
 *  9 indexOf    1-D: int32 (array, T, start)               otherwise nil
 * 10 shuffle    void (array)
 * 11 ubound     int32 (array, dimension)
 * 12 sortDelegate 1-D: void (array, delegate)              otherwise nil
 * 13 lbound     int32 (array, dimension)
 * 14 clear      void (array)
 * 15 elementSize int32 (array)
 * 16 elementKind int32 (array)
 * 17 structureName const char * (array)   structure tables only
 *
 * Structure tables have nil in slots 7, 8, 9 and 12. A delegate given to
 * sortDelegate is called through its invoker word as
 * int32 invoker(delegate, T a, T b); below 0 puts a before b. */
struct ArrayOps {
  void *get;
  void *set;
  void *getAny;
  void *setAny;
  void *redim;
  void *insert;
  void (*remove)(RuntimeArray *array, int32_t index);
  void (*sort)(RuntimeArray *array);
  void (*sortWith)(RuntimeArray *array, ...);
  void *indexOf;
  void (*shuffle)(RuntimeArray *array);
  int32_t (*ubound)(RuntimeArray *array, int32_t dimension);
  void (*sortDelegate)(RuntimeArray *array, RuntimeObject *delegate);
  int32_t (*lbound)(RuntimeArray *array, int32_t dimension);
  void (*clear)(RuntimeArray *array);
  int32_t (*elementSize)(RuntimeArray *array);
  int32_t (*elementKind)(RuntimeArray *array);
};

typedef struct StructureArrayOps {
  ArrayOps ops;
  const char *(*structureName)(RuntimeArray *array);
} StructureArrayOps;

/* Creation. Each returns a new array with one reference for the caller. */
VELA_API RuntimeArray *CreateArray(int32_t dimensions, int32_t kind, int32_t bound, ...);
VELA_API RuntimeArray *RuntimeCreateStructureArray(const char *name, int32_t dimensions,
                                                   int32_t elementSize, int32_t bound, ...);
VELA_API RuntimeArray *RuntimeArrayCreateSingleDimBoundedArray(int32_t kind, int32_t bound);
VELA_API RuntimeArray *RuntimeCreateArrayCastWrapper(RuntimeArray *array, RuntimeClass *cls);
VELA_API RuntimeArray *RuntimeCreateByteArrayFromBuffer(const void *buffer, int32_t length);

/* Bounds. */
VELA_API int32_t RuntimeUBound(RuntimeArray *array);
VELA_API int32_t RuntimeUBound2Param(RuntimeArray *array, int32_t dimension);

/* Byte buffers and references. */
VELA_API void RuntimeCopyByteArrayToBuffer(void *buffer, int32_t length, RuntimeArray *array);
VELA_API void RuntimeLockUnlockArrays(RuntimeArray *newValue, RuntimeArray *oldValue);
VELA_API void RuntimeLockUnlockObjects(RuntimeObject *newValue, RuntimeObject *oldValue);

/* Direct access for plug-ins: the table's slots 0, 1 and 5, and calls of
 * slot 0 and 1. The readers return the slot's result unchanged. */
VELA_API void *RuntimeArrayDirectGetGetProc(RuntimeArray *array);
VELA_API void *RuntimeArrayDirectGetSetProc(RuntimeArray *array);
VELA_API void *RuntimeArrayDirectGetInsertProc(RuntimeArray *array);
VELA_API intptr_t RuntimeDirectReadIntArray(RuntimeArray *array, int32_t index);
VELA_API intptr_t RuntimeDirectReadStringArray(RuntimeArray *array, int32_t index);
VELA_API intptr_t RuntimeDirectReadObjectArray(RuntimeArray *array, int32_t index);
VELA_API void RuntimeDirectReadStructureArray(RuntimeArray *array, int32_t index, void *out);
VELA_API void RuntimeDirectWriteObjectArray(RuntimeArray *array, void *value, int32_t index);
VELA_API void RuntimeDirectWriteStructureArray(RuntimeArray *array, void *value, int32_t index);
VELA_API void RuntimeIntArrayAppend(RuntimeArray *array, int32_t value);

VELA_END_DECLS

#endif
