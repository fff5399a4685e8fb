#include "platform/CallingConvention.h"

#include <windows.h>

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
