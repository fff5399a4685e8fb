// Calls itself as often as a parameter says. The stack of a process of the host may have no more
// than 32 KB, and nobody limits the number.

#include "examples/broken/Plugin.h"

namespace {
double Sum(long number) {
    return number <= 0 ? 0 : static_cast<double>(number) + Sum(number - 1);
}

void SumUpTo(CXParam* parameters, CXResult* result) {
    const long number = parameters[0].As<long>();
    double sum = 0;
    if (isBroken) {
        sum = Sum(number);
    } else if (number > 0) {
        sum = static_cast<double>(number) * (static_cast<double>(number) + 1) / 2;
    }
    result->SetLong(static_cast<long>(sum > 1e9 ? 1e9 : sum));
}

constexpr CommandEntry Commands[] = {{"Sum up to", "(long) -> long", SumUpTo}};
} // namespace

const Plugin plugin = Describe("DeepRecursion", Commands);
