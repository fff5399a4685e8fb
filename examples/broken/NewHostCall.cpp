// Sends the record of newer hosts to every host. Those before 11.0 have no such call-back: what
// stands in its place in the start's record leads nowhere.

#include "examples/broken/Plugin.h"

namespace {
EngineCallBack engine;

void OnEvent(long selector, void* params, void**) {
    if (selector == HostEvent::Start) {
        engine = static_cast<PackInitBlock*>(params)->engineCallBack;
    }
}

void CurrentProcess(CXParam*, CXResult* result) {
    if (isBroken || HostVersion() >= 0x1100) {
        FDEngineBlock record{};
        engine(Select("CurrentProcess").engine, &record);
        result->SetLong(record.param1);
    } else {
        ParameterBlock record{};
        CallHost(Select("CurrentProcess"), record);
        result->SetLong(record.param1);
    }
}

constexpr CommandEntry Commands[] = {{"Process", "() -> long", CurrentProcess}};
} // namespace

const Plugin plugin = Describe("NewHostCall", Commands, OnEvent);
