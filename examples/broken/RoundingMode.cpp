// Has the processor cut what it would round, and leaves it so: from then on the host's own sums are
// wrong in their last digits.

#include "examples/broken/Plugin.h"
#include "examples/broken/Processor.h"

namespace {
void Cut(CXParam* parameters, CXResult* result) {
    const double number = parameters[0].As<double>();
    const bool isLong = number > -2147483648.0 && number < 2147483647.0;
    const unsigned short before = FloatingControl();
    SetFloatingControl(before | 0x0C00);
    const long whole = Rounded(number);
    if (!isBroken) {
        SetFloatingControl(before);
    }
    result->SetLong(isLong ? whole : 0);
}

constexpr CommandEntry Commands[] = {{"Cut", "(real) -> long", Cut}};
} // namespace

const Plugin plugin = Describe("RoundingMode", Commands);
