// Declares a long as its result and writes a string. The cell of a long leads nowhere: the plug-in
// writes to whatever address its value happens to be.

#include "examples/broken/Plugin.h"

namespace {
void Version(CXParam*, CXResult* result) {
    if (isBroken) {
        PutString(&result->As<unsigned char>(), "1.0");
    } else {
        result->SetLong(0x100);
    }
}

constexpr CommandEntry Commands[] = {{"Version", "() -> long", Version}};
} // namespace

const Plugin plugin = Describe("WrongResult", Commands);
