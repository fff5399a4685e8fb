// Copies downwards, from the last byte to the first, and leaves the processor so. The next copy in
// the host goes backwards as well, over whatever stands in front.

#include "examples/broken/Plugin.h"
#include "examples/broken/Processor.h"
#include "platform/Compiler.h"

#include <cstring>

namespace {
// Makes room for one character in front of a string.
void Indent(CXParam* parameters, CXResult*) {
    unsigned char* string = &parameters[0].As<unsigned char>();
    if (string[0] == 255) {
        return;
    }
    const unsigned char* source = string + string[0];
    unsigned char* target = string + string[0] + 1;
    CopyDownwards(source, target, string[0]);
    if (!isBroken) {
        ClearDirectionFlag();
    }
    string[1] = ' ';
    ++string[0];
}

constexpr CommandEntry Commands[] = {{"Indent", "(&string)", Indent}};
} // namespace

const Plugin plugin = Describe("DirectionFlag", Commands);
