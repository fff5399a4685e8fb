// The usage of its command is written as its author saw fit. People may guess what it means; no
// tool can, so that the command is neither offered nor checked.

#include "examples/broken/Plugin.h"

namespace {
void Add(CXParam* parameters, CXResult* result) {
    const auto sum = parameters[0].As<unsigned long>() + parameters[1].As<unsigned long>();
    result->SetLong(static_cast<long>(sum));
}

constexpr CommandEntry Commands[] = {
    {"Add", isBroken ? "integer a, integer b: integer" : "(long; long) -> long", Add}};
} // namespace

const Plugin plugin = Describe("BadUsage", Commands);
