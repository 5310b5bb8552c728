/* Introspection_GenericGetter(function, a, b, c) and
 * Introspection_GenericSetter(function, a, b, c, d): call `function` with the
 * remaining arguments exactly as they came. Compiled introspection code knows
 * an accessor only as an address, and its arguments may mix integers and
 * floating point in any order, so no C prototype can forward them.
 *
 * Under the x86-64 System V convention the integer arguments travel in rdi,
 * rsi, rdx, rcx, r8, r9 and the floating-point ones in xmm0-xmm7, each class
 * counted separately. Dropping the leading `function` therefore means moving
 * every integer register down by one and leaving the xmm registers (and al,
 * the vector-register count of a variadic call) untouched. The thunk then
 * tail-jumps, so the accessor returns straight to our caller with its result
 * in rax or xmm0. No stack is touched: the accessors take at most five
 * arguments besides the function, and all of them arrive in registers. */

        .text
        .p2align 4
        .globl  Introspection_GenericGetter
        .type   Introspection_GenericGetter, @function
        .globl  Introspection_GenericSetter
        .type   Introspection_GenericSetter, @function
Introspection_GenericGetter:
Introspection_GenericSetter:
        .cfi_startproc
        movq    %rdi, %r11
        movq    %rsi, %rdi
        movq    %rdx, %rsi
        movq    %rcx, %rdx
        movq    %r8, %rcx
        movq    %r9, %r8
        jmp     *%r11
        .cfi_endproc
        .size   Introspection_GenericGetter, . - Introspection_GenericGetter
        .size   Introspection_GenericSetter, . - Introspection_GenericSetter

        .section .note.GNU-stack, "", @progbits
