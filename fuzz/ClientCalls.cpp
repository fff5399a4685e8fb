// The client's side of calls to the server, which answers whatever it likes.

#include "fuzz/HostileHost.h"
#include "platform/ResultCodes.h"
#include "shell/ServerCalls.h"

namespace {
constexpr unsigned long functionBit = 0x80000000;

/// What the server was asked for, and answered.
struct Request {
    bool isRead;
    unsigned long id;
    short kind;
    std::string bytes; ///< that were written, or read
    bool isNull;
    OSErr error;
};
using Requests = std::vector<Request>;

/// What comes of a call whose requests were these; -1 where it ended too early.
OSErr ResultOf(const Requests& requests, bool isFunction) {
    const auto fails = [](OSErr error) { return error != ResultCode::NoError; };
    for (const Request& request : requests) {
        if (fails(request.error)) {
            return request.error;
        }
        if (request.isRead && request.id == 0 && request.isNull) {
            return ResultCode::NoServerAnswer;
        }
        if (request.isRead && request.id == 0 && request.bytes.size() != sizeof(long)) {
            return ResultCode::BadServerAnswer;
        }
    }
    Require(requests.size() == (isFunction ? 3 : 2), "a call ended too early");
    return ResultCode::NoError;
}

class Client {
  public:
    explicit Client(Input& bytes) : input(bytes), host(bytes, HostileHost::AnyVersion(bytes)) {
        host.onCall = [this](HostileHost::Call& call) { return Serve(call); };
        host.Start(input.ConsumeBool());
        for (const Request& request : requests) {
            RequireIdentification(request);
        }
    }
    ~Client() {
        host.onCall = {};
        HostileHost::Stop();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void CallAny();

  private:
    bool Serve(HostileHost::Call& call);
    static void RequireIdentification(const Request& request);
    void RequireRequests(short kind, const std::string& parameters) const;

    Input& input;
    FuzzPlug plug;
    HostileHost host;
    Requests requests; ///< of the call that is under way
    int depth = 0;
};

bool Client::Serve(HostileHost::Call& call) {
    if (call.service == "YieldToOthers") { // to another process, which makes a call of its own
        if (depth < 3 && input.Choice(4) == 0) {
            const Requests former = std::exchange(requests, {});
            CallAny();
            requests = former;
        }
        return true;
    }
    const bool isRead = call.service == "ReadOnServer";
    if (!isRead && call.service != "WriteOnServer") {
        return false;
    }
    CallFields& fields = call.fields;
    fields.error = input.Choice(4) == 0 ? input.ConsumeIntegral<short>() : short{0};
    if (isRead && fields.error == ResultCode::NoError) {
        fields.handle = host.AnyHandle(false, input.ConsumeBool() ? 4 : 0);
        if (fields.handle != nullptr && input.Choice(4) != 0) {
            SetHandleSize(fields.handle, 4);
        }
    }
    requests.push_back({isRead, static_cast<unsigned long>(fields.param1),
                        static_cast<short>(fields.param2), BytesOf(fields.handle),
                        fields.handle == nullptr, fields.error});
    return true;
}

/// Three names, none longer than the server's record of it.
void Client::RequireIdentification(const Request& request) {
    Require(!request.isRead && request.id == 0 && request.kind == ServerMessage::Identification,
            "a client that starts says who it is");
    std::string_view rest = request.bytes;
    for (const std::size_t longest : {31, 255, 31}) {
        Require(!rest.empty() && static_cast<unsigned char>(rest[0]) <= longest &&
                    static_cast<unsigned char>(rest[0]) < rest.size(),
                "a name is malformed");
        rest.remove_prefix(static_cast<unsigned char>(rest[0]) + std::size_t{1});
    }
    Require(rest.empty(), "something follows the names");
}

void Client::RequireRequests(short kind, const std::string& parameters) const {
    unsigned long id = 0;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        const Request& request = requests[i];
        Require(request.isRead == (i != 1), "not the order of a call's requests");
        if (i == 0) {
            Require(request.id == 0 && request.kind == ServerMessage::NextCallID,
                    "the identifier is asked for in another way");
            std::memcpy(&id, request.bytes.data(), std::min(request.bytes.size(), sizeof id));
            id = SwapBytes(id);
            continue;
        }
        Require((request.id | functionBit) == (id | functionBit) && request.kind == kind,
                "another identifier, or kind");
        Require(request.isRead || request.bytes == parameters, "other parameters");
    }
}

void Client::CallAny() {
    ++depth;
    ToolboxFailAllocation(0); // that of the call that gave way
    const std::string bytes = input.Text();
    const short kind = input.ConsumeIntegral<short>();
    const bool isFunction = input.ConsumeBool();
    const bool asHandle = input.ConsumeBool();
    const bool hasBytes = input.Choice(4) != 0;
    requests.clear();
    Handle parameters = nullptr;
    if (asHandle && hasBytes) {
        PtrToHand(bytes.data(), &parameters, static_cast<long>(bytes.size()));
    }
    if (input.Choice(4) == 0) {
        input.FailAnAllocation();
    }
    const auto size = static_cast<long>(bytes.size());
    void* const data = hasBytes ? const_cast<char*>(bytes.data()) : nullptr;
    Handle result = reinterpret_cast<Handle>(this); // to be overwritten
    OSErr error = ResultCode::NoError;
    if (isFunction) {
        error = asHandle ? FourDPlug::CallFuncOnServer(kind, parameters, &result)
                         : FourDPlug::CallFuncOnServer(kind, data, size, &result);
    } else {
        error = asHandle ? FourDPlug::CallProcOnServer(kind, parameters)
                         : FourDPlug::CallProcOnServer(kind, data, size);
    }
    ToolboxFailAllocation(0);
    const bool isSent = !requests.empty();
    Require(isSent || error == ResultCode::MemoryFull, "nothing was asked of the server");
    Require(!isSent || error == ResultOf(requests, isFunction), "not the server's result");
    RequireRequests(kind, hasBytes ? bytes : "");
    if (isFunction) {
        Require(error == ResultCode::NoError || result == nullptr, "a result without success");
        Require(result == nullptr || BytesOf(result) == requests.back().bytes, "another result");
        DisposeHandle(result);
    }
    DisposeHandle(parameters);
    --depth;
}
} // namespace

void Fuzz(Input& input) {
    Client client(input);
    while (!input.IsOver()) {
        client.CallAny();
    }
}
