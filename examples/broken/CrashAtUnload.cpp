// An object outside of all functions is destroyed while Windows unloads the library, and then still
// wants something of the host: but that has stopped the plug-in, and is not to be called any more.

#include "examples/broken/Plugin.h"

namespace {
ClassicCallBack host;

struct Tips {
    ~Tips() {
        if (isBroken) {
            SwitchOn();
        }
    }
    static void SwitchOn() {
        ParameterBlock record{};
        record.param1 = 1;
        host(Select("SetTipsEnabled").classic, &record);
    }
} tips;

void OnEvent(long selector, void* params, void**) {
    if (selector == HostEvent::Start) {
        host = static_cast<PackInitBlock*>(params)->classicCallBack;
    } else if (selector == HostEvent::Stop) {
        if (!isBroken) {
            tips.SwitchOn();
        }
        host = nullptr;
    }
}

constexpr CommandEntry Commands[] = {{"Tips", "()", [](CXParam*, CXResult*) {}}};
} // namespace

const Plugin plugin = Describe("CrashAtUnload", Commands, OnEvent);
