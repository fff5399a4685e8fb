// Does not write the host's version back into the record that comes with the start. Hosts from 6.0
// on take a plug-in that does not for one of an older kind, and hand it values in another shape.

#include "examples/broken/Plugin.h"

void FourDPack(long selector, void* params, void*, void** result) {
    if (selector != HostEvent::Start && selector != HostEvent::OtherStart) {
        return Dispatch(selector, params, result);
    }
    auto* start = static_cast<PackInitBlock*>(params);
    if (!isBroken && start != nullptr) {
        start->acceptedVersion = start->hostVersion;
    }
}

namespace {
constexpr CommandEntry Commands[] = {{"Nothing", "()", nullptr}};
} // namespace

const Plugin plugin = Describe("VersionNotWritten", Commands);
