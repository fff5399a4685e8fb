#include "shell/FourDPlug.h"

#include "host/FourD.h"

#include <initializer_list>

FourDPlug::FourDPlug(PlugInfo* plugInfo) : info(plugInfo) {}

FourDPlug::~FourDPlug() = default;

void FourDPlug::Init(PackInitBlock*) {
    info->resourceID = gHost.pluginResID;
    info->resourceFile = gHost.pluginResFile;
    DestroyLists(); // a host that initialises twice gets fresh lists too
    _initialize_list(&serverCalls);
    _initialize_list(&clients);
    if (TrackClientsOnServer() && FourD::Is4DServer() == 0 && FourD::Is4DClient() != 0) {
        IdentifyToServer();
    }
}

void FourDPlug::BigInit() {}

void FourDPlug::Deinit() {
    DestroyLists();
    DeleteTempFolder();
    bigInitDone = false;
    FourD::Deinit();
}

/// Frees the lists' own nodes. Deliberate: the records still in them stay alive, as the host may
/// yet ask for an answer that one of them holds.
void FourDPlug::DestroyLists() {
    _destroy_list(&clients);
    _destroy_list(&serverCalls);
}

void FourDPlug::HandleProcessStart(long) {}

bool FourDPlug::CommandNeedsBigInit(long, CXParam*, CXResult*) {
    return false;
}

bool FourDPlug::CanCallCommand(long, CXParam*, CXResult*) {
    return true;
}

void FourDPlug::HandleCommand(long command, CXParam* params, CXResult* result) {
    if (!bigInitDone && CommandNeedsBigInit(command, params, result)) {
        BigInit();
        bigInitDone = true;
    }
    if (!CanCallCommand(command, params, result)) {
        return;
    }
    if (const CommandHandler handler = info->commands[command - 1].handler; handler != nullptr) {
        handler(params, result);
    }
}

bool FourDPlug::CanClientConnectOnServer(unsigned long) {
    return true;
}

void FourDPlug::DoClientConnectOnServer(FourDClient*) {}

void FourDPlug::DoClientDisconnectOnServer(FourDClient*) {}

void FourDPlug::DoProcOnServer(FourDClient*, short, char**) {}

void FourDPlug::DoFuncOnServer(FourDClient*, short, char**, char***) {}
