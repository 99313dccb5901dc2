// Message send: keeps the arguments as they came, looks the method up, and jumps there. A message
// to nil does nothing and gives zero. x86-64, System V.

// All registers that may hold arguments; rax counts the vector registers of variadic calls.
#define KEEP_ARGUMENTS                                                            \
  "push %rbp\n mov %rsp, %rbp\n .cfi_def_cfa_offset 16\n .cfi_offset %rbp, -16\n" \
  ".cfi_def_cfa_register %rbp\n sub $192, %rsp\n"                                 \
  "mov %rdi, -8(%rbp)\n mov %rsi, -16(%rbp)\n mov %rdx, -24(%rbp)\n"              \
  "mov %rcx, -32(%rbp)\n mov %r8, -40(%rbp)\n mov %r9, -48(%rbp)\n"               \
  "mov %rax, -56(%rbp)\n"                                                         \
  "movups %xmm0, -80(%rbp)\n movups %xmm1, -96(%rbp)\n"                           \
  "movups %xmm2, -112(%rbp)\n movups %xmm3, -128(%rbp)\n"                         \
  "movups %xmm4, -144(%rbp)\n movups %xmm5, -160(%rbp)\n"                         \
  "movups %xmm6, -176(%rbp)\n movups %xmm7, -192(%rbp)\n"

// ... and the method that was found into r11.
#define RESTORE_ARGUMENTS                                            \
  "mov %rax, %r11\n"                                                 \
  "mov -8(%rbp), %rdi\n mov -16(%rbp), %rsi\n mov -24(%rbp), %rdx\n" \
  "mov -32(%rbp), %rcx\n mov -40(%rbp), %r8\n mov -48(%rbp), %r9\n"  \
  "mov -56(%rbp), %rax\n"                                            \
  "movups -80(%rbp), %xmm0\n movups -96(%rbp), %xmm1\n"              \
  "movups -112(%rbp), %xmm2\n movups -128(%rbp), %xmm3\n"            \
  "movups -144(%rbp), %xmm4\n movups -160(%rbp), %xmm5\n"            \
  "movups -176(%rbp), %xmm6\n movups -192(%rbp), %xmm7\n"            \
  "leave\n .cfi_def_cfa %rsp, 8\n"

#define FUNCTION(name) ".globl " name "\n .type " name ", @function\n" name ":\n .cfi_startproc\n"

asm(".text\n"

    FUNCTION("objc_msgSend") "test %rdi, %rdi\n jz 1f\n" KEEP_ARGUMENTS
                             "call standin_lookUp@PLT\n" RESTORE_ARGUMENTS
                             "jmp *%r11\n"
                             "1: xor %eax, %eax\n xor %edx, %edx\n xorps %xmm0, %xmm0\n xorps "
                             "%xmm1, %xmm1\n ret\n"
                             ".cfi_endproc\n .size objc_msgSend, . - objc_msgSend\n"

    // The result is a structure in memory: its address comes first.
    FUNCTION(
        "objc_msgSend_stret") "test %rsi, %rsi\n jz 1f\n" KEEP_ARGUMENTS
                              "mov %rsi, %rdi\n mov %rdx, %rsi\n call "
                              "standin_lookUp@PLT\n" RESTORE_ARGUMENTS
                              "jmp *%r11\n"
                              "1: mov %rdi, %rax\n ret\n"
                              ".cfi_endproc\n .size objc_msgSend_stret, . - objc_msgSend_stret\n"

    FUNCTION("objc_msgSendSuper2") KEEP_ARGUMENTS
    "call standin_lookUpSuper@PLT\n" RESTORE_ARGUMENTS
    "mov (%rdi), %rdi\n jmp *%r11\n"
    ".cfi_endproc\n .size objc_msgSendSuper2, . - objc_msgSendSuper2\n"

    ".section .note.GNU-stack, \"\", @progbits\n .text\n");
