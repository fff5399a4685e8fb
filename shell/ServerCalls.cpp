// Calls from a client's copy of the plug-in to the server's.

#include "shell/ServerCalls.h"

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "platform/Compiler.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/FourDPlug.h"

#include <cstring>

namespace {

constexpr unsigned long FunctionBit = 0x80000000;

/// Non-zero while a server call of this copy is in progress.
long serverCallsInProgress;

/// Waits, letting other processes run, until no other server call of this copy is in progress; its
/// lifetime is the call.
class ServerCallTurn {
  public:
    ServerCallTurn() {
        do {
            FourD::YieldToOthers();
        } while (serverCallsInProgress != 0);
        serverCallsInProgress = 1;
    }
    ~ServerCallTurn() { --serverCallsInProgress; }
    ServerCallTurn(const ServerCallTurn&) = delete;
    ServerCallTurn& operator=(const ServerCallTurn&) = delete;
};

/// Makes a handle with a call's parameters: a copy of the bytes, or an empty one without any.
OSErr MakeParameters(const void* data, long size, Handle* made) {
    if (data != nullptr) {
        return PtrToHand(data, made, size);
    }
    *made = NewHandle(0);
    return MemError();
}

} // namespace

OSErr FourDReadOnServer(unsigned long id, short kind, char*** answer) {
    return FourD::ReadOnServer(id, kind, answer);
}

OSErr FourDWriteOnServer(unsigned long id, short kind, char** data) {
    return FourD::WriteOnServer(id, kind, data);
}

OSErr FourDPlug::GetNextCallIDFromServer(unsigned long* id) {
    if (id == nullptr) {
        return ResultCode::BadParameter;
    }
    *id = 0;
    TemporaryHandle answer;
    if (const OSErr error = FourDReadOnServer(0, ServerMessage::NextCallID, answer.Address());
        error != ResultCode::NoError) {
        return error;
    }
    if (answer.Get() == nullptr) {
        return ResultCode::NoServerAnswer;
    }
    if (GetHandleSize(answer.Get()) != Size{sizeof *id}) {
        return ResultCode::BadServerAnswer;
    }
    std::memcpy(id, *answer.Get(), sizeof *id);
    *id = SwapBytes(*id);
    return ResultCode::NoError;
}

OSErr FourDPlug::CallFuncOnServer(short kind, char** params, char*** result) {
    if (result == nullptr) {
        return ResultCode::BadParameter;
    }
    *result = nullptr;
    const ServerCallTurn turn;
    unsigned long id = 0;
    OSErr error = GetNextCallIDFromServer(&id);
    if (error != ResultCode::NoError) {
        return error;
    }
    id |= FunctionBit;
    error = FourDWriteOnServer(id, kind, params);
    return error == ResultCode::NoError ? FourDReadOnServer(id, kind, result) : error;
}

OSErr FourDPlug::CallFuncOnServer(short kind, void* data, long size, char*** result) {
    if (result == nullptr) {
        return ResultCode::BadParameter;
    }
    *result = nullptr;
    TemporaryHandle params;
    const OSErr error = MakeParameters(data, size, params.Address());
    return error == ResultCode::NoError ? CallFuncOnServer(kind, params.Get(), result) : error;
}

OSErr FourDPlug::CallProcOnServer(short kind, char** params) {
    const ServerCallTurn turn;
    unsigned long id = 0;
    const OSErr error = GetNextCallIDFromServer(&id);
    return error == ResultCode::NoError ? FourDWriteOnServer(id, kind, params) : error;
}

OSErr FourDPlug::CallProcOnServer(short kind, void* data, long size) {
    TemporaryHandle params;
    const OSErr error = MakeParameters(data, size, params.Address());
    return error == ResultCode::NoError ? CallProcOnServer(kind, params.Get()) : error;
}
