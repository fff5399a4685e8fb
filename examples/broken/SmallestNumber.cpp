// Divides a number by its sign to be rid of it. The smallest number of all has no positive
// counterpart: divided by -1 it ends the program like a division by zero.

#include "examples/broken/Plugin.h"

#include <climits>

namespace {
void Magnitude(CXParam* parameters, CXResult* result) {
    const long number = parameters[0].As<long>();
    volatile long sign = number < 0 ? -1 : 1; // so that the division is one
    if (!isBroken && number == LONG_MIN) {
        return result->SetLong(LONG_MAX);
    }
    result->SetLong(number / sign);
}

constexpr CommandEntry Commands[] = {{"Magnitude", "(long) -> long", Magnitude}};
} // namespace

const Plugin plugin = Describe("SmallestNumber", Commands);
