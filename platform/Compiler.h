#pragma once

// All that only one compiler understands stands here, behind names: what is below is for GCC and
// Clang, for 32-bit Windows. A third compiler needs another such header, with
// - the two calling conventions, names of symbols (NIMBO_SYMBOL), and the realignment of the stack;
// - the attributes, which may be empty but for NIMBO_MAY_ALIAS (without it, no assumptions from
//   types may be made), NIMBO_PROCESSOR and NIMBO_NAKED;
// - the warnings that NIMBO_ALLOW_... switch off, up to NIMBO_ALLOWED;
// - the functions at its end.
// Packed records are told by `#pragma pack`, which all understand. Assembler stands here, in
// testhost/model/PluginEntry.cpp and testhost/toolbox/Guards.cpp.in, which are written in it, and
// in examples/broken/Processor.h; what the compiler makes of functions' names is read back in
// testhost/plugins/PortableExecutable.cpp. scripts/check-compiler holds the sources to this.

#include <concepts>
#include <cstdint>

// The conventions are written with underscores: <windows.h> makes a macro of plain `cdecl`, and the
// same declaration would then be another type after it. They stand before the name of a function,
// or of a pointer to one.

/// The calling function removes the arguments.
#define NIMBO_CDECL __attribute__((__cdecl__))
/// The called function removes the arguments.
#define NIMBO_STDCALL __attribute__((__stdcall__))

/// The host and the toolbox keep the stack aligned to 4 bytes only, while GCC's code expects 16.
/// Every function that the host calls realigns it on entry, so that nothing further in has to think
/// about it. Clang's code expects 4, and realigns the stack where it needs more.
#define NIMBO_REALIGN __attribute__((force_align_arg_pointer))

/// Function called by the host through a pointer we hand it (cdecl), and the host's own
/// call-backs. Write it before the function's name.
#define HOST_CALL NIMBO_REALIGN NIMBO_CDECL

/// Entry point exported to the host: the called function removes the arguments.
#define HOST_ENTRY NIMBO_REALIGN NIMBO_STDCALL

/// Function imported from the toolbox library (cdecl).
#define TOOLBOX_CALL NIMBO_CDECL

/// Before a function that the library exports although no list of names has it.
#define NIMBO_EXPORT __declspec(dllexport)

/// Behind a declaration: the symbol's whole name, with the underscore in front.
#define NIMBO_SYMBOL(name) __asm__(name)

/// Before a function whose parameter number `text` is as printf's, and whose first further one is
/// number `first`; `this` counts.
#define NIMBO_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))

/// Before a function of which each call is one.
#define NIMBO_NOINLINE [[gnu::noinline]]
/// Before a function into which all that it calls is put.
#define NIMBO_INLINE_ALL [[gnu::flatten]]
/// Behind `class`: its objects lie where others may be, as characters do.
#define NIMBO_MAY_ALIAS [[gnu::may_alias]]
/// Before a function that may use what such processors have ("ssse3").
#define NIMBO_PROCESSOR(name) [[gnu::target(name)]]
/// Before a function of which nothing is compiled but its assembler.
#define NIMBO_NAKED __attribute__((naked))

/// Offsets in records that inherit some of their fields: these compilers lay bases out in order.
#define NIMBO_ALLOW_OFFSETS_BEHIND_BASES                                                           \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"")
/// Classes with virtual functions, of which none is the destructor.
#define NIMBO_ALLOW_PLAIN_DESTRUCTORS                                                              \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wnon-virtual-dtor\"")
/// Ends what one of them began.
#define NIMBO_ALLOWED _Pragma("GCC diagnostic pop")

/// The number, of 2 or 4 bytes, with its bytes in the opposite order.
template <std::integral Number>
constexpr Number SwapBytes(Number number) {
    static_assert(sizeof number == 2 || sizeof number == 4);
    if constexpr (sizeof number == 2) {
        return static_cast<Number>(__builtin_bswap16(static_cast<std::uint16_t>(number)));
    } else {
        return static_cast<Number>(__builtin_bswap32(static_cast<std::uint32_t>(number)));
    }
}

/// @family Whether the processor has these instructions, and the system saves the registers they
/// need.
inline bool ProcessorHasSsse3() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3");
}
inline bool ProcessorHasAvx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

/// Where the stack frame of the function that calls this begins.
[[gnu::always_inline]] inline char* CurrentFrame() {
    return static_cast<char*>(__builtin_frame_address(0));
}

/// Lets string instructions go upwards, as compiled code expects.
inline void ClearDirectionFlag() {
    __asm__ volatile("cld" : : : "cc");
}
