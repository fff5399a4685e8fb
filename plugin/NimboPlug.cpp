#include "plugin/NimboPlug.h"

#include "PluginVersion.h"

namespace {

constexpr OSType Creator = 0x4E6D626F; // 'Nmbo'

PlugInfo plugInfo = {
    .reserved = 0,
    .recordVersion = 1,
    .recordSize = sizeof(PlugInfo),
    .productName = PluginName,
    .creator = Creator,
    .version = PluginVersion,
    .resourceID = 0,
    .resourceFile = 0,
    .spare = 0,
    .commandCount = 0,
    .commands = nullptr,
};

} // namespace

NimboPlug gNimboPlug;
FourDPlug* gFourDPlug = &gNimboPlug;

NimboPlug::NimboPlug() : FourDPlug(&plugInfo) {}

NimboPlug::~NimboPlug() = default;

void NimboPlug::Init(PackInitBlock* init) {
    FourDPlug::Init(init);
}

void NimboPlug::BigInit() {
    FourDPlug::BigInit();
}

void NimboPlug::Deinit() {
    FourDPlug::Deinit();
}

void NimboPlug::HandleProcessStart(long process) {
    FourDPlug::HandleProcessStart(process);
}

void NimboPlug::HandleProcessEnd(long process) {
    FourDPlug::HandleProcessEnd(process);
}

void NimboPlug::DoClientConnectOnServer(FourDClient*) {}

void NimboPlug::DoClientDisconnectOnServer(FourDClient*) {}

void NimboPlug::DoProcOnServer(FourDClient*, short, char**) {}

void NimboPlug::DoFuncOnServer(FourDClient*, short, char**, char***) {}

bool NimboPlug::TrackClientsOnServer() {
    return true;
}
