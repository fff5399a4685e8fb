#include "shell/ServerCalls.h"

#include "shell/FourDPlug.h"

bool FourDPlug::CompareClientProcess(void* client, void* key) {
    return static_cast<FourDClient*>(client)->process == *static_cast<long*>(key);
}

void FourDPlug::ForgetClient(FourDClient* client) {
    DoClientDisconnectOnServer(client);
    // The plug-in may have let other processes run, and one of them may have been here before.
    if (clients != nullptr && _remove_from_list(clients, client) != nullptr) {
        delete client;
    }
}

// Requests from clients are not served yet: none is let in, so none can call.

bool FourDPlug::HandleClientConnectOnServer(ReadWriteBlock*) {
    return false;
}

void FourDPlug::HandleClientDisconnectOnServer(ReadWriteBlock*) {}

char* FourDPlug::HandleReadOnServer(ReadWriteBlock* block) {
    block->dataSize = 0;
    return nullptr;
}

void FourDPlug::HandleWriteOnServer(ReadWriteBlock*, char*) {}

void FourDPlug::HandleCleanupOnServer(ReadWriteBlock*, char*) {}
