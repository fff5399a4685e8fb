#pragma once

#include "shell/FourDPlug.h"

/// The plug-in of Nimbo.dll. It adds no behaviour of its own to the framework's.
class NimboPlug : public FourDPlug {
  public:
    NimboPlug();
    ~NimboPlug() override;

    void Init(PackInitBlock* init) override;
    void BigInit() override;
    void Deinit() override;
    void HandleProcessStart(long process) override;
    void HandleProcessEnd(long process) override;
    void DoClientConnectOnServer(FourDClient* client) override;
    void DoClientDisconnectOnServer(FourDClient* client) override;
    void DoProcOnServer(FourDClient* client, short kind, char** data) override;
    void DoFuncOnServer(FourDClient* client, short kind, char** data, char*** result) override;
    bool TrackClientsOnServer() override;
};

extern NimboPlug gNimboPlug;
