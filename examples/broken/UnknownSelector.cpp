// Whatever it does not know it takes for its command. Hosts tell plug-ins of more than a start and
// a stop, of processes and clients, and newer ones of more: what comes along is then no parameter.

#include "examples/broken/Plugin.h"

namespace {
void Double(CXParam* parameters, CXResult* result) {
    result->SetLong(static_cast<long>(parameters[0].As<unsigned long>() * 2));
}

constexpr CommandEntry Commands[] = {{"Double", "(long) -> long", Double}};
} // namespace

void FourDPack(long selector, void* params, void*, void** result) {
    if (selector == HostEvent::Start || selector == HostEvent::OtherStart) {
        auto* start = static_cast<PackInitBlock*>(params);
        start->acceptedVersion = start->hostVersion;
    } else if (selector == HostEvent::Stop || selector == HostEvent::OtherStop) {
        return;
    } else if (isBroken || selector == 1) {
        Double(static_cast<CXParam*>(params), reinterpret_cast<CXResult*>(result));
    } else {
        Dispatch(selector, params, result);
    }
}

const Plugin plugin = Describe("UnknownSelector", Commands);
