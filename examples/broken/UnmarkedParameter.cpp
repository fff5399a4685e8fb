// Counts a parameter down that its usage does not mark with an &. The host may hand out the very
// variable of the method that calls: it has another value then, and its author does not know why.

#include "examples/broken/Plugin.h"

namespace {
void Digits(CXParam* parameters, CXResult* result) {
    long copy = parameters[0].As<long>();
    long& number = isBroken ? parameters[0].As<long>() : copy;
    long digits = 0;
    for (; number != 0; number /= 10) {
        ++digits;
    }
    result->SetLong(digits);
}

constexpr CommandEntry Commands[] = {{"Digits", "(long number) -> long digits", Digits}};
} // namespace

const Plugin plugin = Describe("UnmarkedParameter", Commands);
