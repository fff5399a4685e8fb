// Keeps the address of a parameter and writes to it in a later call. Parameters are the host's, and
// are over with the command: the address leads into something else by then.

#include "examples/broken/Plugin.h"

namespace {
long* lastCount;

// Counts the calls in the parameter.
void Count(CXParam* parameters, CXResult*) {
    long& count = parameters[0].As<long>();
    if (isBroken && lastCount != nullptr) {
        ++*lastCount;
    }
    lastCount = &count;
    count = static_cast<long>(static_cast<unsigned long>(count) + 1);
}

constexpr CommandEntry Commands[] = {{"Count", "(&long)", Count}};
} // namespace

const Plugin plugin = Describe("LateParameter", Commands);
