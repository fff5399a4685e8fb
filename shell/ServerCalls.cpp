#include "shell/ServerCalls.h"

#include "data/Handles.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/FourDPlug.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr unsigned long FunctionBit = 0x80000000;
constexpr long IdentifierSize = 4;

// The host's commands that answer what a client is called by.
constexpr short CurrentUser = 182;
constexpr short Machine = 483;
constexpr short MachineOwner = 484;

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

/// Appends what a host command answers: a length byte and at most `limit` characters.
OSErr AppendName(Handle message, short command, long limit) {
    char name[256];
    GetTextBy4DCommand(command, name, limit + 1);
    const long length = static_cast<long>(std::strlen(name));
    const auto lengthByte = static_cast<unsigned char>(length);
    const OSErr error = PtrAndHand(&lengthByte, message, 1);
    return error == ResultCode::NoError ? PtrAndHand(name, message, length) : error;
}

/// What is left of a message.
struct Received {
    const char* bytes;
    long left;
};

/// Takes a name: its length byte as it was sent, and as many characters as the field takes and the
/// message has. The length is a signed byte. False when the message ends here.
bool TakeName(Received& message, unsigned char* field, long limit) {
    if (message.left < 1) {
        return false;
    }
    const long length = std::min<long>(static_cast<signed char>(message.bytes[0]), limit);
    if (length < 0) {
        return false;
    }
    const long count = std::min(length + 1, message.left);
    std::memcpy(field, message.bytes, static_cast<size_t>(count));
    message.bytes += count;
    message.left -= count;
    return count == length + 1;
}

/// Deliberate: the length bytes stay as they were sent, even where fewer characters were kept.
/// Clients cut their names before they send them.
void Identify(FourDClient& client, Received message) {
    if (TakeName(message, client.owner, 31) && TakeName(message, client.machine, 255)) {
        TakeName(message, client.user, 31);
    }
}

/// Hosts from 11.3 to 12.1 lay connection requests out differently, and tell of a client's end
/// with that of its process only.
bool HostHasLateConnectBlock() {
    return gHost.BcdVersion() >= 0x1130 && gHost.BcdVersion() <= 0x121F;
}

} // namespace

OSErr FourDReadOnServer(unsigned long id, short kind, char*** answer) {
    return FourD::ReadOnServer(id, kind, answer);
}

OSErr FourDWriteOnServer(unsigned long id, short kind, char** data) {
    return FourD::WriteOnServer(id, kind, data);
}

bool FourDPlug::CompareClient(void* client, void* key) {
    return static_cast<FourDClient*>(client)->cookie == *static_cast<unsigned long*>(key);
}

bool FourDPlug::CompareClientProcess(void* client, void* key) {
    return static_cast<FourDClient*>(client)->process == *static_cast<long*>(key);
}

bool FourDPlug::CompareServerCall(void* call, void* key) {
    return static_cast<ServerCall*>(call)->callID == static_cast<ReadWriteBlock*>(key)->callID;
}

// --- On the client ----------------------------------------------------------------------------

/// Tells the server who this client is. A failure is not reported: the server then knows no names.
void FourDPlug::IdentifyToServer() {
    const TemporaryHandle message(NewHandle(0));
    if (message.Get() == nullptr) {
        return;
    }
    for (const auto& [command, limit] :
         {std::pair(MachineOwner, 31L), {Machine, 255L}, {CurrentUser, 31L}}) {
        if (AppendName(message.Get(), command, limit) != ResultCode::NoError) {
            return;
        }
    }
    FourDWriteOnServer(0, ServerMessage::Identification, message.Get());
}

OSErr FourDPlug::GetNextCallIDFromServer(unsigned long* id) {
    *id = 0;
    TemporaryHandle answer;
    if (const OSErr error = FourDReadOnServer(0, ServerMessage::NextCallID, answer.Address());
        error != ResultCode::NoError) {
        return error;
    }
    if (answer.Get() == nullptr) {
        return ResultCode::NoServerAnswer;
    }
    if (GetHandleSize(answer.Get()) != IdentifierSize) {
        return ResultCode::BadServerAnswer;
    }
    for (long place = 0; place < IdentifierSize; ++place) {
        *id = *id << 8 | static_cast<unsigned char>((*answer.Get())[place]);
    }
    return ResultCode::NoError;
}

OSErr FourDPlug::CallFuncOnServer(short kind, char** params, char*** result) {
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

// --- On the server ----------------------------------------------------------------------------

namespace {

template <typename Object>
Object* Find(List list, ListTest test, void* key) {
    return list != nullptr ? static_cast<Object*>(_first_that(list, test, key)) : nullptr;
}

} // namespace

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
    DoClientConnectOnServer(client.release());
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

void FourDPlug::ForgetClient(FourDClient* client) {
    DoClientDisconnectOnServer(client);
    // The plug-in may have let other processes run, and one of them may have been here before.
    if (clients != nullptr && _remove_from_list(clients, client) != nullptr) {
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

/// The next identifier, big-endian, in a buffer that the clean-up frees.
char* FourDPlug::HandOutCallID(ReadWriteBlock* block) {
    lastCallID = lastCallID == std::numeric_limits<long>::max() ? 1 : lastCallID + 1;
    auto* answer = new (std::nothrow) char[IdentifierSize];
    if (answer == nullptr) {
        return nullptr;
    }
    for (long place = 0; place < IdentifierSize; ++place) {
        answer[place] = static_cast<char>(lastCallID >> (8 * (IdentifierSize - 1 - place)));
    }
    block->dataSize = IdentifierSize;
    return answer;
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
        Identify(*client, {data, size});
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
    std::unique_ptr<ServerCall> call(new (std::nothrow) ServerCall{});
    if (call == nullptr || serverCalls == nullptr) {
        return;
    }
    call->kind = block->kind;
    call->callID = block->callID;
    call->parameters = parameters.Get();
    _add_to_end(serverCalls, call.get());
    parameters.GiveAway();
    ServerCall* const kept = call.release();
    DoFuncOnServer(client, kept->kind, kept->parameters, &kept->result);
}

void FourDPlug::HandleCleanupOnServer(ReadWriteBlock* block, char* data) {
    if (block->callID == 0) {
        const std::unique_ptr<char[]> freed(data); // what HandOutCallID made, or nothing
        return;
    }
    auto* call = Find<ServerCall>(serverCalls, CompareServerCall, block);
    if (call == nullptr) {
        return;
    }
    for (Handle handle : {call->result, call->parameters}) {
        if (handle != nullptr) {
            DisposeHandle(handle);
        }
    }
    _remove_from_list(serverCalls, call);
    delete call;
}

// --- The version, and client names that come with the question ---------------------------------

namespace {

/// A client's field, by the key that a host sends it under.
struct ClientField {
    const char* key;
    unsigned char* (*field)(FourDClient& client);
    unsigned char limit;
};

constexpr ClientField ClientFields[] = {
    {"user", [](FourDClient& client) -> unsigned char* { return client.user; }, 31},
    {"mach", [](FourDClient& client) -> unsigned char* { return client.machine; }, 255},
    {"mach-user", [](FourDClient& client) -> unsigned char* { return client.owner; }, 31},
};

/// Keeps a name that is not yet known.
void CompleteClient(FourDClient& client, const char* key, const unsigned char* name) {
    for (const ClientField& entry : ClientFields) {
        unsigned char* field = entry.field(client);
        if (std::strcmp(entry.key, key) == 0 && field[0] == 0) {
            const unsigned char length = std::min(name[0], entry.limit);
            std::memcpy(field + 1, name + 1, length);
            field[0] = length;
        }
    }
}

constexpr char Blanks[] = " \t\n\v\f\r";

/// Reads "<%X>:%s", a cookie and the key behind it, which it ends where a blank follows; null when
/// the text does not have that form. The C runtime's own reader of formats would make every
/// plug-in a tenth larger.
const char* ReadClientQuery(char* text, unsigned long* cookie) {
    if (text[0] != '<') {
        return nullptr;
    }
    char* end = text + 1;
    *cookie = std::strtoul(text + 1, &end, 16);
    if (end == text + 1 || end[0] != '>' || end[1] != ':') {
        return nullptr;
    }
    char* key = end + 2 + std::strspn(end + 2, Blanks);
    key[std::strcspn(key, Blanks)] = '\0';
    return key[0] != '\0' ? key : nullptr;
}

} // namespace

void FourDPlug::GetVersion(unsigned char* version, unsigned char* name) {
    char text[256];
    _CopyP2CStr(version, text);
    unsigned long cookie = 0;
    if (const char* key = ReadClientQuery(text, &cookie); key != nullptr && cookie != 0) {
        if (FourDClient* client = GetClientWithCookie(cookie); client != nullptr) {
            CompleteClient(*client, key, name);
        }
        return;
    }
    Get4DStyleVersion(version);
    GetProductFullName(name);
}
