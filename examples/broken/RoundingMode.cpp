// Has the processor cut what it would round, and leaves it so: from then on the host's own sums are
// wrong in their last digits.

#include "examples/broken/Plugin.h"

namespace {
void Cut(CXParam* parameters, CXResult* result) {
    const double number = parameters[0].As<double>();
    const bool isLong = number > -2147483648.0 && number < 2147483647.0;
    unsigned short before = 0;
    __asm__ volatile("fnstcw %0" : "=m"(before));
    const unsigned short cuts = before | 0x0C00;
    long whole = 0;
    __asm__ volatile("fldcw %1; fldl %2; fistpl %0"
                     : "=m"(whole)
                     : "m"(cuts), "m"(number)
                     : "memory");
    if (!isBroken) {
        __asm__ volatile("fldcw %0" : : "m"(before));
    }
    result->SetLong(isLong ? whole : 0);
}

constexpr CommandEntry Commands[] = {{"Cut", "(real) -> long", Cut}};
} // namespace

const Plugin plugin = Describe("RoundingMode", Commands);
