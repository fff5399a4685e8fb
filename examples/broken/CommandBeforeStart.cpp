// Calls the host in a command without having been started: the way there, which comes with the
// start, is still null. A host that could not start a plug-in has its commands in the methods all
// the same.

#include "examples/broken/Plugin.h"

namespace {
ClassicCallBack host;

void CurrentProcess(CXParam*, CXResult* result) {
    if (!isBroken && host == nullptr) {
        return;
    }
    ParameterBlock record{};
    host(Select("CurrentProcess").classic, &record);
    result->SetLong(record.param1);
}

constexpr CommandEntry Commands[] = {{"Process", "() -> long", CurrentProcess}};
} // namespace

void FourDPack(long selector, void* params, void*, void** result) {
    auto* start = static_cast<PackInitBlock*>(params);
    if ((selector == HostEvent::Start || selector == HostEvent::OtherStart) && start != nullptr) {
        start->acceptedVersion = start->hostVersion;
        host = start->classicCallBack;
    } else if (selector == HostEvent::Stop || selector == HostEvent::OtherStop) {
        host = nullptr;
    } else if (selector == 1) {
        CurrentProcess(nullptr, reinterpret_cast<CXResult*>(result));
    } else {
        Dispatch(selector, params, result);
    }
}

const Plugin plugin = Describe("CommandBeforeStart", Commands);
