/* Compiled code for the exception tests, written the way the compiler lays
 * out a protected call. Every fixture takes one FxCall record
 *   0 fn (intptr_t (*)(const void *)), 8 arg, 16 out (intptr_t *, may be nil)
 * calls fn(arg) and, when the call returns normally, stores its result in
 * *out and returns 0. What a handler returns is told at each fixture.
 *
 * The vela_fx_ functions are ordinary code with unwind information and
 * hand-written call-site tables (LSDAs) whose landing pads take the
 * exception with TakeCurrentException. The vela_img_ functions are image
 * code with inline handler marks; they lie in a read-only block that the
 * tests copy into executable memory and adopt as the loaded image. */

        .macro PROLOGUE_WITH_CFI
        pushq %rbp
        .cfi_def_cfa_offset 16
        .cfi_offset %rbp, -16
        movq %rsp, %rbp
        .cfi_def_cfa_register %rbp
        subq $16, %rsp
        movq %rdi, -16(%rbp)
        movq (%rdi), %rax
        movq 8(%rdi), %rdi
        .endm

        .macro PROLOGUE
        pushq %rbp
        movq %rsp, %rbp
        subq $16, %rsp
        movq $0, -8(%rbp)          /* the exception slot */
        movq %rdi, -16(%rbp)
        movq (%rdi), %rax
        movq 8(%rdi), %rdi
        .endm

        /* The normal path: fn's result into *out, then 0. */
        .macro STORE_RESULT
        movq -16(%rbp), %rcx
        movq 16(%rcx), %rcx
        testq %rcx, %rcx
        jz 1f
        movq %rax, (%rcx)
1:
        xorl %eax, %eax
        .endm

        /* An inline handler mark: a jump over the mark word and the slot
         * offset; the handler starts 13 bytes from the jump. */
        .macro MARK word, slot, over
        .byte 0xE9
        .long \over
        .long \word
        .long \slot
        .endm

        .text

/* Catches through its call-site table (ULEB128 entries): the landing pad
 * returns the exception that TakeCurrentException gives. */
        .globl vela_fx_catch
        .type vela_fx_catch, @function
vela_fx_catch:
        .cfi_startproc
        .cfi_lsda 0x1b, .Lcatch_lsda
        PROLOGUE_WITH_CFI
.Lcatch_call:
        call *%rax
.Lcatch_return:
        STORE_RESULT
        .cfi_remember_state
        leave
        .cfi_def_cfa %rsp, 8
        ret
        .cfi_restore_state
.Lcatch_pad:
        call TakeCurrentException@PLT
        leave
        .cfi_def_cfa %rsp, 8
        ret
        .cfi_endproc
        .size vela_fx_catch, .-vela_fx_catch

/* Its call-site table (32-bit entries) names the call with landing pad 0:
 * no handler here, the exception goes to an outer frame. */
        .globl vela_fx_pass
        .type vela_fx_pass, @function
vela_fx_pass:
        .cfi_startproc
        .cfi_lsda 0x1b, .Lpass_lsda
        PROLOGUE_WITH_CFI
.Lpass_call:
        call *%rax
.Lpass_return:
        STORE_RESULT
        leave
        .cfi_def_cfa %rsp, 8
        ret
        .cfi_endproc
        .size vela_fx_pass, .-vela_fx_pass

/* A plug-in function built without frame pointers: it keeps a decoy frame
 * record in %rbp while it calls out. Its record is a PluginCall: an FxCall,
 * then at 24 the return address the decoy record holds. Returns fn's
 * result. */
        .globl vela_fx_plugin
        .type vela_fx_plugin, @function
vela_fx_plugin:
        .cfi_startproc
        pushq %rbp
        .cfi_def_cfa_offset 16
        .cfi_offset %rbp, -16
        subq $32, %rsp
        .cfi_def_cfa_offset 48
        leaq 16(%rsp), %rax
        movq %rax, 0(%rsp)         /* decoy: saved frame pointer ... */
        movq 24(%rdi), %rax
        movq %rax, 8(%rsp)         /* ... and return address */
        movq $0, 16(%rsp)          /* the decoy chain ends here */
        movq $0, 24(%rsp)
        movq %rsp, %rbp
        movq (%rdi), %rax
        movq 8(%rdi), %rdi
        call *%rax
        addq $32, %rsp
        .cfi_def_cfa_offset 16
        popq %rbp
        .cfi_def_cfa_offset 8
        ret
        .cfi_endproc
        .size vela_fx_plugin, .-vela_fx_plugin

        .section .rodata.vela_fx_lsda, "a", @progbits
.Lcatch_lsda:
        .byte 0xff                 /* landing pads relative to the function */
        .byte 0xff                 /* no type table */
        .byte 0x01                 /* call sites in ULEB128 */
        .uleb128 .Lcatch_sites_end - .Lcatch_sites
.Lcatch_sites:
        .uleb128 .Lcatch_call - vela_fx_catch
        .uleb128 .Lcatch_return - .Lcatch_call   /* the return address is start + length */
        .uleb128 .Lcatch_pad - vela_fx_catch
        .uleb128 0
.Lcatch_sites_end:

.Lpass_lsda:
        .byte 0xff
        .byte 0xff
        .byte 0x03                 /* call sites in 32-bit words */
        .uleb128 .Lpass_sites_end - .Lpass_sites
.Lpass_sites:
        .long .Lpass_call - vela_fx_pass
        .long .Lpass_return - .Lpass_call
        .long 0                    /* no landing pad */
        .uleb128 0
.Lpass_sites_end:

/* Image code. Position independent: only jumps inside the block. */
        .section .rodata.vela_image, "a", @progbits
        .globl vela_img_begin
vela_img_begin:

/* Handler with a slot at -8: returns the exception found in the slot. */
        .globl vela_img_slot
vela_img_slot:
        PROLOGUE
        call *%rax
        STORE_RESULT
.Lslot_mark:
        MARK 0x411, -8, (.Lslot_end-.Lslot_mark-5)
        movq -8(%rbp), %rax
.Lslot_end:
        leave
        ret

/* Handler without a slot: returns 1. */
        .globl vela_img_noslot
vela_img_noslot:
        PROLOGUE
        call *%rax
        .globl vela_img_noslot_return
vela_img_noslot_return:
        STORE_RESULT
.Lnoslot_mark:
        MARK 0x411, 0, (.Lnoslot_end-.Lnoslot_mark-5)
        movl $1, %eax
.Lnoslot_end:
        leave
        ret

/* A nested protected region follows the call: its handler (returns 2) is
 * not the call's; the call's own handler behind it returns the slot. */
        .globl vela_img_nested
vela_img_nested:
        PROLOGUE
        call *%rax
        STORE_RESULT
        jmp .Lnested_end
        MARK 0x412, 0, 4
        MARK 0x411, 0, 8
        movl $2, %eax
        jmp .Lnested_end
        MARK 0x413, 0, 4
.Lnested_mark:
        MARK 0x411, -8, (.Lnested_end-.Lnested_mark-5)
        movq -8(%rbp), %rax
.Lnested_end:
        leave
        ret

/* The function's epilogue comes before any mark: the call has no handler
 * here, whatever follows. */
        .globl vela_img_epilogue
vela_img_epilogue:
        PROLOGUE
        call *%rax
        movq %rbp, %rsp
        popq %rbp
        ret
        MARK 0x411, -8, 4
        movq -8(%rbp), %rax
        leave
        ret

/* The mark behind a short jump: returns the slot. */
        .globl vela_img_short
vela_img_short:
        PROLOGUE
        call *%rax
        STORE_RESULT
        jmp .Lshort_end
        .byte 0xEB, 11, 0x90, 0x90, 0x90
        .long 0x411
        .long -8
        movq -8(%rbp), %rax
.Lshort_end:
        leave
        ret

        .globl vela_img_end
vela_img_end:

        .section .note.GNU-stack, "", @progbits
