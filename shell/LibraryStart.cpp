#include "platform/Compiler.h"

#include <cstdlib>

#include <windows.h>

/// What the compiler's runtime calls after an exception that nobody catches. Its own version
/// prints the exception's name where nobody reads it, and adds 46 KB to every plug-in for that.
namespace __gnu_cxx {
void __verbose_terminate_handler() {
    std::abort();
}
} // namespace __gnu_cxx

extern "C" {

/// The compiler runtime's entry point of a library.
BOOL WINAPI DllMainCRTStartup(HINSTANCE library, DWORD reason, LPVOID reserved);

/// Where the loader enters the library: its stack is no better aligned than the host's, and the
/// runtime constructs and destroys static objects from here. In a source of its own, because only
/// libraries have that runtime.
HOST_ENTRY BOOL LibraryStart(HINSTANCE library, DWORD reason, LPVOID reserved) {
    return DllMainCRTStartup(library, reason, reserved);
}
}
