#include "examples/broken/Plugin.h"

#include <cstring>

namespace {
ClassicCallBack classic;
EngineCallBack engine;
unsigned hostVersion; // not 0 between a start and its stop

void Tell(long selector, void* params, void** result) {
    if (plugin.onEvent != nullptr) {
        plugin.onEvent(selector, params, result);
    }
}

void Start(PackInitBlock* init) {
    const bool isFirst = hostVersion == 0;
    if (init == nullptr) {
        return;
    }
    hostVersion = init->hostVersion & 0xFFFF;
    init->acceptedVersion = init->hostVersion;
    classic = init->classicCallBack;
    engine = hostVersion >= 0x1100 ? init->engineCallBack : nullptr;
    if (isFirst) {
        Tell(HostEvent::Start, init, nullptr);
    }
}

void Stop() {
    if (hostVersion != 0) {
        Tell(HostEvent::Stop, nullptr, nullptr);
        hostVersion = 0;
    }
}
} // namespace

void Dispatch(long selector, void* params, void** result) {
    if (selector == HostEvent::Start || selector == HostEvent::OtherStart) {
        Start(static_cast<PackInitBlock*>(params));
    } else if (selector == HostEvent::Stop || selector == HostEvent::OtherStop) {
        Stop();
    } else if (selector == HostEvent::ClientConnects && result != nullptr) {
        *result = &hostVersion; // anything but 0 lets the client in
    } else if (hostVersion == 0) {
        return; // the host cannot be asked for anything
    } else if (selector > 0 && selector <= plugin.info.commandCount) {
        plugin.info.commands[selector - 1].handler(static_cast<CXParam*>(params),
                                                   reinterpret_cast<CXResult*>(result));
    } else if (selector == HostEvent::ProcessStart || selector == HostEvent::ProcessEnd ||
               (params != nullptr && result != nullptr) || selector == HostEvent::ClientLeaves) {
        Tell(selector, params, result);
    }
}

OSErr CallHost(ClassicSelector selector, ParameterBlock& record) {
    return static_cast<OSErr>(classic(selector.number, &record));
}

OSErr CallHost(EngineSelector selector, FDEngineBlock& record) {
    return static_cast<OSErr>(engine(selector.number, &record));
}

unsigned HostVersion() {
    return hostVersion;
}

void Yield() {
    ParameterBlock record{};
    CallHost(Select("YieldToOthers"), record);
}

void PutString(unsigned char* string, const char* text) {
    string[0] = static_cast<unsigned char>(std::strlen(text));
    std::memcpy(string + 1, text, string[0]);
}

const PlugInfo* FourDPlugInfo() {
    return &plugin.info;
}
