#include "testhost/model/PluginEntry.h"

#include "testhost/model/Host.h"
#include "testhost/model/UnderWay.h"

#include <utility>

// Calls an entry point with four words on a stack that lies `offset` bytes above a multiple of 16
// (4, 8 or 12 where compilers expect 0), as the real host's stack does. Answers how many bytes of
// its arguments the entry point left on the stack: 0 for a correct one. Keeps the stack as it was
// before the arguments in esi, and measures against it afterwards.
extern "C" __attribute__((naked, __cdecl__)) long CallMisaligned(PluginEntry, void* const[4],
                                                                 unsigned long) {
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

long CallPlugin(Host& host, PluginEntry function, void* const words[4], long selector,
                std::string what) {
    LoggedCall entry;
    entry.kind = LoggedCall::Kind::IntoPlugin;
    entry.selector = selector;
    entry.name = std::move(what);
    entry.process = host.currentProcess;
    entry.depth = host.log.depth;
    host.log.Add(std::move(entry));

    // 4, 8, 12, 4, ... with every call.
    const unsigned long offset = 4 + 4 * (host.log.PluginCallCount() % 3);
    const Host::Scope scope(host);
    const EntryUnderWay underWay(host.log.Calls().back().Describe());
    ++host.log.depth;
    const long left = CallMisaligned(function, words, offset);
    --host.log.depth;
    return left;
}
