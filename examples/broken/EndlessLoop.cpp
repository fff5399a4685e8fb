// A loop that ends for the numbers that its author thought of. Zero never comes to one, and the
// host stands still.

#include "examples/broken/Plugin.h"

namespace {
// How often the number has to be halved, or trebled and increased, until it is 1.
void Steps(CXParam* parameters, CXResult* result) {
    long long number = parameters[0].As<long>();
    if (!isBroken && number < 1) {
        return result->SetLong(-1);
    }
    long steps = 0;
    for (; number != 1; ++steps) {
        number = number % 2 == 0 ? number / 2 : number * 3 + 1;
    }
    result->SetLong(steps);
}

constexpr CommandEntry Commands[] = {{"Steps to one", "(long) -> long", Steps}};
} // namespace

const Plugin plugin = Describe("EndlessLoop", Commands);
