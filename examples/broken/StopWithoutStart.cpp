// Its stop takes down what its start has made, and does not ask whether there was a start. A host
// that gives up half-way through opening a database stops plug-ins that it has not started.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
Ptr table;

void MakeTable() {
    if (table == nullptr) {
        table = NewPtr(64);
    }
}

void DropTable() {
    if (isBroken || table != nullptr) {
        table[0] = '\0'; // nothing is in it any more
        DisposePtr(table);
        table = nullptr;
    }
}

constexpr CommandEntry Commands[] = {{"Nothing", "()", nullptr}};
} // namespace

void FourDPack(long selector, void* params, void*, void** result) {
    auto* start = static_cast<PackInitBlock*>(params);
    if ((selector == HostEvent::Start || selector == HostEvent::OtherStart) && start != nullptr) {
        start->acceptedVersion = start->hostVersion;
        MakeTable();
    } else if (selector == HostEvent::Stop || selector == HostEvent::OtherStop) {
        DropTable();
    } else {
        Dispatch(selector, params, result);
    }
}

const Plugin plugin = Describe("StopWithoutStart", Commands);
