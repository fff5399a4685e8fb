#include "testhost/model/MisalignedCall.h"

// Keeps the stack as it was before the arguments in esi, and measures against it afterwards.
__attribute__((naked)) long CallMisaligned(PluginEntry, void* const[4], unsigned long) {
    __asm__("pushl %ebp\n\t"
            "movl %esp, %ebp\n\t"
            "pushl %ebx\n\t"
            "pushl %esi\n\t"
            "pushl %edi\n\t"
            "andl $-16, %esp\n\t"
            "subl $16, %esp\n\t"
            "addl 16(%ebp), %esp\n\t"
            "movl %esp, %esi\n\t"
            "movl 12(%ebp), %edx\n\t"
            "pushl 12(%edx)\n\t"
            "pushl 8(%edx)\n\t"
            "pushl 4(%edx)\n\t"
            "pushl (%edx)\n\t"
            "call *8(%ebp)\n\t"
            "movl %esi, %eax\n\t"
            "subl %esp, %eax\n\t"
            "leal -12(%ebp), %esp\n\t"
            "popl %edi\n\t"
            "popl %esi\n\t"
            "popl %ebx\n\t"
            "popl %ebp\n\t"
            "ret");
}
