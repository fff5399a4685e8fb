// Keeps the address of a handle's bytes while it takes memory. The bytes may have moved by then:
// what it writes lands in whatever stands there now.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <cstring>

namespace {
void Fill(CXParam*, CXResult* result) {
    Handle lines = NewHandleClear(32);
    if (lines == nullptr) {
        return;
    }
    char* bytes = *lines;
    Handle other = NewHandle(1000);
    if (!isBroken) {
        bytes = *lines;
    }
    std::memset(bytes, 'x', 32);
    result->SetLong((*lines)[31] == 'x' ? 1 : 0);
    DisposeHandle(lines);
    if (other != nullptr) {
        DisposeHandle(other);
    }
}

constexpr CommandEntry Commands[] = {{"Fill", "() -> long", Fill}};
} // namespace

const Plugin plugin = Describe("StalePointer", Commands);
