/* CaptureMachineContext(VelaMachineContext* out): stores the caller's
 * registers into *out without a system call. rsp and rip are the caller's:
 * the stack pointer as it stands after the return, and the return address.
 * Only rax is used as scratch, after its own value has been stored; the
 * routine preserves every register the C calling convention asks of it.
 * The offsets are those of VelaMachineContext in include/vela/threads.h. */

        .text
        .globl  CaptureMachineContext
        .hidden CaptureMachineContext
        .type   CaptureMachineContext, @function
        .p2align 4
CaptureMachineContext:
        .cfi_startproc
        movq    %rax, 0(%rdi)
        movq    %rbx, 8(%rdi)
        movq    %rcx, 16(%rdi)
        movq    %rdx, 24(%rdi)
        movq    %rsi, 32(%rdi)
        movq    %rdi, 40(%rdi)
        movq    %rbp, 48(%rdi)
        leaq    8(%rsp), %rax
        movq    %rax, 56(%rdi)
        movq    %r8, 64(%rdi)
        movq    %r9, 72(%rdi)
        movq    %r10, 80(%rdi)
        movq    %r11, 88(%rdi)
        movq    %r12, 96(%rdi)
        movq    %r13, 104(%rdi)
        movq    %r14, 112(%rdi)
        movq    %r15, 120(%rdi)
        movq    (%rsp), %rax
        movq    %rax, 128(%rdi)
        pushfq
        .cfi_adjust_cfa_offset 8
        popq    %rax
        .cfi_adjust_cfa_offset -8
        movq    %rax, 136(%rdi)
        stmxcsr 144(%rdi)
        fnstcw  148(%rdi)
        movw    $0, 150(%rdi)
        movq    0(%rdi), %rax
        ret
        .cfi_endproc
        .size   CaptureMachineContext, .-CaptureMachineContext

        .section .note.GNU-stack,"",@progbits
