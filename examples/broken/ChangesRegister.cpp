// A statement in assembler uses the register ebx and does not say so. The compiler that built the
// host keeps something there across each call, and finds something else.

#include "examples/broken/Plugin.h"
#include "examples/broken/Processor.h"

namespace {
unsigned long Doubled(unsigned long number) {
    if (isBroken) {
        ChangeRegister(number);
    } else {
        ChangeRegisterOpenly(number);
    }
    return number * 2;
}

constexpr CommandEntry Commands[] = {{"Double", "(long) -> long", nullptr}};
} // namespace

void FourDPack(long selector, void* params, void*, void** result) {
    if (selector == HostEvent::Start || selector == HostEvent::OtherStart) {
        auto* start = static_cast<PackInitBlock*>(params);
        start->acceptedVersion = start->hostVersion;
    } else if (selector == 1) {
        *reinterpret_cast<unsigned long*>(result) = Doubled(**static_cast<unsigned long**>(params));
    } else {
        Dispatch(selector, params, result);
    }
}

const Plugin plugin = Describe("ChangesRegister", Commands);
