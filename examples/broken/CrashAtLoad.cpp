// An object outside of all functions is made while Windows loads the library, and trusts there that
// the program is the one it knows: under another name of the host it takes a null pointer for it.

#include "examples/broken/Plugin.h"

#include <windows.h>

namespace {
struct Program {
    Program() {
        const void* module = GetModuleHandleA(isBroken ? "4D.exe" : nullptr);
        header = *static_cast<const volatile short*>(module);
    }
    short header;
} program;

void Header(CXParam*, CXResult* result) {
    result->SetLong(program.header);
}

constexpr CommandEntry Commands[] = {{"Header", "() -> long", Header}};
} // namespace

const Plugin plugin = Describe("CrashAtLoad", Commands);
