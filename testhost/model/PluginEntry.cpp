#include "testhost/model/PluginEntry.h"

#include "platform/Compiler.h"
#include "testhost/model/Host.h"
#include "testhost/model/UnderWay.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdio>
#include <utility>

/// A call into a plug-in. Nothing that the plug-in may change leads back to it.
struct PluginFrame {
    const void* function;
    void* const* words; ///< its arguments
    unsigned long wordCount;
    unsigned long offset;   ///< of the stack from a multiple of 16
    unsigned long stack;    ///< the caller's
    unsigned long before;   ///< the stack as it was without the arguments
    unsigned long frame;    ///< ebp before the call
    unsigned long after[5]; ///< ebx, esi, edi, ebp, esp
    unsigned long flags;
    unsigned long mediaBefore; ///< MXCSR
    unsigned long mediaAfter;
    unsigned short controlBefore; ///< x87 control word
    unsigned short alignment;
    unsigned long floating[7]; ///< x87 environment afterwards: control, status and tag word first
    PluginFrame* former;
};
static_assert(offsetof(PluginFrame, offset) == 12 && offsetof(PluginFrame, frame) == 24 &&
              offsetof(PluginFrame, after) == 28 && offsetof(PluginFrame, flags) == 48 &&
              offsetof(PluginFrame, mediaAfter) == 56 &&
              offsetof(PluginFrame, controlBefore) == 60 && offsetof(PluginFrame, floating) == 64);

PluginFrame* innermostPluginFrame = nullptr;

// Calls the function of innermostPluginFrame with its words on a stack that lies `offset` bytes
// above a multiple of 16 (4, 8 or 12 where compilers expect 0), as the real host's stack does, and
// with known values in the registers that a function keeps; only ebp is left in the chain of
// frames, which debuggers follow. Takes down what became of them and puts everything back as it
// was, wherever the function left its stack.
extern "C" NIMBO_NAKED NIMBO_CDECL void CallInnermostPluginFrame() {
    __asm__("pushl %ebp\n\t"
            "movl %esp, %ebp\n\t"
            "pushl %ebx\n\t"
            "pushl %esi\n\t"
            "pushl %edi\n\t"
            "movl _innermostPluginFrame, %edx\n\t"
            "movl %esp, 16(%edx)\n\t"
            "movl %ebp, 24(%edx)\n\t"
            "fnstcw 60(%edx)\n\t"
            "stmxcsr 52(%edx)\n\t"
            "andl $-16, %esp\n\t"
            "subl $16, %esp\n\t"
            "addl 12(%edx), %esp\n\t"
            "movl %esp, 20(%edx)\n\t"
            "movl 4(%edx), %eax\n\t"
            "movl 8(%edx), %ecx\n"
            "1:\n\t"
            "pushl -4(%eax,%ecx,4)\n\t"
            "decl %ecx\n\t"
            "jnz 1b\n\t"
            "movl $0x11111111, %ebx\n\t"
            "movl $0x22222222, %esi\n\t"
            "movl $0x33333333, %edi\n\t"
            "call *(%edx)\n\t"
            "movl _innermostPluginFrame, %edx\n\t"
            "movl %ebx, 28(%edx)\n\t"
            "movl %esi, 32(%edx)\n\t"
            "movl %edi, 36(%edx)\n\t"
            "movl %ebp, 40(%edx)\n\t"
            "movl %esp, 44(%edx)\n\t"
            "movl 16(%edx), %esp\n\t"
            "pushfl\n\t"
            "popl 48(%edx)\n\t"
            "cld\n\t"
            "fnstenv 64(%edx)\n\t"
            "stmxcsr 56(%edx)\n\t"
            "fninit\n\t"
            "fldcw 60(%edx)\n\t"
            "ldmxcsr 52(%edx)\n\t"
            "popl %edi\n\t"
            "popl %esi\n\t"
            "popl %ebx\n\t"
            "popl %ebp\n\t"
            "ret");
}

namespace {
std::string Hexadecimal(unsigned long number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*lX", digits, number);
    return text;
}

// The call is the innermost one for as long as this lives, and its variables are watched.
class PluginCallScope {
  public:
    PluginCallScope(Host& itsHost, PluginFrame& frame)
        : host(itsHost),
          current(itsHost),
          formerTouched(std::exchange(itsHost.variables.touched, &touched)) {
        frame.former = std::exchange(innermostPluginFrame, &frame);
    }
    ~PluginCallScope() {
        innermostPluginFrame = innermostPluginFrame->former;
        host.variables.touched = formerTouched;
    }
    PluginCallScope(const PluginCallScope&) = delete;
    PluginCallScope& operator=(const PluginCallScope&) = delete;

    TouchedVariables touched;

  private:
    Host& host;
    const Host::Scope current;
    TouchedVariables* formerTouched;
};

void ReportChange(Host& host, const std::string& who, const std::string& what, unsigned long before,
                  unsigned long after, int digits) {
    if (before != after) {
        host.Report(who + " changed " + what +
                    ", which it must keep: " + Hexadecimal(before, digits) + " before, " +
                    Hexadecimal(after, digits) + " after.");
    }
}

void ReportChanges(Host& host, const PluginFrame& frame, const std::string& who) {
    constexpr unsigned long direction = 0x400;
    constexpr unsigned long exceptions = 0x3F; // those that have happened, in MXCSR: no mode
    constexpr unsigned long word = 0xFFFF;
    const unsigned long kept[] = {0x11111111, 0x22222222, 0x33333333, frame.frame};
    constexpr const char* names[] = {"ebx", "esi", "edi", "ebp"};
    for (size_t place = 0; place < std::size(names); ++place) {
        ReportChange(host, who, std::string("the register ") + names[place], kept[place],
                     frame.after[place], 8);
    }
    ReportChange(host, who, "the direction flag", 0, (frame.flags & direction) != 0 ? 1 : 0, 1);
    ReportChange(host, who, "the floating-point control word", frame.controlBefore,
                 frame.floating[0] & word, 4);
    ReportChange(host, who, "the modes in MXCSR", frame.mediaBefore & ~exceptions,
                 frame.mediaAfter & ~exceptions, 4);
    ReportChange(host, who,
                 "the tags of the floating-point stack (all empty; MMX code ends with emms)", word,
                 frame.floating[2] & word, 4);
}

// Answers how many bytes of the arguments were left, or `usual` when the stack pointer was anywhere
// else, which is reported.
long Run(Host& host, const void* function, std::span<void* const> words, const std::string& who,
         long usual) {
    PluginFrame frame{};
    frame.function = function;
    frame.words = words.data();
    frame.wordCount = words.size();
    // 4, 8, 12, 4, ... with every call.
    frame.offset = 4 + 4 * (host.log.PluginCallCount() % 3);
    TouchedVariables touched;
    {
        PluginCallScope scope(host, frame);
        CallInnermostPluginFrame();
        touched = std::move(scope.touched);
    }
    ReportChanges(host, frame, who);
    for (const std::string& fault : host.variables.TakeFaults(touched)) {
        host.Report(fault);
    }
    const unsigned long stack = frame.after[4];
    const unsigned long left = frame.before - stack; // far too large when the stack is above
    if (left <= words.size_bytes() && left % sizeof(void*) == 0) {
        return static_cast<long>(left);
    }
    ReportChange(host, who, "the stack pointer", frame.before - static_cast<unsigned long>(usual),
                 stack, 8);
    return usual;
}

// The script's line and the call, for whatever the plug-in does in it.
std::string PlaceOf(const Host& host, std::string call) {
    call = Shortened(std::move(call));
    return host.scriptPlace != nullptr ? *host.scriptPlace + ", " + call : call;
}
} // namespace

std::string Shortened(std::string call) {
    constexpr size_t longestCall = 60; // bytes
    if (call.size() <= longestCall) {
        return call;
    }
    size_t end = longestCall;
    while ((static_cast<unsigned char>(call[end]) & 0xC0) == 0x80) { // in a UTF-8 character
        --end;
    }
    return call.substr(0, end) + "...";
}

long CallPlugin(Host& host, PluginEntry function, void* const words[4], long selector,
                std::string what, const std::string& who) {
    const std::string place = PlaceOf(host, what);
    LoggedCall entry;
    entry.kind = LoggedCall::Kind::IntoPlugin;
    entry.selector = selector;
    entry.name = std::move(what);
    entry.process = host.currentProcess;
    entry.depth = host.log.depth;
    const long process = host.currentProcess;
    host.log.Add(std::move(entry));

    const EntryUnderWay underWay(host.log.Calls().back().Describe(), place);
    ++host.log.depth;
    const long left = Run(host, reinterpret_cast<const void*>(function), {words, 4}, who, 0);
    --host.log.depth;
    host.log.EndEntry(process, host.log.depth);
    ToolboxCheckUsed();
    return left;
}

void CallPluginProcedure(Host& host, const void* function, std::span<void* const> words,
                         const std::string& who) {
    const auto size = static_cast<long>(words.size_bytes());
    if (Run(host, function, words, who, size) != size) {
        host.Report(who + " removed its arguments, which it must leave (cdecl).");
    }
}
