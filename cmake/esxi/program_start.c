/* The entry of a program. The start file of a newer C library leaves static constructors to the C
 * library; one before 2.34 expects the program to bring the function that runs them. */
typedef void InitFunction(int argc, char** argv, char** environment);

#pragma GCC visibility push(hidden)
extern InitFunction* const __init_array_start[];
extern InitFunction* const __init_array_end[];
void _init(void);

void veskRunConstructors(int argc, char** argv, char** environment) {
    _init();
    for (InitFunction* const* function = __init_array_start; function != __init_array_end;
         ++function) {
        (*function)(argc, argv, environment);
    }
}

/* The loader runs the destructors of a program that it loaded. */
void veskRunDestructors(void) {}
#pragma GCC visibility pop

/* At entry: the stack holds argc, argv and the environment; rdx a function for the end, or 0. */
__asm__(".text\n"
        ".globl _start\n"
        ".type _start,@function\n"
        "_start:\n"
        "    .cfi_startproc\n"
        "    .cfi_undefined rip\n"
        "    xorl %ebp, %ebp\n"
        "    movq %rdx, %r9\n"
        "    popq %rsi\n"
        "    movq %rsp, %rdx\n"
        "    andq $-16, %rsp\n"
        "    pushq %rax\n"
        "    pushq %rsp\n"
        "    leaq veskRunDestructors(%rip), %r8\n"
        "    leaq veskRunConstructors(%rip), %rcx\n"
        "    leaq main(%rip), %rdi\n"
        "    call *__libc_start_main@GOTPCREL(%rip)\n"
        "    hlt\n"
        "    .cfi_endproc\n"
        ".size _start, .-_start\n");
