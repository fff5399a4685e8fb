// What the host asks of the server's copy of the plug-in: clients that come and go, their calls.

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "platform/Compiler.h"
#include "platform/Toolbox.h"
#include "shell/FourDPlug.h"

#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace {

/// Hosts from 11.3 to 12.1 lay connection requests out differently, and tell of a client's end
/// with that of its process only.
bool HostHasLateConnectBlock() {
    return gHost.BcdVersion() >= 0x1130 && gHost.BcdVersion() <= 0x121F;
}

template <typename Object>
Object* Find(List list, ListTest test, void* key) {
    return list != nullptr ? static_cast<Object*>(_first_that(list, test, key)) : nullptr;
}

} // namespace

bool FourDPlug::CompareClient(void* client, void* key) {
    return static_cast<FourDClient*>(client)->cookie == *static_cast<unsigned long*>(key);
}

bool FourDPlug::CompareClientProcess(void* client, void* key) {
    return static_cast<FourDClient*>(client)->process == *static_cast<long*>(key);
}

bool FourDPlug::CompareServerCall(void* call, void* key) {
    return static_cast<ServerCall*>(call)->callID == static_cast<ReadWriteBlock*>(key)->callID;
}

FourDClient* FourDPlug::GetClientWithCookie(unsigned long cookie) {
    return Find<FourDClient>(clients, CompareClient, &cookie);
}

bool FourDPlug::HandleClientConnectOnServer(ReadWriteBlock* block) {
    unsigned long cookie = block->cookie;
    long process = block->process;
    if (HostHasLateConnectBlock()) {
        LateConnectBlock late;
        std::memcpy(&late, block, sizeof late);
        cookie = late.cookie;
        process = late.process;
    }
    if (clients == nullptr || !CanClientConnectOnServer(cookie)) {
        return false;
    }
    std::unique_ptr<FourDClient> client(new (std::nothrow) FourDClient{});
    if (client == nullptr) {
        return false;
    }
    client->cookie = cookie;
    client->process = process;
    _add_to_end(clients, client.get());
    std::unique_ptr<FourDClient, ClientRemover> connecting(client.release(), {this, cookie});
    DoClientConnectOnServer(connecting.get());
    static_cast<void>(connecting.release()); // now the list's
    return true;
}

void FourDPlug::HandleClientDisconnectOnServer(ReadWriteBlock* block) {
    if (HostHasLateConnectBlock()) {
        return;
    }
    if (FourDClient* client = GetClientWithCookie(block->cookie); client != nullptr) {
        ForgetClient(client);
    }
}

void FourDPlug::HandleProcessEnd(long process) {
    // Hosts before 11.3 tell of a client's end with a disconnection request only.
    auto* client = gHost.BcdVersion() > 0x112F
                       ? Find<FourDClient>(clients, CompareClientProcess, &process)
                       : nullptr;
    if (client != nullptr) {
        ForgetClient(client);
    }
}

void FourDPlug::ForgetClient(FourDClient* client) {
    const std::unique_ptr<FourDClient, ClientRemover> going(client, {this, client->cookie});
    DoClientDisconnectOnServer(client);
}

void FourDPlug::ClientRemover::operator()(FourDClient* client) const {
    const bool isThere = plug->clients != nullptr && _is_in_list(plug->clients, client) != 0 &&
                         client->cookie == cookie; // not another one in its place
    if (isThere) {
        _remove_from_list(plug->clients, client);
        delete client;
    }
}

char* FourDPlug::HandleReadOnServer(ReadWriteBlock* block) {
    block->dataSize = 0;
    if (block->callID == 0) {
        return block->kind == ServerMessage::NextCallID ? HandOutCallID(block) : nullptr;
    }
    const auto* call = Find<ServerCall>(serverCalls, CompareServerCall, block);
    if (call == nullptr || call->result == nullptr) {
        return nullptr;
    }
    block->dataSize = GetHandleSize(call->result);
    HLock(call->result);
    return *call->result;
}

/// The next identifier, big-endian, in a buffer that the clean-up takes back: that of the plug-in,
/// or one of its own while another client has that.
char* FourDPlug::HandOutCallID(ReadWriteBlock* block) {
    const auto next = static_cast<long>(static_cast<unsigned long>(lastCallID) + 1);
    lastCallID = next < 0 ? 1 : next; // negative ones are those of functions
    char* const answer =
        callIDHandedOut ? new (std::nothrow) char[sizeof callIDAnswer] : callIDAnswer;
    if (answer == nullptr) {
        return nullptr;
    }
    callIDHandedOut = true;
    const unsigned long bigEndian = SwapBytes(static_cast<unsigned long>(lastCallID));
    std::memcpy(answer, &bigEndian, sizeof bigEndian);
    block->dataSize = sizeof bigEndian;
    return answer;
}

/// Takes back what HandOutCallID answered, or nothing.
void FourDPlug::TakeBackCallID(const char* answer) {
    if (answer == callIDAnswer) {
        callIDHandedOut = false;
    } else {
        delete[] answer;
    }
}

void FourDPlug::HandleWriteOnServer(ReadWriteBlock* block, char* data) {
    FourDClient* client = GetClientWithCookie(block->cookie);
    if (client == nullptr) {
        return;
    }
    const long size = data != nullptr ? block->dataSize : 0;
    if (block->callID != 0) {
        TakeCall(client, block, data, size);
    } else if (block->kind == ServerMessage::Identification) {
        IdentifyClient(*client, data, size);
    }
}

/// A client's call with its parameters. Without memory for it the call is dropped.
void FourDPlug::TakeCall(FourDClient* client, const ReadWriteBlock* block, const char* data,
                         long size) {
    if (size < 0) {
        return;
    }
    TemporaryHandle parameters(NewHandle(size));
    if (parameters.Get() == nullptr) {
        return;
    }
    if (size > 0) {
        std::memcpy(*parameters.Get(), data, static_cast<size_t>(size));
    }
    if (block->callID > 0) {
        DoProcOnServer(client, block->kind, parameters.Get());
        return;
    }
    std::unique_ptr<ServerCall> call = std::move(spareCall);
    if (call == nullptr) {
        call.reset(new (std::nothrow) ServerCall);
    }
    if (call == nullptr || serverCalls == nullptr) {
        return;
    }
    *call = {block->kind, block->callID, parameters.Get(), nullptr, true};
    _add_to_end(serverCalls, call.get());
    parameters.GiveAway();
    const auto end = [this](ServerCall* ended) { EndCall(ended); };
    const std::unique_ptr<ServerCall, decltype(end)> underWay(call.release(), end);
    DoFuncOnServer(client, underWay->kind, underWay->parameters, &underWay->result);
}

void FourDPlug::HandleCleanupOnServer(ReadWriteBlock* block, char* data) {
    if (block->callID == 0) {
        return TakeBackCallID(data);
    }
    auto* call = Find<ServerCall>(serverCalls, CompareServerCall, block);
    if (call == nullptr) {
        return;
    }
    _remove_from_list(serverCalls, call);
    if (!call->isUnderWay) {
        ReleaseCall(call);
    }
}

/// After the plug-in's function, within which others may run: the call may have been cleaned up.
void FourDPlug::EndCall(ServerCall* call) {
    if (serverCalls == nullptr) { // gone, and the calls with it
        return;
    }
    call->isUnderWay = false;
    if (!_is_in_list(serverCalls, call)) {
        ReleaseCall(call);
    }
}

void FourDPlug::ReleaseCall(ServerCall* call) {
    for (Handle handle : {call->result, call->parameters}) {
        if (handle != nullptr) {
            DisposeHandle(handle);
        }
    }
    spareCall.reset(call);
}
