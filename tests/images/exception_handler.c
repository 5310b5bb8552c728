/* Image code that protects a call with an inline handler mark, as compiled
 * code does: the export it calls raises, the raise lands in the mark's
 * handler, and the exception's stack names the image's functions.
 * vela-link: --library libc.so.6 */
#include <stdio.h>

#include "vela/application.h"
#include "vela/arrays.h"
#include "vela/exceptions.h"
#include "vela/object.h"
#include "vela/string.h"

/* Calls RaiseOutOfBoundsException; the normal path returns nil, the
 * handler the exception from its slot at -8. */
RuntimeObject *ProtectedRaise(void);
__asm__(
    "  .text\n"
    "  .globl ProtectedRaise\n"
    "  .type ProtectedRaise, @function\n"
    "ProtectedRaise:\n"
    "  pushq %rbp\n"
    "  movq %rsp, %rbp\n"
    "  subq $16, %rsp\n"
    "  movq $0, -8(%rbp)\n"
    "  call RaiseOutOfBoundsException\n"
    "  xorl %eax, %eax\n"
    "1:.byte 0xE9\n"
    "  .long 2f - 1b - 5\n"
    "  .long 0x411\n"
    "  .long -8\n"
    "  movq -8(%rbp), %rax\n"
    "2:leave\n"
    "  ret\n"
    "  .size ProtectedRaise, .-ProtectedRaise\n");

static RuntimeClass *MakeClass(const char *name, RuntimeClass *base) {
  RuntimeClass *cls = RuntimeNewClass(base, 0, 0, 0, 0, 0, 0);
  cls->name = name;
  cls->instanceSize = sizeof(RuntimeObject);
  return cls;
}

void VelaMain(void) {
  RuntimeInit();
  RuntimeClass *root = MakeClass("RuntimeException", NULL);
  MakeClass("OutOfBoundsException", root);
  RuntimeInitExternalClasses();

  RuntimeObject *exception = ProtectedRaise();
  printf("caught %s with %d reference(s)\n", exception ? exception->classPtr->name : "nothing",
         exception ? exception->objectRefCount : 0);
  RuntimeArray *names = RuntimeExceptionStack(exception);
  for (int32_t i = 0; names && i <= RuntimeUBound(names); ++i) {
    TESSstring name = (TESSstring)RuntimeDirectReadStringArray(names, i);
    char *text = StringToCString(name);
    printf("stack: %s\n", text ? text : "");
    RuntimeUnlockCString(text);
    RuntimeUnlockString(name);
  }
  RuntimeUnlockArray((RuntimeObject *)names);
  RuntimeUnlockObject(exception);
  printf("%d objects alive\n", RuntimeDebugObjectCount());
  fflush(NULL);
}
