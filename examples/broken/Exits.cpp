// Ends the program because a parameter is wrong: that may be fine in a tool of one's own, but here
// it is the host, with everybody's unsaved records.

#include "examples/broken/Plugin.h"

#include <cstdlib>

namespace {
constexpr long badParameter = -50;

void Open(CXParam* parameters, CXResult* result) {
    const unsigned char length = parameters[0].As<unsigned char>();
    if (length == 0) {
        if (isBroken) {
            std::exit(1);
        }
        return result->SetLong(badParameter);
    }
    result->SetLong(0);
}

constexpr CommandEntry Commands[] = {{"Open", "(string) -> long", Open}};
} // namespace

const Plugin plugin = Describe("Exits", Commands);
